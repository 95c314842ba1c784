// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.nio.file.Paths;

/** Lines of shell in which the command-line tool is called `tool`; module and reader are in its environment. */
public final class ToolShell {
    private static final String JAR = System.getProperty("vornix.tool");
    private static final String JAVA = Paths.get(System.getProperty("java.home"), "bin", "java").toString();

    private ToolShell() {
    }

    /** Returns what the lines print, on standard output or standard error. */
    public static String run(String module, String lines) throws IOException, InterruptedException {
        return Processes.run("env", "VORNIX_MODULE=" + module, "VORNIX_TERMINAL=" + Scripted.READER, "sh", "-c",
                "tool() { '" + JAVA + "' " + String.join(" ", ChildJvm.QUICK_START) + " -jar '" + JAR + "' \"$@\"; }\n"
                        + lines);
    }
}
