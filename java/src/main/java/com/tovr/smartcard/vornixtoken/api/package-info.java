// SPDX-License-Identifier: Apache-2.0
/**
 * The native methods themselves. New applications are better served by {@link com.tovr.smartcard.vornixtoken.Token}.
 *
 * <p>Each call names module and reader, stands alone and returns a code. The application loads the library first:
 *
 * <pre>
 * System.loadLibrary("VornixToken_Javalib");
 *
 * ArrayList&lt;Byte&gt; certificate = new ArrayList&lt;&gt;();
 * long rv = Pkcs11Wrapper.getX509Certificate(reader, module, pin, label, new byte[0], certificate);
 * if (rv == 0) {
 *     System.out.println(certificate.size() + " bytes");
 * } else {
 *     System.out.println("code " + rv); // a PKCS #11 code: 160 is a wrong PIN, 6 "no such reader or object"
 * }
 * </pre>
 */
package com.tovr.smartcard.vornixtoken.api;
