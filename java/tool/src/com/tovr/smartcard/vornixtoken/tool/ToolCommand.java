// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Token;

import picocli.CommandLine.Command;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParentCommand;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.Base64;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.concurrent.Callable;

/** What the subcommands have in common: their result is a list of named values, printed as text or as JSON. */
@Command(mixinStandardHelpOptions = true, versionProvider = VornixTokenTool.Version.class, sortOptions = false,
        footerHeading = "%nExample:%n")
abstract class ToolCommand implements Callable<Integer> {
    @ParentCommand
    private VornixTokenTool tool;

    private final Map<String, Object> result = new LinkedHashMap<>();

    /** Does the job and puts its results. */
    abstract void run() throws Exception;

    @Override
    public Integer call() throws Exception {
        result.put("ok", true);
        try {
            run();
        } catch (UnsatisfiedLinkError failure) {
            throw new IOException(failure.getMessage(), failure);
        } catch (OutOfMemoryError failure) {
            throw new IOException("not enough memory: " + failure.getMessage(), failure);
        }
        if (tool.wantsJson()) {
            tool.print(Json.text(result));
        }
        return 0;
    }

    /** A value for JSON alone. */
    void put(String name, Object value) {
        result.put(name, value);
    }

    /** A value for JSON, and a line of text. */
    void put(String name, Object value, String line) {
        put(name, value);
        say(line);
    }

    /** A line of text alone, with whatever a label holds made printable. */
    void say(String line) {
        if (!tool.wantsJson()) {
            tool.print(Printable.text(line));
        }
    }

    /** A DER structure: base64 for JSON; otherwise into a file, to standard output for "-", or as PEM. */
    void putDer(String name, byte[] der, String pemType, Path file) throws IOException {
        put(name, Base64.getEncoder().encodeToString(der));
        if (file == null) {
            say("-----BEGIN " + pemType + "-----");
            for (String line : Base64.getMimeEncoder(64, new byte[] {'\n'}).encodeToString(der).split("\n")) {
                say(line);
            }
            say("-----END " + pemType + "-----");
        } else if (!isStandard(file)) {
            Files.write(file, der);
        } else if (!tool.wantsJson()) {
            tool.print(der);
        }
    }

    /** Tells whether a file's name means standard input or output. */
    static boolean isStandard(Path file) {
        return file.equals(Paths.get("-"));
    }

    /** Reads a file, or standard input for "-". */
    static byte[] read(Path file) throws IOException {
        if (!isStandard(file)) {
            return Files.readAllBytes(file);
        }
        ByteArrayOutputStream all = new ByteArrayOutputStream();
        InputStream in = System.in;
        byte[] buffer = new byte[8192];
        for (int length = in.read(buffer); length >= 0; length = in.read(buffer)) {
            all.write(buffer, 0, length);
        }
        return all.toByteArray();
    }

    /** With a module. */
    abstract static class OnModule extends ToolCommand {
        @Option(names = {"-m", "--module"}, required = true, paramLabel = "FILE",
                description = "The PKCS #11 module; else VORNIX_MODULE.")
        String module;
    }

    /** With a module and a reader. */
    abstract static class OnToken extends OnModule {
        @Option(names = {"-t", "--terminal"}, required = true, paramLabel = "NAME",
                description = "The reader; else VORNIX_TERMINAL.")
        ReaderName terminal;

        @Override
        void run() throws Exception {
            run(new Token(module, terminal.toString()));
        }

        abstract void run(Token token) throws Exception;
    }

    /** With a module, a reader and the user PIN. */
    abstract static class AsUser extends OnToken {
        @Option(names = "--pin-file", paramLabel = "FILE",
                description = "A file whose first line is the PIN, - for standard input; else VORNIX_USER_PIN, else you are asked.")
        Path pinFile;

        @Override
        void run(Token token) throws Exception {
            try (Pin pin = PinSource.existing("PIN", "--pin-file", pinFile, "VORNIX_USER_PIN")) {
                run(token, pin);
            }
        }

        abstract void run(Token token, Pin pin) throws Exception;
    }
}
