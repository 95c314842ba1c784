# SPDX-License-Identifier: Apache-2.0
# cmake -D FOLDER=<to work in> -P other_jdks_test.cmake
cmake_minimum_required(VERSION 3.22)
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/OtherJdks.cmake)

# A folder of JDKs that tell these versions.
function(install_jdks)
  file(REMOVE_RECURSE ${FOLDER})
  foreach(version IN LISTS ARGN)
    set(java ${FOLDER}/jdk-${version}/bin/java)
    file(WRITE ${java} "#!/bin/sh\necho 'openjdk version \"${version}\" 2025-01-01' >&2\n")
    file(CHMOD ${java} PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
    file(TOUCH ${FOLDER}/jdk-${version}/bin/javac)
  endforeach()
endfunction()

function(expect_found expected_releases)
  set(expected_javas)
  foreach(version IN LISTS ARGN)
    list(APPEND expected_javas ${FOLDER}/jdk-${version}/bin/java)
  endforeach()
  vornix_find_other_jdks(${FOLDER} 17 releases javas)
  if(NOT "${releases}" STREQUAL "${expected_releases}" OR NOT "${javas}" STREQUAL "${expected_javas}")
    message(SEND_ERROR "found '${releases}', '${javas}'; expected '${expected_releases}', '${expected_javas}'")
  endif()
endfunction()

install_jdks(1.8.0_412 17.0.15 17.0.21.1)
expect_found("")

install_jdks(21.0.1 100 17.0.21.1 21 25.0.1 9.0.4 11.0.2)
expect_found("11;21;25;100" 11.0.2 21.0.1 25.0.1 100)

install_jdks()
expect_found("")
