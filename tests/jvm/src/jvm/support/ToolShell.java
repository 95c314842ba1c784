// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;

/** Lines of shell in which the command-line tool is called `tool`; module and reader are in its environment. */
public final class ToolShell {
    private ToolShell() {
    }

    /** Returns what the lines print, on standard output or standard error. */
    public static String run(String module, String lines) throws IOException, InterruptedException {
        return Processes.run("env", "JAVA_HOME=" + System.getProperty("java.home"), "VORNIX_MODULE=" + module,
                "VORNIX_TERMINAL=" + Scripted.READER, "sh", "-c",
                "tool() { '" + Tool.LAUNCHER + "' \"$@\"; }\n" + lines);
    }
}
