// SPDX-License-Identifier: Apache-2.0
// generateKeyPair and generateGostR3410_2001KeyPair.
#include "tests/jni/native_method_test.h"

#include <limits>

namespace {

using namespace stories;
using testing::EndsWith;
using testing::HasSubstr;

class KeyPairGeneration : public NativeMethodTest {
protected:
    jstring label = jni.string("label", "carol");
    jbyteArray id = jni.bytes("id", {0x03, 0x80});
    const std::string named = "CKA_LABEL \"carol\" [5], CKA_ID 0380 [2]"; // the end of both templates
};

class GenerateKeyPair : public KeyPairGeneration {
protected:
    jlong generate(jlong modulusBits)
    {
        return call(natives::generateKeyPair, terminalName, modulePath, pin, modulusBits, label, id);
    }
};

TEST_F(GenerateKeyPair, MakesAnRsaPairUnderLabelAndId)
{
    EXPECT_EQ(generate(2048), 0);
    EXPECT_THAT(job(), HasSubstr("C_GenerateKeyPair(session 41, CKM_RSA_PKCS_KEY_PAIR_GEN "));
    EXPECT_THAT(job(),
                HasSubstr("CKA_MODULUS_BITS 2048 [8], CKA_PUBLIC_EXPONENT 010001 [3], " + named + "}, private {"));
    EXPECT_THAT(job(), EndsWith(named + "}) -> public 101, private 102: CKR_OK\n" + closed));
}

TEST_F(GenerateKeyPair, PassesAnyNumberOfBits)
{
    EXPECT_EQ(generate(0), 0);
    EXPECT_THAT(story, HasSubstr("CKA_MODULUS_BITS 0 [8]"));
    EXPECT_EQ(generate(std::numeric_limits<jlong>::max()), 0);
    EXPECT_THAT(story, HasSubstr("CKA_MODULUS_BITS 9223372036854775807 [8]"));
    EXPECT_EQ(generate(-1), 0);
    EXPECT_THAT(story, HasSubstr("CKA_MODULUS_BITS 18446744073709551615 [8]"));
}

TEST_F(GenerateKeyPair, SendsAnEmptyLabelButNoEmptyId)
{
    label = jni.string("label", "");
    id = jni.bytes("id", {});
    EXPECT_EQ(generate(1024), 0);
    EXPECT_THAT(story, HasSubstr("CKA_PUBLIC_EXPONENT 010001 [3], CKA_LABEL \"\" [0]}, private {"));
    EXPECT_THAT(story, HasSubstr("CKA_UNWRAP 01 [1], CKA_LABEL \"\" [0]})"));
}

class GenerateGostKeyPair : public KeyPairGeneration {
protected:
    jlong generate() { return call(natives::generateGostR3410_2001KeyPair, terminalName, modulePath, pin, label, id); }
};

TEST_F(GenerateGostKeyPair, MakesAGostPairUnderLabelAndId)
{
    EXPECT_EQ(generate(), 0);
    EXPECT_THAT(job(), HasSubstr("C_GenerateKeyPair(session 41, CKM_GOSTR3410_KEY_PAIR_GEN "));
    EXPECT_THAT(job(), HasSubstr("CKA_CLASS null [0], CKA_CLASS null [0], " + named + "}, private {"));
    EXPECT_THAT(job(), EndsWith(named + "}) -> public 101, private 102: CKR_OK\n" + closed));
}

} // namespace
