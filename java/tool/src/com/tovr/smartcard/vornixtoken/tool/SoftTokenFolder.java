// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;

/** Where the software token keeps its token. Whoever initialises the module makes the folder, if it is not there. */
final class SoftTokenFolder {
    static final String VARIABLE = "VORNIX_SOFTTOKEN_DIR";
    private static final String MODULE = "libvornix_softtoken.so";

    private final Path path;

    private SoftTokenFolder(Path path) {
        this.path = path;
    }

    /** Returns the folder, or null for another module. */
    static SoftTokenFolder of(String module) {
        Path file = Paths.get(module);
        try {
            file = file.toRealPath();
        } catch (IOException missing) {
            // Then its name is the one that was given.
        }
        return file.endsWith(MODULE) ? new SoftTokenFolder(path()) : null;
    }

    private static Path path() {
        if (isSet(VARIABLE)) {
            return Paths.get(System.getenv(VARIABLE));
        }
        Path data = isSet("XDG_DATA_HOME") ? Paths.get(System.getenv("XDG_DATA_HOME"))
                : Paths.get(isSet("HOME") ? System.getenv("HOME") : "/", ".local", "share");
        return data.resolve("vornix-softtoken");
    }

    private static boolean isSet(String variable) {
        return System.getenv(variable) != null && !System.getenv(variable).isEmpty();
    }

    boolean isMissing() {
        return !Files.exists(path);
    }

    @Override
    public String toString() {
        return path.toString();
    }
}
