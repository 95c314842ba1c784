// SPDX-License-Identifier: Apache-2.0
// What the module leaves in freed memory, and what it answers when memory runs out.
#include "tests/endtoend/softtoken/freed_memory.h"
#include "tests/endtoend/softtoken/soft_token.h"
#include "tests/support/watched_heap.h"

#include <cstdlib>
#include <cstring>

namespace endtoend {
namespace {

using Memory = TokenTest;

TEST(FreedMemoryItself, IsSeenWhoeverGivesItBack)
{
    FreedMemory freed;
    const Bytes secret = bytes("a secret that nobody wiped");
    {
        const Bytes copy = secret;
    }
    void* const block = std::malloc(secret.size());
    std::memcpy(block, secret.data(), secret.size());
    // A compiler sees through a copy that is only freed.
    void (*volatile release)(void*) = std::free;
    release(block);
    freed.stop();
    EXPECT_TRUE(freed.contains(secret));
    EXPECT_FALSE(freed.contains(bytes("another secret, never there")));
}

TEST_F(Memory, HoldsNoPrivateValueAfterAGostKeyPairIsGenerated)
{
    FreedMemory freed;
    ASSERT_CKR(generateGost("id"), CKR_OK);
    freed.stop();
    EXPECT_FALSE(freed.contains(attribute(only(CKO_PRIVATE_KEY, "id"), CKA_VALUE)));
}

TEST_F(Memory, HoldsNoPrivateValueAfterAGostKeyHasSigned)
{
    ASSERT_CKR(generateGost("id"), CKR_OK);
    const CK_OBJECT_HANDLE publicKey = only(CKO_PUBLIC_KEY, "id");
    const CK_OBJECT_HANDLE privateKey = only(CKO_PRIVATE_KEY, "id");
    FreedMemory freed;
    Bytes csr;
    ASSERT_CKR(createCsr(publicKey, privateKey, {}, csr), CKR_OK);
    freed.stop();
    EXPECT_FALSE(freed.contains(attribute(privateKey, CKA_VALUE)));
}

TEST_F(Memory, ThatIsExhaustedIsNamed)
{
    Bytes der = issue("id");
    const std::size_t before = objectCount();
    CK_RV rv = CKR_OK;
    {
        const AllocationLimit limit(der.size());
        rv = module->C_TOVR_ImportCert(session, der.data(), der.size(), nullptr, 0);
    }
    EXPECT_CKR(rv, CKR_HOST_MEMORY);
    EXPECT_EQ(objectCount(), before);
}

} // namespace
} // namespace endtoend
