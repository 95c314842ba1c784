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

import jvm.support.ScriptedToken;
import jvm.support.SoftHsm;

import org.junit.jupiter.api.Test;

/** What can be learned of a module and a reader without a PIN. */
class ReaderSearchTest extends ScriptedToken {
    @Test
    void theReaderThatANameChoosesIsDescribed() throws Exception {
        Reader reader = new Token(module, "Scripted R").findReader();

        assertEquals(Token.readers(module).get(0), reader);
        assertEquals(READER, reader.getName());
        assertEquals("Scripted Token", reader.getToken().get().getLabel());
    }

    @Test
    void aNameThatChoosesNoneIsRefused() {
        Pkcs11Exception refused = assertThrows(Pkcs11Exception.class, () -> new Token(module, "none").findReader());

        assertEquals(Reason.NO_READER, refused.getReason());
    }

    @Test
    void aModuleTellsWhetherItHasTheVendorFunctions() throws Exception {
        SoftHsm.newToken();

        assertTrue(Token.hasVendorFunctions(module));
        assertFalse(Token.hasVendorFunctions(SoftHsm.MODULE));
        Token.unload(SoftHsm.MODULE);
    }
}
