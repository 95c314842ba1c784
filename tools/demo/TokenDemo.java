import com.tovr.smartcard.vornixtoken.api.Pkcs11ObjectAttribute;
import com.tovr.smartcard.vornixtoken.api.Pkcs11Wrapper;

import java.io.IOException;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Paths;
import java.security.SecureRandom;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;

/**
 * Shows the library at work on an empty token: every step prints what is done, its result and what was checked. Ends
 * with status 0 when all went as expected, with 1 at the first surprise, with 2 when it cannot begin.
 *
 * <p>The token is left as it was found: with its PINs, and empty.
 */
public final class TokenDemo {
    private static final String USAGE = "usage: java -Djava.library.path=<folder of the library> -jar token-demo.jar"
            + " <PKCS #11 module> <reader>\n"
            + "The PINs come from VORNIX_USER_PIN and VORNIX_SO_PIN, or from the files that VORNIX_USER_PIN_FILE and\n"
            + "VORNIX_SO_PIN_FILE name. The token must be empty.";

    private static final String LABEL = "Demonstration key";
    private static final int MODULUS_BITS = 2048;

    private final String module;
    private final String reader;
    private int step;

    private TokenDemo(String module, String reader) {
        this.module = module;
        this.reader = reader;
    }

    public static void main(String[] args) throws IOException {
        if (args.length != 2) {
            System.err.println(USAGE);
            System.exit(2);
        }
        byte[] userPin = secret("VORNIX_USER_PIN");
        byte[] soPin = secret("VORNIX_SO_PIN");
        try {
            System.loadLibrary("VornixToken_Javalib");
            new TokenDemo(args[0], args[1]).run(userPin, soPin);
        } catch (Surprise surprise) {
            System.out.println("   surprise: " + surprise.getMessage());
            System.exit(1);
        } finally {
            Arrays.fill(userPin, (byte) 0);
            Arrays.fill(soPin, (byte) 0);
        }
    }

    private void run(byte[] userPin, byte[] soPin) {
        tokenInformation();
        emptyToken(userPin);
        pinChange(userPin);
        pukChange(soPin);

        byte[] id = new byte[8];
        new SecureRandom().nextBytes(id);
        keyPair(userPin, id);
        listing(userPin, id);
        publicKey(userPin, id);
        refusals(userPin, id);
        cleaning(userPin);
        System.out.println("All " + step + " steps went as expected.");
    }

    private void tokenInformation() {
        begin("Token information");
        String[] label = new String[1];
        String[] manufacturer = new String[1];
        String[] model = new String[1];
        String[] serialNumber = new String[1];
        String[] flags = new String[1];
        expect(0, Pkcs11Wrapper.getTokenInfo(reader, module, label, manufacturer, model, serialNumber, flags));
        show("label", label[0]);
        show("manufacturer", manufacturer[0]);
        show("model", model[0]);
        show("serial number", serialNumber[0]);
        show("flags", flags[0]);
        check("the flags are 16 hexadecimal digits", flags[0].matches("[0-9a-f]{16}"));
        check("the token is initialised and has a user PIN", (Long.parseUnsignedLong(flags[0], 16) & 0x408) == 0x408);
    }

    private void emptyToken(byte[] pin) {
        begin("The token must be empty");
        check("no object is listed", objects(pin).isEmpty());
    }

    private void pinChange(byte[] pin) {
        begin("PIN change, and back");
        byte[] changed = withZeroAppended(pin);
        expect(0, Pkcs11Wrapper.setPin(reader, module, pin, changed));
        System.out.println("   (the PIN is now the given one followed by the digit 0)");
        expect(0xA0, Pkcs11Wrapper.listObjects(reader, module, pin, new ArrayList<>()));
        told("the former PIN is refused, with CKR_PIN_INCORRECT");
        expect(0, Pkcs11Wrapper.setPin(reader, module, changed, pin));
        check("the given PIN counts again", objects(pin).isEmpty());
        Arrays.fill(changed, (byte) 0);
    }

    private void pukChange(byte[] puk) {
        begin("PUK change, and back");
        byte[] changed = withZeroAppended(puk);
        expect(0, Pkcs11Wrapper.setPuk(reader, module, puk, changed));
        System.out.println("   (the PUK is now the given one followed by the digit 0)");
        expect(0xA0, Pkcs11Wrapper.setPuk(reader, module, puk, changed));
        told("the former PUK is refused, with CKR_PIN_INCORRECT");
        expect(0, Pkcs11Wrapper.setPuk(reader, module, changed, puk));
        Arrays.fill(changed, (byte) 0);
    }

    private void keyPair(byte[] pin, byte[] id) {
        begin("RSA key pair of " + MODULUS_BITS + " bits");
        expect(0, Pkcs11Wrapper.generateKeyPair(reader, module, pin, MODULUS_BITS, LABEL, id));
        show("label", LABEL);
        show("ID", hex(id));
    }

    private void listing(byte[] pin, byte[] id) {
        begin("Listing");
        List<Pkcs11ObjectAttribute> objects = objects(pin);
        List<String> types = new ArrayList<>();
        for (Pkcs11ObjectAttribute object : objects) {
            show(object.getType(), object.getLabel() + ", ID " + object.getId() + ", " + object.getKeyType());
            check("it is a key of the new pair", object.getLabel().equals(LABEL) && object.getId().equals(hex(id))
                    && "RSA".equals(object.getKeyType()));
            types.add(object.getType());
        }
        types.sort(null);
        check("the pair is complete", types.equals(Arrays.asList("private key", "public key")));
    }

    private void publicKey(byte[] pin, byte[] id) {
        begin("Public key");
        ArrayList<Byte> modulus = new ArrayList<>();
        ArrayList<Byte> exponent = new ArrayList<>();
        expect(0, Pkcs11Wrapper.getPublicKey(reader, module, pin, LABEL, id, modulus, exponent));
        BigInteger n = unsigned(modulus);
        BigInteger e = unsigned(exponent);
        show("modulus", n.toString(16).substring(0, 16) + "… (" + n.bitLength() + " bits)");
        show("exponent", e.toString());
        check("the modulus has " + MODULUS_BITS + " bits and is odd", n.bitLength() == MODULUS_BITS && n.testBit(0));
        check("the exponent is 65537", e.intValueExact() == 65537);
    }

    private void refusals(byte[] pin, byte[] id) {
        begin("What is not there");
        ArrayList<Byte> untouched = new ArrayList<>();
        expect(6, Pkcs11Wrapper.getX509Certificate(reader, module, pin, LABEL, id, untouched));
        check("there is no certificate of that name, and nothing was delivered", untouched.isEmpty());
        expect(6, Pkcs11Wrapper.listObjects("No reader has this name", module, pin, new ArrayList<>()));
        told("an unknown reader is refused");
        expect(1, Pkcs11Wrapper.listObjects(reader, "./no-such-module.so", pin, new ArrayList<>()));
        told("a missing module is refused");
    }

    private void cleaning(byte[] pin) {
        begin("Cleaning");
        expect(0, Pkcs11Wrapper.cleanCard(reader, module, pin));
        check("no object is left", objects(pin).isEmpty());
    }

    private List<Pkcs11ObjectAttribute> objects(byte[] pin) {
        ArrayList<Pkcs11ObjectAttribute> objects = new ArrayList<>();
        expect(0, Pkcs11Wrapper.listObjects(reader, module, pin, objects));
        return objects;
    }

    private void begin(String title) {
        System.out.println(++step + ". " + title);
    }

    private static void show(String name, String value) {
        System.out.println("   " + name + ": " + value);
    }

    private static void expect(long expected, long result) {
        System.out.println("   result " + result);
        if (result != expected) {
            throw new Surprise("the result should be " + expected);
        }
    }

    private static void check(String what, boolean holds) {
        if (!holds) {
            throw new Surprise("not so: " + what);
        }
        told(what);
    }

    /** Tells what the result expected just before has shown. */
    private static void told(String what) {
        System.out.println("   checked: " + what);
    }

    private static byte[] secret(String name) throws IOException {
        String value = System.getenv(name);
        if (value != null) {
            return value.getBytes(StandardCharsets.UTF_8);
        }
        String file = System.getenv(name + "_FILE");
        if (file == null) {
            System.err.println(USAGE);
            System.exit(2);
        }
        byte[] content = Files.readAllBytes(Paths.get(file));
        int length = content.length;
        while (length > 0 && (content[length - 1] == '\n' || content[length - 1] == '\r')) {
            length--;
        }
        byte[] secret = Arrays.copyOf(content, length);
        Arrays.fill(content, (byte) 0);
        return secret;
    }

    private static byte[] withZeroAppended(byte[] pin) {
        byte[] longer = Arrays.copyOf(pin, pin.length + 1);
        longer[pin.length] = '0';
        return longer;
    }

    private static BigInteger unsigned(List<Byte> bytes) {
        byte[] magnitude = new byte[bytes.size()];
        for (int i = 0; i < magnitude.length; i++) {
            magnitude[i] = bytes.get(i);
        }
        return new BigInteger(1, magnitude);
    }

    private static String hex(byte[] bytes) {
        StringBuilder text = new StringBuilder();
        for (byte b : bytes) {
            text.append(String.format("%02x", b));
        }
        return text.toString();
    }

    private static final class Surprise extends RuntimeException {
        Surprise(String message) {
            super(message);
        }
    }
}
