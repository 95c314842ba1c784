// SPDX-License-Identifier: Apache-2.0
// The software token in the hands of the JDK's own PKCS #11 provider.
#include "tests/endtoend/softtoken/soft_token.h"

#include <cstdlib>

namespace endtoend {
namespace {

class JdkProvider : public TokenTest {
protected:
    /// keytool on this token. The module belongs to one program at a time, so it is finalised here first.
    Outcome keytool(std::vector<std::string> arguments)
    {
        standard->C_Finalize(nullptr);
        folder.write("provider.cfg", bytes("name = SoftToken\nlibrary = " SOFTTOKEN_FILE "\n"));
        setenv("TOKEN_PIN", userPin.c_str(), 1);
        arguments.insert(arguments.begin(), KEYTOOL_PROGRAM);
        arguments.insert(arguments.end(),
                         {"-keystore", "NONE", "-storetype", "PKCS11", "-storepass:env", "TOKEN_PIN", "-addprovider",
                          "SunPKCS11", "-providerarg", "provider.cfg", "-J-Duser.language=en"});
        return run(folder, std::move(arguments));
    }
};

TEST_F(JdkProvider, ReadsThePrivateKeyWithItsCertificate)
{
    const Bytes der = issue("\x01\x02");
    const Outcome listed = keytool({"-list"});
    EXPECT_TRUE(succeeded(listed));
    EXPECT_NE(listed.out.find("contains 1 entry"), std::string::npos) << listed.out;
    EXPECT_NE(listed.out.find("PrivateKeyEntry"), std::string::npos) << listed.out;

    EXPECT_TRUE(succeeded(keytool({"-exportcert", "-alias", "issued", "-file", "exported.der"})));
    EXPECT_EQ(der, folder.read("exported.der"));
}

TEST_F(JdkProvider, SignsARequestThatOpensslFindsGood)
{
    issue("\x01\x02");
    EXPECT_TRUE(succeeded(keytool({"-certreq", "-alias", "issued", "-file", "request.pem"})));
    EXPECT_TRUE(verified(openssl(folder, {"req", "-verify", "-noout", "-in", "request.pem"})));
}

} // namespace
} // namespace endtoend
