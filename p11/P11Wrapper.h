// P11Wrapper drives one loaded PKCS #11 module: it finds a token by the name of its reader and does one job on it.
//
// Start reading here. This header (with ObjectAttr.h) is all that a C++ caller needs:
//
//     P11Wrapper token("/usr/lib/libtovr_pkcs11_main.so");
//     CK_SLOT_ID slot = 0;
//     std::vector<ObjectAttr> objects;
//     if (token.Initialize() && token.GetSlotIDByTerminalName("Reader 0", &slot) == CKR_OK &&
//         token.ListObjects(slot, pin, pinLen, objects) == CKR_OK)
//         …
//
// Common to all operations, unless their own comment says otherwise:
//
// - The result is a PKCS #11 code, 0 (CKR_OK) for success; codes of the module pass through unchanged. The library's
//   own codes: 5 (CKR_GENERAL_ERROR) while `initialized` is false, after the line "Not Initialized" and with the
//   module untouched; 6 (CKR_FUNCTION_FAILED) when no reader matches or a search finds no object.
// - Lengths are in bytes. A byte run of length 0 may have a null pointer. PINs, labels, IDs and data reach the module
//   as they are given; nothing is copied, checked or converted.
// - An operation that takes a PIN opens a read/write session of its own (PKCS #11 v2.40, section 5.6), logs in, does
//   its job and closes the session, never calling C_Logout. CKR_USER_ALREADY_LOGGED_IN (0x100) counts as a login. A
//   session that cannot be opened is reported by its code alone; a refused login also by the line "Login failed.
//   Code: " and the code, written after the session was closed.
// - Outputs are touched only as their operation's comment says; on every failure before that they keep their contents.
// - Every diagnostic is one line on standard output, ended by a flush; codes stand in it as decimal numbers.
// - No operation throws on purpose. Memory that cannot be had leaves as std::bad_alloc or std::length_error, with the
//   search finalised and the session closed on the way.
// - There is no lock. One object belongs to one thread; two objects on the same module file share one module
//   instance, and whichever is destroyed first finalises it under the other.
#pragma once

#include "ObjectAttr.h"

#include <p11-kit/pkcs11.h>

#include <string>
#include <vector>

class __attribute__((visibility("default"))) P11Wrapper {
public:
    /// Loads "libtovr_pkcs11_main.so" by the dynamic loader's search path.
    P11Wrapper();

    /// Loads the module file at `modulePath`. A failure is written as loadLib tells and shows again in Initialize.
    explicit P11Wrapper(const char* modulePath);

    /// Calls Finalize if `initialized` is set, also where the module had been initialised by others; then unloads it.
    virtual ~P11Wrapper();

    P11Wrapper(const P11Wrapper&) = delete;
    P11Wrapper& operator=(const P11Wrapper&) = delete;

    // --- The module: module_access.cpp ---

    /// Loads a module file with the dynamic loader (RTLD_NOW), forgetting any function list. Returns false, after the
    /// line "Error while load <path>: <loader's message>", when it cannot be loaded; `libHandle` is null then.
    /// Called by the constructors; a module loaded before is neither finalised nor unloaded.
    bool loadLib(const char* modulePath);

    /// Fetches the function list and initialises the module (C_GetFunctionList, C_Initialize without arguments;
    /// sections 5.4 and 3.6), then probes it with C_GetSlotList. A module that is initialised already (0x191) is
    /// accepted as it is, without the probe. Returns false after one line that tells the failing step; after a failed
    /// probe the module stays initialised and is later unloaded without C_Finalize.
    bool Initialize();

    /// Finalises the module and returns what C_Finalize answers, 0 without a function list. Called by the destructor.
    CK_RV Finalize();

    /// Finds the slot whose reader has the name `terminalName` (section 5.5: C_GetSlotList of all slots, C_GetSlotInfo
    /// of each). A slot matches when its manufacturer ID or its description, without trailing blanks, is a prefix of
    /// the name or has the name as a prefix; of several, the last in list order is stored in `*slotId`.
    ///
    /// Returns 6 with `*slotId` set to 0 for a null name, even before Initialize; 6 after "Terminal not found" when
    /// none matches; 0 with `*slotId` untouched, after "C_GetSlotList failed. Code: 0", when the module has no slots. A
    /// slot that cannot be queried is reported and passed over; when it is the last one and another matched, its code
    /// is the result although `*slotId` holds the match.
    CK_RV GetSlotIDByTerminalName(const char* terminalName, CK_SLOT_ID* slotId);

    /// Changes the user PIN (C_SetPIN, section 5.5) after a login with the old one. A failing C_SetPIN writes no line.
    CK_RV SetPin(CK_SLOT_ID slotId, unsigned char* oldPin, CK_ULONG oldPinLen, unsigned char* newPin,
                 CK_ULONG newPinLen);

    /// Changes the security officer's PIN (the PUK) likewise, logged in as security officer.
    CK_RV SetPuk(CK_SLOT_ID slotId, unsigned char* oldPuk, CK_ULONG oldPukLen, unsigned char* newPuk,
                 CK_ULONG newPukLen);

    /// Powers the card in a reader down through the PC/SC service, without any module: a shared connection, closed with
    /// SCARD_UNPOWER_CARD. `readerName` must not be null. Failures are only written, as "Failed to establish context:
    /// <code>" or, also when the connection failed, "Failed to diconnect reader <name>. Error code: <code>"; PC/SC
    /// codes are signed.
    static void ResetTerminal(const char* readerName);

    // --- The token as a whole: token_administration.cpp ---

    /// Initialises the token (C_InitToken, section 5.5) under the label "VORNIX Token"; all objects are lost and no
    /// user PIN is set. Needs no session. A failure writes "C_InitToken failed. Code: " and the code.
    CK_RV InitCard(CK_SLOT_ID slotId, unsigned char* soPin, CK_ULONG soPinLen);

    /// Destroys every object that the user sees, session objects included (C_DestroyObject, section 5.7). Objects that
    /// cannot be destroyed are reported and passed over; the result is that of the last object, or of
    /// C_FindObjectsFinal when there was none.
    CK_RV CleanCard(CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen);

    /// Reads the token's label (up to 32 bytes), manufacturer (32), model (16) and serial number (16), each without its
    /// trailing blanks, and its flags as 16 lowercase hexadecimal digits (C_GetTokenInfo, section 5.5). Needs no
    /// session. The outputs are emptied before anything else; a failing C_GetTokenInfo writes no line.
    CK_RV GetTokenInfo(CK_SLOT_ID slotId, std::vector<unsigned char>& label, std::vector<unsigned char>& manufacturer,
                       std::vector<unsigned char>& model, std::vector<unsigned char>& serialNumber, std::string& flags);

    /// Appends a record to `objects` for every object that the user sees, in the order of the module's search. An
    /// object that cannot be read is reported and left out. The result is the code of the last read of the last object,
    /// or of C_FindObjectsFinal when there was none, with CKR_ATTRIBUTE_TYPE_INVALID (0x12: an object without a key
    /// type, say) turned into 0; the same holds for a C_OpenSession that answers 0x12. Records of a failed call stay.
    CK_RV ListObjects(CK_SLOT_ID slotId, unsigned char* pin, CK_ULONG pinLen, std::vector<ObjectAttr>& objects);

    // --- Certificates and keys: certificates_and_keys.cpp ---

    /// Reads the value (DER as stored) of the first certificate with this label and, unless `idLen` is 0, this ID.
    /// `label` must not be null. Returns 6 after "C_FindObjects object not found. Code: 0" when there is none. `out` is
    /// replaced by a zero-filled buffer of the announced length once that is known and filled by the second read.
    CK_RV GetX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                             unsigned char* id, unsigned long idLen, std::vector<unsigned char>& out);

    /// Reads modulus and public exponent (big-endian as stored) of the first public key with this label and ID;
    /// otherwise as GetX509Certificate. A key without these two RSA attributes gives the module's code.
    CK_RV GetPublicKey(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                       unsigned char* id, unsigned long idLen, std::vector<unsigned char>& modulus,
                       std::vector<unsigned char>& exponent);

    /// Stores a certificate under a label (NUL-terminated) and an ID through C_TOVR_ImportX509Certificate. A failure
    /// writes "Load failed. Code: " and the code after the session was closed; existing objects are not looked at.
    CK_RV ImportX509Certificate(unsigned long slotId, unsigned char* pin, unsigned long pinLen, const char* label,
                                unsigned char* id, unsigned long idLen, unsigned char* cert, unsigned long certLen);

    /// Hands two blocks to C_TOVR_ImportCert, which knows their meaning; otherwise as ImportX509Certificate. Unlike
    /// elsewhere the PIN comes last.
    CK_RV ImportCert(unsigned long slotId, unsigned char* first, unsigned long firstLen, unsigned char* second,
                     unsigned long secondLen, unsigned char* pin, unsigned long pinLen);

    /// Generates an RSA key pair of `modulusBits` bits with exponent 65537 on the token (CKM_RSA_PKCS_KEY_PAIR_GEN;
    /// section 5.14). Both keys get the label unless it is null, and the ID unless `idLen` is 0. A failing
    /// C_GenerateKeyPair writes no line. Keys of the same name are not looked for: generating twice makes two pairs.
    CK_RV GenerateKeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned long modulusBits,
                          const char* label, unsigned char* id, unsigned long idLen);

    /// Generates a GOST R 34.10-2001 key pair likewise (CKM_GOSTR3410_KEY_PAIR_GEN) with the module's parameter set.
    CK_RV GenerateGostR3410_2001KeyPair(unsigned long slotId, unsigned char* pin, unsigned long pinLen,
                                        const char* label, unsigned char* id, unsigned long idLen);

    // --- Signatures and requests: signatures_and_requests.cpp ---

    /// Builds a PKCS #7 message over `data` through C_TOVR_pkcs7Sign, with the signer's certificate, the private key
    /// and further certificates found by their IDs. An ID of length 0 names none: the module receives the handle 0.
    /// `flags` is the module's mode word.
    ///
    /// Returns 6 when certificate, key or the last further certificate is missing. An earlier further certificate that
    /// is missing or whose C_FindObjects fails is only reported and reaches the module as handle 0; a search that
    /// cannot start ends the call. A login that answered 0x100 and no certificate ID give 0x100 with nothing signed.
    /// `signature` is replaced on success only, by as many bytes as the length query announced: what the module then
    /// leaves unwritten is zero.
    CK_RV pkcs7Sign(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned char* data,
                    unsigned long dataLen, unsigned char* certId, unsigned long certIdLen, unsigned char* keyId,
                    unsigned long keyIdLen, const std::vector<std::vector<unsigned char>>& certIds, unsigned long flags,
                    std::vector<unsigned char>& signature);

    /// Returns the verdict of C_TOVR_pkcs7Verify on the two inputs, 0 for a good signature. Needs no token.
    CK_RV pkcs7Verify(unsigned char* firstInput, unsigned long firstInputLen, unsigned char* secondInput,
                      unsigned long secondInputLen);

    /// Builds a certificate request through C_TOVR_CreateCSR for the key pair found by its two IDs. Subject, attributes
    /// and extensions are runs of NUL-terminated strings laid end to end; the counts are those of pairs, pairs and
    /// triples. IDs of length 0, the results 6 and 0x100 and the output are as with pkcs7Sign, the public key standing
    /// in the certificate's place.
    CK_RV createCSR(unsigned long slotId, unsigned char* pin, unsigned long pinLen, unsigned char* publicKeyId,
                    unsigned long publicKeyIdLen, unsigned char* privateKeyId, unsigned long privateKeyIdLen,
                    unsigned char* subject, unsigned long subjectCount, unsigned char* attributes,
                    unsigned long attributeCount, unsigned char* extensions, unsigned long extensionCount,
                    std::vector<unsigned char>& csr);

    // --- State, open to native callers, in this order behind the virtual table ---

    bool initialized = false;                    ///< true from a successful Initialize until Finalize
    void* libHandle = nullptr;                   ///< the loaded module, or null
    CK_FUNCTION_LIST_PTR functionList = nullptr; ///< the module's function list, or null
};
