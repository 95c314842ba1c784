// SPDX-License-Identifier: Apache-2.0
package recipes;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenCertificate;
import com.tovr.smartcard.vornixtoken.TokenInfo;
import com.tovr.smartcard.vornixtoken.TokenInfo.Flag;
import com.tovr.smartcard.vornixtoken.TokenSession;

import examples.Usage;

import java.util.Arrays;
import java.util.Optional;
import java.util.concurrent.FutureTask;

import javax.swing.JDialog;
import javax.swing.JOptionPane;
import javax.swing.JPasswordField;
import javax.swing.SwingUtilities;
import javax.swing.text.BadLocationException;
import javax.swing.text.GapContent;
import javax.swing.text.PlainDocument;
import javax.swing.text.Segment;

/**
 * Asks a person for the PIN in a window, says what the token's flags tell of wrong ones, and opens a session. Use it
 * in a desktop program; the typed characters are wiped in the field, in the array and in the {@link Pin}. What asks is an
 * interface, so that the program can be tested without a screen.
 */
public final class DesktopPrompt {
    /** Asks a person. */
    public interface Dialog {
        /** Returns what was typed, which the caller wipes; null when the person gives up. */
        char[] ask(String question) throws Exception;
    }

    private DesktopPrompt() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(DesktopPrompt.class, arguments, "MODULE READER");
        Optional<TokenSession> opened = open(new Token(arguments[0], arguments[1]), new Window());
        if (opened.isPresent()) {
            try (TokenSession session = opened.get()) {
                StringBuilder text = new StringBuilder("The token's certificates:");
                for (TokenCertificate each : session.listCertificates()) {
                    text.append('\n').append(each);
                }
                SwingUtilities.invokeAndWait(() -> JOptionPane.showMessageDialog(null, text));
            }
        }
    }

    /** Asks until the PIN is right or the person gives up. Every typed PIN is sent once. */
    public static Optional<TokenSession> open(Token token, Dialog dialog) throws Exception {
        String beginning = "";
        while (true) {
            char[] typed = dialog.ask(beginning + question(token.readInfo()));
            if (typed == null) {
                return Optional.empty();
            }
            try (Pin pin = Pin.of(typed)) {
                return Optional.of(token.open(pin));
            } catch (Pkcs11Exception refused) {
                if (refused.getReason() != Reason.WRONG_PIN) {
                    throw refused;
                }
                beginning = "The PIN was wrong. ";
            }
        }
    }

    private static String question(TokenInfo token) {
        String tries = token.getFlags().contains(Flag.USER_PIN_FINAL_TRY) ? "This is the last try. "
                : token.getFlags().contains(Flag.USER_PIN_COUNT_LOW) ? "Few tries may be left. " : "";
        return tries + "PIN of " + token.getLabel() + " (" + token.getSerialNumber() + "):";
    }

    /** Asks in a window, from any thread but that of the events. */
    static final class Window implements Dialog {
        @Override
        public char[] ask(String question) throws Exception {
            FutureTask<char[]> asking = new FutureTask<>(() -> {
                JPasswordField field = newField();
                JOptionPane pane = new JOptionPane(new Object[] {question, field}, JOptionPane.QUESTION_MESSAGE,
                        JOptionPane.OK_CANCEL_OPTION) {
                    /** Else the person would type at the button. */
                    @Override
                    public void selectInitialValue() {
                        super.selectInitialValue();
                        field.requestFocusInWindow();
                    }
                };
                JDialog dialog = pane.createDialog("Token");
                dialog.setVisible(true); // until it is answered
                dialog.dispose();
                char[] typed = take(field);
                if (Integer.valueOf(JOptionPane.OK_OPTION).equals(pane.getValue())) {
                    return typed;
                }
                Arrays.fill(typed, '\0');
                return null;
            });
            SwingUtilities.invokeAndWait(asking);
            return asking.get();
        }
    }

    /** A field that has room for every PIN, because a document that grows leaves a copy behind. */
    static JPasswordField newField() {
        return new JPasswordField(new PlainDocument(new GapContent(512)) { }, null, 20);
    }

    /** Returns what was typed, and wipes it in the field. Removing it instead would keep a copy for an "undo". */
    static char[] take(JPasswordField field) throws BadLocationException {
        char[] typed = field.getPassword();
        Segment stored = new Segment();
        // Then the segment shows the document's own array.
        stored.setPartialReturn(true);
        field.getDocument().getText(0, typed.length, stored);
        Arrays.fill(stored.array, '\0');
        return typed;
    }
}
