// SPDX-License-Identifier: Apache-2.0
package recipes;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import com.tovr.smartcard.vornixtoken.TokenSession;

import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.awt.AWTException;
import java.awt.Component;
import java.awt.Container;
import java.awt.Dialog;
import java.awt.Robot;
import java.awt.Window;
import java.awt.event.KeyEvent;
import java.awt.event.WindowEvent;
import java.util.Arrays;
import java.util.Optional;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.FutureTask;
import java.util.function.Predicate;

import javax.swing.JButton;
import javax.swing.JLabel;
import javax.swing.JPasswordField;
import javax.swing.SwingUtilities;

/** The window of the desktop's prompt, shown on a screen and used by keys, buttons and its close box. */
@Tag("desktop")
class DesktopPromptTest extends IssuedToken {
    private static final String DIGITS = "1234";
    private static final long PATIENCE = 60_000;

    private final ExecutorService program = Executors.newSingleThreadExecutor();
    private final DesktopPrompt.Window window = new DesktopPrompt.Window();

    /** How a person ends the window. */
    private interface Ending {
        void run() throws Exception;
    }

    @AfterEach
    void end() throws Exception {
        program.shutdownNow();
        SwingUtilities.invokeAndWait(() -> Arrays.stream(Window.getWindows()).forEach(Window::dispose));
    }

    @Test
    void whoTypesAtOnceTypesThePin() throws Exception {
        assertArrayEquals(DIGITS.toCharArray(), answer(() -> press(KeyEvent.VK_ENTER)));
    }

    @Test
    void theButtonTakesWhatWasTyped() throws Exception {
        assertArrayEquals(DIGITS.toCharArray(), answer(() -> click("OK")));
    }

    @Test
    void whoGivesUpLeavesNothing() throws Exception {
        assertNull(answer(() -> click("Cancel")));
    }

    @Test
    void closingTheWindowIsGivingUp() throws Exception {
        assertNull(answer(() -> {
            Dialog dialog = await(DesktopPromptTest::shown);
            SwingUtilities.invokeLater(() -> dialog.dispatchEvent(new WindowEvent(dialog, WindowEvent.WINDOW_CLOSING)));
        }));
    }

    @Test
    void aWrongPinIsToldAndTheRightOneOpens() throws Exception {
        char[][] typed = new char[2][];
        int[] next = {0};
        Future<Optional<TokenSession>> opened = program.submit(() -> DesktopPrompt.open(token(),
                question -> typed[next[0]++] = window.ask(question)));
        type(shownField(), "00000000");
        press(KeyEvent.VK_ENTER);
        await(() -> find(JLabel.class, shown(), label -> String.valueOf(label.getText()).startsWith("The PIN was wrong. ")));
        type(shownField(), PIN);
        press(KeyEvent.VK_ENTER);

        try (TokenSession session = opened.get().get()) {
            assertEquals(3, session.listObjects().size());
        }
        assertArrayEquals(new char[8], typed[0]);
        assertArrayEquals(new char[8], typed[1]);
    }

    /** Has the window ask, types, ends the window, and looks for what was typed in its field. */
    private char[] answer(Ending ending) throws Exception {
        Future<char[]> asked = program.submit(() -> window.ask("PIN of the token:"));
        JPasswordField field = shownField();
        type(field, DIGITS);
        ending.run();
        char[] answer = asked.get();

        assertEquals("\0".repeat(DIGITS.length()), field.getDocument().getText(0, field.getDocument().getLength()));
        return answer;
    }

    private static void type(JPasswordField field, String digits) throws Exception {
        await(() -> field.isFocusOwner() ? true : null);
        for (char digit : digits.toCharArray()) {
            press(digit); // a digit's key has its code
        }
        await(() -> field.getDocument().getLength() == digits.length() ? true : null);
    }

    private static void press(int key) throws AWTException {
        Robot person = new Robot();
        person.keyPress(key);
        person.keyRelease(key);
    }

    private static void click(String button) throws Exception {
        JButton found = await(() -> find(JButton.class, shown(), each -> each.getText().equals(button)));
        SwingUtilities.invokeLater(found::doClick);
    }

    private static JPasswordField shownField() throws Exception {
        return await(() -> find(JPasswordField.class, shown(), field -> field.getDocument().getLength() == 0));
    }

    /** The window that is on the screen; null: none. */
    private static Dialog shown() {
        return (Dialog) Arrays.stream(Window.getWindows()).filter(each -> each instanceof Dialog && each.isShowing())
                .findFirst().orElse(null);
    }

    private static <T extends Component> T find(Class<T> kind, Container in, Predicate<T> wanted) {
        if (in == null) {
            return null;
        }
        for (Component each : in.getComponents()) {
            if (kind.isInstance(each) && wanted.test(kind.cast(each))) {
                return kind.cast(each);
            }
            T below = each instanceof Container ? find(kind, (Container) each, wanted) : null;
            if (below != null) {
                return below;
            }
        }
        return null;
    }

    /** Waits until the thread of the events has something. */
    private static <T> T await(Callable<T> look) throws Exception {
        for (long end = System.currentTimeMillis() + PATIENCE; System.currentTimeMillis() < end; Thread.sleep(20)) {
            FutureTask<T> looking = new FutureTask<>(look);
            SwingUtilities.invokeAndWait(looking);
            if (looking.get() != null) {
                return looking.get();
            }
        }
        throw new AssertionError("nothing of the kind is on the screen");
    }
}
