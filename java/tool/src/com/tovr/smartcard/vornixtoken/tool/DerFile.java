// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.IOException;
import java.nio.file.Path;
import java.util.Arrays;
import java.util.List;

/** Files that hold a structure in DER or in PEM. Of several blocks the first of the wanted kind counts. */
final class DerFile {
    private DerFile() {
    }

    /** Reads a certificate; a chain begins with the one for which the others vouch. */
    static byte[] certificate(Path file) throws IOException {
        String wanted = "a certificate";
        byte[] der = read(file, wanted, "CERTIFICATE", "X509 CERTIFICATE");
        String found = DerKind.name(der);
        if (found != null) {
            throw mistaken(file, found, wanted);
        }
        return der;
    }

    /** Reads a PKCS #7 message, or bytes of any other kind that the module takes for one. */
    static byte[] message(Path file) throws IOException {
        return read(file, "a PKCS #7 message", "PKCS7", "PKCS #7 SIGNED DATA", "CMS");
    }

    private static byte[] read(Path file, String wanted, String... labels) throws IOException {
        byte[] content = ToolCommand.read(file);
        List<Pem> blocks = Pem.blocks(file, content);
        for (Pem block : blocks) {
            if (Arrays.asList(labels).contains(block.label)) {
                return block.decoded();
            }
        }
        if (!blocks.isEmpty()) {
            throw mistaken(file, name(blocks.get(0).label), wanted);
        }
        return content;
    }

    private static IOException mistaken(Path file, String found, String wanted) {
        return new IOException(file + " holds " + found + " where " + wanted + " is wanted");
    }

    private static String name(String label) {
        if (label.endsWith("PRIVATE KEY")) {
            return DerKind.PRIVATE_KEY;
        }
        if (label.endsWith("CERTIFICATE REQUEST")) {
            return DerKind.REQUEST;
        }
        return "a block \"" + label + "\"";
    }
}
