// SPDX-License-Identifier: Apache-2.0
#include "softtoken/requests.h"

#include "softtoken/der.h"
#include "softtoken/keys.h"

#include <openssl/conf.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include <algorithm>
#include <string_view>

namespace softtoken {
namespace {

void freeExtensions(STACK_OF(X509_EXTENSION) * extensions)
{
    sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
}

using Request = Owned<X509_REQ, X509_REQ_free>;
using Oid = Owned<ASN1_OBJECT, ASN1_OBJECT_free>;
using Extension = Owned<X509_EXTENSION, X509_EXTENSION_free>;
using Extensions = Owned<STACK_OF(X509_EXTENSION), freeExtensions>;

/// OpenSSL refuses a caller's text, or has no memory; the first is far likelier.
void accept(bool done)
{
    require(done, CKR_ARGUMENTS_BAD);
}

/// Reads NUL-terminated strings that lie end to end.
class Strings {
public:
    explicit Strings(CK_BYTE_PTR first) : next_(reinterpret_cast<const char*>(first)) {}

    std::string_view next()
    {
        const std::string_view text = next_;
        next_ += text.size() + 1;
        return text;
    }

private:
    const char* next_;
};

const unsigned char* bytes(std::string_view text)
{
    return reinterpret_cast<const unsigned char*>(text.data());
}

/// By short name or dotted OID.
Oid findOid(std::string_view name)
{
    Oid oid(OBJ_txt2obj(name.data(), 0));
    accept(oid != nullptr);
    return oid;
}

void addSubject(X509_REQ* request, CK_BYTE_PTR pairs, CK_ULONG count)
{
    Strings strings(pairs);
    X509_NAME* subject = X509_REQ_get_subject_name(request);
    for (; count > 0; --count) {
        const Oid type = findOid(strings.next());
        const std::string_view value = strings.next();
        accept(X509_NAME_add_entry_by_OBJ(subject, type.get(), MBSTRING_UTF8, bytes(value),
                                          static_cast<int>(value.size()), -1, 0));
    }
}

void addAttributes(X509_REQ* request, CK_BYTE_PTR pairs, CK_ULONG count)
{
    Strings strings(pairs);
    for (; count > 0; --count) {
        const Oid type = findOid(strings.next());
        const std::string_view value = strings.next();
        // The attribute of the extensions is no text.
        accept(!X509_REQ_extension_nid(OBJ_obj2nid(type.get())));
        accept(X509_REQ_add1_attr_by_OBJ(request, type.get(), MBSTRING_UTF8, bytes(value),
                                         static_cast<int>(value.size())));
    }
}

bool isAscii(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return c < 0x80; });
}

Extension makeExtension(CONF* configuration, X509_REQ* request, const ASN1_OBJECT* type, std::string_view value)
{
    // OpenSSL would put other characters into IA5Strings unseen, or take each byte for a character of Latin-1.
    accept(isAscii(value) || value.rfind("ASN1:FORMAT:UTF8,", 0) == 0);
    // OpenSSL knows its own extensions by short name alone; of the others it takes the encoding (DER: or ASN1:).
    char dotted[128];
    const int nid = OBJ_obj2nid(type);
    if (nid == NID_undef)
        accept(OBJ_obj2txt(dotted, sizeof dotted, type, 1) < static_cast<int>(sizeof dotted));
    // Without a request at hand, alternative names cannot take addresses out of its subject ("email:move").
    X509V3_CTX context;
    X509V3_set_ctx(&context, nullptr, nullptr, nid == NID_subject_alt_name ? nullptr : request, nullptr, 0);
    X509V3_set_nconf(&context, configuration);
    Extension extension(
        X509V3_EXT_nconf(configuration, &context, nid == NID_undef ? dotted : OBJ_nid2sn(nid), value.data()));
    accept(extension != nullptr);
    return extension;
}

void addExtensions(X509_REQ* request, CK_BYTE_PTR triples, CK_ULONG count)
{
    if (count == 0)
        return;
    // An empty configuration, so that a value which names a section of one ("@section") is refused.
    const Owned<CONF, NCONF_free> configuration(NCONF_new(nullptr));
    require(configuration != nullptr, CKR_HOST_MEMORY);
    STACK_OF(X509_EXTENSION)* list = nullptr;
    Extensions extensions;
    Strings strings(triples);
    for (; count > 0; --count) {
        const Oid type = findOid(strings.next());
        const std::string_view critical = strings.next();
        accept(critical.empty() || critical == "critical");
        const Extension extension = makeExtension(configuration.get(), request, type.get(), strings.next());
        if (!critical.empty())
            X509_EXTENSION_set_critical(extension.get(), 1);
        accept(X509v3_get_ext_by_OBJ(list, type.get(), -1) < 0);
        require(X509v3_add_ext(&list, extension.get(), -1), CKR_HOST_MEMORY);
        if (!extensions)
            extensions.reset(list);
    }
    require(X509_REQ_add_extensions(request, list), CKR_HOST_MEMORY);
}

/// Copied part by part: OpenSSL makes no key of a GOST one, but carries it.
void setPublicKey(X509_REQ* request, gnutls_pubkey_t key)
{
    gnutls_datum_t datum = {};
    checkGnutls(gnutls_pubkey_export2(key, GNUTLS_X509_FMT_DER, &datum), CKR_FUNCTION_FAILED);
    const Bytes der = take(datum);
    const unsigned char* end = der.data();
    const Owned<X509_PUBKEY, X509_PUBKEY_free> parsed(d2i_X509_PUBKEY(nullptr, &end, static_cast<long>(der.size())));
    require(parsed != nullptr, CKR_FUNCTION_FAILED);

    const unsigned char* bits = nullptr;
    int bitsLength = 0;
    X509_ALGOR* algorithm = nullptr;
    X509_PUBKEY_get0_param(nullptr, &bits, &bitsLength, &algorithm, parsed.get());
    const ASN1_OBJECT* type = nullptr;
    int parameterType = V_ASN1_UNDEF;
    const void* parameter = nullptr;
    X509_ALGOR_get0(&type, &parameterType, &parameter, algorithm);
    ASN1_STRING* parameterCopy = parameter ? ASN1_STRING_dup(static_cast<const ASN1_STRING*>(parameter)) : nullptr;
    auto* bitsCopy = static_cast<unsigned char*>(OPENSSL_memdup(bits, static_cast<std::size_t>(bitsLength)));
    require(X509_PUBKEY_set0_param(X509_REQ_get_X509_PUBKEY(request), OBJ_dup(type), parameterType, parameterCopy,
                                   bitsCopy, bitsLength),
            CKR_HOST_MEMORY);
}

/// The algorithm is part of what is signed, so it is named first.
void sign(X509_REQ* request, const SigningKey& key)
{
    const bool isRsa = key.type() == GNUTLS_PK_RSA;
    const Owned<X509_ALGOR, X509_ALGOR_free> algorithm(X509_ALGOR_new());
    require(algorithm != nullptr, CKR_HOST_MEMORY);
    require(X509_ALGOR_set0(algorithm.get(),
                            OBJ_nid2obj(isRsa ? NID_sha256WithRSAEncryption : NID_id_GostR3411_94_with_GostR3410_2001),
                            isRsa ? V_ASN1_NULL : V_ASN1_UNDEF, nullptr),
            CKR_HOST_MEMORY);
    require(X509_REQ_set1_signature_algo(request, algorithm.get()), CKR_HOST_MEMORY);

    const Bytes value = key.sign(encode(i2d_re_X509_REQ_tbs, request, CKR_FUNCTION_FAILED));
    ASN1_BIT_STRING* signature = ASN1_BIT_STRING_new();
    require(signature && ASN1_STRING_set(signature, value.data(), static_cast<int>(value.size())), CKR_HOST_MEMORY);
    // Whole bytes: no bit at the end is unused.
    signature->flags |= ASN1_STRING_FLAG_BITS_LEFT;
    X509_REQ_set0_signature(request, signature);
}

} // namespace

void createCsr(const CK_FUNCTION_LIST& softHsm, CK_SESSION_HANDLE handle, CK_OBJECT_HANDLE publicKey,
               CK_BYTE_PTR subject, CK_ULONG subjectCount, CK_BYTE_PTR csr, CK_ULONG_PTR csrLen,
               CK_OBJECT_HANDLE privateKey, CK_BYTE_PTR attributes, CK_ULONG attributeCount, CK_BYTE_PTR extensions,
               CK_ULONG extensionCount)
{
    const Session session = {softHsm, handle};
    requireUser(session);
    require(csrLen, CKR_ARGUMENTS_BAD);
    requireInput(subject, subjectCount);
    requireInput(attributes, attributeCount);
    requireInput(extensions, extensionCount);
    const PublicKey subjectKey = readPublicKey(session, publicKey);
    const SigningKey signingKey(session, privateKey);
    signingKey.requireMatch(subjectKey.get());

    const Request request(X509_REQ_new());
    require(request && X509_REQ_set_version(request.get(), X509_REQ_VERSION_1), CKR_HOST_MEMORY);
    addSubject(request.get(), subject, subjectCount);
    setPublicKey(request.get(), subjectKey.get());
    addAttributes(request.get(), attributes, attributeCount);
    addExtensions(request.get(), extensions, extensionCount);
    sign(request.get(), signingKey);
    deliver(encode(i2d_X509_REQ, request.get(), CKR_FUNCTION_FAILED), csr, csrLen);
}

} // namespace softtoken
