// SPDX-License-Identifier: Apache-2.0
/// @file
/// P11Wrapper drives one loaded PKCS #11 module: it finds a token by the name of its reader and does one job on it.
///
/// Start reading here. This header (with ObjectAttr.h) is all that a C++ caller needs:
///
///     P11Wrapper token("/usr/lib/libtovr_pkcs11_main.so");
///     CK_SLOT_ID slot = 0;
///     std::vector<ObjectAttr> objects;
///     if (token.Initialize() && token.GetSlotIDByTerminalName("Reader 0", &slot) == CKR_OK &&
///         token.ListObjects(slot, pin, pinLen, objects) == CKR_OK)
///         …
///
/// Common to all operations, unless their own comment says otherwise:
///
/// - The result is a PKCS #11 code; 0 (CKR_OK) is success. Codes of the module pass through unchanged. The library has
///   two codes of its own. 5 (CKR_GENERAL_ERROR): `initialized` is false; the line "Not Initialized" is written and the
///   module is not called. 6 (CKR_FUNCTION_FAILED): no reader matches, or a search finds no object.
/// - Lengths are in bytes. A byte run of length 0 may have a null pointer. PINs, labels, IDs and data are passed to the
///   module unchanged.
/// - An operation that takes a PIN opens a read/write session (PKCS #11 v2.40, section 5.6), logs in, does its job and
///   closes the session. It never calls C_Logout. CKR_USER_ALREADY_LOGGED_IN (0x100) counts as a login. If the session
///   cannot be opened, the code is returned and no line is written. If the login is refused, the session is closed and
///   then the line "Login failed. Code: " with the code is written.
/// - An output is changed only as its operation's comment says. A failure before that leaves it untouched.
/// - Every diagnostic is one line on standard output and is flushed. Codes are written as decimal numbers.
/// - Only a failed allocation throws: std::bad_alloc, or std::length_error for a length that no memory can hold. An
///   active search is then finalised and the session closed.
/// - There is no lock. One object belongs to one thread. Two objects on the same module file share one module instance,
///   and the first to be destroyed finalises it for both.
#pragma once

#include "ObjectAttr.h"

#include <p11-kit/pkcs11.h>

#include <string>
#include <vector>

/// One loaded module, and the jobs that it can do on a token. P11Wrapper.h says first what all of them have in common.
class __attribute__((visibility("default"))) P11Wrapper {
public:
    /// Loads "libtovr_pkcs11_main.so" by the dynamic loader's search path.
    P11Wrapper();

    /// Loads the module file at `modulePath`. If loadLib fails, it writes its line, and Initialize fails later.
    explicit P11Wrapper(const char* modulePath);

    /// Calls Finalize if `initialized` is set, even if somebody else had initialised the module. Then unloads the
    /// module.
    virtual ~P11Wrapper();

    P11Wrapper(const P11Wrapper&) = delete;
    P11Wrapper& operator=(const P11Wrapper&) = delete;

    // --- The module: module_access.cpp ---

    /// Loads a module file with the dynamic loader (RTLD_NOW). The constructors call it. `functionList` becomes null
    /// and `initialized` false. If the file cannot be loaded, the line "Error while load <path>: <loader's message>" is
    /// written, `libHandle` is null and the result is false. A module that was loaded before is neither finalised nor
    /// unloaded.
    bool loadLib(const char* modulePath);

    /// Fetches the function list and initialises the module (C_GetFunctionList, C_Initialize without arguments;
    /// sections 5.4 and 3.6), then probes it with C_GetSlotList. If the module is already initialised (0x191), it is
    /// accepted without the probe. If a step fails, one line names the step and the result is false. After a failed
    /// probe the module stays initialised; the destructor unloads it without C_Finalize.
    bool Initialize();

    /// Sets `initialized` to false, finalises the module and returns the code of C_Finalize. Returns 0 without a
    /// function list. The destructor calls it.
    CK_RV Finalize();

    /// Finds the slot whose reader has the name `terminalName` (section 5.5: C_GetSlotList of all slots, C_GetSlotInfo
    /// of each) and stores it in `*slotId`. A slot matches if its manufacturer ID or its description, without trailing
    /// blanks, is a prefix of the name or has the name as a prefix. If several slots match, the last in list order is
    /// taken.
    ///
    /// A null name gives 6 and sets `*slotId` to 0, even before Initialize. If no slot matches, the line "Terminal not
    /// found" is written and the result is 6. If the module has no slots, the line "C_GetSlotList failed. Code: 0" is
    /// written, the result is 0 and `*slotId` is untouched. A slot that cannot be queried is reported and passed over.
    /// If that is the last slot and another one matched, `*slotId` holds the match and the result is the failed code.
    CK_RV GetSlotIDByTerminalName(const char* terminalName, CK_SLOT_ID* slotId);

    /// Changes the user PIN (C_SetPIN, section 5.5) after a login with the old one. If C_SetPIN fails, no line is
    /// written.
    CK_RV SetPin(CK_SLOT_ID slotId, unsigned char* oldPin, CK_ULONG oldPinLen, unsigned char* newPin,
                 CK_ULONG newPinLen);

    /// Changes the security officer's PIN (the PUK) in the same way, logged in as security officer.
    CK_RV SetPuk(CK_SLOT_ID slotId, unsigned char* oldPuk, CK_ULONG oldPukLen, unsigned char* newPuk,
                 CK_ULONG newPukLen);

    /// Powers the card in a reader down through the PC/SC service, without any module. The connection is shared and is
    /// closed with SCARD_UNPOWER_CARD. `readerName` must not be null. A failure is written and not returned: "Failed to
    /// establish context: <code>", or "Failed to diconnect reader <name>. Error code: <code>", which also tells of a
    /// failed connection. PC/SC codes are signed.
    static void ResetTerminal(const char* readerName);

    // --- The token as a whole: token_administration.cpp ---

    /// Initialises the token (C_InitToken, section 5.5) with the label "VORNIX Token". All objects are lost, and no
    /// user PIN is set. Needs no session. A failure writes "C_InitToken failed. Code: " and the code.
    CK_RV InitCard(CK_SLOT_ID slotId, unsigned char* soPin, CK_ULONG soPinLen);

    /// Destroys every object that the user sees, session objects included (C_DestroyObject, section 5.7). An object
    /// that cannot be destroyed is reported and passed over. The result is the code for the last object; without
    /// objects it is the code of C_FindObjectsFinal.
    CK_RV CleanCard(CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen);

    /// Reads the token's label (up to 32 bytes), manufacturer (32), model (16) and serial number (16), each without its
    /// trailing blanks, and its flags as 16 lowercase hexadecimal digits (C_GetTokenInfo, section 5.5). Needs no
    /// session. The outputs are emptied first, on failure too. If C_GetTokenInfo fails, no line is written.
    CK_RV GetTokenInfo(CK_SLOT_ID slotId, std::vector<unsigned char>& label, std::vector<unsigned char>& manufacturer,
                       std::vector<unsigned char>& model, std::vector<unsigned char>& serialNumber, std::string& flags);

    /// Appends a record to `objects` for every object that the user sees, in the order of the module's search. An
    /// object that cannot be read is reported and left out. The result is the code of the last read of the last object;
    /// without objects it is the code of C_FindObjectsFinal. CKR_ATTRIBUTE_TYPE_INVALID (0x12: an object has no key
    /// type, say) becomes 0, also as the code of C_OpenSession. Records of a failed call stay in `objects`.
    CK_RV ListObjects(CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen, std::vector<ObjectAttr>& objects);

    // --- Certificates and keys: certificates_and_keys.cpp ---

    /// Reads the value (DER as stored) of the first certificate with this label and, unless `idLen` is 0, this ID.
    /// `label` must not be null. If there is none, the line "C_FindObjects object not found. Code: 0" is written and
    /// the result is 6. When the length is known, `out` becomes a zero-filled buffer of that length; the second read
    /// fills it.
    CK_RV GetX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                             unsigned char* id, unsigned long idLen, std::vector<unsigned char>& out);

    /// Reads modulus and public exponent (big-endian as stored) of the first public key with this label and ID. All
    /// else is as in GetX509Certificate. For a key without these two RSA attributes the result is the module's code.
    CK_RV GetPublicKey(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                       unsigned char* id, unsigned long idLen, std::vector<unsigned char>& modulus,
                       std::vector<unsigned char>& exponent);

    /// Stores a certificate with a label (NUL-terminated) and an ID through C_TOVR_ImportX509Certificate. On failure
    /// the session is closed, then the line "Load failed. Code: " with the code is written. Existing objects are not
    /// looked at.
    CK_RV ImportX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                                unsigned char* id, unsigned long idLen, unsigned char* cert, unsigned long certLen);

    /// Passes two blocks to C_TOVR_ImportCert, which knows their meaning. All else is as in ImportX509Certificate. The
    /// PIN comes last here, unlike elsewhere.
    CK_RV ImportCert(unsigned long slotId, unsigned char* first, unsigned long firstLen, unsigned char* second,
                     unsigned long secondLen, unsigned char* pin, unsigned long pinLen);

    /// Generates an RSA key pair of `modulusBits` bits with exponent 65537 on the token (CKM_RSA_PKCS_KEY_PAIR_GEN;
    /// section 5.14). Both keys get the label unless it is null, and the ID unless `idLen` is 0. If C_GenerateKeyPair
    /// fails, no line is written. Existing keys are not looked for: two calls make two pairs.
    CK_RV GenerateKeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned long modulusBits,
                          const char* label, unsigned char* id, unsigned long idLen);

    /// Generates a GOST R 34.10-2001 key pair in the same way (CKM_GOSTR3410_KEY_PAIR_GEN). The module chooses the
    /// parameter set.
    CK_RV GenerateGostR3410_2001KeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                        const char* label, unsigned char* id, unsigned long idLen);

    // --- Signatures and requests: signatures_and_requests.cpp ---

    /// Builds a PKCS #7 message over `data` through C_TOVR_pkcs7Sign. The signer's certificate, the private key and
    /// further certificates are found by their IDs. An ID of length 0 names no object: the module gets the handle 0.
    /// `flags` is the module's mode word.
    ///
    /// If the certificate, the key or the last further certificate is missing, the result is 6. If an earlier further
    /// certificate is missing or its C_FindObjects fails, that is reported and the module gets the handle 0 for it. If
    /// a search cannot start, the call ends. If the login answered 0x100 and no certificate ID is given, the result is
    /// 0x100 and nothing is signed.
    ///
    /// `signature` is replaced on success only. Its length is the one that the length query announced; bytes that the
    /// module does not write are zero.
    CK_RV pkcs7Sign(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned char* data,
                    unsigned long dataLen, unsigned char* certId, unsigned long certIdLen, unsigned char* keyId,
                    unsigned long keyIdLen, const std::vector<std::vector<unsigned char>>& certIds, unsigned long flags,
                    std::vector<unsigned char>& signature);

    /// Returns the verdict of C_TOVR_pkcs7Verify on the two inputs: 0 is a good signature. Needs no token.
    CK_RV pkcs7Verify(unsigned char* firstInput, unsigned long firstInputLen, unsigned char* secondInput,
                      unsigned long secondInputLen);

    /// Builds a certificate request through C_TOVR_CreateCSR. The key pair is found by its two IDs. Subject, attributes
    /// and extensions are runs of NUL-terminated strings, one behind the other; the counts are the numbers of pairs,
    /// pairs and triples. IDs of length 0, the results 6 and 0x100 and the output are as in pkcs7Sign, with the public
    /// key in place of the certificate.
    CK_RV createCSR(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned char* publicKeyId,
                    unsigned long publicKeyIdLen, unsigned char* privateKeyId, unsigned long privateKeyIdLen,
                    unsigned char* subject, unsigned long subjectCount, unsigned char* attributes,
                    unsigned long attributeCount, unsigned char* extensions, unsigned long extensionCount,
                    std::vector<unsigned char>& csr);

    // --- State. Native callers read it, at these places behind the virtual table ---

    bool initialized = false;                    ///< true from a successful Initialize until Finalize
    void* libHandle = nullptr;                   ///< the loaded module, or null
    CK_FUNCTION_LIST_PTR functionList = nullptr; ///< the module's function list, or null
};
