// SPDX-License-Identifier: Apache-2.0
package jvm.support;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Arrays;
import java.util.Comparator;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** SoftHSM2 in a folder of this process's own, with one token. */
public final class SoftHsm {
    public static final String MODULE = System.getProperty("vornix.softhsm.module");
    public static final String PIN = "12345678";
    public static final String SO_PIN = "87654321";

    private static final Path CONFIGURATION = Paths.get(System.getenv("SOFTHSM2_CONF"));

    private SoftHsm() {
    }

    /** Makes a new token and returns the name of its reader. */
    public static String newToken() throws IOException, InterruptedException {
        Pattern assigned = Pattern.compile("reassigned to slot (\\d+)");
        while (true) {
            Path tokens = emptyFolder(CONFIGURATION.resolveSibling("tokens"));
            Files.write(CONFIGURATION, Arrays.asList("directories.tokendir = " + tokens, "log.level = ERROR"));
            Matcher slot = assigned.matcher(Processes.run(System.getProperty("vornix.softhsm.util"),
                    "--init-token", "--free", "--label", "jvm", "--so-pin", SO_PIN, "--pin", PIN));
            if (!slot.find()) {
                throw new IOException("softhsm2-util told no slot");
            }
            String reader = "SoftHSM slot ID 0x" + Long.toHexString(Long.parseLong(slot.group(1)));
            // The blank slot behind the token is "… 0x1" and would match a longer name that begins so.
            if (!reader.startsWith("SoftHSM slot ID 0x1")) {
                return reader;
            }
        }
    }

    private static Path emptyFolder(Path folder) throws IOException {
        if (Files.exists(folder)) {
            List<Path> inside;
            try (Stream<Path> walk = Files.walk(folder)) {
                inside = walk.sorted(Comparator.reverseOrder()).collect(Collectors.toList());
            }
            for (Path path : inside) {
                Files.delete(path);
            }
        }
        return Files.createDirectories(folder);
    }
}
