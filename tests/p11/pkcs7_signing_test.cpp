// SPDX-License-Identifier: Apache-2.0
// Signing to PKCS #7.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

#include <exception>

using namespace scripted;
using namespace stories;
using namespace std::string_literals;

namespace {

using Ids = std::vector<Bytes>;

std::string certificateWith(const std::string& id)
{
    return "{CKA_CLASS CKO_CERTIFICATE [8], CKA_ID " + id + "}";
}
std::string keyWith(const std::string& id)
{
    return "{CKA_CLASS CKO_PRIVATE_KEY [8], CKA_ID " + id + "}";
}

/// The call, with the handles that the searches are to have found.
std::string sign(const std::string& certificate, const std::string& buffer, const std::string& key,
                 const std::string& certificates, const std::string& rest = ", flags 0x5")
{
    return "C_TOVR_pkcs7Sign(session 41, data \"data\" [4], certificate " + certificate + ", buffer " + buffer +
           ", private key " + key + ", certificates " + certificates + rest + ")";
}

/// What the scripted module answers to it.
std::string answer(const std::string& certificate, const std::string& key, const std::string& certificates)
{
    return "certificate " + certificate + ";private " + key + ";certificates " + certificates + ";flags 5;data";
}

// One certificate chain: 101 signs with 102, 103 and 104 go along.
void addChain(ScriptedModule& module)
{
    module.add(certificate("signer", {0x01}, {0x30}));
    module.add(privateKey("signer", {0x02}));
    module.add(certificate("middle", {0x03}, {0x30}));
    module.add(certificate("root", {0x04}, {0x30}));
}

/// Both calls of the vendor function, undisturbed.
std::string signedWith(const std::string& certificate, const std::string& key, const std::string& certificates,
                       const std::string& count)
{
    const std::string length = std::to_string(answer(certificate, key, certificates).size());
    const std::string result = " -> length " + length + ": CKR_OK\n";
    return sign(certificate, "null", key, certificates + " count " + count) + result +
           sign(certificate, "zeros [" + length + "]", key, certificates + " count " + count) + result;
}

TEST(Pkcs7Signing, WithAChainEndsTidilyWhicheverCallFails)
{
    const std::string handles = "{103, 104}";
    const std::string signature = answer("101", "102", handles);
    const std::string length = std::to_string(signature.size());
    Operation operation;
    operation.prepare = addChain;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer data = "data";
        Buffer certId = Bytes{0x01};
        Buffer keyId = Bytes{0x02};
        Bytes out = bytesOf("old");
        const CK_RV rv = token.pkcs7Sign(slotId, pin.data(), pin.size(), data.data(), data.size(), certId.data(),
                                         certId.size(), keyId.data(), keyId.size(), Ids{{0x03}, {0x04}}, 5, out);
        return {rv, std::string(out.begin(), out.end())};
    };
    operation.steps = inSession({
        startSearch(certificateWith("01 [1]"), " #1"),
        findOne(101, " #1"),
        endSearch,
        startSearch(keyWith("02 [1]"), " #2"),
        findOne(102, " #2"),
        endSearch,
        startSearch(certificateWith("03 [1]"), " #3, Step: 1"),
        Step(findNext)
            .gives("{103}")
            .onFailure("| C_FindObjects failed #3, Step: 1. Code: {code}\n" + searchEnded +
                       found(certificateWith("04 [1]"), "104") + signedWith("101", "102", "{0, 104}", "2") + closed)
            .forgiven()
            .leaves(answer("101", "102", "{0, 104}")),
        endSearch,
        startSearch(certificateWith("04 [1]"), " #3, Step: 2"),
        findOne(104, " #3, Step: 2"),
        endSearch,
        Step(sign("101", "null", "102", handles + " count 2"))
            .gives("length " + length)
            .onFailure("| C_TOVR_pkcs7Sign failed #1. Code: {code}\n" + closed),
        Step(sign("101", "zeros [" + length + "]", "102", handles + " count 2"))
            .gives("length " + length)
            .onFailure("| C_TOVR_pkcs7Sign failed #2. Code: {code}\n{rest}"),
    });
    operation.outputs = signature;
    operation.outputsOfFailure = "old";
    sweep(operation);
}

class Pkcs7SigningTest : public WrapperTest {
protected:
    Pkcs7SigningTest() { addChain(module); }

    std::string sign(Buffer certId, Buffer keyId, const Ids& certIds = {})
    {
        return story([&] { run(certId, keyId, certIds); });
    }

    void run(Buffer& certId, Buffer& keyId, const Ids& certIds)
    {
        Buffer data = "data";
        rv = token.pkcs7Sign(slotId, pin.data(), pin.size(), data.data(), data.size(), certId.data(), certId.size(),
                             keyId.data(), keyId.size(), certIds, 5, out);
    }

    std::string signature() const { return std::string(out.begin(), out.end()); }

    const std::string signerFound = found(certificateWith("01 [1]"), "101");
    const std::string keyFound = found(keyWith("02 [1]"), "102");
    const std::string middleFound = found(certificateWith("03 [1]"), "103");
    Bytes out = bytesOf("old");
};

TEST_F(Pkcs7SigningTest, WithoutIdsTheModuleReceivesNoHandles)
{
    EXPECT_EQ(sign("", ""), inSession(signedWith("0", "0", "null", "0")));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), answer("0", "0", "null"));
}

TEST_F(Pkcs7SigningTest, WithACertificateIdAlone)
{
    EXPECT_EQ(sign(Bytes{0x01}, ""), inSession(signerFound + signedWith("101", "0", "null", "0")));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(Pkcs7SigningTest, WithAKeyIdAlone)
{
    EXPECT_EQ(sign("", Bytes{0x02}), inSession(keyFound + signedWith("0", "102", "null", "0")));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(Pkcs7SigningTest, EarlierLoginWithoutCertificateIdEndsUnsigned)
{
    module.C_Login = answering(CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_EQ(sign("", Bytes{0x02}, {{0x03}}), endedByEarlierLogin);
    EXPECT_CKR(rv, CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_EQ(signature(), "old");
}

TEST_F(Pkcs7SigningTest, EarlierLoginWithoutAnyIdEndsUnsigned)
{
    module.C_Login = answering(CKR_USER_ALREADY_LOGGED_IN);
    EXPECT_EQ(sign("", ""), endedByEarlierLogin);
    EXPECT_CKR(rv, CKR_USER_ALREADY_LOGGED_IN);
}

TEST_F(Pkcs7SigningTest, MissingCertificateSkipsEverythingElse)
{
    EXPECT_EQ(sign(Bytes{0x99}, Bytes{0x02}, {{0x03}}), inSession(missed(certificateWith("99 [1]"), " #1")));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(signature(), "old");
}

TEST_F(Pkcs7SigningTest, MissingKeySkipsTheFurtherCertificates)
{
    EXPECT_EQ(sign(Bytes{0x01}, Bytes{0x99}, {{0x03}}), inSession(signerFound + missed(keyWith("99 [1]"), " #2")));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(signature(), "old");
}

TEST_F(Pkcs7SigningTest, MissingFurtherCertificateInTheMiddleIsOnlyReported)
{
    EXPECT_EQ(sign(Bytes{0x01}, Bytes{0x02}, {{0x03}, {0x99}, {0x04}}),
              inSession(signerFound + keyFound + middleFound + missed(certificateWith("99 [1]"), " #3, Step: 2") +
                        found(certificateWith("04 [1]"), "104") + signedWith("101", "102", "{103, 0, 104}", "3")));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), answer("101", "102", "{103, 0, 104}"));
}

TEST_F(Pkcs7SigningTest, MissingLastFurtherCertificateEndsUnsigned)
{
    EXPECT_EQ(sign(Bytes{0x01}, Bytes{0x02}, {{0x03}, {0x04}, {0x99}}),
              inSession(signerFound + keyFound + middleFound + found(certificateWith("04 [1]"), "104") +
                        missed(certificateWith("99 [1]"), " #3, Step: 3")));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(signature(), "old");
}

TEST_F(Pkcs7SigningTest, HandleThatTheModuleLeftAtAMissIsHandedOn)
{
    module.C_FindObjects = [find = module.C_FindObjects](auto session, CK_OBJECT_HANDLE* handle, auto room,
                                                         CK_ULONG* count) {
        const CK_RV code = find(session, handle, room, count);
        if (*count == 0)
            *handle = 77;
        return code;
    };
    sign("", "", {{0x99}, {0x03}});
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), answer("0", "0", "{77, 103}"));
}

TEST_F(Pkcs7SigningTest, EmptyFurtherIdIsSearchedFor)
{
    EXPECT_EQ(sign("", "", {{}}), inSession(missed(certificateWith("null [0]"), " #3, Step: 1")));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
}

TEST_F(Pkcs7SigningTest, EmptyDataAndWideFlags)
{
    story([&] {
        rv = token.pkcs7Sign(slotId, pin.data(), pin.size(), nullptr, 0, nullptr, 0, nullptr, 0, {}, widestCode, out);
    });
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), "certificate 0;private 0;certificates null;flags 18446744073709551615;");
}

TEST_F(Pkcs7SigningTest, LengthZeroEmptiesTheSignature)
{
    module.C_TOVR_pkcs7Sign = [](auto, auto, auto, auto, auto, CK_ULONG* length, auto...) -> CK_RV {
        *length = 0;
        return CKR_OK;
    };
    EXPECT_EQ(sign("", ""), inSession(::sign("0", "null", "0", "null count 0") + " -> length 0: CKR_OK\n"));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), "");
}

TEST_F(Pkcs7SigningTest, AnnouncedLengthCountsAndTheRestIsZero)
{
    module.imprecision = 3;
    sign("", "");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), answer("0", "0", "null") + std::string(3, '\0'));
}

TEST_F(Pkcs7SigningTest, LongerLengthOfTheFillCallIsNotBelieved)
{
    module.C_TOVR_pkcs7Sign = [](auto, auto, auto, auto, CK_BYTE* buffer, CK_ULONG* length, auto...) -> CK_RV {
        if (buffer != nullptr)
            buffer[0] = 's';
        *length = buffer == nullptr ? 2 : 1u << 20;
        return CKR_OK;
    };
    sign("", "");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(signature(), "s\0"s);
}

TEST_F(Pkcs7SigningTest, SignatureThatCannotBeHeldLeavesAsExceptionWithTheSessionClosed)
{
    module.C_TOVR_pkcs7Sign = [](auto, auto, auto, auto, auto, CK_ULONG* length, auto...) -> CK_RV {
        *length = widestCode;
        return CKR_OK;
    };
    Buffer none = "";
    EXPECT_EQ(story([&] { EXPECT_THROW(run(none, none, {}), std::exception); }),
              inSession(::sign("0", "null", "0", "null count 0") + " -> length 18446744073709551615: CKR_OK\n"));
    EXPECT_EQ(signature(), "old");
}

} // namespace
