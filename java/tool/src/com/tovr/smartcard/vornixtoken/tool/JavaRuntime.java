// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

/** The Java that runs the tool. */
final class JavaRuntime {
    /** From this release on Java wants to be told which code may load native libraries. */
    static final int NATIVE_ACCESS_IS_ASKED_FOR = 24;

    private JavaRuntime() {
    }

    /** The release's number. Java 8 has no class that tells it; its class files have version 52, and so on. */
    static int release() {
        return (int) Double.parseDouble(System.getProperty("java.class.version")) - 44;
    }

    /** Tells whether native libraries may be loaded without a warning. By reflection, because Java 8 has no modules. */
    static boolean hasNativeAccess() {
        if (release() < NATIVE_ACCESS_IS_ASKED_FOR) {
            return true; // 20 to 23 know the question too, but ask it of other code only
        }
        try {
            Object module = Class.class.getMethod("getModule").invoke(JavaRuntime.class);
            return (Boolean) module.getClass().getMethod("isNativeAccessEnabled").invoke(module);
        } catch (ReflectiveOperationException earlier) {
            return true;
        }
    }
}
