# SPDX-License-Identifier: Apache-2.0
# Lays jars out as a Maven repository, with POM, metadata and checksums.
#
#   cmake -D REPOSITORY=<folder> -D VERSION=<version> -D JARS=<jar>;... -P repository.cmake
#
# A jar vornixtoken-<classifier>.jar gets that classifier; vornixtoken.jar gets none.
cmake_minimum_required(VERSION 3.22)
set(artifact ${REPOSITORY}/com/tovr/smartcard/vornixtoken)
set(folder ${artifact}/${VERSION})
file(REMOVE_RECURSE ${REPOSITORY})
foreach(jar IN LISTS JARS)
  cmake_path(GET jar FILENAME name)
  string(REGEX REPLACE "^vornixtoken" "vornixtoken-${VERSION}" name ${name})
  file(MAKE_DIRECTORY ${folder})
  file(COPY_FILE ${jar} ${folder}/${name})
endforeach()
configure_file(${CMAKE_CURRENT_LIST_DIR}/pom.xml.in ${folder}/vornixtoken-${VERSION}.pom @ONLY)
configure_file(${CMAKE_CURRENT_LIST_DIR}/maven-metadata.xml.in ${artifact}/maven-metadata.xml @ONLY)

file(GLOB_RECURSE files ${REPOSITORY}/*)
foreach(file IN LISTS files)
  foreach(algorithm IN ITEMS MD5 SHA1 SHA256 SHA512)
    file(${algorithm} ${file} checksum)
    string(TOLOWER ${algorithm} extension)
    file(WRITE ${file}.${extension} ${checksum})
  endforeach()
endforeach()
