// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.DataInputStream;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;

/** For which machine a program or a library is. */
final class ElfHeader {
    private static final byte[] MAGIC = {0x7f, 'E', 'L', 'F'};
    private static final int LENGTH = 20;
    private static final int BITS = 4;
    private static final int BYTE_ORDER = 5;
    private static final int MACHINE = 18;

    private final byte[] bytes;

    private ElfHeader(byte[] bytes) {
        this.bytes = bytes;
    }

    /** Returns a file's header, or null when it has none. */
    static ElfHeader of(Path file) {
        byte[] bytes = new byte[LENGTH];
        try (DataInputStream in = new DataInputStream(Files.newInputStream(file))) {
            in.readFully(bytes);
        } catch (IOException none) {
            return null;
        }
        return Arrays.equals(Arrays.copyOf(bytes, MAGIC.length), MAGIC) ? new ElfHeader(bytes) : null;
    }

    /** Returns the header of the program that runs this. */
    static ElfHeader ofThisProcess() {
        return of(Paths.get("/proc/self/exe"));
    }

    /** The machine's name. */
    String machine() {
        boolean bigEndian = bytes[BYTE_ORDER] == 2;
        int low = bytes[bigEndian ? MACHINE + 1 : MACHINE] & 0xff;
        switch (low) {
            case 3:
                return "i386";
            case 8:
                return "mips";
            case 21:
                return bigEndian ? "ppc64" : "ppc64le";
            case 22:
                return "s390x";
            case 40:
                return "arm";
            case 62:
                return bytes[BITS] == 1 ? "x32" : "x86_64";
            case 183:
                return "aarch64";
            case 243:
                return "riscv64";
            default:
                return "machine " + low;
        }
    }
}
