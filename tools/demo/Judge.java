// SPDX-License-Identifier: Apache-2.0
package demo;

import java.io.IOException;

/** A program that knows nothing of the token. It certifies keys of the token and judges what was made with them. */
interface Judge {
    String name();

    /** The certificate for which a request asks, by the throwaway authority. */
    byte[] certify(byte[] request) throws IOException;

    /** Whether a request's signature is good. */
    boolean findsGood(byte[] request) throws IOException;

    /**
     * Whether a message's signature and its signer's certificate are good.
     *
     * @param content what the message was detached from; {@code null} if it encloses its content
     */
    boolean accepts(byte[] message, byte[] content) throws IOException;

    /** The content of the message accepted last. */
    byte[] content() throws IOException;
}
