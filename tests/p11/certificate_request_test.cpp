// SPDX-License-Identifier: Apache-2.0
// Building certificate requests.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

#include <exception>

using namespace scripted;
using namespace stories;
using namespace std::string_literals;

namespace {

std::string publicKeyWith(const std::string& id)
{
    return "{CKA_CLASS CKO_PUBLIC_KEY [8], CKA_ID " + id + "}";
}
std::string privateKeyWith(const std::string& id)
{
    return "{CKA_CLASS CKO_PRIVATE_KEY [8], CKA_ID " + id + "}";
}

std::string request(const std::string& publicKey, const std::string& buffer, const std::string& privateKey,
                    const std::string& subject = "{\"CN\", \"Alice\"} count 1",
                    const std::string& rest = "attributes {\"a\", \"b\", \"c\", \"d\"} count 2, extensions "
                                              "{\"x\", \"y\", \"z\"} count 1")
{
    return "C_TOVR_CreateCSR(session 41, public key " + publicKey + ", subject " + subject + ", buffer " + buffer +
           ", private key " + privateKey + ", " + rest + ")";
}

const std::string noStrings = "attributes null count 0, extensions null count 0";

/// What the scripted module answers to it.
std::string answer(const std::string& publicKey, const std::string& privateKey,
                   const std::string& strings = "subject(1):CN,Alice;attributes(2):a,b,c,d;extensions(1):x,y,z;")
{
    return "public " + publicKey + ";private " + privateKey + ";" + strings;
}

void addKeyPair(ScriptedModule& module)
{
    module.add(rsaPublicKey("alice", {0x01}, {0xc3}, {0x03}));
    module.add(privateKey("alice", {0x02}));
}

TEST(CertificateRequest, ForAKeyPairEndsTidilyWhicheverCallFails)
{
    const std::string csr = answer("101", "102");
    const std::string length = std::to_string(csr.size());
    Operation operation;
    operation.prepare = addKeyPair;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer publicId = Bytes{0x01};
        Buffer privateId = Bytes{0x02};
        Buffer subject = bytesOf("CN\0Alice\0"s);
        Buffer attributes = bytesOf("a\0b\0c\0d\0"s);
        Buffer extensions = bytesOf("x\0y\0z\0"s);
        Bytes out = bytesOf("old");
        const CK_RV rv =
            token.createCSR(slotId, pin.data(), pin.size(), publicId.data(), publicId.size(), privateId.data(),
                            privateId.size(), subject.data(), 1, attributes.data(), 2, extensions.data(), 1, out);
        return {rv, std::string(out.begin(), out.end())};
    };
    operation.steps = inSession({
        startSearch(publicKeyWith("01 [1]"), " #1"),
        findOne(101, " #1"),
        endSearch,
        startSearch(privateKeyWith("02 [1]"), " #2"),
        findOne(102, " #2"),
        endSearch,
        Step(request("101", "null", "102"))
            .gives("length " + length)
            .onFailure("| C_TOVR_CreateCSR failed #1. Code: {code}\n" + closed),
        Step(request("101", "zeros [" + length + "]", "102"))
            .gives("length " + length)
            .onFailure("| C_TOVR_CreateCSR failed #2. Code: {code}\n{rest}"),
    });
    operation.outputs = csr;
    operation.outputsOfFailure = "old";
    sweep(operation);
}

class CertificateRequestTest : public WrapperTest {
protected:
    CertificateRequestTest() { addKeyPair(module); }

    std::string create(Buffer publicId, Buffer privateId)
    {
        return story([&] { run(publicId, privateId); });
    }

    void run(Buffer& publicId, Buffer& privateId)
    {
        Buffer subject = bytesOf("CN\0Alice\0"s);
        rv = token.createCSR(slotId, pin.data(), pin.size(), publicId.data(), publicId.size(), privateId.data(),
                             privateId.size(), subject.data(), 1, nullptr, 0, nullptr, 0, out);
    }

    static std::string call(const std::string& publicKey, const std::string& buffer, const std::string& privateKey)
    {
        return request(publicKey, buffer, privateKey, "{\"CN\", \"Alice\"} count 1", noStrings);
    }

    static std::string answer(const std::string& publicKey, const std::string& privateKey)
    {
        return ::answer(publicKey, privateKey, "subject(1):CN,Alice;attributes(0):;extensions(0):;");
    }

    /// Both calls of the vendor function, undisturbed.
    static std::string created(const std::string& publicKey, const std::string& privateKey)
    {
        const std::string length = std::to_string(answer(publicKey, privateKey).size());
        const std::string result = " -> length " + length + ": CKR_OK\n";
        return call(publicKey, "null", privateKey) + result + call(publicKey, "zeros [" + length + "]", privateKey) +
               result;
    }

    std::string csr() const { return std::string(out.begin(), out.end()); }

    const std::string publicKeyFound = found(publicKeyWith("01 [1]"), "101");
    Bytes out = bytesOf("old");
};

TEST_F(CertificateRequestTest, WithoutIdsTheModuleReceivesNoHandles)
{
    EXPECT_EQ(create("", ""), inSession(created("0", "0")));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(csr(), answer("0", "0"));
}

TEST_F(CertificateRequestTest, WithAPublicKeyIdAlone)
{
    EXPECT_EQ(create(Bytes{0x01}, ""), inSession(publicKeyFound + created("101", "0")));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(CertificateRequestTest, WithAPrivateKeyIdAlone)
{
    EXPECT_EQ(create("", Bytes{0x02}), inSession(found(privateKeyWith("02 [1]"), "102") + created("0", "102")));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(CertificateRequestTest, EarlierLoginWithoutPublicKeyIdEndsWithoutRequest)
{
    module.C_Login = answering(CKR_USER_ALREADY_LOGGED_IN);
    for (const char* const privateId : {"", "\x02"}) {
        module.nextSession = 41;
        EXPECT_EQ(create("", privateId), endedByEarlierLogin);
        EXPECT_CKR(rv, CKR_USER_ALREADY_LOGGED_IN);
        EXPECT_EQ(csr(), "old");
    }
}

TEST_F(CertificateRequestTest, MissingPublicKeySkipsTheSecondSearch)
{
    EXPECT_EQ(create(Bytes{0x99}, Bytes{0x02}), inSession(missed(publicKeyWith("99 [1]"), " #1")));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(csr(), "old");
}

TEST_F(CertificateRequestTest, MissingPrivateKeyEndsWithoutRequest)
{
    EXPECT_EQ(create(Bytes{0x01}, Bytes{0x99}), inSession(publicKeyFound + missed(privateKeyWith("99 [1]"), " #2")));
    EXPECT_CKR(rv, CKR_FUNCTION_FAILED);
    EXPECT_EQ(csr(), "old");
}

TEST_F(CertificateRequestTest, PointersAndCountsArePassedOnUnchanged)
{
    Buffer strings = "subject attributes extensions";
    unsigned char* const subject = strings.data();
    unsigned char* const attributes = subject + 8;
    unsigned char* const extensions = subject + 19;
    // Counts that have nothing to do with the runs; the entry point of the scripted module would follow them.
    auto& list = *reinterpret_cast<CK_TOVR_FUNCTION_LIST*>(token.functionList);
    CK_TOVR_FUNCTION_LIST own = list;
    static std::vector<const void*> pointers;
    static std::vector<CK_ULONG> counts;
    own.C_TOVR_CreateCSR = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_BYTE* s, CK_ULONG sCount, CK_BYTE*,
                              CK_ULONG* length, CK_OBJECT_HANDLE, CK_BYTE* a, CK_ULONG aCount, CK_BYTE* e,
                              CK_ULONG eCount) -> CK_RV {
        pointers = {s, a, e};
        counts = {sCount, aCount, eCount};
        *length = 0;
        return CKR_OK;
    };
    token.functionList = &own.standard;
    EXPECT_CKR(token.createCSR(slotId, pin.data(), pin.size(), nullptr, 0, nullptr, 0, subject, widestCode, attributes,
                               1000, extensions, 0, out),
               CKR_OK);
    EXPECT_EQ(pointers, (std::vector<const void*>{subject, attributes, extensions}));
    EXPECT_EQ(counts, (std::vector<CK_ULONG>{widestCode, 1000, 0}));
    token.functionList = &list.standard;
}

TEST_F(CertificateRequestTest, LengthZeroEmptiesTheRequest)
{
    module.C_TOVR_CreateCSR = [](auto, auto, auto, auto, auto, CK_ULONG* length, auto...) -> CK_RV {
        *length = 0;
        return CKR_OK;
    };
    EXPECT_EQ(create("", ""), inSession(call("0", "null", "0") + " -> length 0: CKR_OK\n"));
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(csr(), "");
}

TEST_F(CertificateRequestTest, AnnouncedLengthCountsAndTheRestIsZero)
{
    module.imprecision = 3;
    create("", "");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(csr(), answer("0", "0") + std::string(3, '\0'));
}

TEST_F(CertificateRequestTest, LongerLengthOfTheFillCallIsNotBelieved)
{
    module.C_TOVR_CreateCSR = [](auto, auto, auto, auto, CK_BYTE* buffer, CK_ULONG* length, auto...) -> CK_RV {
        if (buffer != nullptr)
            buffer[0] = 'r';
        *length = buffer == nullptr ? 2 : 1u << 20;
        return CKR_OK;
    };
    create("", "");
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(csr(), "r\0"s);
}

TEST_F(CertificateRequestTest, RequestThatCannotBeHeldLeavesAsExceptionWithTheSessionClosed)
{
    module.C_TOVR_CreateCSR = [](auto, auto, auto, auto, auto, CK_ULONG* length, auto...) -> CK_RV {
        *length = widestCode;
        return CKR_OK;
    };
    Buffer none = "";
    EXPECT_EQ(story([&] { EXPECT_THROW(run(none, none), std::exception); }),
              inSession(call("0", "null", "0") + " -> length 18446744073709551615: CKR_OK\n"));
    EXPECT_EQ(csr(), "old");
}

} // namespace
