// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

/** The Java that runs the tool. */
final class JavaRuntime {
    /** From this release on Java wants to be told which code may load native libraries. */
    static final int NATIVE_ACCESS_IS_ASKED_FOR = 22;

    private JavaRuntime() {
    }

    static int release() {
        String release = System.getProperty("java.specification.version");
        return Integer.parseInt(release.startsWith("1.") ? release.substring(2) : release);
    }

    /** Tells whether native libraries may be loaded without a warning. By reflection, because Java 8 has no modules. */
    static boolean hasNativeAccess() {
        try {
            Object module = Class.class.getMethod("getModule").invoke(JavaRuntime.class);
            return (Boolean) module.getClass().getMethod("isNativeAccessEnabled").invoke(module);
        } catch (ReflectiveOperationException earlier) {
            return true;
        }
    }
}
