# SPDX-License-Identifier: Apache-2.0
# vornix_limit_exports(<library>)
#
# A shared library of ours: it shows what the file exports.map beside its sources names, and binds at its loading.
function(vornix_limit_exports library)
  set(map ${CMAKE_CURRENT_SOURCE_DIR}/exports.map)
  set_target_properties(${library} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    LINK_DEPENDS ${map})
  target_link_options(${library} PRIVATE
    LINKER:--version-script=${map}
    LINKER:-z,relro,-z,now
    LINKER:--as-needed)
  # A sanitizer's runtime is resolved in the program that loads the library.
  if(NOT VORNIX_SANITIZE)
    target_link_options(${library} PRIVATE LINKER:--no-undefined)
  endif()
endfunction()
