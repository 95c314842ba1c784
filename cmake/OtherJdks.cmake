# SPDX-License-Identifier: Apache-2.0
# vornix_find_other_jdks(<folder> <release> <variable for releases> <variable for javas>)
#
# Looks in a folder of JDKs for every release from 11 on but the given one, and gives two lists, in ascending order: the
# releases, such as 21, and for each the first java found. Updates do not count: the same JDK calls itself 17.0.21 here
# and 17.0.21.1 there.
function(vornix_find_other_jdks folder release releases_variable javas_variable)
  set(found)
  file(GLOB compilers ${folder}/*/bin/javac)
  foreach(compiler IN LISTS compilers)
    cmake_path(REPLACE_FILENAME compiler java OUTPUT_VARIABLE java)
    execute_process(COMMAND ${java} -version ERROR_VARIABLE told OUTPUT_QUIET)
    if(told MATCHES "version \"([0-9]+)")
      set(other ${CMAKE_MATCH_1})
      if(other GREATER_EQUAL 11 AND NOT other EQUAL release AND NOT other IN_LIST found)
        list(APPEND found ${other})
        set(java_of_${other} ${java})
      endif()
    endif()
  endforeach()
  list(SORT found COMPARE NATURAL)
  set(javas)
  foreach(other IN LISTS found)
    list(APPEND javas ${java_of_${other}})
  endforeach()
  set(${releases_variable} "${found}" PARENT_SCOPE)
  set(${javas_variable} "${javas}" PARENT_SCOPE)
endfunction()
