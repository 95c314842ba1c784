# SPDX-License-Identifier: Apache-2.0
# How every source of the project is compiled.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(-Wall -Wextra -Wpedantic -fstack-protector-strong)
if(VORNIX_WERROR)
  add_compile_options(-Werror)
endif()

# _FORTIFY_SOURCE needs optimisation, and the sanitizers have checks of their own.
if(VORNIX_SANITIZE)
  add_compile_options(-fsanitize=${VORNIX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${VORNIX_SANITIZE})
else()
  add_compile_options(
    $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
    $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
endif()
