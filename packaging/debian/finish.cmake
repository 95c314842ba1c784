# SPDX-License-Identifier: Apache-2.0
# CPack runs this between installing the components and packing them: it adds what Debian's policy wants in each package.
cmake_minimum_required(VERSION 3.22)
# The time is that of SOURCE_DATE_EPOCH where it is set.
string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)

function(compress)
  execute_process(COMMAND gzip --best --no-name --force ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  set(package ${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
  set(share ${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/share)
  set(documents ${share}/doc/${package})

  configure_file(${CPACK_VORNIX_FILES}/copyright ${documents}/copyright COPYONLY)
  configure_file(${CPACK_VORNIX_CHANGELOG} ${documents}/CHANGELOG.md COPYONLY)
  configure_file(${CPACK_VORNIX_FILES}/changelog.in ${documents}/changelog @ONLY)
  compress(${documents}/CHANGELOG.md ${documents}/changelog)
  file(GLOB manuals ${share}/man/man1/*.1)
  if(manuals)
    compress(${manuals})
  endif()
  if(EXISTS ${CPACK_VORNIX_FILES}/overrides/${package})
    file(COPY ${CPACK_VORNIX_FILES}/overrides/${package} DESTINATION ${share}/lintian/overrides)
  endif()
  execute_process(COMMAND chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_DIRECTORY}/${component} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
