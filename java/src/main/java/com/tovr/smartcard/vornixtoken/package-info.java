// SPDX-License-Identifier: Apache-2.0
/**
 * A smart-card token for Java applications: start with {@link com.tovr.smartcard.vornixtoken.Token}.
 *
 * <p>A token is named by its maker's PKCS #11 module, which is a file, and by the reader that holds the card. A
 * {@link com.tovr.smartcard.vornixtoken.Pin} opens it and is wiped afterwards. What the token refuses is a
 * {@link com.tovr.smartcard.vornixtoken.Pkcs11Exception}:
 *
 * <pre>
 * Token token = new Token(module, reader);
 * try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
 *     X509Certificate certificate = token.readCertificate(pin, label);
 *     System.out.println(certificate.getSubjectX500Principal());
 * } catch (Pkcs11Exception refused) {
 *     System.out.println(refused.getCodeName()); // CKR_PIN_INCORRECT, for instance
 * }
 * </pre>
 *
 * <p>The life of a key begins with {@link com.tovr.smartcard.vornixtoken.Token#generateRsaKeyPair generateRsaKeyPair}. A
 * {@link com.tovr.smartcard.vornixtoken.RequestContent} says whose it shall be:
 *
 * <pre>
 * RequestContent content = RequestContent.builder()
 *         .subject("CN", "Alice")
 *         .extension("keyUsage", true, "digitalSignature")
 *         .build();
 * </pre>
 *
 * <p>{@link com.tovr.smartcard.vornixtoken.Token#createRequest createRequest} makes a request of it, an authority answers
 * with a certificate, and {@link com.tovr.smartcard.vornixtoken.Token#importCertificate(Pin, String, byte[],
 * java.security.cert.X509Certificate) importCertificate} stores that beside the key. Then the pair signs:
 *
 * <pre>
 * byte[] message = token.sign(pin, text, id, id, 0);
 * </pre>
 */
package com.tovr.smartcard.vornixtoken;
