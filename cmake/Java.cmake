# SPDX-License-Identifier: Apache-2.0
# How the project's Java is compiled and packed. Releases before 17 have a jar that cannot set dates.
find_package(Java 17 QUIET COMPONENTS Development)
if(NOT Java_FOUND)
  message(FATAL_ERROR "JDK 17 or newer not found: install default-jdk-headless (Debian) or set JAVA_HOME")
endif()

cmake_path(GET Java_JAVA_EXECUTABLE PARENT_PATH VORNIX_JAVA_HOME)
cmake_path(GET VORNIX_JAVA_HOME PARENT_PATH VORNIX_JAVA_HOME)

# Entries of a jar carry this date, so that the same sources give the same bytes.
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  string(TIMESTAMP VORNIX_JAR_DATE "%Y-%m-%dT%H:%M:%SZ" UTC)
else()
  set(VORNIX_JAR_DATE "1980-01-01T00:00:02Z")
endif()

# vornix_add_classes(<target> SOURCES <file>... [CLASSPATH <jar>...] [CLASSES <target of this function>...]
#                    [DEPENDS <target that makes a jar>...] [RELEASE <release>])
#
# Compiles into the folder that the target's property CLASSES names; its property STAMP names a file as old as that.
function(vornix_add_classes target)
  cmake_parse_arguments(PARSE_ARGV 1 ARG "" "RELEASE" "SOURCES;CLASSPATH;CLASSES;DEPENDS")
  if(NOT ARG_RELEASE)
    set(ARG_RELEASE 8)
  endif()
  set(classes ${CMAKE_CURRENT_BINARY_DIR}/${target}.classes)
  set(sources)
  foreach(source IN LISTS ARG_SOURCES)
    cmake_path(ABSOLUTE_PATH source)
    list(APPEND sources ${source})
  endforeach()
  set(stamps)
  set(classpath ${classes} ${ARG_CLASSPATH})
  foreach(other IN LISTS ARG_CLASSES)
    get_target_property(stamp ${other} STAMP)
    get_target_property(folder ${other} CLASSES)
    list(APPEND stamps ${stamp})
    list(APPEND classpath ${folder})
  endforeach()
  list(JOIN classpath ":" classpath)
  # -options: newer compilers warn about old releases.
  add_custom_command(
    OUTPUT ${classes}.stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${classes}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${classes}
    COMMAND ${Java_JAVAC_EXECUTABLE} --release ${ARG_RELEASE} -encoding UTF-8 -g -proc:none
            -Xlint:all,-options,-serial,-path -Werror --class-path "${classpath}" -d ${classes} ${sources}
    COMMAND ${CMAKE_COMMAND} -E touch ${classes}.stamp
    DEPENDS ${sources} ${ARG_CLASSPATH} ${stamps} ${ARG_CLASSES} ${ARG_DEPENDS}
    COMMENT "Compiling the Java classes of ${target}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${classes}.stamp)
  set_target_properties(${target} PROPERTIES CLASSES ${classes} STAMP ${classes}.stamp)
endfunction()

# vornix_add_jar(<target> <file.jar> MANIFEST <file> CONTENT <argument of jar>... DEPENDS <file or target>...)
#
# Packs a jar, with the licence, into the top build folder; the target's property JAR names it.
function(vornix_add_jar target name)
  cmake_parse_arguments(PARSE_ARGV 2 ARG "" "MANIFEST" "CONTENT;DEPENDS")
  set(jar ${PROJECT_BINARY_DIR}/${name})
  set(licensed ${CMAKE_CURRENT_BINARY_DIR}/${target}.licensed)
  set(manifest)
  if(ARG_MANIFEST)
    set(manifest --manifest=${ARG_MANIFEST})
  endif()
  add_custom_command(
    OUTPUT ${jar}
    COMMAND ${CMAKE_COMMAND} -E copy ${PROJECT_SOURCE_DIR}/LICENSE ${licensed}/META-INF/LICENSE
    COMMAND ${Java_JAR_EXECUTABLE} --create --file=${jar} ${manifest} --date=${VORNIX_JAR_DATE}
            -C ${licensed} META-INF ${ARG_CONTENT}
    DEPENDS ${PROJECT_SOURCE_DIR}/LICENSE ${ARG_MANIFEST} ${ARG_DEPENDS}
    COMMENT "Packing ${name}"
    VERBATIM)
  add_custom_target(${target} ALL DEPENDS ${jar})
  set_target_properties(${target} PROPERTIES JAR ${jar})
endfunction()
