# SPDX-License-Identifier: Apache-2.0
# Debian packages by CPack, one for each component that Install.cmake names. They are built with the prefix /usr: the
# preset "packages" does so. What the packages contain beside the installed files is made by packaging/debian/finish.cmake.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vornixtoken)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_GROUPING IGNORE)
set(CPACK_COMPONENTS_ALL jni java dev tools softtoken)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/debian/finish.cmake)
# Read when packages are made, so that a version given to cpack is in the dependencies too.
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/debian/control.cmake)
set(CPACK_VORNIX_FILES ${PROJECT_SOURCE_DIR}/packaging/debian)
set(CPACK_VORNIX_CHANGELOG ${PROJECT_SOURCE_DIR}/CHANGELOG.md)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
# Who distributes packages sets it. Nobody reads mail to this address: example.org is reserved.
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "The VornixToken authors <vornixtoken@packages.example.org>"
    CACHE STRING "Who answers for the Debian packages: NAME <ADDRESS>")
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)

# vornix_describe_package(<component> <package> <section> <architecture or ""> <what it is> <longer description>)
macro(vornix_describe_package component package section architecture what description)
  string(TOUPPER ${component} upper)
  set(CPACK_DEBIAN_${upper}_PACKAGE_NAME ${package})
  set(CPACK_DEBIAN_${upper}_PACKAGE_SECTION ${section})
  set(CPACK_DEBIAN_${upper}_DESCRIPTION "${what}\n${description}")
  if("${architecture}" STREQUAL "all")
    set(CPACK_DEBIAN_${upper}_PACKAGE_ARCHITECTURE all)
    set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS OFF)
  else()
    set(CPACK_DEBIAN_${upper}_PACKAGE_MULTIARCH ${architecture})
    set(CPACK_DEBIAN_${upper}_PACKAGE_SHLIBDEPS ON)
  endif()
endmacro()

set(purpose "VornixToken drives a cryptographic smart-card token through the
PKCS #11 module of its maker: PINs, objects, certificates, key pairs,
PKCS #7 signatures and certificate requests.")
vornix_describe_package(jni libvornixtoken-jni java same "smart-card tokens for Java and C++ - native library"
  "${purpose}\n.\nThis package has the library that Java loads and C++ programs link.")
vornix_describe_package(java libvornixtoken-java java all "smart-card tokens for Java - classes"
  "${purpose}\n.\nThis package has the classes.")
vornix_describe_package(dev libvornixtoken-dev libdevel same "smart-card tokens for C++ - development files"
  "${purpose}\n.\nThis package has the C++ headers and the files for CMake and pkg-config.")
vornix_describe_package(tools vornixtoken-tools utils all "smart-card tokens on the command line"
  "${purpose}\n.\nThis package has the command-line tool vornixtoken-tool.")
vornix_describe_package(softtoken vornixtoken-softtoken utils same "token in software for development"
  "${purpose}\n.\nThis package has a PKCS #11 module in software, which stands in for a token.
It keeps keys in files and does not protect them.")

# The loader finds the library as soon as the package is there.
set(CPACK_DEBIAN_JNI_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
include(CPack)
