// SPDX-License-Identifier: Apache-2.0
// The software token in the hands of OpenSC's pkcs11-tool.
#include "tests/endtoend/softtoken/soft_token.h"

#include <fstream>
#include <iterator>
#include <map>

namespace endtoend {
namespace {

/// The files beneath a folder.
std::map<std::string, std::string> contents(const std::filesystem::path& folder)
{
    std::map<std::string, std::string> all;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
        if (entry.is_regular_file()) {
            std::ifstream file(entry.path(), std::ios::binary);
            all[entry.path()] = {std::istreambuf_iterator<char>(file), {}};
        }
    return all;
}

class Pkcs11Tool : public TokenTest {
protected:
    /// The token stays open in this process meanwhile.
    Outcome pkcs11Tool(std::vector<std::string> arguments)
    {
        arguments.insert(arguments.begin(), {PKCS11_TOOL_PROGRAM, "--module", SOFTTOKEN_FILE});
        return run(folder, std::move(arguments));
    }
};

TEST_F(Pkcs11Tool, SeesTheReaderAndItsToken)
{
    const Outcome slots = pkcs11Tool({"--list-slots"});
    EXPECT_TRUE(succeeded(slots));
    EXPECT_NE(slots.out.find(readerName), std::string::npos) << slots.out;
    EXPECT_NE(slots.out.find("VORNIX Token"), std::string::npos) << slots.out;
}

// The tool asks for interfaces first. p11-kit has them too, and leads to the tokens that the machine's modules have.
TEST_F(Pkcs11Tool, LeavesTheMachinesTokensAlone)
{
    const std::filesystem::path machine = folder.path() / "machine";
    std::filesystem::create_directory(machine);
    folder.write("softhsm2.conf", bytes("directories.tokendir = " + machine.string()));
    registerModules(folder, {SOFTHSM2_MODULE});
    const auto throughP11Kit = [&](std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {PKCS11_TOOL_PROGRAM, "--module", P11_KIT_LIBRARY});
        return run(folder, std::move(arguments));
    };
    ASSERT_TRUE(succeeded(throughP11Kit({"--init-token", "--so-pin", soPin, "--label", "the machine's"})));
    const Outcome reachable = throughP11Kit({"--list-slots"});
    ASSERT_NE(reachable.out.find("the machine's"), std::string::npos) << reachable.out;
    const auto before = contents(machine);

    const Outcome slots = pkcs11Tool({"--list-slots"});
    EXPECT_TRUE(succeeded(slots));
    EXPECT_EQ(slots.out.find("SoftHSM"), std::string::npos) << slots.out;
    EXPECT_EQ(slots.out.find("\nSlot "), slots.out.rfind("\nSlot ")) << slots.out;
    EXPECT_TRUE(succeeded(pkcs11Tool({"--init-token", "--so-pin", soPin, "--label", "anew"})));
    EXPECT_EQ(contents(machine), before);
}

TEST_F(Pkcs11Tool, InitialisesATokenThatTheDefaultPinOpens)
{
    EXPECT_TRUE(succeeded(pkcs11Tool({"--init-token", "--so-pin", soPin, "--label", "anew"})));
    EXPECT_TRUE(succeeded(pkcs11Tool({"--login", "--pin", userPin, "--list-objects"})));
}

TEST_F(Pkcs11Tool, ChangesThePin)
{
    ASSERT_CKR(standard->C_Logout(session), CKR_OK);
    EXPECT_TRUE(succeeded(pkcs11Tool({"--login", "--pin", userPin, "--change-pin", "--new-pin", "24682468"})));
    EXPECT_CKR(login(session, "24682468"), CKR_OK);
}

TEST_F(Pkcs11Tool, ReadsACertificate)
{
    const Bytes der = issue("\x01\x02");
    EXPECT_TRUE(
        succeeded(pkcs11Tool({"--read-object", "--type", "cert", "--id", "0102", "--output-file", "read.der"})));
    EXPECT_EQ(der, folder.read("read.der"));
}

TEST_F(Pkcs11Tool, SignsWithAGeneratedRsaKey)
{
    ASSERT_CKR(generateRsa("\x01\x02"), CKR_OK);
    folder.write("data", bytes("data"));
    EXPECT_TRUE(succeeded(pkcs11Tool({"--login", "--pin", userPin, "--sign", "--mechanism", "SHA256-RSA-PKCS", "--id",
                                      "0102", "--input-file", "data", "--output-file", "signature"})));
    EXPECT_TRUE(
        succeeded(pkcs11Tool({"--read-object", "--type", "pubkey", "--id", "0102", "--output-file", "public.der"})));
    EXPECT_TRUE(succeeded(openssl(
        folder, {"dgst", "-sha256", "-keyform", "DER", "-verify", "public.der", "-signature", "signature", "data"})));
}

TEST_F(Pkcs11Tool, GeneratesAGostKeyPair)
{
    const Outcome outcome = pkcs11Tool(
        {"--login", "--pin", userPin, "--keypairgen", "--key-type", "GOSTR3410:A", "--id", "0102", "--label", "tool"});
    EXPECT_TRUE(succeeded(outcome));
    EXPECT_NE(outcome.out.find("Private Key Object; GOSTR3410"), std::string::npos) << outcome.out;
}

} // namespace
} // namespace endtoend
