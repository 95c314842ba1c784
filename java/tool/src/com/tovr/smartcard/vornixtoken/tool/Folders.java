// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.IOException;
import java.nio.file.DirectoryStream;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;

/** What is in folders. */
final class Folders {
    private Folders() {
    }

    /** Lists a folder in the order of the names; empty when it is not there or cannot be read. */
    static List<Path> list(Path folder, String pattern) {
        List<Path> all = new ArrayList<>();
        try (DirectoryStream<Path> entries = Files.newDirectoryStream(folder, pattern)) {
            entries.forEach(all::add);
        } catch (IOException unreadable) {
            return all;
        }
        Collections.sort(all);
        return all;
    }

    /** Deletes a folder with all that is in it. */
    static void delete(Path folder) throws IOException {
        if (Files.isDirectory(folder, LinkOption.NOFOLLOW_LINKS)) {
            for (Path each : list(folder, "*")) {
                delete(each);
            }
        }
        Files.deleteIfExists(folder);
    }
}
