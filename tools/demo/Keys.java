// SPDX-License-Identifier: Apache-2.0
package demo;

import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.math.BigInteger;
import java.security.GeneralSecurityException;
import java.security.KeyFactory;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.RSAPublicKeySpec;
import java.util.ArrayList;

/** Key pairs, which the token makes. */
final class Keys {
    private static final int MODULUS_BITS = 2048;
    private static final int ATTRIBUTE_TYPE_INVALID = 0x12;

    private final Report report;
    private final Target token;

    Keys(Report report, Target token) {
        this.report = report;
        this.token = token;
    }

    void generateRsa(Holder holder) {
        report.begin("RSA key pair of " + MODULUS_BITS + " bits for " + holder.name);
        report.expect("generateKeyPair", Pkcs11Wrapper.generateKeyPair(token.reader, token.module, token.pin,
                MODULUS_BITS, holder.name, holder.id));
        ArrayList<Byte> modulus = new ArrayList<>();
        ArrayList<Byte> exponent = new ArrayList<>();
        report.expect("getPublicKey", readPublicKey(holder, modulus, exponent));
        RSAPublicKey key = rsaKey(new BigInteger(1, Bytes.of(modulus)), new BigInteger(1, Bytes.of(exponent)));
        report.show("modulus", key.getModulus().toString(16).substring(0, 16) + "…");
        report.show("exponent", key.getPublicExponent());
        report.check("the modulus has " + MODULUS_BITS + " bits",
                key.getModulus().bitLength() == MODULUS_BITS);
        report.check("the exponent is 65537", key.getPublicExponent().equals(BigInteger.valueOf(65537)));
        holder.publicKey = key;
    }

    void generateGost(Holder holder) {
        report.begin("GOST R 34.10-2001 key pair for " + holder.name);
        report.expect("generateGostR3410_2001KeyPair", Pkcs11Wrapper.generateGostR3410_2001KeyPair(token.reader,
                token.module, token.pin, holder.name, holder.id));
        ArrayList<Byte> untouched = new ArrayList<>();
        report.expect("getPublicKey", ATTRIBUTE_TYPE_INVALID, readPublicKey(holder, untouched, untouched));
        report.check("such a key has no modulus, and nothing was delivered", untouched.isEmpty());
    }

    private long readPublicKey(Holder holder, ArrayList<Byte> modulus, ArrayList<Byte> exponent) {
        return Pkcs11Wrapper.getPublicKey(token.reader, token.module, token.pin, holder.name, holder.id, modulus,
                exponent);
    }

    private static RSAPublicKey rsaKey(BigInteger modulus, BigInteger exponent) {
        try {
            return (RSAPublicKey) KeyFactory.getInstance("RSA").generatePublic(new RSAPublicKeySpec(modulus, exponent));
        } catch (GeneralSecurityException failure) {
            throw new Surprise("the JDK refuses the RSA key: " + failure.getMessage());
        }
    }
}
