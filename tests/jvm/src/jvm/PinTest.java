// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.Pkcs11Exception;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

class PinTest extends ScriptedToken {
    @Test
    void itWipesWhatItIsMadeOf() {
        char[] characters = "12345678".toCharArray();
        byte[] bytes = PIN.clone();

        Pin.of(characters);
        Pin.of(bytes);

        assertArrayEquals(new char[8], characters);
        assertArrayEquals(new byte[8], bytes);
    }

    @ParameterizedTest
    @CsvSource({"p\u00eb\u6f22\uD83D\uDE00, 70c3abe6bca2f09f9880 [10]", "\u6f22\u5b57, e6bca2e5ad97 [6]"})
    void charactersBecomeUtf8(String text, String bytes) {
        assertEquals("C_Login(session, CKU_USER, PIN " + bytes + "): CKR_PIN_INCORRECT",
                loginWith(Pin.of(text.toCharArray())));
    }

    @Test
    void bytesStayAsTheyAre() throws Exception {
        assertEquals("C_Login(session, CKU_USER, PIN 00ff [2]): CKR_PIN_INCORRECT",
                loginWith(Pin.of(new byte[] {0, (byte) 0xff})));
    }

    @Test
    void noPinIsAnEmptyOne() throws Exception {
        assertEquals("C_Login(session, CKU_USER, PIN null [0]): CKR_PIN_INCORRECT", loginWith(Pin.none()));
    }

    @Test
    void halfASurrogatePairIsRefusedWithoutTellingThePin() {
        char[] characters = {'1', '2', '\uD83D'};

        IllegalArgumentException failure = assertThrows(IllegalArgumentException.class, () -> Pin.of(characters));

        assertEquals("the PIN is not a valid text", failure.getMessage());
        assertNull(failure.getCause());
        assertArrayEquals(new char[3], characters);
    }

    @Test
    void itCannotBeUsedOnceItIsClosed() {
        Pin pin = Pin.of(PIN.clone());
        pin.close();
        pin.close();

        assertThrows(IllegalStateException.class, () -> new Token(module, READER).clean(pin));
    }

    @Test
    void itIsNeitherPrintedNorCompared() {
        assertEquals("Pin", Pin.of(PIN.clone()).toString());
        assertNotEquals(Pin.of(PIN.clone()), Pin.of(PIN.clone()));
    }

    private String loginWith(Pin pin) {
        Token token = new Token(module, READER);
        return Transcript.line("C_Login", () -> {
            Pkcs11Exception failure = assertThrows(Pkcs11Exception.class, () -> token.clean(pin));
            assertTrue(failure.getCode() == 0xA0);
        });
    }
}
