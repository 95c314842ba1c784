// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.utils.PcscUtils;

import java.io.IOException;
import java.util.ArrayList;
import java.util.List;

import javax.smartcardio.Card;
import javax.smartcardio.CardException;
import javax.smartcardio.CardTerminal;
import javax.smartcardio.CommandAPDU;
import javax.smartcardio.TerminalFactory;

/** The reset of a PC/SC reader: in a process of its own, since a card in a reader has to be arranged for it. */
final class ReaderReset {
    static final String READER = "Virtual PCD 00 00";

    private static final String RECORD = "The card in \"" + READER + "\" saw:\n  power on\n  power off\n";
    private static final int LACKS_RIGHTS = 77;
    private static final CommandAPDU ANY_COMMAND = new CommandAPDU(0, 0xB0, 0, 0, 256);

    private final Report report;
    private final List<String> withVirtualCard;

    ReaderReset(Report report, List<String> withVirtualCard) {
        this.report = report;
        this.withVirtualCard = withVirtualCard;
    }

    void run() throws IOException {
        report.begin("Reader reset");
        if (withVirtualCard.isEmpty()) {
            report.leaveOut("no command that gives a reader was named");
            return;
        }
        List<String> command = new ArrayList<>(withVirtualCard);
        command.addAll(List.of(OwnProgram.java(), "-Djava.library.path=" + System.getProperty("java.library.path"),
                "-jar", OwnProgram.jar().toString(), "reset", READER));
        Outcome outcome = Outcome.of(new ProcessBuilder(command).redirectError(ProcessBuilder.Redirect.INHERIT));
        report.quote(outcome.text);
        if (outcome.status == LACKS_RIGHTS) {
            report.leaveOut("a reader that disturbs nobody needs root");
            return;
        }
        report.check("the process of the reset ended well", outcome.status == 0);
        report.check("the card was powered down once, by the reset", outcome.text.endsWith(RECORD));
    }

    /** The reset itself. The JDK, as another application, has the card in use and so keeps it from being idle. */
    static void resetUnderAnApplication(Report report, String reader) throws CardException {
        CardTerminal terminal = TerminalFactory.getDefault().terminals().getTerminal(reader);
        if (terminal == null) {
            throw new Surprise("there is no reader \"" + reader + "\"");
        }
        Card card = terminal.connect("*");
        card.getBasicChannel().transmit(ANY_COMMAND);
        report.checked("the card answers another application, here the JDK");
        PcscUtils.resetTerminal(reader);
        report.show("resetTerminal", "returned");
        try {
            card.getBasicChannel().transmit(ANY_COMMAND);
        } catch (CardException taken) {
            report.check("that application has lost it, and is told so",
                    taken.getMessage().contains("SCARD_W_RESET_CARD"));
            return;
        }
        throw new Surprise("the card is as it was");
    }
}
