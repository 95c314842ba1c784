// SPDX-License-Identifier: Apache-2.0
// The token's judgement of messages that others made, and of messages put together here, which openssl judges as well.
#include "tests/endtoend/softtoken/soft_token.h"

#include <openssl/err.h>

#include <algorithm>

namespace endtoend {
namespace {

enum Tag : unsigned char {
    octetString = 0x04,
    utf8String = 0x0C,
    printableString = 0x13,
    sequence = 0x30,
    set = 0x31,
    context0 = 0xA0,
};

Bytes operator+(Bytes left, const Bytes& right)
{
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

Bytes der(Tag tag, const Bytes& contents)
{
    const auto low = static_cast<unsigned char>(contents.size());
    const auto high = static_cast<unsigned char>(contents.size() >> 8);
    return Bytes{tag} + (contents.size() < 0x80 ? Bytes{low} : Bytes{0x82, high, low}) + contents;
}

const Bytes one = {0x02, 0x01, 0x01};
const Bytes commonName = {0x06, 0x03, 0x55, 0x04, 0x03};
const Bytes data = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x01};
const Bytes signedData = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x07, 0x02};
const Bytes ownType = {0x06, 0x03, 0x2A, 0x03, 0x04};
const Bytes contentType = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x03};
const Bytes messageDigest = {0x06, 0x09, 0x2A, 0x86, 0x48, 0x86, 0xF7, 0x0D, 0x01, 0x09, 0x04};

/// A signer's key and its algorithms, by openssl's names and in DER.
struct Kind {
    std::vector<std::string> newKey;
    std::string digestName;
    std::vector<std::string> signWith;
    Bytes digest;
    Bytes signature;
};

const Kind p256 = {{"-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256"},
                   "-sha256",
                   {"-digest", "sha256"},
                   der(sequence, {0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01}),
                   der(sequence, {0x06, 0x08, 0x2A, 0x86, 0x48, 0xCE, 0x3D, 0x04, 0x03, 0x02})};
const Kind ed25519 = {{"-newkey", "ed25519"},
                      "-sha512",
                      {},
                      der(sequence, {0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03}),
                      der(sequence, {0x06, 0x03, 0x2B, 0x65, 0x70})};

Bytes entry(const Bytes& attribute, const Bytes& values)
{
    return der(sequence, attribute + der(set, values));
}

class Verification : public TokenTest {
protected:
    void SetUp() override
    {
        TokenTest::SetUp();
        folder.write("content", content);
        makeSigner(p256);
    }

    void makeSigner(const Kind& wanted)
    {
        kind = wanted;
        makeSigner(kind.newKey);
    }

    /// "own.key" and "own.pem": issued by itself, serial number 1.
    void makeSigner(std::vector<std::string> more)
    {
        more.insert(more.begin(), {"req", "-x509", "-nodes", "-subj", "/CN=Signer", "-set_serial", "1", "-keyout",
                                   "own.key", "-out", "own.pem"});
        ASSERT_TRUE(succeeded(openssl(folder, std::move(more))));
    }

    Bytes opensslSign(std::vector<std::string> more = {})
    {
        more.insert(more.begin(), {"cms", "-sign", "-binary", "-nodetach", "-in", "content", "-signer", "own.pem",
                                   "-inkey", "own.key", "-outform", "DER", "-out", "own.der"});
        EXPECT_TRUE(succeeded(openssl(folder, std::move(more))));
        return folder.read("own.der");
    }

    Outcome opensslVerify(const Bytes& message)
    {
        folder.write("message.der", message);
        return openssl(folder, {"cms", "-verify", "-binary", "-noverify", "-inform", "DER", "-in", "message.der",
                                "-out", "verified"});
    }

    Bytes digestOf(const Bytes& bytes)
    {
        folder.write("digested", bytes);
        EXPECT_TRUE(succeeded(openssl(folder, {"dgst", kind.digestName, "-binary", "-out", "digest", "digested"})));
        return der(octetString, folder.read("digest"));
    }

    Bytes signatureOf(const Bytes& bytes)
    {
        folder.write("signed", bytes);
        std::vector<std::string> arguments = {"pkeyutl", "-sign",  "-rawin", "-inkey",   "own.key",
                                              "-in",     "signed", "-out",   "signature"};
        arguments.insert(arguments.end(), kind.signWith.begin(), kind.signWith.end());
        EXPECT_TRUE(succeeded(openssl(folder, std::move(arguments))));
        return der(octetString, folder.read("signature"));
    }

    struct Form {
        Bytes attributes = {};
        Bytes type = data;
        Bytes enclosed = {};
        Tag nameType = utf8String;
        Bytes behindCertificate = {};
    };

    /// A message signed by "own.key": what is signed are the attributes, or else the content's bytes.
    Bytes build(const Form& form)
    {
        EXPECT_TRUE(succeeded(openssl(folder, {"x509", "-in", "own.pem", "-outform", "DER", "-out", "cert.der"})));
        const Bytes name = der(sequence, der(set, der(sequence, commonName + der(form.nameType, bytes("Signer")))));
        const bool plain = form.attributes.empty();
        const Bytes signature = signatureOf(plain ? content : der(set, form.attributes));
        const Bytes signer =
            der(sequence, one + der(sequence, name + one) + kind.digest +
                              (plain ? Bytes() : der(context0, form.attributes)) + kind.signature + signature);
        const Bytes enclosed = form.enclosed.empty() ? der(octetString, content) : form.enclosed;
        return der(sequence,
                   signedData +
                       der(context0, der(sequence, one + der(set, kind.digest) +
                                                       der(sequence, form.type + der(context0, enclosed)) +
                                                       der(context0, folder.read("cert.der") + form.behindCertificate) +
                                                       der(set, signer))));
    }

    Bytes goodAttributes() { return entry(contentType, data) + entry(messageDigest, digestOf(content)); }

    std::vector<Bytes> flawedAttributes()
    {
        const Bytes right = digestOf(content);
        const Bytes wrong = digestOf(bytes("other"));
        const Bytes type = entry(contentType, data);
        const Bytes digest = entry(messageDigest, right);
        const Bytes otherDigest = entry(messageDigest, wrong);
        return {type,
                digest,
                type + otherDigest,
                type + digest + digest,
                type + digest + otherDigest,
                type + otherDigest + digest,
                type + type + digest,
                type + entry(messageDigest, right + wrong),
                type + entry(messageDigest, {}),
                type + entry(messageDigest, data),
                entry(contentType, data + signedData) + digest};
    }

    const Bytes content = bytes("content to be signed\r\n\x01\x02");
    Kind kind;
};

TEST_F(Verification, LooksAtNoDates)
{
    for (const char* dates : {"activation_date = \"1999-01-01\"\nexpiration_date = \"2000-01-01\"\n",
                              "activation_date = \"2998-01-01\"\nexpiration_date = \"2999-01-01\"\n"}) {
        folder.write("template", bytes("cn = \"Signer\"\nserial = 1\n" + std::string(dates)));
        ASSERT_TRUE(succeeded(run(folder, {CERTTOOL_PROGRAM, "--generate-self-signed", "--load-privkey", "own.key",
                                           "--template", "template", "--outfile", "own.pem"})));
        const Bytes message = opensslSign();
        EXPECT_CKR(verify(message), CKR_OK) << dates;
        EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID) << dates;
    }
}

TEST_F(Verification, TakesContentNamedBesideOnlyWhenItIsTheEnclosed)
{
    for (const Bytes& message : {opensslSign(), opensslSign({"-noattr"})}) {
        EXPECT_CKR(verify(message, content), CKR_OK);
        EXPECT_CKR(verify(spoilt(message, content), content), CKR_SIGNATURE_INVALID) << "what was signed is not inside";
        EXPECT_CKR(verify(message, bytes("other")), CKR_SIGNATURE_INVALID);
    }
}

TEST_F(Verification, NeedsItsAttributesOnceWithOneValue)
{
    const Bytes good = build({goodAttributes()});
    EXPECT_TRUE(succeeded(opensslVerify(good)));
    EXPECT_CKR(verify(good), CKR_OK);
    for (const Bytes& attributes : flawedAttributes()) {
        const Bytes message = build({attributes});
        EXPECT_TRUE(refused(opensslVerify(message))) << testing::PrintToString(attributes);
        EXPECT_CKR(verify(message), CKR_SIGNATURE_INVALID) << testing::PrintToString(attributes);
    }
}

TEST_F(Verification, NeedsThemLikewiseWhereOpensslIsNoJudge)
{
    makeSigner(ed25519);
    EXPECT_CKR(verify(build({goodAttributes()})), CKR_OK);
    for (const Bytes& attributes : flawedAttributes())
        EXPECT_CKR(verify(build({attributes})), CKR_SIGNATURE_INVALID) << testing::PrintToString(attributes);
}

// openssl does not look.
TEST_F(Verification, ComparesTheTypeOfTheContent)
{
    for (const Kind& signer : {p256, ed25519}) {
        makeSigner(signer);
        const Bytes digest = entry(messageDigest, digestOf(content));
        EXPECT_CKR(verify(build({entry(contentType, ownType) + digest, ownType})), CKR_OK);
        EXPECT_CKR(verify(build({entry(contentType, data) + digest, ownType})), CKR_SIGNATURE_INVALID);
        EXPECT_CKR(verify(build({entry(contentType, ownType) + digest})), CKR_SIGNATURE_INVALID);
    }
}

TEST_F(Verification, ComparesNamesAndNotTheirEncodings)
{
    const Bytes message = build({{}, data, {}, printableString});
    EXPECT_TRUE(succeeded(opensslVerify(message)));
    EXPECT_CKR(verify(message), CKR_OK);
}

TEST_F(Verification, RefusesBytesBehindACertificate)
{
    const Bytes message = build({{}, data, {}, utf8String, der(octetString, bytes("more"))});
    EXPECT_TRUE(refused(opensslVerify(message)));
    EXPECT_CKR(verify(message), CKR_DATA_INVALID);
}

// As program signatures do. openssl reads only octets.
TEST_F(Verification, JudgesAStructureAsContent)
{
    const Bytes attributes = entry(contentType, ownType) + entry(messageDigest, digestOf(content));
    for (const Form& form :
         {Form{{}, ownType, der(sequence, content)}, Form{attributes, ownType, der(sequence, content)}}) {
        const Bytes message = build(form);
        EXPECT_CKR(verify(message), CKR_OK);
        EXPECT_CKR(verify(message, content), CKR_OK);
        EXPECT_CKR(verify(message, bytes("other")), CKR_SIGNATURE_INVALID);
        EXPECT_CKR(verify(spoilt(message, content)), CKR_SIGNATURE_INVALID);
        EXPECT_CKR(verify(spoilt(message, content), content), CKR_SIGNATURE_INVALID);
    }
    EXPECT_CKR(verify(build({{}, ownType, der(sequence, {})}), content), CKR_SIGNATURE_INVALID)
        << "an empty structure is not the content either";
}

TEST_F(Verification, JudgesEmptyContent)
{
    folder.write("content", {});
    for (const Bytes& message : {opensslSign(), opensslSign({"-noattr"})}) {
        EXPECT_CKR(verify(message), CKR_OK);
        EXPECT_CKR(verify(message, content), CKR_SIGNATURE_INVALID);
    }
}

TEST_F(Verification, KnowsTheCurvesAndDigestsOfOpenssl)
{
    for (const char* curve : {"P-256", "P-521", "secp256k1", "brainpoolP256r1"}) {
        makeSigner({"-newkey", "ec", "-pkeyopt", std::string("ec_paramgen_curve:") + curve});
        for (const char* digest : {"sha1", "sha256", "sha512"}) {
            const Bytes message = opensslSign({"-md", digest});
            EXPECT_CKR(verify(message), CKR_OK) << curve << ' ' << digest;
            EXPECT_CKR(verify(spoilt(message, content)), CKR_SIGNATURE_INVALID) << curve << ' ' << digest;
        }
    }
}

TEST_F(Verification, KnowsRsaSignaturesOfOpenssl)
{
    makeSigner({"-newkey", "rsa:2048"});
    const std::vector<std::vector<std::string>> forms = {
        {"-md", "ripemd160"},
        {"-keyopt", "rsa_padding_mode:pss", "-keyopt", "rsa_pss_saltlen:0"},
        {"-keyopt", "rsa_padding_mode:pss", "-keyopt", "rsa_pss_saltlen:32"},
        {"-keyopt", "rsa_padding_mode:pss", "-keyopt", "rsa_pss_saltlen:max"},
    };
    for (const auto& form : forms) {
        const Bytes message = opensslSign(form);
        EXPECT_CKR(verify(message), CKR_OK) << testing::PrintToString(form);
        EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID) << testing::PrintToString(form);
    }
}

// openssl makes no such messages.
TEST_F(Verification, KnowsEd25519)
{
    makeSigner(ed25519);
    for (const char* attributes : {"--p7-time", "--no-p7-time"}) {
        ASSERT_TRUE(succeeded(
            run(folder, {CERTTOOL_PROGRAM, "--p7-sign", attributes, "--hash", "SHA512", "--load-certificate", "own.pem",
                         "--load-privkey", "own.key", "--infile", "content", "--outder", "--outfile", "own.der"})));
        const Bytes message = folder.read("own.der");
        EXPECT_CKR(verify(message), CKR_OK) << attributes;
        EXPECT_CKR(verify(spoilt(message, content)), CKR_SIGNATURE_INVALID) << attributes;
        EXPECT_CKR(verify(spoiltAtTheEnd(message)), CKR_SIGNATURE_INVALID) << attributes;
    }
}

TEST_F(Verification, LeavesOpensslsErrorQueueAsItWas)
{
    ERR_clear_error();
    EXPECT_CKR(verify(bytes("nonsense")), CKR_DATA_INVALID);
    EXPECT_EQ(ERR_peek_error(), 0U);
    ERR_raise(ERR_LIB_USER, 1);
    EXPECT_CKR(verify(bytes("nonsense")), CKR_DATA_INVALID);
    EXPECT_EQ(ERR_peek_last_error(), ERR_PACK(ERR_LIB_USER, 0, 1));
    ERR_clear_error();
}

} // namespace
} // namespace endtoend
