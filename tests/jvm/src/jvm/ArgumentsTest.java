// SPDX-License-Identifier: Apache-2.0
package jvm;

import static jvm.support.Scripted.text;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;
import com.tovr.smartcard.vornixtoken.utils.PcscUtils;

import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;

import java.util.ArrayList;
import java.util.stream.Stream;

/** What the module receives of the virtual machine's strings, arrays and numbers. */
@Tag("natives")
class ArgumentsTest extends ScriptedToken {
    @ParameterizedTest(name = "{0}")
    @MethodSource
    void textsAreModifiedUtf8(String name, String label, String bytes) {
        String search = Transcript.line("C_FindObjectsInit", () -> assertEquals(6,
                Pkcs11Wrapper.getX509Certificate(READER, module, PIN, label, NONE, new ArrayList<>())));

        assertEquals("C_FindObjectsInit(session, {CKA_CLASS CKO_CERTIFICATE [8], CKA_LABEL " + bytes + "}): CKR_OK",
                search);
    }

    static Stream<Arguments> textsAreModifiedUtf8() {
        return Stream.of(
                Arguments.of("empty", "", "\"\" [0]"),
                Arguments.of("ASCII", "plain", "\"plain\" [5]"),
                Arguments.of("U+0000", "Z\u0000", "5ac080 [3]"),
                Arguments.of("Latin and Greek", "\u00e9\u03a9", "c3a9cea9 [4]"),
                Arguments.of("Chinese", "\u6f22", "e6bca2 [3]"),
                Arguments.of("beyond U+FFFF", "\uD83D\uDE00", "eda0bdedb880 [6]"),
                Arguments.of("lone surrogate", "\uD83D", "eda0bd [3]"));
    }

    @Test
    void textsOfAnArrayAreSoToo() {
        ArrayList<Byte> request = new ArrayList<>();

        assertEquals(0, Pkcs11Wrapper.createCSR(READER, module, PIN, NONE, NONE,
                new String[] {"CN", "a\u0000b \uD83D\uDE00"}, null, null, request));

        assertTrue(text(request).contains("subject(1):CN,a\u00c0\u0080b \u00ed\u00a0\u00bd\u00ed\u00b8\u0080;"),
                () -> text(request));
    }

    @Test
    void aReadersNameMayHoldAnyCharacter() {
        PcscUtils.resetTerminal("Reader with no such name \u0000\uD83D\uDE00");
    }

    @Test
    void bytesAreUnsigned() {
        byte[] everyByte = new byte[256];
        for (int i = 0; i < everyByte.length; i++) {
            everyByte[i] = (byte) i;
        }
        assertEquals(0, Pkcs11Wrapper.setPin(READER, module, PIN, everyByte));
        assertEquals(0, Pkcs11Wrapper.listObjects(READER, module, everyByte, new ArrayList<>()));
    }

    @Test
    void numbersKeepTheir64Bits() {
        for (long bits : new long[] {0, 4096, Long.MAX_VALUE, -1}) {
            String call = Transcript.line("C_GenerateKeyPair",
                    () -> assertEquals(0, Pkcs11Wrapper.generateKeyPair(READER, module, PIN, bits, "", NONE)));
            assertTrue(call.contains("CKA_MODULUS_BITS " + Long.toUnsignedString(bits) + " [8]"), call);
        }
    }

    @Test
    void nullAndEmptyArraysAreNothing() {
        ArrayList<Byte> message = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, NONE, NONE, null, -1, message));
        assertEquals(0, Pkcs11Wrapper.pkcs7Sign(READER, module, PIN, NONE, NONE, NONE, new byte[0][], 0, message));
        assertEquals("certificate 0;private 0;certificates null;flags 18446744073709551615;"
                + "certificate 0;private 0;certificates null;flags 0;", text(message));

        ArrayList<Byte> request = new ArrayList<>();
        assertEquals(0, Pkcs11Wrapper.createCSR(READER, module, PIN, NONE, NONE, null, new String[0], null, request));
        assertEquals("public 0;private 0;subject(0):;attributes(0):;extensions(0):;", text(request));

        assertEquals("C_TOVR_pkcs7Verify(first null [0], second null [0]): CKR_OK",
                Transcript.line("C_TOVR_pkcs7Verify", () -> Pkcs11Wrapper.pkcs7Verify(module, null, NONE)));
    }
}
