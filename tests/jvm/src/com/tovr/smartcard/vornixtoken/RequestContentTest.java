// SPDX-License-Identifier: Apache-2.0
package com.tovr.smartcard.vornixtoken;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import jvm.support.Values;

import org.junit.jupiter.api.Test;

import javax.security.auth.x500.X500Principal;

class RequestContentTest {
    @Test
    void aBuilderMayGoOn() {
        RequestContent.Builder builder = RequestContent.builder().subject("CN", "Alice");
        RequestContent first = builder.build();

        RequestContent second = builder.subject("C", "NO").build();

        assertArrayEquals(new String[] {"CN", "Alice"}, first.subject());
        assertArrayEquals(new String[] {"CN", "Alice", "C", "NO"}, second.subject());
    }

    @Test
    void itIsEqualToWhatWasCollectedLikewise() {
        Values.assertEqual(
                RequestContent.builder().subject("a", "b").attribute("c", "d").extension("e", true, "f").build(),
                RequestContent.builder().extension("e", "critical", "f").attribute("c", "d").subject("a", "b").build());
        Values.assertDistinct(
                RequestContent.builder().build(),
                RequestContent.builder().subject("a", "b").build(),
                RequestContent.builder().attribute("a", "b").build(),
                RequestContent.builder().extension("a", "b", "c").build(),
                RequestContent.builder().subject("a", "b").subject("c", "d").build(),
                RequestContent.builder().subject("c", "d").subject("a", "b").build());
    }

    /** An attribute may be a challenge password. */
    @Test
    void itTellsItsSubjectAlone() {
        assertEquals("request for [CN, Alice, C, NO]", RequestContent.builder().subject("CN", "Alice")
                .subject("C", "NO").attribute("challengePassword", "word").extension("a", "b", "c").build().toString());
    }

    @Test
    void aPrincipalGivesItsPartsInTheOrderOfTheirEncoding() {
        assertArrayEquals(
                new String[] {"C", "NO", "O", "Example, Inc.", "emailAddress", "a@b.example", "CN", "Алиса"},
                RequestContent.builder()
                        .subject(new X500Principal("CN=Алиса, EMAILADDRESS=a@b.example, O=\"Example, Inc.\", C=NO"))
                        .build().subject());
    }

    @Test
    void aPrincipalThatARequestCannotSayIsRefused() {
        assertThrows(IllegalArgumentException.class,
                () -> RequestContent.builder().subject(new X500Principal("CN=Alice+UID=7")));
        assertThrows(IllegalArgumentException.class,
                () -> RequestContent.builder().subject(new X500Principal("1.2.3.4=#0403010203")));
    }

    @Test
    void alternativeNamesAreOneExtensionBehindAllOthers() {
        assertArrayEquals(
                new String[] {"keyUsage", "critical", "digitalSignature,cRLSign", "subjectAltName", "",
                    "DNS:host.example,IP:192.0.2.1"},
                RequestContent.builder().alternativeName("DNS", "host.example")
                        .keyUsage(KeyUsage.DIGITAL_SIGNATURE, KeyUsage.CRL_SIGN).alternativeName("IP", "192.0.2.1")
                        .build().extensions());
    }

    @Test
    void aNameWithACommaAndNoUsageAtAllAreRefused() {
        assertThrows(IllegalArgumentException.class,
                () -> RequestContent.builder().alternativeName("DNS", "host.example,email:copy"));
        assertThrows(IllegalArgumentException.class, () -> RequestContent.builder().keyUsage());
    }
}
