// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.tovr.smartcard.vornixtoken.TokenObject.KeyType;
import com.tovr.smartcard.vornixtoken.TokenObject.Kind;

import jvm.support.Values;

import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;

import java.util.Optional;

class TokenObjectTest {
    @ParameterizedTest
    @CsvSource({"data, DATA", "certificate, CERTIFICATE", "public key, PUBLIC_KEY", "private key, PRIVATE_KEY",
        "secret key, SECRET_KEY", "hw feature, HW_FEATURE", "domain parameter, DOMAIN_PARAMETERS",
        "mechanism, MECHANISM", "unknown, UNKNOWN"})
    void aKindHasTheLibrarysName(String name, Kind kind) {
        assertEquals(kind, object(name, "", "", "").getKind());
        assertEquals(name, kind.toString());
    }

    @ParameterizedTest
    @CsvSource({"RSA, RSA", "DSA, DSA", "ECDSA, ECDSA", "DES, DES", "AES, AES", "GOSTR3410, GOSTR3410",
        "Unknown, UNKNOWN"})
    void aKeyTypeHasTheLibrarysName(String name, KeyType type) {
        assertEquals(Optional.of(type), object("secret key", "", "", name).getKeyType());
        assertEquals(name, type.toString());
    }

    @ParameterizedTest
    @CsvSource({"'', rsa", "something new, something new", "Data, rsa"})
    void anyOtherNameIsUnknown(String kind, String type) {
        assertEquals(Kind.UNKNOWN, object(kind, "", "", "").getKind());
        assertEquals(Optional.of(KeyType.UNKNOWN), object("data", "", "", type).getKeyType());
    }

    @Test
    void anIdIsBytesAndText() {
        TokenObject object = object("data", "", "007f80ff", "");

        assertArrayEquals(new byte[] {0, 0x7f, (byte) 0x80, (byte) 0xff}, object.getId());
        assertEquals("007f80ff", object.getIdText());
    }

    @Test
    void itIsReadable() {
        assertEquals("private key 'my key' 02ff RSA", object("private key", "my key", "02ff", "RSA").toString());
        assertEquals("data '' ", object("data", "", "", "").toString());
    }

    @Test
    void itIsEqualToWhatTellsTheSame() {
        Values.assertEqual(object("data", "a", "01", "RSA"), object("data", "a", "01", "RSA"));
        Values.assertEqual(object("data", "a", "01", ""), object("data", "a", "01", ""));
        Values.assertDistinct(
                object("data", "a", "01", "RSA"),
                object("certificate", "a", "01", "RSA"),
                object("data", "b", "01", "RSA"),
                object("data", "a", "02", "RSA"),
                object("data", "a", "01", "AES"),
                object("data", "a", "01", ""));
    }

    private static TokenObject object(String kind, String label, String id, String keyType) {
        return new TokenObject(kind, label, id, keyType);
    }
}
