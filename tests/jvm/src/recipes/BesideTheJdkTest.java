// SPDX-License-Identifier: Apache-2.0
package recipes;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;

import jvm.support.ChildJvm;
import jvm.support.Processes;
import jvm.support.Result;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.w3c.dom.Document;
import org.w3c.dom.Node;

import java.io.ByteArrayInputStream;
import java.io.OutputStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.jar.JarEntry;
import java.util.jar.JarOutputStream;

import javax.xml.crypto.dsig.XMLSignature;
import javax.xml.crypto.dsig.XMLSignatureFactory;
import javax.xml.crypto.dsig.dom.DOMValidateContext;
import javax.xml.parsers.DocumentBuilderFactory;

/** The provider keeps the login for as long as its process lives, so it gets a process of its own. */
@Tag("softtoken")
class BesideTheJdkTest extends IssuedToken {
    @Test
    void oneKeyServesTheProviderAndTheToken() throws Exception {
        Path jar = folder.resolve("plain.jar");
        try (OutputStream file = Files.newOutputStream(jar); JarOutputStream out = new JarOutputStream(file)) {
            out.putNextEntry(new JarEntry("entry"));
            out.write(1);
        }
        String xml = write("plain.xml", "<letter><line>I owe you</line></letter>".getBytes(StandardCharsets.UTF_8));

        Result result = new ChildJvm().environment("VORNIX_USER_PIN", PIN).run(BesideTheJdk.class, MODULE, READER,
                BatchIssuing.ID.toString(), folder.resolve("ca.pem").toString(), jar.toString(), xml, folder.toString());

        assertEquals("TLSv1.3 with CN=Alice, O=Example\n", result.out, result::toString);
        assertEquals(0, result.status);
        for (String name : new String[] {"before.p7s", "between.p7s", "after.p7s"}) {
            VerifyWithJdk.verify(Files.readAllBytes(folder.resolve(name)), "hello".getBytes(StandardCharsets.UTF_8),
                    authority());
        }
        String judged = Processes.run(Paths.get(System.getProperty("java.home"), "bin", "jarsigner").toString(),
                "-verify", folder.resolve("signed.jar").toString());
        assertTrue(judged.contains("jar verified."), judged);
        assertValid(Files.readAllBytes(folder.resolve("signed.xml")), true);
        assertValid(new String(Files.readAllBytes(folder.resolve("signed.xml")), StandardCharsets.UTF_8)
                .replace("owe", "own").getBytes(StandardCharsets.UTF_8), false);
    }

    private static void assertValid(byte[] xml, boolean expected) throws Exception {
        DocumentBuilderFactory parsers = DocumentBuilderFactory.newInstance();
        parsers.setNamespaceAware(true);
        Document document = parsers.newDocumentBuilder().parse(new ByteArrayInputStream(xml));
        Node signature = document.getElementsByTagNameNS(XMLSignature.XMLNS, "Signature").item(0);
        try (Pin pin = pin()) {
            DOMValidateContext context =
                    new DOMValidateContext(token().readPublicKey(pin, ALICE), signature);
            assertEquals(expected, XMLSignatureFactory.getInstance("DOM").unmarshalXMLSignature(context).validate(context));
        }
    }
}
