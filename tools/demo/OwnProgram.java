// SPDX-License-Identifier: Apache-2.0
package demo;

import java.net.URISyntaxException;
import java.nio.file.Path;

/** What this program runs from. */
final class OwnProgram {
    private OwnProgram() {
    }

    static String java() {
        return Path.of(System.getProperty("java.home"), "bin", "java").toString();
    }

    static Path jar() {
        try {
            return Path.of(OwnProgram.class.getProtectionDomain().getCodeSource().getLocation().toURI());
        } catch (URISyntaxException impossible) {
            throw new IllegalStateException(impossible);
        }
    }
}
