// SPDX-License-Identifier: Apache-2.0
package jvm.programs;

import java.lang.reflect.InvocationTargetException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Paths;
import java.util.Collection;

/**
 * Opens a session through one copy of the classes, while another copy tries to unload the module. Arguments: jar, module,
 * reader, PIN.
 */
public final class SessionBesideAnotherLoader {
    private final Class<?> tokens;
    private final Object token;
    private final Object pin;
    private final Class<?> pins;
    private final String module;

    private SessionBesideAnotherLoader(ClassLoader loader, String[] arguments) throws Exception {
        tokens = loader.loadClass("com.tovr.smartcard.vornixtoken.Token");
        pins = loader.loadClass("com.tovr.smartcard.vornixtoken.Pin");
        module = arguments[1];
        token = tokens.getConstructor(String.class, String.class).newInstance(module, arguments[2]);
        pin = pins.getMethod("of", byte[].class).invoke(null, arguments[3].getBytes(StandardCharsets.UTF_8));
    }

    public static void main(String[] arguments) throws Exception {
        URL[] jar = {Paths.get(arguments[0]).toUri().toURL()};
        try (URLClassLoader first = new URLClassLoader(jar, ClassLoader.getPlatformClassLoader());
                URLClassLoader second = new URLClassLoader(jar, ClassLoader.getPlatformClassLoader())) {
            SessionBesideAnotherLoader one = new SessionBesideAnotherLoader(first, arguments);
            SessionBesideAnotherLoader other = new SessionBesideAnotherLoader(second, arguments);
            System.out.println("listed " + other.list());
            AutoCloseable session = one.open();
            System.out.println("unloading: " + other.unload());
            System.out.println("listed " + other.list());
            System.out.println("session " + session.getClass().getClassLoader().equals(first) + " " + list(session));
            session.close();
            System.out.println("unloading: " + other.unload());
            System.out.println("listed " + one.list());
        }
    }

    private AutoCloseable open() throws Exception {
        return (AutoCloseable) tokens.getMethod("open", pins).invoke(token, pin);
    }

    private int list() throws Exception {
        return ((Collection<?>) tokens.getMethod("listObjects", pins).invoke(token, pin)).size();
    }

    private static int list(Object session) throws Exception {
        Class<?> sessions = session.getClass().getClassLoader().loadClass("com.tovr.smartcard.vornixtoken.TokenSession");
        return ((Collection<?>) sessions.getMethod("listObjects").invoke(session)).size();
    }

    private String unload() throws Exception {
        try {
            tokens.getMethod("unload", String.class).invoke(null, module);
            return "done";
        } catch (InvocationTargetException refused) {
            Throwable failure = refused.getCause();
            return failure.getClass().getMethod("getReason").invoke(failure).toString();
        }
    }
}
