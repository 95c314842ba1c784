// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import jvm.support.Threads;

import java.io.ByteArrayOutputStream;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Paths;

/** Lists one token's objects through two copies of the classes at once. Arguments: jar, module, reader, PIN. */
public final class TwoClassLoaders {
    private TwoClassLoaders() {
    }

    public static void main(String[] arguments) throws Exception {
        URL[] jar = {Paths.get(arguments[0]).toUri().toURL()};
        try (URLClassLoader one = new URLClassLoader(jar, ClassLoader.getPlatformClassLoader());
                URLClassLoader other = new URLClassLoader(jar, ClassLoader.getPlatformClassLoader())) {
            Threads.Work first = listing(one, arguments);
            Threads.Work second = listing(other, arguments);
            Thread beside = new Thread(() -> Threads.run(2, 100, first));
            beside.setUncaughtExceptionHandler((thread, failure) -> {
                failure.printStackTrace();
                Runtime.getRuntime().halt(1);
            });
            beside.start();
            Threads.run(2, 100, second);
            beside.join();
        }
        // What the copies share must not keep others from writing the system's properties, which takes texts only.
        System.getProperties().store(new ByteArrayOutputStream(), null);
    }

    private static Threads.Work listing(ClassLoader loader, String[] arguments) throws Exception {
        Class<?> tokens = loader.loadClass("com.tovr.smartcard.vornixtoken.Token");
        Class<?> pins = loader.loadClass("com.tovr.smartcard.vornixtoken.Pin");
        Object token = tokens.getConstructor(String.class, String.class).newInstance(arguments[1], arguments[2]);
        Object pin = pins.getMethod("of", byte[].class).invoke(null, arguments[3].getBytes(StandardCharsets.UTF_8));
        return () -> tokens.getMethod("listObjects", pins).invoke(token, pin);
    }
}
