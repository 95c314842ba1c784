// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenInfo;

import picocli.CommandLine.Command;
import picocli.CommandLine.Model.CommandSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.ParentCommand;
import picocli.CommandLine.Spec;

import java.io.ByteArrayOutputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.ArrayList;
import java.util.Base64;
import java.util.Collections;
import java.util.LinkedHashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.Callable;

/** What the subcommands have in common: their result is a list of named values, printed as text or as JSON. */
@Command(mixinStandardHelpOptions = true, versionProvider = VornixTokenTool.Version.class, sortOptions = false,
        footerHeading = "%nExample:%n")
abstract class ToolCommand implements Callable<Integer> {
    @ParentCommand
    private VornixTokenTool tool;

    @Spec
    private CommandSpec spec;

    private final Map<String, Object> result = new LinkedHashMap<>();

    /** Does the job and puts its results. */
    abstract void run() throws Exception;

    /** The status of a job that was done. */
    int status() {
        return 0;
    }

    /** What to do after a refusal, in words; null: nothing special. */
    String advice(Pkcs11Exception refused) {
        return null;
    }

    @Override
    public Integer call() throws Exception {
        put("ok", true);
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
        return status();
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

    /** Something to think about, which keeps the job from nothing: for JSON, or on standard error. */
    void warn(String warning) {
        put("warning", warning);
        if (!tool.wantsJson()) {
            tool.printError("warning: " + warning);
        }
    }

    /** Wrong usage that picocli cannot tell. */
    ParameterException misused(String message) {
        return new ParameterException(spec.commandLine(), message);
    }

    /** Does what may take long, and says so on a terminal. */
    <T> T showing(String what, Callable<T> work) throws Exception {
        return Progress.during(what, spec.commandLine().getErr(), work);
    }

    VornixTokenTool tool() {
        return tool;
    }

    CommandSpec spec() {
        return spec;
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

    /** With a module, or with all that are found. Each is tried in a process of its own. */
    abstract static class OnModules extends ToolCommand {
        @Option(names = {"-m", "--module"}, paramLabel = "FILE",
                description = "The PKCS #11 module; else VORNIX_MODULE, else those that p11-kit's configuration and the usual folders name.")
        private String module;

        /** Tries the modules, and the name of a reader unless that is null. */
        List<TriedModule> tryModules(String terminal) throws Exception {
            List<TriedModule> tried = new ArrayList<>();
            for (KnownModule each : module != null ? Collections.singleton(new KnownModule(module))
                    : KnownModules.ofThisMachine().find()) {
                tried.add(showing("trying " + each.file, () -> TriedModule.of(each, terminal)));
            }
            return tried;
        }
    }

    /** With a module and a reader. */
    abstract static class OnToken extends OnModule {
        @Option(names = {"-t", "--terminal"}, required = true, paramLabel = "NAME",
                description = "The reader: its name, or a beginning that only one has; else VORNIX_TERMINAL.")
        ReaderName terminal;

        private Token token;

        @Override
        void run() throws Exception {
            token = Token.in(module).reader(terminal.toString()).diagnostics(tool()::tell).build();
            for (CommandSpec mixin : spec().mixins().values()) {
                if (mixin.userObject() instanceof Erasure) {
                    ((Erasure) mixin.userObject()).askFor(token, terminal);
                }
            }
            run(token);
        }

        abstract void run(Token token) throws Exception;

        /** Asks the token for its flags after a refusal that its PIN or PUK caused. */
        @Override
        String advice(Pkcs11Exception refused) {
            switch (refused.getReason()) {
                case WRONG_PIN:
                case PIN_LOCKED:
                case PIN_EXPIRED_OR_NOT_SET:
                    try {
                        return advice(token.readInfo());
                    } catch (Pkcs11Exception gone) {
                        return null;
                    }
                default:
                    return null;
            }
        }

        /** What to do about a PIN that was refused, by what the token tells of it. */
        String advice(TokenInfo info) {
            return null;
        }
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

        @Override
        String advice(TokenInfo info) {
            return PinState.ofPin(info.getFlags()).adviceOnPin();
        }
    }
}
