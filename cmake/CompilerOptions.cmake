# SPDX-License-Identifier: Apache-2.0
# How every source of the project is compiled.
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

add_compile_options(-Wall -Wextra -Wpedantic -fstack-protector-strong)
# Where the source lies and where it is built leaves no trace, so that the same source gives the same bytes.
add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}=. -ffile-prefix-map=${PROJECT_BINARY_DIR}=./build)
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection VORNIX_COMPILER_HAS_CF_PROTECTION)
if(VORNIX_COMPILER_HAS_CF_PROTECTION)
  add_compile_options(-fcf-protection)
endif()
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
