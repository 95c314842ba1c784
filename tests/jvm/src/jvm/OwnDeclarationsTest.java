// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import jvm.support.ChildJvm;
import jvm.support.ScriptedToken;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Arrays;

import javax.tools.ToolProvider;

/** An application that has the library alone, with declarations of its own: methods of an object, and a raw list. */
class OwnDeclarationsTest extends ScriptedToken {
    private static final String API = "com.tovr.smartcard.vornixtoken.api";
    private static final String LISTING = "certificate alice 01\npublic key alice 01\nprivate key alice 01\n"
            + "public key boris 02ff\nprivate key boris 02ff\ndata note \n";

    @TempDir
    Path folder;

    @Test
    void serveAsWell() throws Exception {
        assertEquals("0\n" + LISTING, listWith("public void setKeyType(String text) { }"));
    }

    /** The objects are there; what could not be told of them is told when the call returns. */
    @Test
    void withoutAKeyTypeMissIt() throws Exception {
        assertEquals("java.lang.NoSuchMethodError: setKeyType\n" + LISTING, listWith(""));
    }

    private String listWith(String keyTypeSetter) throws Exception {
        Path attribute = source("Pkcs11ObjectAttribute",
                "public class Pkcs11ObjectAttribute {",
                "    private String shown = \"\";",
                "    public void setType(String text) { shown += text; }",
                "    public void setLabel(String text) { shown += \" \" + text; }",
                "    public void setId(String text) { shown += \" \" + text; }",
                keyTypeSetter,
                "    @Override public String toString() { return shown; }",
                "}");
        Path wrapper = source("Pkcs11Wrapper",
                "import java.util.ArrayList;",
                "public class Pkcs11Wrapper {",
                "    public native long listObjects(String terminal, String module, byte[] pin, ArrayList objects);",
                "    public static void main(String[] arguments) {",
                "        System.loadLibrary(\"VornixToken_Javalib\");",
                "        ArrayList<?> objects = new ArrayList<>();",
                "        try {",
                "            System.out.println(new Pkcs11Wrapper().listObjects(",
                "                    arguments[1], arguments[0], arguments[2].getBytes(), objects));",
                "        } catch (NoSuchMethodError missing) {",
                "            System.out.println(missing);",
                "        }",
                "        objects.forEach(System.out::println);",
                "    }",
                "}");
        assertEquals(0, ToolProvider.getSystemJavaCompiler().run(null, null, null,
                "-d", folder.toString(), attribute.toString(), wrapper.toString()));
        return new ChildJvm().grant("ALL-UNNAMED").options("-cp", folder.toString(), API + ".Pkcs11Wrapper")
                .launch(module, READER, new String(PIN)).out;
    }

    private Path source(String name, String... lines) throws IOException {
        Path file = folder.resolve(name + ".java");
        Files.write(file, Arrays.asList("package " + API + ";", String.join("\n", lines)));
        return file;
    }
}
