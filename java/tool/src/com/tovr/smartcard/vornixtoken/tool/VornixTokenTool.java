// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken.tool;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;

import picocli.AutoComplete;
import picocli.CommandLine;
import picocli.CommandLine.Command;
import picocli.CommandLine.Model.ArgSpec;
import picocli.CommandLine.Model.OptionSpec;
import picocli.CommandLine.Option;
import picocli.CommandLine.ParameterException;
import picocli.CommandLine.ParseResult;
import picocli.CommandLine.ScopeType;
import picocli.CommandLine.UnmatchedArgumentException;

import java.io.PrintWriter;
import java.math.BigInteger;
import java.nio.file.AccessDeniedException;
import java.nio.file.FileSystemException;
import java.nio.file.NoSuchFileException;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;
import java.util.stream.Stream;

/** Everything that the library can do with a token, one subcommand a job. */
@Command(name = "vornixtoken-tool",
        description = "Drives a smart-card token through its PKCS #11 module.",
        mixinStandardHelpOptions = true,
        versionProvider = VornixTokenTool.Version.class,
        synopsisSubcommandLabel = "COMMAND",
        subcommands = {
            ListReaders.class,
            Doctor.class,
            AdministrationCommands.Info.class,
            ListObjects.class,
            AdministrationCommands.ChangePin.class,
            AdministrationCommands.ChangePuk.class,
            AdministrationCommands.Initialize.class,
            AdministrationCommands.Clean.class,
            AdministrationCommands.ResetTerminal.class,
            CertificateAndKeyCommands.ReadCertificate.class,
            CertificateAndKeyCommands.ReadPublicKey.class,
            CertificateAndKeyCommands.ImportCertificate.class,
            CertificateAndKeyCommands.ImportBlocks.class,
            CertificateAndKeyCommands.GenerateRsa.class,
            CertificateAndKeyCommands.GenerateGost.class,
            SignatureCommands.Sign.class,
            SignatureCommands.Verify.class,
            SignatureCommands.CreateRequest.class,
            AutoComplete.GenerateCompletion.class,
            CommandLine.HelpCommand.class},
        exitCodeListHeading = "%nExit status:%n",
        exitCodeList = {"0:success", "1:the token or its module refused, or doctor found a problem", "2:wrong usage",
            "3:anything else"},
        footerHeading = "%nExamples:%n",
        footer = {
            "  export VORNIX_MODULE=/usr/lib/libtovr_pkcs11_main.so",
            "  export VORNIX_TERMINAL='Reader 0'",
            "  vornixtoken-tool readers",
            "  vornixtoken-tool info",
            "  vornixtoken-tool generate-rsa --label 'my key' --id 01",
            "  vornixtoken-tool create-request --id 01 --subject CN=Alice --out alice.csr",
            "  vornixtoken-tool list --pin-file pin.txt --json",
            "  source <(vornixtoken-tool generate-completion)",
            "",
            "PINs are read from the file that an option names, else from VORNIX_USER_PIN,",
            "VORNIX_SO_PIN or VORNIX_NEW_PIN, else from the terminal; there is no option",
            "for the PIN itself. Standard output holds nothing but the result."})
public final class VornixTokenTool {
    static final int REFUSED = 1;
    static final int FAILED = 3;

    @Option(names = "--json", scope = ScopeType.INHERIT,
            description = "Print the result as one line of JSON.")
    private boolean json;

    @Option(names = "--verbose", scope = ScopeType.INHERIT,
            description = "Print what the library says about its calls, on standard error.")
    private boolean verbose;

    private boolean told;

    private final CommandLine commandLine;

    private VornixTokenTool() {
        commandLine = new CommandLine(this);
        commandLine.setExpandAtFiles(false);
        commandLine.setDefaultValueProvider(VornixTokenTool::fromEnvironment);
        commandLine.registerConverter(String.class, Decoding::checked);
        commandLine.registerConverter(ReaderName.class, ReaderName::new);
        commandLine.registerConverter(Id.class, Id::new);
        commandLine.registerConverter(NamedText.class, NamedText::new);
        commandLine.registerConverter(Word.class, Word::new);
        commandLine.setExecutionExceptionHandler(this::report);
        commandLine.setParameterExceptionHandler(this::reportUsage);
    }

    /**
     * Runs the tool and ends the process.
     *
     * @param arguments the command line
     */
    public static void main(String[] arguments) {
        CommandLine commandLine = commandLine();
        int status = commandLine.execute(arguments);
        System.exit(status == 0 && !isWritten(commandLine) ? FAILED : status);
    }

    /**
     * Makes the tool without running it.
     *
     * @return the parser that executes the commands
     */
    public static CommandLine commandLine() {
        return new VornixTokenTool().commandLine;
    }

    boolean wantsJson() {
        return json;
    }

    void print(String line) {
        PrintWriter out = commandLine.getOut();
        out.println(line);
        out.flush();
    }

    /** A line of the library's about its calls. */
    void tell(String line) {
        told = true;
        if (verbose) {
            printError(line);
        }
    }

    void print(byte[] bytes) {
        System.out.write(bytes, 0, bytes.length);
        System.out.flush();
    }

    /** What could not be written is a failure, but no exception: Java's print streams keep it to themselves. */
    private static boolean isWritten(CommandLine commandLine) {
        commandLine.getOut().flush();
        boolean written = !System.out.checkError();
        if (!written) {
            commandLine.getErr().println(commandLine.getCommandName() + ": standard output could not be written");
        }
        return written;
    }

    /** picocli's own way, ${env:...} as a default value, goes on to expand what the variable holds. */
    private static String fromEnvironment(ArgSpec argument) {
        switch (argument.isOption() ? ((OptionSpec) argument).longestName() : "") {
            case "--module":
                return System.getenv("VORNIX_MODULE");
            case "--terminal":
                return System.getenv("VORNIX_TERMINAL");
            default:
                return null;
        }
    }

    private int report(Exception failure, CommandLine command, ParseResult arguments) {
        Pkcs11Exception refused = failure instanceof Pkcs11Exception ? (Pkcs11Exception) failure : null;
        Reason reason = refused != null ? refused.getReason() : failure instanceof Refusal ? ((Refusal) failure).reason : null;
        String advice = refused == null ? null : ((ToolCommand) command.getCommand()).advice(refused);
        if (refused != null && !told) {
            Stream.of(refused.getDiagnostics().split("\n")).filter(line -> !line.isEmpty()).forEach(this::tell);
        }
        if (json) {
            Map<String, Object> result = new LinkedHashMap<>();
            result.put("ok", false);
            if (refused != null) {
                result.put("code", new BigInteger(Long.toUnsignedString(refused.getCode())));
                result.put("name", refused.getCodeName());
            }
            result.put("message", message(failure));
            if (reason != null) {
                result.put("reason", reason);
            }
            if (refused != null) {
                result.put("step", refused.getStep());
            }
            if (advice != null) {
                result.put("advice", advice);
            }
            print(Json.text(result));
        } else {
            String text = commandLine.getCommandName() + " " + command.getCommandName() + ": " + message(failure);
            // Only the loader's message has lines of its own, one for each place where the library is not.
            printError(failure.getCause() instanceof UnsatisfiedLinkError ? text.split("\n") : new String[] {text});
            if (advice != null) {
                printError(advice);
            }
        }
        return reason != null ? REFUSED : FAILED;
    }

    private int reportUsage(ParameterException failure, String[] arguments) {
        if (Arrays.asList(arguments).contains("--json")) {
            Map<String, Object> result = new LinkedHashMap<>();
            result.put("ok", false);
            result.put("message", failure.getMessage());
            print(Json.text(result));
        } else {
            printError(failure.getMessage());
            if (!UnmatchedArgumentException.printSuggestions(failure, commandLine.getErr())) {
                failure.getCommandLine().usage(commandLine.getErr());
            }
        }
        return CommandLine.ExitCode.USAGE;
    }

    void printError(String... lines) {
        PrintWriter err = commandLine.getErr();
        for (String line : lines) {
            err.println(Printable.text(line));
        }
        err.flush();
    }

    /** Exceptions of the file system say little without their name. */
    private static String message(Exception failure) {
        if (failure instanceof NoSuchFileException) {
            return "no such file: " + failure.getMessage();
        }
        if (failure instanceof AccessDeniedException) {
            return "permission denied: " + failure.getMessage();
        }
        return failure instanceof FileSystemException ? failure.toString() : failure.getMessage();
    }

    static final class Version implements CommandLine.IVersionProvider {
        @Override
        public String[] getVersion() {
            return new String[] {"vornixtoken-tool " + VornixTokenTool.class.getPackage().getImplementationVersion()};
        }
    }
}
