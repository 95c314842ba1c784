# SPDX-License-Identifier: Apache-2.0
# cmake -D FOLDER=<to work in> -P newer_jdk_test.cmake
cmake_minimum_required(VERSION 3.22)
include(${CMAKE_CURRENT_LIST_DIR}/../../cmake/NewerJdk.cmake)

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

function(expect_found expected_runtime expected_release)
  vornix_find_newer_jdk(${FOLDER} 17 runtime release)
  if(NOT "${runtime}" STREQUAL "${expected_runtime}" OR NOT "${release}" STREQUAL "${expected_release}")
    message(SEND_ERROR "found '${runtime}', release '${release}'; "
                       "expected '${expected_runtime}', '${expected_release}'")
  endif()
endfunction()

install_jdks(1.8.0_412 11.0.2 17.0.15 17.0.21.1)
expect_found("" "")

install_jdks(17.0.21.1 21 25.0.1 9.0.4)
expect_found(${FOLDER}/jdk-25.0.1/bin/java 25)

install_jdks()
expect_found("" "")
