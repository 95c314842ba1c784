// SPDX-License-Identifier: Apache-2.0
// The two built libraries that Java loads, as the dynamic loader meets them.
#include "tests/support/library_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <set>
#include <sstream>
#include <string>

namespace {

const std::set<std::string> javaMethods = {
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_cleanCard",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_createCSR",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_generateGostR3410_12001KeyPair",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_generateKeyPair",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_getPublicKey",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_getTokenInfo",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_getX509Certificate",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_initCard",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_listObjects",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_loadCert",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_loadX509Certificate",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_pkcs7Sign",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_pkcs7Verify",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_setPin",
    "Java_com_tovr_smartcard_vornixtoken_api_Pkcs11Wrapper_setPuk",
    "Java_com_tovr_smartcard_vornixtoken_utils_PcscUtils_resetTerminal",
};

const std::set<std::string> wrapperMembers = {
    "_ZN10P11WrapperC1Ev",
    "_ZN10P11WrapperC2Ev",
    "_ZN10P11WrapperC1EPKc",
    "_ZN10P11WrapperC2EPKc",
    "_ZN10P11WrapperD0Ev",
    "_ZN10P11WrapperD1Ev",
    "_ZN10P11WrapperD2Ev",
    "_ZN10P11Wrapper7loadLibEPKc",
    "_ZN10P11Wrapper10InitializeEv",
    "_ZN10P11Wrapper8FinalizeEv",
    "_ZN10P11Wrapper23GetSlotIDByTerminalNameEPKcPm",
    "_ZN10P11Wrapper6SetPinEmPhmS0_m",
    "_ZN10P11Wrapper6SetPukEmPhmS0_m",
    "_ZN10P11Wrapper13ResetTerminalEPKc",
    "_ZN10P11Wrapper8InitCardEmPhm",
    "_ZN10P11Wrapper9CleanCardEmPhm",
    "_ZN10P11Wrapper12GetTokenInfoEmRSt6vectorIhSaIhEES3_S3_S3_"
    "RNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
    "_ZN10P11Wrapper11ListObjectsEmPhmRSt6vectorI10ObjectAttrSaIS2_EE",
    "_ZN10P11Wrapper18GetX509CertificateEmPhmPKcS0_mRSt6vectorIhSaIhEE",
    "_ZN10P11Wrapper12GetPublicKeyEmPhmPKcS0_mRSt6vectorIhSaIhEES6_",
    "_ZN10P11Wrapper21ImportX509CertificateEmPhmPKcS0_mS0_m",
    "_ZN10P11Wrapper10ImportCertEmPhmS0_mS0_m",
    "_ZN10P11Wrapper15GenerateKeyPairEmPhmmPKcS0_m",
    "_ZN10P11Wrapper29GenerateGostR3410_2001KeyPairEmPhmPKcS0_m",
    "_ZN10P11Wrapper9pkcs7SignEmPhmS0_mS0_mS0_mRKSt6vectorIS1_IhSaIhEESaIS3_EEmRS3_",
    "_ZN10P11Wrapper11pkcs7VerifyEPhmS0_m",
    "_ZN10P11Wrapper9createCSREmPhmS0_mS0_mS0_mS0_mS0_mRSt6vectorIhSaIhEE",
    "_ZTV10P11Wrapper",
    "_ZTI10P11Wrapper",
    "_ZTS10P11Wrapper",
};

std::set<std::string> ofBoth(std::set<std::string> names, const std::set<std::string>& others)
{
    names.insert(others.begin(), others.end());
    return names;
}

struct Library {
    std::string name;
    std::string file;
    std::set<std::string> shown;
};

std::ostream& operator<<(std::ostream& stream, const Library& library)
{
    return stream << library.name;
}

class Exports : public testing::TestWithParam<Library> {
protected:
    static std::string toldBy(const std::string& command)
    {
        return scripted::outputOf(command + " '" + GetParam().file + "'");
    }
};

INSTANTIATE_TEST_SUITE_P(Of, Exports,
                         testing::Values(Library{"VornixToken_Javalib", LIBRARY, ofBoth(javaMethods, wrapperMembers)},
                                         // It binds the other natives itself.
                                         Library{"vornixtoken_session",
                                                 SESSION_LIBRARY,
                                                 {"Java_com_tovr_smartcard_vornixtoken_NativeCall_bind"}}),
                         [](const testing::TestParamInfo<Library>& library) { return library.param.name; });

TEST_P(Exports, AreWhatCallersNeedAndNothingElse)
{
    EXPECT_EQ(scripted::exportedNames(NM, GetParam().file), GetParam().shown);
}

#if defined(__clang__) && defined(__has_feature)
#if __has_feature(address_sanitizer)
#define PADDED_GLOBALS // and with them the virtual table
#endif
#endif

#ifndef PADDED_GLOBALS
TEST(Wrapper, VirtualTableHoldsTheDestructorAlone)
{
    std::istringstream lines(scripted::outputOf(NM " -D --defined-only -P -t d '" LIBRARY "'"));
    unsigned long size = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string name, kind, value;
        if (fields >> name && name == "_ZTV10P11Wrapper")
            fields >> kind >> value >> size;
    }
    // Offset to the top, type information, and the two forms of the one virtual destructor.
    EXPECT_EQ(size, 4 * sizeof(void*));
}
#endif

TEST_P(Exports, HaveEveryAddressResolvedAtLoadingAndThenReadOnly)
{
    const std::string dynamic = toldBy(READELF " -dW");
    EXPECT_THAT(dynamic, testing::HasSubstr("BIND_NOW"));
    EXPECT_THAT(dynamic, testing::HasSubstr("Library soname: [lib" + GetParam().name + ".so]"));
    EXPECT_THAT(toldBy(READELF " -lW"), testing::HasSubstr("GNU_RELRO"));
}

#ifdef BRANCH_TARGETS_ARE_MARKED
TEST_P(Exports, HaveMarkedTargetsOfIndirectBranches)
{
    const std::string code = toldBy(OBJDUMP " -d");
    const std::string mark = "endbr64";
    std::size_t marked = 0;
    for (std::size_t at = 0; (at = code.find(mark, at)) != std::string::npos; at += mark.size())
        ++marked;
    EXPECT_GT(marked, GetParam().shown.size());
}
#endif

TEST_P(Exports, NeedOnlyThePcscClientAndTheRuntime)
{
    std::set<std::string> allowed = {"libpcsclite.so.1", "libstdc++.so.6", "libgcc_s.so.1", "libc.so.6", "libm.so.6",
                                     // the loader, for the stack's guard on arm64 and for thread-local storage on s390x
                                     "ld-linux-aarch64.so.1", "ld64.so.1"};
    std::istringstream sanitizers(SANITIZER_RUNTIMES);
    for (std::string runtime; sanitizers >> runtime;)
        allowed.insert(runtime);
    const std::string dynamic = toldBy(READELF " -dW");
    const std::string mark = "Shared library: [";
    std::set<std::string> needed;
    for (std::size_t at = 0; (at = dynamic.find(mark, at)) != std::string::npos;) {
        at += mark.size();
        needed.insert(dynamic.substr(at, dynamic.find(']', at) - at));
    }
    EXPECT_THAT(needed, testing::Contains("libpcsclite.so.1"));
    EXPECT_THAT(needed, testing::Each(testing::AnyOfArray(allowed)));
}

} // namespace
