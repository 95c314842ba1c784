// SPDX-License-Identifier: Apache-2.0
package examples;

import com.tovr.smartcard.vornixtoken.KeyUsage;
import com.tovr.smartcard.vornixtoken.ObjectId;
import com.tovr.smartcard.vornixtoken.Pin;
import com.tovr.smartcard.vornixtoken.RequestContent;
import com.tovr.smartcard.vornixtoken.Token;
import com.tovr.smartcard.vornixtoken.TokenSession;

import java.nio.file.Files;
import java.nio.file.Paths;

/** Builds a certificate request for a key pair. */
public final class CreateRequest {
    private CreateRequest() {
    }

    public static void main(String[] arguments) throws Exception {
        Usage.check(CreateRequest.class, arguments, "MODULE READER OUTPUT");
        Token token = new Token(arguments[0], arguments[1]);
        RequestContent content = RequestContent.builder()
                .subject("CN", "Alice")
                .alternativeName("email", "alice@host.example")
                .keyUsage(KeyUsage.DIGITAL_SIGNATURE)
                .build();
        try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
                TokenSession session = token.open(pin)) {
            byte[] request = session.createRequest(ObjectId.parse("01"), content);
            Files.write(Paths.get(arguments[2]), request);
        }
    }
}
