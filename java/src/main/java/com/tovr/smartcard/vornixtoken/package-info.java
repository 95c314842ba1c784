// SPDX-License-Identifier: Apache-2.0
/**
 * A smart-card token for Java applications: start with {@link com.tovr.smartcard.vornixtoken.Token}.
 *
 * <p>A token is named by its maker's PKCS #11 module, which is a file, and by the reader that holds the card.
 * {@link com.tovr.smartcard.vornixtoken.Token#readers} tells which readers there are. A
 * {@link com.tovr.smartcard.vornixtoken.Pin} opens the token and is wiped afterwards. What the token refuses is a
 * {@link com.tovr.smartcard.vornixtoken.Pkcs11Exception} with a {@link com.tovr.smartcard.vornixtoken.Reason}. One job
 * needs one call:
 *
 * <pre>
 * Token token = new Token(module, reader);
 * try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray())) {
 *     X509Certificate certificate = token.readCertificate(pin, label);
 *     System.out.println(certificate.getSubjectX500Principal());
 * } catch (Pkcs11Exception refused) {
 *     System.out.println(refused.getReason()); // WRONG_PIN, for instance
 * }
 * </pre>
 *
 * <p>The life of a key begins with {@link com.tovr.smartcard.vornixtoken.TokenSession#generateRsaKeyPair
 * generateRsaKeyPair}. A {@link com.tovr.smartcard.vornixtoken.RequestContent} says whose it shall be:
 *
 * <pre>
 * RequestContent content = RequestContent.builder()
 *         .subject("CN", "Alice")
 *         .alternativeName("email", "alice@host.example")
 *         .keyUsage(KeyUsage.DIGITAL_SIGNATURE)
 *         .build();
 * </pre>
 *
 * <p>{@link com.tovr.smartcard.vornixtoken.TokenSession#createRequest(ObjectId, RequestContent) createRequest} makes a
 * request of it, an authority answers with a certificate, and
 * {@link com.tovr.smartcard.vornixtoken.TokenSession#importCertificate(String, byte[],
 * java.security.cert.X509Certificate) importCertificate} stores that under the ID of the key. Then the two sign, here on
 * an open {@link com.tovr.smartcard.vornixtoken.TokenSession}, which is for many jobs with one PIN:
 *
 * <pre>
 * try (Pin pin = Pin.of(System.getenv("VORNIX_USER_PIN").toCharArray());
 *         TokenSession session = token.open(pin)) {
 *     byte[] message = session.sign(text, ObjectId.parse("01"), SignatureMode.ENCLOSED);
 *     System.out.println(message.length + " bytes");
 *     session.verify(message, null);
 *     System.out.println("good");
 * } catch (Pkcs11Exception refused) {
 *     System.out.println(refused.getReason()); // BAD_SIGNATURE, for instance
 * }
 * </pre>
 */
package com.tovr.smartcard.vornixtoken;
