// SPDX-License-Identifier: Apache-2.0
// Listing the objects of the token: what their records hold.
#include "tests/p11/listing_test.h"

#include <cstdint>
#include <exception>

using namespace scripted;
using namespace stories;
using namespace std::string_literals;

namespace {

using ObjectRecordTest = ObjectListingTest;

TEST_F(ObjectRecordTest, IdentifierIsLowercaseHexadecimal)
{
    EXPECT_EQ(listed(certificate("c", {0x01, 0xab, 0x0a, 0xff, 0x00}, {})).id, "01ab0aff00");
}

TEST_F(ObjectRecordTest, EmptyAttributesGiveEmptyFields)
{
    EXPECT_EQ(listed(certificate("", {}, {})), (ObjectAttr{"certificate", "", "", ""}));
}

TEST_F(ObjectRecordTest, LabelKeepsItsBlanksAndNulBytes)
{
    const std::string label = "a\0b  "s;
    EXPECT_EQ(listed(dataObject(label)).label, label);
}

TEST_F(ObjectRecordTest, ObjectWithoutAnyAttribute)
{
    EXPECT_EQ(listed({}), (ObjectAttr{"", "", "", ""}));
}

/// A big-endian number keeps all its bytes.
Bytes withoutLastZeros(Bytes bytes)
{
    while (!bytes.empty() && bytes.back() == 0)
        bytes.pop_back();
    return bytes;
}

TEST_F(ObjectRecordTest, ShortNumbersAreReadAsIfFilledWithZeros)
{
    EXPECT_EQ(listed({{CKA_CLASS, withoutLastZeros(bytesOf(CKO_PRIVATE_KEY))},
                      {CKA_KEY_TYPE, withoutLastZeros(bytesOf(CKK_GOSTR3410))}}),
              (ObjectAttr{"private key", "", "", "GOSTR3410"}));
}

TEST_F(ObjectRecordTest, LongNumbersAreReadToTheirEighthByte)
{
    Bytes longClass = bytesOf(CKO_SECRET_KEY);
    longClass.push_back(0x01);
    Bytes longType = bytesOf(CKK_AES);
    longType.push_back(0x01);
    EXPECT_EQ(listed({{CKA_CLASS, longClass}, {CKA_KEY_TYPE, longType}}), (ObjectAttr{"secret key", "", "", "AES"}));
}

struct Named {
    CK_ULONG value;
    const char* name;
};

TEST_F(ObjectRecordTest, ClassesByName)
{
    for (const Named& known : {Named{0, "data"},
                               {1, "certificate"},
                               {2, "public key"},
                               {3, "private key"},
                               {4, "secret key"},
                               {5, "hw feature"},
                               {6, "domain parameter"},
                               {7, "mechanism"},
                               {8, "unknown"},
                               {0x80000001, "unknown"},
                               {0x100000001, "unknown"}}) {
        module.objects.clear();
        records.clear();
        EXPECT_EQ(listed({{CKA_CLASS, bytesOf(known.value)}}).type, known.name) << known.value;
    }
}

TEST_F(ObjectRecordTest, KeyTypesByName)
{
    for (const Named& known : {Named{0x00, "RSA"},
                               {0x01, "DSA"},
                               {0x02, "Unknown"},
                               {0x03, "ECDSA"},
                               {0x04, "Unknown"},
                               {0x10, "Unknown"},
                               {0x12, "Unknown"},
                               {0x13, "DES"},
                               {0x14, "DES"},
                               {0x15, "DES"},
                               {0x16, "Unknown"},
                               {0x1e, "Unknown"},
                               {0x1f, "AES"},
                               {0x20, "Unknown"},
                               {0x30, "GOSTR3410"},
                               {0x31, "Unknown"},
                               {0x32, "Unknown"},
                               {0x80000000, "Unknown"},
                               {0x100000000, "Unknown"}}) {
        module.objects.clear();
        records.clear();
        EXPECT_EQ(listed({{CKA_KEY_TYPE, bytesOf(known.value)}}).keyType, known.name) << known.value;
    }
}

TEST_F(ObjectRecordTest, EveryBufferIsAlignedAndZeroFilledWhateverTheObjectBefore)
{
    module.add(privateKey("alice", {0xff, 0xff, 0xff}));
    module.add(privateKey("a longer label", {0xff}));
    module.add(privateKey("bob", {0xff, 0xff, 0xff}));
    unsigned buffers = 0;
    module.C_GetAttributeValue = [&, fill = module.C_GetAttributeValue](auto session, auto object, CK_ATTRIBUTE* query,
                                                                        CK_ULONG count) {
        for (CK_ULONG i = 0; query[0].pValue != nullptr && i < count; ++i) {
            const auto* buffer = static_cast<const unsigned char*>(query[i].pValue);
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(buffer) % alignof(CK_ULONG), 0);
            EXPECT_EQ(Bytes(buffer, buffer + query[i].ulValueLen), Bytes(query[i].ulValueLen, 0));
            ++buffers;
        }
        return fill(session, object, query, count);
    };
    list();
    EXPECT_EQ(buffers, 12);
    EXPECT_EQ(records, (Records{{"private key", "alice", "ffffff", "RSA"},
                                {"private key", "a longer label", "ff", "RSA"},
                                {"private key", "bob", "ffffff", "RSA"}}));
}

// --- A module that contradicts itself ---

TEST_F(ObjectRecordTest, LengthAboveTheBufferIsCutToIt)
{
    afterSecondRead([](CK_ATTRIBUTE* query) {
        query[0].ulValueLen = query[1].ulValueLen = query[2].ulValueLen = query[3].ulValueLen = 1u << 20;
    });
    EXPECT_EQ(listed(privateKey("alice", {0x01})), (ObjectAttr{"private key", "alice", "01", "RSA"}));
}

TEST_F(ObjectRecordTest, ShorterLengthOfTheSecondReadCounts)
{
    afterSecondRead([](CK_ATTRIBUTE* query) {
        query[1].ulValueLen = 1;
        query[2].ulValueLen = 3;
    });
    EXPECT_EQ(listed(privateKey("alice", {0x01, 0x02})), (ObjectAttr{"private key", "ali", "01", "RSA"}));
}

TEST_F(ObjectRecordTest, AttributeThatVanishesBetweenTheReadsIsAbsent)
{
    afterSecondRead([](CK_ATTRIBUTE* query) {
        query[1].ulValueLen = 0;
        query[2].ulValueLen = query[3].ulValueLen = CK_UNAVAILABLE_INFORMATION;
    });
    EXPECT_EQ(listed(privateKey("alice", {0x01})), (ObjectAttr{"private key", "", "", ""}));
}

TEST_F(ObjectRecordTest, AttributeThatAppearsBetweenTheReadsIsAbsent)
{
    afterSecondRead([](CK_ATTRIBUTE* query) { query[1].ulValueLen = query[3].ulValueLen = 4; });
    EXPECT_EQ(listed(dataObject("note")), (ObjectAttr{"data", "note", "", ""}));
}

TEST_F(ObjectRecordTest, OneHandleIsTakenHoweverManyTheModuleClaims)
{
    module.add(dataObject("note"));
    module.C_FindObjects = [find = module.C_FindObjects](auto session, auto handles, auto room, CK_ULONG* count) {
        const CK_RV code = find(session, handles, room, count);
        *count *= 1000;
        return code;
    };
    list();
    EXPECT_CKR(rv, CKR_OK);
    EXPECT_EQ(records, (Records{{"data", "note", "", ""}}));
}

TEST_F(ObjectRecordTest, LengthsWhoseSumOverflowsLeaveAsExceptionBeforeAnythingIsFilled)
{
    module.add(dataObject("note"));
    unsigned reads = 0;
    module.C_GetAttributeValue = [&](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* query,
                                     CK_ULONG count) -> CK_RV {
        for (CK_ULONG i = 0; i < count; ++i)
            query[i].ulValueLen = CK_ULONG{1} << 62;
        ++reads;
        return CKR_OK;
    };
    EXPECT_THROW(token.ListObjects(slotId, pin.data(), pin.size(), records), std::exception);
    EXPECT_EQ(reads, 1);
    EXPECT_TRUE(records.empty());
}

TEST_F(ObjectRecordTest, LengthThatCannotBeHeldLeavesAsExceptionWithTheSessionClosed)
{
    module.add(dataObject("note"));
    module.C_GetAttributeValue = [](CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE* query, CK_ULONG) -> CK_RV {
        query[2].ulValueLen = CK_UNAVAILABLE_INFORMATION - 1;
        return CKR_OK;
    };
    EXPECT_EQ(story([&] { EXPECT_THROW(token.ListObjects(slotId, pin.data(), pin.size(), records), std::exception); }),
              inSession(allFound({"101"}) + read(101, lengthQuery) + " -> [0, 0, 18446744073709551614, 0]: CKR_OK\n"));
    EXPECT_TRUE(records.empty());
}

} // namespace
