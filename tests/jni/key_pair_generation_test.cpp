// generateKeyPair and generateGostR3410_2001KeyPair.
#include "tests/jni/native_method_test.h"

#include <limits>

namespace {

using namespace stories;
using scripted::answering;
using testing::HasSubstr;
using testing::IsEmpty;

class GenerateKeyPair : public NativeMethodTest {
protected:
    jlong generate(jlong modulusBits)
    {
        return call(natives::generateKeyPair, terminalName, modulePath, pin, modulusBits, label, id);
    }

    jstring label = jni.string("label", "carol");
    jbyteArray id = jni.bytes("id", {0x03, 0x80});
};

TEST_F(GenerateKeyPair, MakesAnRsaPairUnderLabelAndId)
{
    EXPECT_EQ(generate(2048), 0);
    EXPECT_EQ(story, copied("pin", 8) + copied("id", 2) + modulePathAndTerminalNameRead() + read("label") + loaded() +
                         slotFound() + loggedIn() +
                         "C_GenerateKeyPair(session 41, CKM_RSA_PKCS_KEY_PAIR_GEN null [0], public {"
                         "CKA_CLASS CKO_PUBLIC_KEY [8], CKA_TOKEN 01 [1], CKA_ENCRYPT 01 [1], CKA_VERIFY 01 [1], "
                         "CKA_WRAP 01 [1], CKA_MODULUS_BITS 2048 [8], CKA_PUBLIC_EXPONENT 010001 [3], "
                         "CKA_LABEL \"carol\" [5], CKA_ID 0380 [2]}, private {"
                         "CKA_CLASS CKO_PRIVATE_KEY [8], CKA_TOKEN 01 [1], CKA_PRIVATE 01 [1], CKA_SENSITIVE 01 [1], "
                         "CKA_DECRYPT 01 [1], CKA_SIGN 01 [1], CKA_UNWRAP 01 [1], "
                         "CKA_LABEL \"carol\" [5], CKA_ID 0380 [2]}) -> public 101, private 102: CKR_OK\n" +
                         sessionClosed() + unloaded());
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

TEST_F(GenerateKeyPair, ReturnsARefusalWithoutALine)
{
    module.C_GenerateKeyPair = answering(CKR_KEY_SIZE_RANGE);
    EXPECT_EQ(generate(1), code(CKR_KEY_SIZE_RANGE));
    EXPECT_THAT(printed(), IsEmpty());
}

class GenerateGostKeyPair : public NativeMethodTest {
protected:
    jlong generate() { return call(natives::generateGostR3410_2001KeyPair, terminalName, modulePath, pin, label, id); }

    jstring label = jni.string("label", "carol");
    jbyteArray id = jni.bytes("id", {0x03, 0x80});
};

TEST_F(GenerateGostKeyPair, MakesAGostPairUnderLabelAndId)
{
    EXPECT_EQ(generate(), 0);
    EXPECT_EQ(story, copied("pin", 8) + copied("id", 2) + modulePathAndTerminalNameRead() + read("label") + loaded() +
                         slotFound() + loggedIn() +
                         "C_GenerateKeyPair(session 41, CKM_GOSTR3410_KEY_PAIR_GEN null [0], public {"
                         "CKA_CLASS CKO_PUBLIC_KEY [8], CKA_TOKEN 01 [1], CKA_ENCRYPT 01 [1], CKA_VERIFY 01 [1], "
                         "CKA_WRAP 01 [1], CKA_CLASS null [0], CKA_CLASS null [0], "
                         "CKA_LABEL \"carol\" [5], CKA_ID 0380 [2]}, private {"
                         "CKA_CLASS CKO_PRIVATE_KEY [8], CKA_TOKEN 01 [1], CKA_PRIVATE 01 [1], CKA_SENSITIVE 01 [1], "
                         "CKA_DECRYPT 01 [1], CKA_SIGN 01 [1], CKA_UNWRAP 01 [1], "
                         "CKA_LABEL \"carol\" [5], CKA_ID 0380 [2]}) -> public 101, private 102: CKR_OK\n" +
                         sessionClosed() + unloaded());
}

TEST_F(GenerateGostKeyPair, ReturnsARefusalWithoutALine)
{
    module.C_GenerateKeyPair = answering(CKR_MECHANISM_INVALID);
    EXPECT_EQ(generate(), code(CKR_MECHANISM_INVALID));
    EXPECT_THAT(printed(), IsEmpty());
}

} // namespace
