// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import picocli.CommandLine;

import java.io.PrintWriter;
import java.io.StringWriter;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/** The command-line tool, and how it is run in this process. */
public final class Tool {
    public static final Path JAR = Paths.get(System.getProperty("vornix.tool"));
    public static final Path LAUNCHER = JAR.resolveSibling("vornixtoken-tool");
    static final Path ARCHIVE = JAR.resolveSibling("vornixtoken-tool.jsa");

    private Tool() {
    }

    public static Result run(String... arguments) {
        StringWriter out = new StringWriter();
        StringWriter err = new StringWriter();
        CommandLine tool = VornixTokenTool.commandLine().setOut(new PrintWriter(out)).setErr(new PrintWriter(err));
        return new Result(tool.execute(arguments), out.toString(), err.toString());
    }

    /** Runs a command on a token. */
    public static Result runOn(String module, String reader, String command, String... arguments) {
        List<String> all = new ArrayList<>(Arrays.asList(command, "--module", module, "--terminal", reader));
        all.addAll(Arrays.asList(arguments));
        return run(all.toArray(new String[0]));
    }

    public static void assertPrints(String out, Result result) {
        assertEquals("", result.err);
        assertEquals(out, result.out);
        assertEquals(0, result.status);
    }
}
