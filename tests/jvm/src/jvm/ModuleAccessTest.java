package jvm;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;
import com.tovr.smartcard.vornixtoken.utils.PcscUtils;

import jvm.support.Scripted;
import jvm.support.ScriptedToken;
import jvm.support.Transcript;

import org.junit.jupiter.api.Tag;
import org.junit.jupiter.api.Test;

import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

@Tag("natives")
class ModuleAccessTest extends ScriptedToken {
    private static final byte[] NEW_PIN = Scripted.ascii("new PIN");

    @Test
    void setPinReplacesTheUserPin() {
        assertEquals(0, Pkcs11Wrapper.setPin(READER, module, PIN, NEW_PIN));

        assertEquals(0xA0, list(PIN));
        assertEquals(0, list(NEW_PIN));
    }

    @Test
    void setPukReplacesTheSecurityOfficersPinAlone() {
        assertEquals(0, Pkcs11Wrapper.setPuk(READER, module, SO_PIN, NEW_PIN));

        assertEquals(0xA0, Pkcs11Wrapper.setPuk(READER, module, SO_PIN, NEW_PIN));
        assertEquals(0, Pkcs11Wrapper.setPuk(READER, module, NEW_PIN, SO_PIN));
        assertEquals(0, list(PIN));
    }

    @Test
    void aUserPinIsNoPuk() {
        assertEquals(0xA0, Pkcs11Wrapper.setPuk(READER, module, PIN, NEW_PIN));
    }

    @Test
    void anEmptyPinReachesTheModuleAsNullPointer() {
        String login = Transcript.line("C_Login", () -> assertEquals(0xA0, list(NONE)));

        assertEquals("C_Login(session, CKU_USER, PIN null [0]): CKR_PIN_INCORRECT", login);
    }

    @Test
    void pinsReachTheModuleByteForByte() {
        byte[] everyByte = new byte[256];
        for (int i = 0; i < everyByte.length; i++) {
            everyByte[i] = (byte) i;
        }
        assertEquals(0, Pkcs11Wrapper.setPin(READER, module, PIN, everyByte));
        assertEquals(0, list(everyByte));
    }

    @Test
    void aCallIsWholeAndLeavesTheModuleFinalised() {
        List<String> calls = Transcript
                .during(() -> assertEquals(0, Pkcs11Wrapper.setPin(READER, module, PIN, NEW_PIN)));

        assertEquals(Arrays.asList(
                "C_GetFunctionList: CKR_OK",
                "C_Initialize(null): CKR_OK",
                "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK",
                "C_GetSlotList(token present 0, list null, count 0) -> count 1: CKR_OK",
                "C_GetSlotList(token present 0, list {0}, count 1) -> count 1: CKR_OK",
                "C_GetSlotInfo(slot 7): CKR_OK",
                "C_OpenSession(slot 7, flags 0x6, application null, notify null) -> session: CKR_OK",
                "C_Login(session, CKU_USER, PIN \"12345678\" [8]): CKR_OK",
                "C_SetPIN(session, old \"12345678\" [8], new \"new PIN\" [7]): CKR_OK",
                "C_CloseSession(session): CKR_OK",
                "C_Finalize(null): CKR_OK"), calls);
    }

    @Test
    void anUnknownReaderIsRefusedBeforeAnySession() {
        List<String> calls = Transcript
                .during(() -> assertEquals(6, Pkcs11Wrapper.setPin("Another Reader", module, PIN, NEW_PIN)));

        assertTrue(calls.stream().noneMatch(call -> call.startsWith("C_OpenSession")), calls::toString);
        assertEquals("C_Finalize(null): CKR_OK", calls.get(calls.size() - 1));
    }

    @Test
    void theBeginningOfAReadersNameIsEnough() {
        assertEquals(0, Pkcs11Wrapper.setPin("Scripted Read", module, PIN, NEW_PIN));
    }

    @Test
    void aModuleThatCannotBeLoadedGivesOne() {
        assertEquals(1, Pkcs11Wrapper.setPin(READER, module + ".absent", PIN, NEW_PIN));
        assertEquals(1, Pkcs11Wrapper.pkcs7Verify(module + ".absent", NONE, NONE));
    }

    @Test
    void thousandsOfCallsInARowWork() {
        for (int i = 0; i < 2000; i++) {
            assertEquals(0, Pkcs11Wrapper.getTokenInfo(READER, module, null, null, null, null, null));
        }
    }

    @Test
    void resetTerminalReturnsForAReaderThatDoesNotExist() {
        PcscUtils.resetTerminal("Reader with no such name \u0000\uD83D\uDE00");
    }

    private long list(byte[] pin) {
        return Pkcs11Wrapper.listObjects(READER, module, pin, new ArrayList<>());
    }
}
