// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Base64;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** A block of PEM, RFC 7468. What stands around the blocks of a file is explanation. */
final class Pem {
    private static final Pattern BEGIN = Pattern.compile("(?m)^[ \t\u00ef\u00bb\u00bf]*-----BEGIN ([^\r\n]*?)-----");

    final String label;
    private final Path file;
    private final String body;

    private Pem(Path file, String label, String body) {
        this.file = file;
        this.label = label;
        this.body = body;
    }

    /** Returns the blocks of a file in their order. */
    static List<Pem> blocks(Path file, byte[] content) throws IOException {
        List<Pem> blocks = new ArrayList<>();
        if (isDer(content)) {
            return blocks;
        }
        String text = new String(content, StandardCharsets.ISO_8859_1);
        Matcher begin = BEGIN.matcher(text);
        int at = 0;
        while (begin.find(at)) {
            String end = "-----END " + begin.group(1) + "-----";
            int ended = text.indexOf(end, begin.end());
            if (ended < 0) {
                throw new IOException(file + " is damaged PEM: no line " + end);
            }
            blocks.add(new Pem(file, begin.group(1), text.substring(begin.end(), ended)));
            at = ended + end.length();
        }
        return blocks;
    }

    byte[] decoded() throws IOException {
        try {
            return Base64.getDecoder().decode(body.replaceAll("\\s", ""));
        } catch (IllegalArgumentException bad) {
            throw new IOException(file + " is damaged PEM: " + bad.getMessage(), bad);
        }
    }

    /** A message may enclose PEM. Its second byte, of its length, is beyond ASCII, unless it is very short. */
    private static boolean isDer(byte[] content) {
        return content.length > 1 && content[0] == 0x30 && (content[1] < 0 || content.length == content[1] + 2);
    }
}
