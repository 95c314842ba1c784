// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.security.KeyStore;
import java.security.cert.X509Certificate;
import java.util.HashMap;
import java.util.Map;

/** Certificates made by the JDK's keytool. */
public final class KeyTool {
    private static final String PASSWORD = "password";
    private static final Map<String, X509Certificate> MADE = new HashMap<>();

    private KeyTool() {
    }

    /** Returns a self-signed certificate of this name, the same one each time. */
    public static synchronized X509Certificate certificate(String name) throws Exception {
        X509Certificate made = MADE.get(name);
        if (made == null) {
            made = make(name);
            MADE.put(name, made);
        }
        return made;
    }

    private static X509Certificate make(String name) throws Exception {
        Path folder = Files.createTempDirectory("keytool");
        Path store = folder.resolve("store.p12");
        try {
            Processes.run(Paths.get(System.getProperty("java.home"), "bin", "keytool").toString(),
                    "-J-XX:TieredStopAtLevel=1", "-J-XX:+UseSerialGC", "-genkeypair",
                    "-alias", "a", "-keyalg", "RSA", "-keysize", "1024", "-dname", name, "-storetype", "PKCS12",
                    "-storepass", PASSWORD, "-keystore", store.toString());
            KeyStore keys = KeyStore.getInstance("PKCS12");
            try (InputStream content = Files.newInputStream(store)) {
                keys.load(content, PASSWORD.toCharArray());
            }
            return (X509Certificate) keys.getCertificate("a");
        } finally {
            Files.deleteIfExists(store);
            Files.delete(folder);
        }
    }
}
