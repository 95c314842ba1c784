// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import com.tovr.smartcard.vornixtoken.tool.VornixTokenTool;

import java.io.BufferedReader;
import java.io.FileReader;
import java.io.IOException;
import java.io.RandomAccessFile;
import java.util.Arrays;
import java.util.stream.Collectors;

/**
 * Runs the tool with a PIN file, the argument, on a module that is not there, and counts the copies of the PIN in the
 * memory of its process.
 */
public final class PinHunt {
    private static final int LENGTH = 40;
    private static final int PIECE = 1 << 16;

    private PinHunt() {
    }

    /** Returns the PIN, made anew. */
    public static byte[] secret() {
        byte[] secret = new byte[LENGTH];
        for (int i = 0; i < LENGTH; i++) {
            secret[i] = at(i);
        }
        return secret;
    }

    public static void main(String[] arguments) throws IOException {
        int status = VornixTokenTool.commandLine().execute("list", "--pin-file", arguments[0],
                "--module", "./absent.so", "--terminal", "none");
        if (status != 1) {
            throw new IllegalStateException("status " + status);
        }
        System.out.println(copies() + " copies");
    }

    private static byte at(int i) {
        return (byte) ('!' + (i * i + 31 * i + 7) % 90);
    }

    /** Counts the copies of the PIN in the memory of this process, as bytes and as characters. */
    public static int copies() throws IOException {
        int copies = 0;
        // Files would read through the very buffer in which a copy may lie.
        try (RandomAccessFile memory = new RandomAccessFile("/proc/self/mem", "r");
                BufferedReader mappings = new BufferedReader(new FileReader("/proc/self/maps"))) {
            for (String mapping : mappings.lines().collect(Collectors.toList())) {
                String[] range = mapping.split("[- ]");
                if (range[2].startsWith("rw") && !mapping.endsWith("[vvar]")) {
                    copies += copies(memory, Long.parseUnsignedLong(range[0], 16), Long.parseUnsignedLong(range[1], 16));
                }
            }
        }
        return copies;
    }

    private static int copies(RandomAccessFile memory, long begin, long end) throws IOException {
        byte[] piece = new byte[PIECE + Character.BYTES * LENGTH];
        byte first = at(0);
        int copies = 0;
        for (long at = begin; at < end; at += PIECE) {
            memory.seek(at);
            int length = memory.read(piece, 0, (int) Math.min(piece.length, end - at));
            for (int i = 0; i < PIECE && i + LENGTH <= length; i++) {
                if (piece[i] == first && (matches(piece, i, 1) || matches(piece, i, Character.BYTES))) {
                    copies++;
                }
            }
            Arrays.fill(piece, (byte) 0);
        }
        return copies;
    }

    /** Compares bytes, or the lower halves of characters. The upper ones are zero. */
    private static boolean matches(byte[] piece, int begin, int width) {
        int i = 0;
        while (i < LENGTH && begin + i * width < piece.length && piece[begin + i * width] == at(i)) {
            i++;
        }
        return i == LENGTH;
    }
}
