// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.support.ChildJvm;
import jvm.support.Result;
import jvm.support.ScriptedToken;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.io.File;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

import javax.tools.ToolProvider;

/** An application that is a module itself, compiled and run by the Java that runs this test. */
class NamedModuleTest extends ScriptedToken {
    private static final String MODULE = "com.tovr.smartcard.vornixtoken";

    @TempDir
    Path folder;

    @Test
    void aModuleReadsAToken() throws Exception {
        String jar = System.getProperty("vornix.jar");
        compile(jar, "System.out.println(new Token(arguments[0], arguments[1]).readInfo().getLabel());");

        assertPrints("Scripted Token\n", run(new ChildJvm(), jar));
    }

    @Test
    void aModuleFindsTheLibraryInTheJar() throws Exception {
        String jar = System.getProperty("vornix.platform.jar");
        compile(jar, "NativeLibrary.load();",
                "System.out.println(" + MODULE + ".api.Pkcs11Wrapper.class.getModule());");

        assertPrints("module " + MODULE + "\n", run(new ChildJvm(folder.toString()), jar));
    }

    private void compile(String jar, String... body) throws Exception {
        Path descriptor = Files.write(folder.resolve("module-info.java"),
                Arrays.asList("module application { requires " + MODULE + "; }"));
        Path program = Files.write(folder.resolve("Main.java"), Arrays.asList(
                "package application;",
                "import " + MODULE + ".*;",
                "public class Main { public static void main(String[] arguments) throws Exception {",
                String.join("\n", body), "} }"));
        assertEquals(0, ToolProvider.getSystemJavaCompiler().run(null, null, null, "-Xlint:all", "-Werror",
                "--module-path", jar, "-d", folder.resolve("classes").toString(),
                descriptor.toString(), program.toString()));
    }

    private Result run(ChildJvm jvm, String jar) throws Exception {
        return jvm.grant(MODULE)
                .options("--module-path", jar + File.pathSeparator + folder.resolve("classes"))
                .launch("--module", "application/application.Main", module, READER);
    }

    private static void assertPrints(String out, Result result) {
        assertEquals(out, result.out, result::toString);
        assertEquals("", result.err);
    }
}
