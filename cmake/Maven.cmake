# SPDX-License-Identifier: Apache-2.0
# A Maven repository of the jars, in the folder maven of the build.
set(jars)
foreach(target IN ITEMS vornixtoken_jar vornixtoken_platform_jar vornixtoken_sources_jar vornixtoken_javadoc_jar)
  list(APPEND jars $<TARGET_PROPERTY:${target},JAR>)
endforeach()
set(scripts ${PROJECT_SOURCE_DIR}/packaging/maven)
set(repository ${PROJECT_BINARY_DIR}/maven)
add_custom_command(
  OUTPUT ${repository}.stamp
  COMMAND ${CMAKE_COMMAND} -D REPOSITORY=${repository} -D VERSION=${PROJECT_VERSION} -D "JARS=${jars}"
          -P ${scripts}/repository.cmake
  COMMAND ${CMAKE_COMMAND} -E touch ${repository}.stamp
  DEPENDS ${jars} ${scripts}/repository.cmake ${scripts}/pom.xml.in ${scripts}/maven-metadata.xml.in
          vornixtoken_jar vornixtoken_platform_jar vornixtoken_sources_jar vornixtoken_javadoc_jar
  COMMENT "Laying out the Maven repository"
  VERBATIM)
add_custom_target(vornixtoken_maven ALL DEPENDS ${repository}.stamp)
