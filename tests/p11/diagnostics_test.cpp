// SPDX-License-Identifier: Apache-2.0
// The form of the lines on standard output.
#include "tests/p11/wrapper_test.h"

#include <iomanip>
#include <iostream>
#include <locale>

using namespace scripted;

namespace {

class Grouping : public std::numpunct<char> {
    char do_thousands_sep() const override { return '.'; }
    std::string do_grouping() const override { return "\3"; }
};

/// Standard output and the global locale as they were, when the scope ends.
class StreamStateGuard {
public:
    StreamStateGuard() { state_.copyfmt(std::cout); }
    ~StreamStateGuard()
    {
        std::cout.copyfmt(state_);
        std::locale::global(locale_);
    }
    StreamStateGuard(const StreamStateGuard&) = delete;
    StreamStateGuard& operator=(const StreamStateGuard&) = delete;

private:
    std::ios state_{nullptr};
    std::locale locale_;
};

class DiagnosticsTest : public WrapperTest {
protected:
    DiagnosticsTest()
    {
        module.C_InitToken = answering(CKR_CRYPTOKI_ALREADY_INITIALIZED);
        module.C_Finalize = answering(CKR_OK);
    }

    std::string failedInit()
    {
        const std::string told = story([&] { token.InitCard(slotId, nullptr, 0); });
        return told.substr(told.find('\n') + 1);
    }

    StreamStateGuard guard;
    const std::string line = "| C_InitToken failed. Code: 401\n";
};

TEST_F(DiagnosticsTest, NumbersAreDecimalWhateverTheCallersStreamState)
{
    std::cout << std::hex << std::showbase << std::showpos << std::setw(80);
    EXPECT_EQ(failedInit(), line);
}

TEST_F(DiagnosticsTest, NumbersAreNotGroupedWhateverTheLocale)
{
    module.C_InitToken = answering(widestCode);
    std::locale::global(std::locale(std::locale(), new Grouping));
    std::cout.imbue(std::locale());
    EXPECT_EQ(failedInit(), "| C_InitToken failed. Code: 18446744073709551615\n");
}

TEST_F(DiagnosticsTest, RecordsAndFlagsIgnoreTheLocale)
{
    std::locale::global(std::locale(std::locale(), new Grouping));
    module.add(certificate("alice", {0x01, 0xab}, {}));
    std::vector<ObjectAttr> objects;
    EXPECT_CKR(token.ListObjects(slotId, pin.data(), pin.size(), objects), CKR_OK);
    ASSERT_EQ(objects.size(), 1);
    EXPECT_EQ(objects[0].id, "01ab");
    Bytes label, manufacturer, model, serialNumber;
    std::string flags;
    EXPECT_CKR(token.GetTokenInfo(slotId, label, manufacturer, model, serialNumber, flags), CKR_OK);
    EXPECT_EQ(flags, "000000000000040d");
}

TEST_F(DiagnosticsTest, CallersStreamStateIsLeftAlone)
{
    std::cout << std::hex << std::setfill('*');
    failedInit();
    EXPECT_EQ(std::cout.flags() & std::ios::basefield, std::ios::hex);
    EXPECT_EQ(std::cout.fill(), '*');
}

} // namespace
