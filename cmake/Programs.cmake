# SPDX-License-Identifier: Apache-2.0
# Other people's programs and modules: the software token, the tests and the benchmarks look for them here. If
# one is missing, the message quotes its DOC text.
find_file(VORNIX_SOFTHSM2_MODULE libsofthsm2.so
          PATHS /usr/lib /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE} /usr/lib64 /usr/local/lib
          PATH_SUFFIXES softhsm
          DOC "SoftHSM2's module")
find_program(VORNIX_SOFTHSM2_UTIL softhsm2-util DOC "SoftHSM2's program")
find_program(VORNIX_OPENSSL openssl DOC "OpenSSL's program")
find_file(VORNIX_GOST_ENGINE gost.so PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE}/engines-3
          DOC "OpenSSL's GOST engine")
find_program(VORNIX_CERTTOOL certtool DOC "GnuTLS's certificate program")
find_program(VORNIX_PKCS11_TOOL pkcs11-tool DOC "OpenSC's PKCS #11 program")
find_file(VORNIX_OPENSC_MODULE opensc-pkcs11.so
          PATHS /usr/lib/${CMAKE_LIBRARY_ARCHITECTURE} /usr/lib64 /usr/lib /usr/local/lib
          DOC "OpenSC's module")
find_library(VORNIX_P11_KIT_LIBRARY p11-kit DOC "p11-kit, which shows the modules of a machine")
find_program(VORNIX_KEYTOOL keytool HINTS ENV JAVA_HOME PATH_SUFFIXES bin DOC "The JDK's key store program")

set(package_of_SOFTHSM2_MODULE softhsm2)
set(package_of_SOFTHSM2_UTIL softhsm2)
set(package_of_OPENSSL openssl)
set(package_of_CERTTOOL gnutls-bin)
set(package_of_PKCS11_TOOL opensc)
set(package_of_OPENSC_MODULE opensc)
set(package_of_KEYTOOL default-jdk-headless)
set(package_of_P11_KIT_LIBRARY libp11-kit-dev)

# vornix_require_programs(<name>...)
#
# Stops with a message where one of the above, named without VORNIX_, was not found.
function(vornix_require_programs)
  foreach(name IN LISTS ARGN)
    get_property(what CACHE VORNIX_${name} PROPERTY HELPSTRING)
    vornix_require("${what}" ${package_of_${name}} VORNIX_${name})
  endforeach()
endfunction()
