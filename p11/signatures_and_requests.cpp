// SPDX-License-Identifier: Apache-2.0
// PKCS #7 messages and certificate requests, which the module builds in functions of its maker's own.
#include "p11/P11Wrapper.h"

#include "include/tovr_pkcs11.h"
#include "p11/jobs.h"
#include "p11/object_search.h"
#include "p11/outcome.h"
#include "p11/session.h"
#include "p11/two_call_fetch.h"

#include <array>
#include <vector>

namespace {

/// Finds the first object with this class and ID.
Outcome findById(const Session& session, SearchNumber number, CK_OBJECT_CLASS objectClass, ByteRun id,
                 CK_OBJECT_HANDLE& object)
{
    std::array<CK_ATTRIBUTE, 2> criteria{{{CKA_CLASS, &objectClass, sizeof objectClass}, {CKA_ID, id.first, id.count}}};
    ObjectSearch search(session, criteria.data(), criteria.size(), number);
    return search ? search.findOne(object) : search.refusal();
}

/// What a message or a request is built upon.
struct Signer {
    CK_OBJECT_HANDLE publicPart = CK_INVALID_HANDLE; ///< a certificate or a public key
    CK_OBJECT_HANDLE privateKey = CK_INVALID_HANDLE;
};

/// Finds both by their IDs; one of length 0 names none. The login's 0x100 runs on as the code until a search replaces
/// it: without a public part to find it ends the operation.
Outcome findSigner(const Session& session, CK_OBJECT_CLASS publicClass, ByteRun publicId, ByteRun keyId, Signer& signer)
{
    Outcome outcome(session.loginCode, "C_Login");
    if (publicId.count != 0)
        outcome = findById(session, {1}, publicClass, publicId, signer.publicPart);
    if (outcome.code == CKR_OK && keyId.count != 0)
        outcome = findById(session, {2}, CKO_PRIVATE_KEY, keyId, signer.privateKey);
    return outcome;
}

/// Finds certificates by their IDs, each as the handle 0 where it is not found. The next search replaces the code: a
/// missing certificate counts only when it is the last. A search that cannot start ends the operation.
Outcome findFurther(const Session& session, const std::vector<std::vector<unsigned char>>& ids,
                    std::vector<CK_OBJECT_HANDLE>& certificates)
{
    Outcome outcome(CKR_OK, "C_FindObjects");
    for (const std::vector<unsigned char>& id : ids) {
        CK_OBJECT_HANDLE certificate = CK_INVALID_HANDLE;
        outcome = findById(session, {3, certificates.size() + 1}, CKO_CERTIFICATE,
                           {const_cast<unsigned char*>(id.data()), id.size()}, certificate);
        if (outcome.endsOperation())
            break;
        certificates.push_back(certificate);
    }
    return outcome;
}

/// How a function that builds a message or a request is named: in its lines and as a step.
struct Builder {
    FetchWords words;
    const char* step;
};

/// Fetches what an extension builds; `build(buffer, length)` calls it. `output` is replaced on success only, and keeps
/// the announced length: what the module leaves unwritten is zero.
template <typename Build>
Outcome fetchBuilt(const Session& session, const Builder& builder, std::vector<unsigned char>& output,
                   const Build& build)
{
    std::vector<unsigned char> buffer;
    CK_ULONG length = 0;
    const CK_RV rv = twoCallFetch(
        session.lines, builder.words, [&] { return build(buffer.empty() ? nullptr : buffer.data(), &length); },
        [&] {
            buffer.assign(length, 0);
            return !buffer.empty();
        });
    if (rv == CKR_OK)
        output.swap(buffer);
    return {rv, builder.step};
}

} // namespace

Outcome jobs::signMessage(const Session& session, ByteRun data, ByteRun certificateId, ByteRun keyId,
                          const std::vector<std::vector<unsigned char>>& furtherIds, CK_ULONG flags,
                          std::vector<unsigned char>& message)
{
    Signer signer;
    std::vector<CK_OBJECT_HANDLE> further;
    Outcome outcome = findSigner(session, CKO_CERTIFICATE, certificateId, keyId, signer);
    if (outcome.code == CKR_OK)
        outcome = findFurther(session, furtherIds, further);
    if (outcome.code != CKR_OK)
        return outcome;

    return fetchBuilt(session, {{"C_TOVR_pkcs7Sign failed #1", "C_TOVR_pkcs7Sign failed #2"}, "C_TOVR_pkcs7Sign"},
                      message, [&](CK_BYTE_PTR buffer, CK_ULONG_PTR length) {
                          return extendedList(session.functions)
                              ->C_TOVR_pkcs7Sign(session.handle, data.first, data.count, signer.publicPart, buffer,
                                                 length, signer.privateKey, further.empty() ? nullptr : further.data(),
                                                 further.size(), flags);
                      });
}

Outcome jobs::verifyMessage(CK_FUNCTION_LIST_PTR functions, ByteRun firstInput, ByteRun secondInput)
{
    return {extendedList(functions)->C_TOVR_pkcs7Verify(firstInput.first, firstInput.count, secondInput.first,
                                                        secondInput.count),
            "C_TOVR_pkcs7Verify"};
}

Outcome jobs::createRequest(const Session& session, ByteRun publicKeyId, ByteRun privateKeyId, TextRun subject,
                            TextRun attributes, TextRun extensions, std::vector<unsigned char>& request)
{
    Signer signer;
    const Outcome outcome = findSigner(session, CKO_PUBLIC_KEY, publicKeyId, privateKeyId, signer);
    if (outcome.code != CKR_OK)
        return outcome;

    return fetchBuilt(session, {{"C_TOVR_CreateCSR failed #1", "C_TOVR_CreateCSR failed #2"}, "C_TOVR_CreateCSR"},
                      request, [&](CK_BYTE_PTR buffer, CK_ULONG_PTR length) {
                          return extendedList(session.functions)
                              ->C_TOVR_CreateCSR(session.handle, signer.publicPart, subject.first, subject.groups,
                                                 buffer, length, signer.privateKey, attributes.first, attributes.groups,
                                                 extensions.first, extensions.groups);
                      });
}

CK_RV P11Wrapper::pkcs7Sign(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned char* data,
                            unsigned long dataLen, unsigned char* certId, unsigned long certIdLen, unsigned char* keyId,
                            unsigned long keyIdLen, const std::vector<std::vector<unsigned char>>& certIds,
                            unsigned long flags, std::vector<unsigned char>& signature)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::signMessage(session, {data, dataLen}, {certId, certIdLen}, {keyId, keyIdLen}, certIds, flags,
                                 signature);
    });
}

CK_RV P11Wrapper::pkcs7Verify(unsigned char* firstInput, unsigned long firstInputLen, unsigned char* secondInput,
                              unsigned long secondInputLen)
{
    if (!isReady(*this))
        return CKR_GENERAL_ERROR;
    return jobs::verifyMessage(functionList, {firstInput, firstInputLen}, {secondInput, secondInputLen}).code;
}

CK_RV P11Wrapper::createCSR(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned char* publicKeyId,
                            unsigned long publicKeyIdLen, unsigned char* privateKeyId, unsigned long privateKeyIdLen,
                            unsigned char* subject, unsigned long subjectCount, unsigned char* attributes,
                            unsigned long attributeCount, unsigned char* extensions, unsigned long extensionCount,
                            std::vector<unsigned char>& csr)
{
    return runInSession(*this, slotId, CKU_USER, pin, pinLen, [&](const Session& session) {
        return jobs::createRequest(session, {publicKeyId, publicKeyIdLen}, {privateKeyId, privateKeyIdLen},
                                   {subject, subjectCount}, {attributes, attributeCount}, {extensions, extensionCount},
                                   csr);
    });
}
