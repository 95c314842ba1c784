// SPDX-License-Identifier: Apache-2.0
package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;

import jvm.programs.SignMuch;
import jvm.support.Authority;
import jvm.support.ChildJvm;
import jvm.support.Result;

import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.nio.file.Path;

/** How much heap a large message takes: the data, the message and little more. */
class MemoryTest {
    private static final String MODULE = System.getProperty("vornix.softtoken");
    private static final String READER = "Vornix Soft Reader 00 00";
    private static final byte[] ID = {1};

    @BeforeEach
    void certify(@TempDir Path folder) throws Exception {
        Token token = new Token(MODULE, READER);
        token.initialize(Pin.of("87654321".toCharArray()));
        Pin pin = Pin.of("12345678".toCharArray());
        token.generateRsaKeyPair(pin, 2048, "alice", ID);
        byte[] request = token.createRequest(pin, ID, ID, RequestContent.builder().subject("CN", "Alice").build());
        token.importCertificate(pin, "alice", ID, Authority.certify(folder, request));
    }

    @ParameterizedTest
    @CsvSource({"20, 64m, signed", "20, 32m, out of memory"})
    @Tag("softtoken")
    void aMessageOf20MiBNeedsASmallHeap(int size, String heap, String outcome) throws Exception {
        assertOutcome(size, heap, outcome);
    }

    @ParameterizedTest
    @CsvSource("96, 512m, signed")
    @Tag("longsofttoken")
    void aMessageOf100MegabytesNeedsHalfAGibibyte(int size, String heap, String outcome) throws Exception {
        assertOutcome(size, heap, outcome);
    }

    private static void assertOutcome(int size, String heap, String outcome) throws Exception {
        Result result = new ChildJvm().options("-Xmx" + heap)
                .run(SignMuch.class, MODULE, READER, "12345678", "01", String.valueOf(size));

        assertEquals(outcome + "\n", result.out, result::toString);
    }
}
