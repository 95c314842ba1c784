# SPDX-License-Identifier: Apache-2.0
# What `cmake --install` puts where. Each component but "prefix" is a Debian package too: see Packages.cmake.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)


set(prepared ${PROJECT_BINARY_DIR}/prepared)
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/VornixToken)
set(headers_folder ${CMAKE_INSTALL_INCLUDEDIR}/vornixtoken)
set(java_folder ${CMAKE_INSTALL_DATADIR}/java)
set(tool_folder ${CMAKE_INSTALL_DATADIR}/vornixtoken)

# vornix_install_link(<folder> <name> <target of the link> <component>)
#
# Folder and target are names below the prefix. An absolute target is linked as it is.
function(vornix_install_link folder name target component)
  string(MAKE_C_IDENTIFIER ${folder} distinct)
  if(NOT IS_ABSOLUTE ${target})
    file(RELATIVE_PATH target /prefix/${folder} /prefix/${target})
  endif()
  file(MAKE_DIRECTORY ${prepared}/${distinct})
  file(CREATE_LINK ${target} ${prepared}/${distinct}/${name} SYMBOLIC)
  install(FILES ${prepared}/${distinct}/${name} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# vornix_path_back(<installed folder> <variable>)
#
# The way from a folder of the prefix back to the prefix.
function(vornix_path_back folder variable)
  file(RELATIVE_PATH back /prefix/${folder} /prefix)
  string(REGEX REPLACE "/$" "" back ${back})
  set(${variable} ${back} PARENT_SCOPE)
endfunction()

# Comes first, so that an installation that cannot succeed does not begin.
list(TRANSFORM native_libraries REPLACE "(.+)" "$<TARGET_FILE:\\1>" OUTPUT_VARIABLE built_files)
if(VORNIX_SOFTTOKEN)
  list(APPEND built_files $<TARGET_FILE:vornix_softtoken>)
endif()
if(VORNIX_JAVA)
  list(APPEND built_files $<TARGET_PROPERTY:vornixtoken_jar,JAR> $<TARGET_PROPERTY:vornixtoken_tool_jar,JAR>
       $<TARGET_PROPERTY:vornixtoken_tool_pages,FILE>)
endif()
install(CODE "set(built_files \"${built_files}\")" COMPONENT prefix)
set(installed_folders ${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_LIBDIR} ${CMAKE_INSTALL_INCLUDEDIR}
    ${CMAKE_INSTALL_DATADIR})
configure_file(cmake/CheckPrefix.cmake.in ${prepared}/CheckPrefix.cmake @ONLY)
install(SCRIPT ${prepared}/CheckPrefix.cmake COMPONENT prefix)

# Programs that link a library find it in the system's folder, Java in the folder jni below.
install(TARGETS ${native_libraries} EXPORT VornixTokenTargets
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT jni
        PUBLIC_HEADER DESTINATION ${headers_folder} COMPONENT dev
        INCLUDES DESTINATION ${headers_folder})
foreach(library IN LISTS native_libraries)
  set(file ${CMAKE_SHARED_LIBRARY_PREFIX}${library}${CMAKE_SHARED_LIBRARY_SUFFIX})
  vornix_install_link(${CMAKE_INSTALL_LIBDIR}/jni ${file} ${CMAKE_INSTALL_LIBDIR}/${file} jni)
endforeach()

install(EXPORT VornixTokenTargets NAMESPACE VornixToken:: DESTINATION ${package_folder} COMPONENT dev)
configure_package_config_file(cmake/VornixTokenConfig.cmake.in ${prepared}/VornixTokenConfig.cmake
                              INSTALL_DESTINATION ${package_folder} NO_SET_AND_CHECK_MACRO)
# The file itself tells a wrong architecture, and more clearly.
write_basic_package_version_file(${prepared}/VornixTokenConfigVersion.cmake COMPATIBILITY SameMajorVersion
                                 ARCH_INDEPENDENT)
install(FILES ${prepared}/VornixTokenConfig.cmake ${prepared}/VornixTokenConfigVersion.cmake
        DESTINATION ${package_folder} COMPONENT dev)
vornix_path_back(${CMAKE_INSTALL_LIBDIR}/pkgconfig prefix_from_pkgconfig)
configure_file(cmake/vornixtoken.pc.in ${prepared}/vornixtoken.pc @ONLY)
install(FILES ${prepared}/vornixtoken.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)

# Packages have their licence in folders of their own.
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/vornixtoken COMPONENT prefix)

if(VORNIX_SOFTTOKEN)
  install(TARGETS vornix_softtoken LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkcs11 COMPONENT softtoken)
endif()

if(VORNIX_JAVA)
  set(versioned_jar vornixtoken-${PROJECT_VERSION}.jar)
  install(FILES $<TARGET_PROPERTY:vornixtoken_jar,JAR> DESTINATION ${java_folder} RENAME ${versioned_jar}
          COMPONENT java)
  vornix_install_link(${java_folder} vornixtoken.jar ${java_folder}/${versioned_jar} java)

  # The tool's jar looks for the others beside itself.
  install(FILES $<TARGET_PROPERTY:vornixtoken_tool_jar,JAR> DESTINATION ${tool_folder} COMPONENT tools)
  vornix_install_link(${tool_folder} vornixtoken.jar ${java_folder}/vornixtoken.jar tools)
  string(REGEX REPLACE "^${CMAKE_INSTALL_PREFIX}/" "" picocli ${PICOCLI_JAR})
  vornix_install_link(${tool_folder} picocli.jar ${picocli} tools)
  # Java looks into the system's folder by itself, which is where packages have the libraries.
  vornix_install_link(${tool_folder} jni ${CMAKE_INSTALL_LIBDIR}/jni prefix)

  vornix_path_back(${CMAKE_INSTALL_BINDIR} prefix_from_launcher)
  set(VORNIX_JARS /${prefix_from_launcher}/${tool_folder})
  configure_file(java/tool/vornixtoken-tool ${prepared}/vornixtoken-tool @ONLY)
  install(PROGRAMS ${prepared}/vornixtoken-tool DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
  install(DIRECTORY $<TARGET_PROPERTY:vornixtoken_tool_pages,FOLDER_OF_PAGES>/man/ DESTINATION ${CMAKE_INSTALL_MANDIR}
          COMPONENT tools)
  install(DIRECTORY $<TARGET_PROPERTY:vornixtoken_tool_pages,FOLDER_OF_PAGES>/ DESTINATION ${CMAKE_INSTALL_DATADIR}
          COMPONENT tools PATTERN man EXCLUDE)
  # Debian's zsh looks for packages' functions in the one folder, and for those of /usr/local in the other.
  vornix_install_link(${CMAKE_INSTALL_DATADIR}/zsh/site-functions _vornixtoken-tool
                      ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions/_vornixtoken-tool prefix)
endif()
