package jvm.support;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import picocli.CommandLine;

import java.io.PrintWriter;
import java.io.StringWriter;

/** Runs the command-line tool in this process. */
public final class Tool {
    private Tool() {
    }

    public static Result run(String... arguments) {
        StringWriter out = new StringWriter();
        StringWriter err = new StringWriter();
        CommandLine tool = VornixTokenTool.commandLine().setOut(new PrintWriter(out)).setErr(new PrintWriter(err));
        return new Result(tool.execute(arguments), out.toString(), err.toString());
    }

    public static void assertPrints(String out, Result result) {
        assertEquals("", result.err);
        assertEquals(out, result.out);
        assertEquals(0, result.status);
    }
}
