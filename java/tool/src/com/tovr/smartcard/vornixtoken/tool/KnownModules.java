// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collection;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.regex.Matcher;
import java.util.regex.Pattern;

/** The modules of a machine: those that p11-kit's configuration names, and those in the usual folders. */
final class KnownModules {
    private static final List<String> USUAL = Arrays.asList("usr/lib/pkcs11", "usr/lib64/pkcs11", "usr/local/lib/pkcs11",
            "usr/local/lib64/pkcs11");
    private static final List<String> USUAL_BY_PLATFORM = Arrays.asList("usr/lib", "usr/local/lib");
    /** They lead to other modules, or have no tokens. */
    private static final Pattern NOT_FOR_TOKENS = Pattern.compile("p11-kit-.*\\.so|pkcs11-spy\\.so");
    private static final Pattern ENTRY = Pattern.compile("\\s*(module|remote)\\s*:\\s*(.*?)\\s*");

    private final List<Path> folders = new ArrayList<>();
    private final List<Path> configurations;
    private final Map<Path, KnownModule> found = new LinkedHashMap<>();

    /** The machine whose files begin here. */
    KnownModules(Path root, Path userConfiguration) {
        USUAL.forEach(folder -> folders.add(root.resolve(folder)));
        for (String parent : USUAL_BY_PLATFORM) {
            Folders.list(root.resolve(parent), "*-linux-*").forEach(platform -> folders.add(platform.resolve("pkcs11")));
        }
        configurations = Arrays.asList(userConfiguration.resolve("pkcs11/modules"), root.resolve("etc/pkcs11/modules"),
                root.resolve("usr/share/p11-kit/modules"));
    }

    /** Those of this machine and its user. */
    static KnownModules ofThisMachine() {
        String configuration = System.getenv("XDG_CONFIG_HOME");
        return new KnownModules(Paths.get("/"), configuration != null && !configuration.isEmpty()
                ? Paths.get(configuration) : Paths.get(System.getProperty("user.home"), ".config"));
    }

    /** Looks for them all. */
    Collection<KnownModule> find() {
        for (Path configuration : configurations) {
            for (Path entry : Folders.list(configuration, "*.module")) {
                String module = moduleOf(entry);
                if (module != null) {
                    add(resolve(module), "p11-kit, " + entry);
                }
            }
        }
        for (Path folder : folders) {
            for (Path file : Folders.list(folder, "*.so")) {
                if (!NOT_FOR_TOKENS.matcher(file.getFileName().toString()).matches()) {
                    add(file, "folder " + folder);
                }
            }
        }
        return found.values();
    }

    /** Finds the entries of p11-kit's configuration for a module. */
    List<Path> entriesFor(String module) {
        List<Path> entries = new ArrayList<>();
        for (Path configuration : configurations) {
            for (Path entry : Folders.list(configuration, "*.module")) {
                String named = moduleOf(entry);
                if (named != null && real(resolve(named)).equals(real(Paths.get(module)))) {
                    entries.add(entry);
                }
            }
        }
        return entries;
    }

    /** Where it was looked, for people to read. */
    List<String> places() {
        List<String> places = new ArrayList<>();
        configurations.forEach(place -> places.add(place.toString()));
        folders.forEach(place -> places.add(place.toString()));
        return places;
    }

    private void add(Path file, String source) {
        found.computeIfAbsent(real(file), key -> new KnownModule(file.toString())).sources.add(source);
    }

    /** The module of an entry: the file itself, or the one that a program of p11-kit's loads for others. */
    private static String moduleOf(Path entry) {
        try {
            for (String line : new String(Files.readAllBytes(entry), StandardCharsets.UTF_8).split("\n")) {
                Matcher matcher = ENTRY.matcher(line);
                if (matcher.matches()) {
                    String value = matcher.group(2);
                    return matcher.group(1).equals("module") ? value : value.substring(value.lastIndexOf(' ') + 1);
                }
            }
        } catch (IOException unreadable) {
            return null;
        }
        return null;
    }

    /** A name without a folder is one in a usual folder. */
    private Path resolve(String module) {
        if (!module.startsWith("/")) {
            for (Path folder : folders) {
                if (Files.exists(folder.resolve(module))) {
                    return folder.resolve(module);
                }
            }
        }
        return Paths.get(module);
    }

    private static Path real(Path file) {
        try {
            return file.toRealPath();
        } catch (IOException missing) {
            return file.toAbsolutePath().normalize();
        }
    }
}
