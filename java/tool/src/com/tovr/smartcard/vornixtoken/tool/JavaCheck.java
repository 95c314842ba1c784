// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.NativeLibrary;
import com.tovr.smartcard.vornixtoken.Token;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.util.stream.Stream;

/** Java and the two native libraries. */
final class JavaCheck {
    private static final String NATIVES = "libVornixToken_Javalib.so";
    private static final String SESSIONS = "libvornixtoken_session.so";

    private JavaCheck() {
    }

    static void run(Findings java, Findings library) {
        java.ok(System.getProperty("java.version") + " of " + System.getProperty("java.vendor") + ", "
                + System.getProperty("os.arch") + ", in " + System.getProperty("java.home"));
        if (!JavaRuntime.hasNativeAccess()) {
            java.warn("it warns of native libraries, and later releases will refuse them",
                    "start it with --enable-native-access=ALL-UNNAMED, or use the launcher vornixtoken-tool");
        }
        load(SESSIONS, () -> Token.in("").reader("none").build(), library);
        load(NATIVES, NativeLibrary::load, library);
    }

    private static void load(String name, Runnable loading, Findings library) {
        try {
            loading.run();
            library.ok(name + " in " + place(name));
        } catch (UnsatisfiedLinkError failure) {
            library.problem(failure.getMessage().replaceAll("\n- ", " - "),
                    "install the package libvornixtoken-jni, or name the file by -Dvornixtoken."
                            + (name.equals(SESSIONS) ? "sessionLibrary" : "library") + "=FILE in JAVA_TOOL_OPTIONS");
        }
    }

    /** The loader's own answer; a copy from the jar is removed as soon as it is loaded. */
    private static String place(String name) {
        try (Stream<String> lines = Files.lines(Paths.get("/proc/self/maps"))) {
            return lines.filter(line -> line.contains("/" + name)).map(line -> line.substring(line.indexOf('/')))
                    .findFirst().map(file -> file.endsWith(" (deleted)") ? "the jar" : file).orElse("memory");
        } catch (IOException unknown) {
            return "memory";
        }
    }
}
