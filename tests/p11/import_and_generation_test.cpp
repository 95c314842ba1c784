// SPDX-License-Identifier: Apache-2.0
// Importing certificates and generating key pairs.
#include "tests/p11/failure_sweep.h"
#include "tests/p11/wrapper_test.h"

using namespace scripted;
using namespace stories;

namespace {

// --- Certificate import ---

TEST(CertificateImport, UnderLabelAndIdEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer id = Bytes{0x01, 0xff};
        Buffer der = Bytes{0x30, 0x00};
        return {token.ImportX509Certificate(slotId, pin.data(), pin.size(), "alice", id.data(), id.size(), der.data(),
                                            der.size())};
    };
    operation.steps =
        inSession({Step("C_TOVR_ImportX509Certificate(session 41, label \"alice\", ID 01ff [2], certificate 3000 [2])")
                       .onFailure(closed + "| Load failed. Code: {code}\n")});
    sweep(operation);
}

TEST(CertificateImport, OfTwoBlocksEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer first = "first";
        Buffer second = Bytes{0x00, 0xff};
        return {
            token.ImportCert(slotId, first.data(), first.size(), second.data(), second.size(), pin.data(), pin.size())};
    };
    operation.steps = inSession({Step("C_TOVR_ImportCert(session 41, first \"first\" [5], second 00ff [2])")
                                     .onFailure(closed + "| Load failed. Code: {code}\n")});
    sweep(operation);
}

using CertificateImportTest = WrapperTest;

TEST_F(CertificateImportTest, EmptyArgumentsReachTheModuleAsTheyAre)
{
    EXPECT_EQ(
        story([&] { rv = token.ImportX509Certificate(slotId, pin.data(), pin.size(), "", nullptr, 0, nullptr, 0); }),
        inSession("C_TOVR_ImportX509Certificate(session 41, label \"\", ID null [0], certificate null [0]): CKR_OK\n"));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(CertificateImportTest, EmptyBlocksReachTheModuleAsTheyAre)
{
    EXPECT_EQ(story([&] { rv = token.ImportCert(slotId, nullptr, 0, nullptr, 0, pin.data(), pin.size()); }),
              inSession("C_TOVR_ImportCert(session 41, first null [0], second null [0]): CKR_OK\n"));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(CertificateImportTest, PinOfTheTwoBlocksComesLast)
{
    Buffer first = "first";
    Buffer second = "second";
    EXPECT_EQ(story([&] {
                  rv = token.ImportCert(slotId, pin.data(), pin.size(), first.data(), first.size(), second.data(),
                                        second.size());
              }),
              loginRefused("CKU_USER, PIN \"second\" [6]", CKR_PIN_INCORRECT));
    EXPECT_CKR(rv, CKR_PIN_INCORRECT);
}

TEST_F(CertificateImportTest, ExistingObjectsAreNotLookedAt)
{
    Buffer id = Bytes{0x01};
    Buffer der = Bytes{0x30, 0x00};
    for (int i = 0; i < 2; ++i)
        EXPECT_CKR(token.ImportX509Certificate(slotId, pin.data(), pin.size(), "alice", id.data(), id.size(),
                                               der.data(), der.size()),
                   CKR_OK);
    EXPECT_EQ(module.objects[101], module.objects[102]);
}

// --- Key pair generation ---

/// C_GenerateKeyPair with `appended` behind the seven fixed entries of both templates.
std::string generation(const std::string& mechanism, const std::string& lastFixedEntries, const std::string& appended)
{
    return "C_GenerateKeyPair(session 41, " + mechanism +
           " null [0], public {CKA_CLASS CKO_PUBLIC_KEY [8], CKA_TOKEN 01 [1], CKA_ENCRYPT 01 [1], "
           "CKA_VERIFY 01 [1], CKA_WRAP 01 [1], " +
           lastFixedEntries + appended +
           "}, private {CKA_CLASS CKO_PRIVATE_KEY [8], CKA_TOKEN 01 [1], CKA_PRIVATE 01 [1], CKA_SENSITIVE 01 [1], "
           "CKA_DECRYPT 01 [1], CKA_SIGN 01 [1], CKA_UNWRAP 01 [1]" +
           appended + "})";
}

std::string rsaGeneration(const std::string& bits, const std::string& appended)
{
    return generation("CKM_RSA_PKCS_KEY_PAIR_GEN", "CKA_MODULUS_BITS " + bits + " [8], CKA_PUBLIC_EXPONENT 010001 [3]",
                      appended);
}

std::string gostGeneration(const std::string& appended)
{
    return generation("CKM_GOSTR3410_KEY_PAIR_GEN", "CKA_CLASS null [0], CKA_CLASS null [0]", appended);
}

const std::string named = ", CKA_LABEL \"alice\" [5], CKA_ID 01ff [2]";
const std::string generated = "public 101, private 102";

TEST(KeyPairGeneration, OfRsaEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer id = Bytes{0x01, 0xff};
        return {token.GenerateKeyPair(slotId, pin.data(), pin.size(), 2048, "alice", id.data(), id.size())};
    };
    operation.steps = inSession({Step(rsaGeneration("2048", named)).gives(generated).onFailure(closed)});
    sweep(operation);
}

TEST(KeyPairGeneration, OfGostEndsTidilyWhicheverCallFails)
{
    Operation operation;
    operation.perform = [](P11Wrapper& token) -> Outcome {
        Buffer pin = "12345678";
        Buffer id = Bytes{0x01, 0xff};
        return {token.GenerateGostR3410_2001KeyPair(slotId, pin.data(), pin.size(), "alice", id.data(), id.size())};
    };
    operation.steps = inSession({Step(gostGeneration(named)).gives(generated).onFailure(closed)});
    sweep(operation);
}

class KeyPairGenerationTest : public WrapperTest {
protected:
    std::string generateRsa(unsigned long bits, const char* label, Buffer id)
    {
        return story(
            [&] { rv = token.GenerateKeyPair(slotId, pin.data(), pin.size(), bits, label, id.data(), id.size()); });
    }

    std::string generateGost(const char* label, Buffer id)
    {
        return story([&] {
            rv = token.GenerateGostR3410_2001KeyPair(slotId, pin.data(), pin.size(), label, id.data(), id.size());
        });
    }

    static std::string around(const std::string& call) { return inSession(call + " -> " + generated + ": CKR_OK\n"); }
};

TEST_F(KeyPairGenerationTest, LabelAndIdAreSentOnlyIfGiven)
{
    EXPECT_EQ(generateRsa(2048, nullptr, ""), around(rsaGeneration("2048", "")));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(KeyPairGenerationTest, LabelWithoutId)
{
    EXPECT_EQ(generateRsa(2048, "alice", ""), around(rsaGeneration("2048", ", CKA_LABEL \"alice\" [5]")));
}

TEST_F(KeyPairGenerationTest, IdWithoutLabel)
{
    EXPECT_EQ(generateRsa(2048, nullptr, Bytes{0x01}), around(rsaGeneration("2048", ", CKA_ID 01 [1]")));
}

TEST_F(KeyPairGenerationTest, EmptyLabelIsSent)
{
    EXPECT_EQ(generateRsa(2048, "", ""), around(rsaGeneration("2048", ", CKA_LABEL \"\" [0]")));
}

TEST_F(KeyPairGenerationTest, IdOfLengthZeroIsLeftOutWhateverItsPointer)
{
    unsigned char id = 0x01;
    EXPECT_EQ(story([&] { rv = token.GenerateKeyPair(slotId, pin.data(), pin.size(), 2048, nullptr, &id, 0); }),
              around(rsaGeneration("2048", "")));
}

TEST_F(KeyPairGenerationTest, ZeroBitsReachTheModule)
{
    EXPECT_EQ(generateRsa(0, nullptr, ""), around(rsaGeneration("0", "")));
}

TEST_F(KeyPairGenerationTest, ModulusBitsAreWordsOf64Bits)
{
    EXPECT_EQ(generateRsa(widestCode, nullptr, ""), around(rsaGeneration("18446744073709551615", "")));
}

TEST_F(KeyPairGenerationTest, GostWithoutLabelAndIdStillSendsSevenEntries)
{
    EXPECT_EQ(generateGost(nullptr, ""), around(gostGeneration("")));
    EXPECT_CKR(rv, CKR_OK);
}

TEST_F(KeyPairGenerationTest, GostWithAnEmptyLabel)
{
    EXPECT_EQ(generateGost("", ""), around(gostGeneration(", CKA_LABEL \"\" [0]")));
}

TEST_F(KeyPairGenerationTest, SamePairCanBeMadeTwice)
{
    generateRsa(2048, "alice", Bytes{0x01});
    EXPECT_CKR(rv, CKR_OK);
    generateRsa(2048, "alice", Bytes{0x01});
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(module.objects.size(), 4);
}

} // namespace
