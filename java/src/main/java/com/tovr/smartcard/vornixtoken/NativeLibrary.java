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
 * Loads the two native libraries: {@code libvornixtoken_session} for {@link Token}, which loads it by itself, and
 * {@code libVornixToken_Javalib} for callers of the native methods, who may use this class or {@link System#load}.
 *
 * <p>Where each is looked for:
 * <ol>
 * <li>the file that a system property names: {@code vornixtoken.library} for the native methods,
 * {@code vornixtoken.sessionLibrary} for {@link Token}. If only the first is set, the other library lies beside its
 * file. If a property is set, even to an empty name, nothing else is tried;</li>
 * <li>{@link System#loadLibrary}, that is {@code java.library.path};</li>
 * <li>the system's folder for such libraries, such as {@code /usr/lib/x86_64-linux-gnu/jni};</li>
 * <li>a copy packed into this jar, {@code /natives/linux-x86_64/libVornixToken_Javalib.so} for instance, which is
 * unpacked into a folder of the user's own below {@code java.io.tmpdir} and removed from there as soon as it is
 * loaded. That place must be writable and allow execution.</li>
 * </ol>
 *
 * <p>If the application has loaded {@code libvornixtoken_session} by {@link System#load}, in the class loader of these
 * classes, nothing is looked for.
 *
 * <p>Only one class loader can load a file. If several have this class, the others load another file of this list, such
 * as a copy from the jar.
 *
 * <p>From Java 24 on native access must be granted, or Java warns and later refuses:
 * {@code --enable-native-access=com.tovr.smartcard.vornixtoken} for the module path,
 * {@code --enable-native-access=ALL-UNNAMED} for the class path.
 */
public final class NativeLibrary {
    private static final String PROPERTY = "vornixtoken.library";
    private static final String SESSION_PROPERTY = "vornixtoken.sessionLibrary";

    private static boolean loaded;
    private static boolean sessionsLoaded;

    private NativeLibrary() {
    }

    /**
     * Loads both libraries, unless this class has loaded them already.
     *
     * @throws UnsatisfiedLinkError when no place has a library that loads; the message tells every place that was tried
     *                              and why it failed
     */
    public static synchronized void load() {
        if (!loaded) {
            new Search("VornixToken_Javalib").run(PROPERTY, System.getProperty(PROPERTY));
            loaded = true;
        }
        loadSessions();
    }

    /** Loads the library that {@link NativeCall} needs, unless it is there. */
    static synchronized void loadSessions() {
        if (!sessionsLoaded) {
            if (!isBound()) {
                loadSessionLibrary();
                NativeCall.bind();
            }
            sessionsLoaded = true;
        }
    }

    private static boolean isBound() {
        try {
            NativeCall.bind();
            return true;
        } catch (UnsatisfiedLinkError notLoaded) {
            return false;
        }
    }

    private static void loadSessionLibrary() {
        Search search = new Search("vornixtoken_session");
        String file = System.getProperty(SESSION_PROPERTY);
        String other = System.getProperty(PROPERTY);
        if (file == null && other != null && !other.trim().isEmpty()) {
            search.run(PROPERTY, new File(new File(other).getAbsoluteFile().getParentFile(), search.file).getPath());
        } else {
            search.run(SESSION_PROPERTY, file);
        }
    }

    /** One search, which remembers the places that failed. */
    private static final class Search {
        final String file;
        private final String name;
        private final List<String> failures = new ArrayList<>();
        private final String architecture = System.getProperty("os.arch").replace("amd64", "x86_64");

        Search(String name) {
            this.name = name;
            file = System.mapLibraryName(name);
        }

        /** Looks for the file that a property names, or everywhere if that is null. */
        void run(String property, String named) {
            boolean found = named != null
                    ? loadNamed("system property " + property, named)
                    : load("System.loadLibrary", () -> System.loadLibrary(name)) || loadFromSystemFolder()
                            || loadFromJar();
            if (!found) {
                throw new UnsatisfiedLinkError(file + " cannot be loaded. Tried:" + String.join("", failures));
            }
        }

        private boolean loadNamed(String place, String named) {
            return named.trim().isEmpty()
                    ? failed(place, "it is empty")
                    : load(place, () -> System.load(new File(named).getAbsolutePath()));
        }

        private boolean loadFromSystemFolder() {
            String path = Paths.get("/usr/lib", triplet(), "jni", file).toString();
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
            String resource = "/natives/linux-" + architecture + "/" + file;
            String place = "jar, unpacked below java.io.tmpdir";
            try (InputStream copy = NativeLibrary.class.getResourceAsStream(resource)) {
                if (copy == null) {
                    return failed("jar", resource + " is not in the jar");
                }
                Path folder = Files.createTempDirectory("vornixtoken");
                Path unpacked = folder.resolve(file);
                try {
                    Files.copy(copy, unpacked);
                    return load(place, () -> System.load(unpacked.toString()));
                } finally {
                    // The library is usable even if its copy cannot be removed.
                    unpacked.toFile().delete();
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
                throw (UnsatisfiedLinkError) new UnsatisfiedLinkError(file + " may not be loaded: "
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
