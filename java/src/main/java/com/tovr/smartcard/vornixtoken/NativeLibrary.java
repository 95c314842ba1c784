// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.List;

/**
 * Loads {@code libVornixToken_Javalib}. {@link Token} does so by itself. Callers of the native methods may use this
 * class or {@link System#load}.
 *
 * <p>Where the library is looked for:
 * <ol>
 * <li>the file that the system property {@code vornixtoken.library} names; if the property is set, even to an empty
 * name, nothing else is tried;</li>
 * <li>{@link System#loadLibrary}, that is {@code java.library.path};</li>
 * <li>the system's folder for such libraries, such as {@code /usr/lib/x86_64-linux-gnu/jni};</li>
 * <li>a copy packed into this jar, {@code /natives/linux-x86_64/libVornixToken_Javalib.so} for instance, which is
 * unpacked into a folder of the user's own below {@code java.io.tmpdir} and removed from there as soon as it is
 * loaded. That place must be writable and allow execution.</li>
 * </ol>
 *
 * <p>Only one class loader can load a file. If several have this class, the others load another file of this list, such
 * as a copy from the jar.
 *
 * <p>From Java 24 on native access must be granted, or Java warns and later refuses:
 * {@code --enable-native-access=com.tovr.smartcard.vornixtoken} for the module path,
 * {@code --enable-native-access=ALL-UNNAMED} for the class path.
 */
public final class NativeLibrary {
    private static final String NAME = "VornixToken_Javalib";
    private static final String FILE = System.mapLibraryName(NAME);
    private static final String PROPERTY = "vornixtoken.library";

    private static boolean loaded;

    private NativeLibrary() {
    }

    /**
     * Loads the library, unless this method has loaded it already.
     *
     * @throws UnsatisfiedLinkError when no place has a library that loads; the message tells every place that was tried
     *                              and why it failed
     */
    public static synchronized void load() {
        if (!loaded) {
            new Search().run();
            loaded = true;
        }
    }

    /** One search, which remembers the places that failed. */
    private static final class Search {
        private final List<String> failures = new ArrayList<>();
        private final String architecture = System.getProperty("os.arch").replace("amd64", "x86_64");

        void run() {
            String file = System.getProperty(PROPERTY);
            boolean found = file != null
                    ? loadNamed(file)
                    : load("System.loadLibrary", () -> System.loadLibrary(NAME)) || loadFromSystemFolder()
                            || loadFromJar();
            if (!found) {
                throw new UnsatisfiedLinkError(FILE + " cannot be loaded. Tried:" + String.join("", failures));
            }
        }

        private boolean loadNamed(String file) {
            String place = "system property " + PROPERTY;
            return file.trim().isEmpty()
                    ? failed(place, "it is empty")
                    : load(place, () -> System.load(new File(file).getAbsolutePath()));
        }

        private boolean loadFromSystemFolder() {
            String path = Paths.get("/usr/lib", triplet(), "jni", FILE).toString();
            return load("file", () -> System.load(path));
        }

        /** The system's name for the platform. Java's name differs for some platforms. */
        private String triplet() {
            switch (architecture) {
                case "arm":
                    return "arm-linux-gnueabihf";
                case "ppc64le":
                    return "powerpc64le-linux-gnu";
                default:
                    return architecture + "-linux-gnu";
            }
        }

        private boolean loadFromJar() {
            String resource = "/natives/linux-" + architecture + "/" + FILE;
            String place = "jar, unpacked below java.io.tmpdir";
            try (InputStream copy = NativeLibrary.class.getResourceAsStream(resource)) {
                if (copy == null) {
                    return failed("jar", resource + " is not in the jar");
                }
                Path folder = Files.createTempDirectory("vornixtoken");
                Path file = folder.resolve(FILE);
                try {
                    Files.copy(copy, file);
                    return load(place, () -> System.load(file.toString()));
                } finally {
                    // The library is usable even if its copy cannot be removed.
                    file.toFile().delete();
                    folder.toFile().delete();
                }
            } catch (IOException failure) {
                return failed(place, failure.toString());
            }
        }

        private boolean load(String place, Runnable attempt) {
            try {
                attempt.run();
                return true;
            } catch (UnsatisfiedLinkError failure) {
                return failed(place, failure.getMessage());
            } catch (RuntimeException refusal) {
                // A class that Java 8 does not know.
                if (!refusal.getClass().getSimpleName().equals("IllegalCallerException")) {
                    throw refusal;
                }
                throw (UnsatisfiedLinkError) new UnsatisfiedLinkError(FILE + " may not be loaded: "
                        + refusal.getMessage() + ". Start Java with --enable-native-access=" + caller())
                                .initCause(refusal);
            }
        }

        private boolean failed(String place, String why) {
            failures.add("\n- " + place + ": " + why);
            return false;
        }

        /** The module's name for Java's options. By reflection, because Java 8 has no modules. */
        private static String caller() {
            try {
                Object module = Class.class.getMethod("getModule").invoke(NativeLibrary.class);
                Object name = module.getClass().getMethod("getName").invoke(module);
                return name == null ? "ALL-UNNAMED" : name.toString();
            } catch (ReflectiveOperationException java8) {
                return "ALL-UNNAMED";
            }
        }
    }
}
