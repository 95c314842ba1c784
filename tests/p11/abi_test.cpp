// SPDX-License-Identifier: Apache-2.0
// The class as a C++ caller outside the project meets it: its header alone, and the library beside it.
#include "P11Wrapper.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <type_traits>

namespace {

using ByteRun = unsigned char*;
using ByteVector = std::vector<unsigned char>;

/// Whether an operation's type is exactly that of the signature.
template <class Signature, class Operation>
constexpr bool is(Operation)
{
    return std::is_same_v<Operation, Signature P11Wrapper::*>;
}

static_assert(is<bool(const char*)>(&P11Wrapper::loadLib));
static_assert(is<bool()>(&P11Wrapper::Initialize));
static_assert(is<CK_RV()>(&P11Wrapper::Finalize));
static_assert(is<CK_RV(const char*, CK_SLOT_ID*)>(&P11Wrapper::GetSlotIDByTerminalName));
static_assert(is<CK_RV(CK_SLOT_ID, ByteRun, CK_ULONG, ByteRun, CK_ULONG)>(&P11Wrapper::SetPin));
static_assert(is<CK_RV(CK_SLOT_ID, ByteRun, CK_ULONG, ByteRun, CK_ULONG)>(&P11Wrapper::SetPuk));
static_assert(std::is_same_v<decltype(&P11Wrapper::ResetTerminal), void (*)(const char*)>);
static_assert(is<CK_RV(CK_SLOT_ID, ByteRun, CK_ULONG)>(&P11Wrapper::InitCard));
static_assert(is<CK_RV(CK_SLOT_ID, ByteRun, CK_ULONG)>(&P11Wrapper::CleanCard));
static_assert(
    is<CK_RV(CK_SLOT_ID, ByteVector&, ByteVector&, ByteVector&, ByteVector&, std::string&)>(&P11Wrapper::GetTokenInfo));
static_assert(is<CK_RV(CK_SLOT_ID, ByteRun, CK_ULONG, std::vector<ObjectAttr>&)>(&P11Wrapper::ListObjects));
static_assert(is<CK_RV(unsigned long, ByteRun, unsigned long, const char*, ByteRun, unsigned long, ByteVector&)>(
    &P11Wrapper::GetX509Certificate));
static_assert(is<CK_RV(unsigned long, ByteRun, unsigned long, const char*, ByteRun, unsigned long, ByteVector&,
                       ByteVector&)>(&P11Wrapper::GetPublicKey));
static_assert(is<CK_RV(unsigned long, ByteRun, unsigned long, const char*, ByteRun, unsigned long, ByteRun,
                       unsigned long)>(&P11Wrapper::ImportX509Certificate));
static_assert(is<CK_RV(unsigned long, ByteRun, unsigned long, ByteRun, unsigned long, ByteRun, unsigned long)>(
    &P11Wrapper::ImportCert));
static_assert(is<CK_RV(unsigned long, ByteRun, unsigned long, unsigned long, const char*, ByteRun, unsigned long)>(
    &P11Wrapper::GenerateKeyPair));
static_assert(is<CK_RV(unsigned long, ByteRun, unsigned long, const char*, ByteRun, unsigned long)>(
    &P11Wrapper::GenerateGostR3410_2001KeyPair));
static_assert(
    is<CK_RV(unsigned long, ByteRun, unsigned long, ByteRun, unsigned long, ByteRun, unsigned long, ByteRun,
             unsigned long, const std::vector<ByteVector>&, unsigned long, ByteVector&)>(&P11Wrapper::pkcs7Sign));
static_assert(is<CK_RV(ByteRun, unsigned long, ByteRun, unsigned long)>(&P11Wrapper::pkcs7Verify));
static_assert(
    is<CK_RV(unsigned long, ByteRun, unsigned long, ByteRun, unsigned long, ByteRun, unsigned long, ByteRun,
             unsigned long, ByteRun, unsigned long, ByteRun, unsigned long, ByteVector&)>(&P11Wrapper::createCSR));

static_assert(std::is_same_v<decltype(P11Wrapper::initialized), bool>);
static_assert(std::is_same_v<decltype(P11Wrapper::libHandle), void*>);
static_assert(std::is_same_v<decltype(P11Wrapper::functionList), CK_FUNCTION_LIST_PTR>);

static_assert(std::is_default_constructible_v<P11Wrapper> && std::is_constructible_v<P11Wrapper, const char*>);
static_assert(!std::is_copy_constructible_v<P11Wrapper> && !std::is_copy_assignable_v<P11Wrapper>);
static_assert(std::has_virtual_destructor_v<P11Wrapper>);
static_assert(sizeof(P11Wrapper) == 32 && alignof(P11Wrapper) == 8);

static_assert(sizeof(ObjectAttr) == 4 * sizeof(std::string));
static_assert(std::is_same_v<decltype(&ObjectAttr::type), std::string ObjectAttr::*>);
static_assert(std::is_aggregate_v<ObjectAttr> && std::is_copy_constructible_v<ObjectAttr>);

TEST(Abi, MembersFollowTheVirtualTableInTheirOrder)
{
    const P11Wrapper wrapper(LOADABLE_FILE);
    const auto offset = [&](const auto& member) {
        return reinterpret_cast<const char*>(&member) - reinterpret_cast<const char*>(&wrapper);
    };
    EXPECT_EQ(offset(wrapper.initialized), 8);
    EXPECT_EQ(offset(wrapper.libHandle), 16);
    EXPECT_EQ(offset(wrapper.functionList), 24);
}

TEST(Abi, DestructionLeavesNoHandle)
{
    alignas(P11Wrapper) unsigned char memory[sizeof(P11Wrapper)];
    auto* const wrapper = new (memory) P11Wrapper(LOADABLE_FILE);
    ASSERT_NE(wrapper->libHandle, nullptr);
    wrapper->~P11Wrapper();
    void* handle = memory;
    std::memcpy(&handle, memory + 16, sizeof handle);
    EXPECT_EQ(handle, nullptr);
}

TEST(Abi, RecordsNameTypeLabelIdAndKeyTypeInThisOrder)
{
    const ObjectAttr record{"type", "label", "id", "key type"};
    EXPECT_EQ(record.type, "type");
    EXPECT_EQ(record.label, "label");
    EXPECT_EQ(record.id, "id");
    EXPECT_EQ(record.keyType, "key type");
}

TEST(Abi, DerivedClassIsDestroyedThroughTheBase)
{
    struct Derived : P11Wrapper {
        explicit Derived(bool& gone) : P11Wrapper(LOADABLE_FILE), gone(gone) {}
        ~Derived() override { gone = true; }
        bool& gone;
    };
    bool gone = false;
    P11Wrapper* const wrapper = new Derived(gone);
    delete wrapper;
    EXPECT_TRUE(gone);
}

} // namespace
