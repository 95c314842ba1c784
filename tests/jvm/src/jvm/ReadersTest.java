// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Reader;
import com.tovr.smartcard.vornixtoken.Reason;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenBuilder;

import jvm.support.ScriptedToken;
import jvm.support.Transcript;
import jvm.support.Values;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.Paths;
import java.util.List;
import java.util.stream.Collectors;

/** Which reader is meant. The module has its slot 7, "Scripted Reader 0" of "Scripted Works", and those of this test. */
@Tag("sessions")
class ReadersTest extends ScriptedToken {
    private static final String LONG = "A reader whose name in PC/SC is longer than the room of a slot [";

    @BeforeEach
    void plugIn() throws Exception {
        order("slot 8 Scripted Reader 01", "slot 9 Twin", "slot 10 Twin", "slot 11 " + LONG, "slot 12 R\u00eb\u6f22");
    }

    @Test
    void readersAreListedWithoutAPin() throws Exception {
        List<Reader> readers = Token.readers(module);

        assertEquals(6, readers.size());
        Reader first = readers.get(0);
        assertEquals(7, first.getSlot());
        assertEquals(READER, first.getName());
        assertEquals("Scripted Works", first.getManufacturer());
        assertEquals(7, first.getFlagWord());
        assertTrue(first.isTokenPresent());
        assertEquals(0, first.getTokenCode());
        assertEquals("0123456789abcdef", first.getToken().get().getSerialNumber());
        assertEquals("R\u00eb\u6f22", readers.get(5).getName());
        Values.assertEqual(readers, Token.readers(module));
        Values.assertDistinct(readers.toArray());
    }

    @Test
    void aTokenThatCannotBeDescribedLeavesTheOthers() throws Exception {
        Token.readers(module);
        order("C_GetTokenInfo 0xE1 1");

        List<Reader> readers = Token.readers(module);

        assertEquals(6, readers.size());
        assertEquals(0xE1, readers.get(0).getTokenCode());
        assertFalse(readers.get(0).getToken().isPresent());
        assertTrue(readers.get(1).getToken().isPresent());
    }

    @ParameterizedTest
    @CsvSource({
        "Scripted Reader 0,     7", // whole, though another begins so
        "'Scripted Reader 0  ', 7",
        "Scripted Reader 01,    8",
        "A reader whose,        11",
        LONG + ",               11",
        LONG + "and more),      11",
        "R\u00eb,               12"})
    void aNameIsAWholeNameOrAUniqueBeginning(String name, long slot) {
        assertEquals(slot, slotOf(new Token(module, name)));
    }

    @ParameterizedTest
    @ValueSource(strings = {"Scripted", "Scripted Reader", "Twin", "Scripted Works"})
    void anAmbiguousNameIsToldWithWhatItMeans(String name) {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> new Token(module, name).readInfo());

        assertEquals(Reason.AMBIGUOUS_READER, failure.getReason());
        assertTrue(failure.getMessage().contains(name.equals("Twin") ? "'Twin', 'Twin'" : "'Scripted Reader 01'"),
                failure.getMessage());
    }

    @ParameterizedTest
    @ValueSource(strings = {"scripted reader 0", "Reader 0", "Scripted Reader 0 and more", "?"})
    void anUnknownNameIsToldWithWhatIsThere(String name) {
        Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> new Token(module, name).readInfo());

        assertEquals(Reason.NO_READER, failure.getReason());
        assertTrue(failure.getMessage().contains("There are: 'Scripted Reader 0', 'Scripted Reader 01', 'Twin'"),
                failure.getMessage());
    }

    @Test
    void whereNoReaderIsCalledSoItMayBeTheManufacturer(@TempDir Path folder) throws Exception {
        String alone = Files.copy(Paths.get(module), folder.resolve("alone.so")).toString();

        assertEquals(7, slotOf(new Token(alone, "Scripted Works")));
        assertEquals(7, slotOf(new Token(alone, "Scripted W")));
    }

    @Test
    void serialNumberAndLabelTellTwinsApart() throws Exception {
        Token.readers(module);
        order("C_GetTokenInfo 0xE1 3"); // the first twin's token is unknown
        TokenBuilder twin = Token.in(module).reader("Twin").serialNumber("0123456789abcdef").label("Scripted Token");

        assertEquals(10, slotOf(twin.build()));

        Pkcs11Exception other = assertThrows(Pkcs11Exception.class, () -> twin.serialNumber("1").build().readInfo());
        assertEquals(Reason.NO_TOKEN, other.getReason());
        assertTrue(other.getMessage().contains("'Twin' with Scripted Token (Scripted Model, 0123456789abcdef)"),
                other.getMessage());
        assertEquals("token in reader 'Twin' with serial number '1' with label 'Scripted Token' of module " + module,
                twin.build().toString());
    }

    @Test
    void withoutASerialNumberNoOtherTokenIsAsked() throws Exception {
        List<String> calls = Transcript.during(() -> slotOf(new Token(module, READER)));

        assertEquals(1, calls.stream().filter(call -> call.startsWith("C_GetTokenInfo(")).count());
    }

    @Test
    void aTokenWithoutAnyNameIsAnErrorThatListsWhatIsThere() {
        for (TokenBuilder nameless : new TokenBuilder[] {Token.in(module), Token.in(module).reader("")}) {
            IllegalArgumentException failure = assertThrows(IllegalArgumentException.class, nameless::build);
            assertTrue(failure.getMessage().contains("There are: 'Scripted Reader 0' with Scripted Token"),
                    failure.getMessage());
        }
    }

    @Test
    void aReaderThatComesLaterIsFound() throws Exception {
        Token later = new Token(module, "Later");
        assertThrows(Pkcs11Exception.class, later::readInfo);

        order("slot 20 Later");

        assertEquals(20, slotOf(later));
    }

    /** The slot whose token is asked last. */
    private static long slotOf(Token token) {
        List<String> asked = Transcript.during(() -> {
            try {
                token.readInfo();
            } catch (Pkcs11Exception failure) {
                throw new AssertionError(failure);
            }
        }).stream().filter(call -> call.startsWith("C_GetTokenInfo(")).collect(Collectors.toList());
        return Long.parseLong(asked.get(asked.size() - 1).replaceAll(".*slot (\\d+)\\).*", "$1"));
    }
}
