# SPDX-License-Identifier: Apache-2.0
# What the library itself builds against. Each failure names what is missing and the Debian package that has it.
find_program(VORNIX_JAVAC javac HINTS ENV JAVA_HOME PATH_SUFFIXES bin DOC "The Java compiler")
mark_as_advanced(VORNIX_JAVAC)
if(VORNIX_JAVAC) # the headers are in the folder beside its own
  get_filename_component(javac ${VORNIX_JAVAC} REALPATH) # CMake 3.18 has no file(REAL_PATH)
  get_filename_component(jdk ${javac}/../.. ABSOLUTE)
endif()
find_path(JNI_INCLUDE_DIR jni.h
          HINTS ENV JAVA_HOME ${jdk}
          PATHS /usr/lib/jvm/default-java
          PATH_SUFFIXES include
          DOC "Folder of jni.h")
find_path(JNI_MD_INCLUDE_DIR jni_md.h HINTS ${JNI_INCLUDE_DIR}/linux DOC "Folder of jni_md.h")
find_path(PKCS11_INCLUDE_DIR p11-kit/pkcs11.h PATH_SUFFIXES p11-kit-1 DOC "Folder of p11-kit/pkcs11.h")
find_path(PCSCLITE_INCLUDE_DIR winscard.h PATH_SUFFIXES PCSC DOC "Folder of winscard.h")
find_library(PCSCLITE_LIBRARY pcsclite DOC "The PC/SC client library")

# vornix_require(<what> <Debian package> <variable>...)
#
# Stops with a message where a variable is empty or ends in NOTFOUND.
function(vornix_require what package)
  foreach(variable IN LISTS ARGN)
    if(NOT ${variable})
      string(REGEX REPLACE ".*_FOUND$" "CMAKE_PREFIX_PATH" setting ${variable})
      message(FATAL_ERROR "${what} not found: install ${package} (Debian) or set ${setting}")
    endif()
  endforeach()
endfunction()

vornix_require("The JNI headers" "default-jdk-headless" JNI_INCLUDE_DIR JNI_MD_INCLUDE_DIR)
vornix_require("A PKCS #11 header" "libp11-kit-dev" PKCS11_INCLUDE_DIR)
vornix_require("The PC/SC client library" "libpcsclite-dev" PCSCLITE_INCLUDE_DIR PCSCLITE_LIBRARY)

add_library(vornix_pkcs11 INTERFACE)
target_include_directories(vornix_pkcs11 SYSTEM INTERFACE ${PKCS11_INCLUDE_DIR})

add_library(vornix_jni_headers INTERFACE)
target_include_directories(vornix_jni_headers SYSTEM INTERFACE ${JNI_INCLUDE_DIR} ${JNI_MD_INCLUDE_DIR})

add_library(vornix_pcsc INTERFACE)
target_include_directories(vornix_pcsc SYSTEM INTERFACE ${PCSCLITE_INCLUDE_DIR})
target_link_libraries(vornix_pcsc INTERFACE ${PCSCLITE_LIBRARY})
