// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.io.RandomAccessFile;
import java.io.UncheckedIOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.List;
import java.util.stream.Collectors;

/** The calls that the scripted module received, one a line, as it writes them to the file it was given. */
public final class Transcript {
    private static final Path FILE = Paths.get(System.getenv("SCRIPTED_MODULE_TRANSCRIPT"));

    static {
        try {
            Files.deleteIfExists(FILE);
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }

    private Transcript() {
    }

    /** Returns the lines that a piece of work adds, bytes as characters, the numbers of sessions left out. */
    public static List<String> during(Runnable work) {
        long before = length();
        work.run();
        return new String(bytesFrom(before), StandardCharsets.ISO_8859_1).lines()
                .map(line -> line.replaceAll("session \\d+", "session"))
                .collect(Collectors.toList());
    }

    /** Returns the one line among those that a piece of work adds that begins so. */
    public static String line(String beginning, Runnable work) {
        List<String> lines = during(work).stream().filter(line -> line.startsWith(beginning))
                .collect(Collectors.toList());
        if (lines.size() != 1) {
            throw new AssertionError("one line beginning " + beginning + " expected, not " + lines);
        }
        return lines.get(0);
    }

    private static byte[] bytesFrom(long position) {
        byte[] bytes = new byte[Math.toIntExact(length() - position)];
        if (bytes.length != 0) {
            try (RandomAccessFile file = new RandomAccessFile(FILE.toFile(), "r")) {
                file.seek(position);
                file.readFully(bytes);
            } catch (IOException failure) {
                throw new UncheckedIOException(failure);
            }
        }
        return bytes;
    }

    private static long length() {
        try {
            return Files.exists(FILE) ? Files.size(FILE) : 0;
        } catch (IOException failure) {
            throw new UncheckedIOException(failure);
        }
    }
}
