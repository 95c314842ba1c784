# SPDX-License-Identifier: Apache-2.0
# vornix_find_newer_jdk(<folder> <release> <variable for java> <variable for its release>)
#
# Looks in a folder of JDKs for the one of the highest release, such as 21, beyond the given one; leaves both variables
# empty where there is none. Updates do not count: the same JDK calls itself 17.0.21 here and 17.0.21.1 there.
function(vornix_find_newer_jdk folder release runtime_variable release_variable)
  set(newest_runtime)
  set(newest_release)
  file(GLOB compilers ${folder}/*/bin/javac)
  foreach(compiler IN LISTS compilers)
    cmake_path(REPLACE_FILENAME compiler java OUTPUT_VARIABLE runtime)
    execute_process(COMMAND ${runtime} -version ERROR_VARIABLE told OUTPUT_QUIET)
    if(told MATCHES "version \"([0-9]+)" AND CMAKE_MATCH_1 GREATER release)
      set(release ${CMAKE_MATCH_1})
      set(newest_runtime ${runtime})
      set(newest_release ${release})
    endif()
  endforeach()
  set(${runtime_variable} "${newest_runtime}" PARENT_SCOPE)
  set(${release_variable} "${newest_release}" PARENT_SCOPE)
endfunction()
