# SPDX-License-Identifier: Apache-2.0
# Read by CPack. dpkg-architecture names the architecture of packages that are built for another one than this machine's.
if(DEFINED ENV{DEB_HOST_ARCH})
  set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE $ENV{DEB_HOST_ARCH})
endif()

# What the packages need besides the shared libraries, which dpkg-shlibdeps finds.
set(CPACK_DEBIAN_JNI_PACKAGE_RECOMMENDS "pcscd")
set(CPACK_DEBIAN_JAVA_PACKAGE_DEPENDS "libvornixtoken-jni (>= ${CPACK_PACKAGE_VERSION})")
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libvornixtoken-jni (= ${CPACK_PACKAGE_VERSION}), libp11-kit-dev")
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
    "libvornixtoken-java (= ${CPACK_PACKAGE_VERSION}), libpicocli-java, default-jre-headless | java8-runtime-headless")
set(CPACK_DEBIAN_SOFTTOKEN_PACKAGE_DEPENDS "libsofthsm2")
