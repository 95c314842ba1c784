// SPDX-License-Identifier: Apache-2.0
// A PKCS #11 module whose functions live in the test program.
//
//     Transcript transcript;
//     ScriptedModule module(transcript);              // one reader, one token, no objects
//     module.add(certificate("alice", {0x01}, der));
//     module.C_Login = answering(CKR_PIN_LOCKED);     // one function replaced
//     P11Wrapper token(moduleFile);                   // libscripted_module.so leads here
//     ...
//     EXPECT_EQ(transcript.calls(), "module loaded\n" ...);
//
// It has only the functions that the library may call; every other standard function fails the test (forbiddenCall).
// A replaced function is still written to the transcript. Functions are replaced before threads are started.
#pragma once

#include "include/tovr_pkcs11.h"
#include "tests/support/scripted_objects.h"
#include "tests/support/transcript.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

namespace scripted {

/// Texts shorter than their field are filled with blanks, longer ones are cut.
struct Slot {
    CK_SLOT_ID id;
    std::string description;                     // 64 bytes
    std::string manufacturer = "Scripted Works"; // 32 bytes
    CK_RV infoResult = CKR_OK;                   // what C_GetSlotInfo answers
};

[[nodiscard]] inline Slot unreadable(Slot slot, CK_RV code)
{
    slot.infoResult = code;
    return slot;
}

struct Token {
    std::string label = "Scripted Token";                                                             // 32 bytes
    std::string manufacturer = "Scripted Works";                                                      // 32 bytes
    std::string model = "Scripted Model";                                                             // 16 bytes
    std::string serialNumber = "0123456789abcdef";                                                    // 16 bytes
    CK_FLAGS flags = CKF_RNG | CKF_LOGIN_REQUIRED | CKF_USER_PIN_INITIALIZED | CKF_TOKEN_INITIALIZED; // 0x40d
    std::string userPin = "12345678";
    std::string soPin = "87654321";
};

class ScriptedModule {
public:
    /// Becomes the module behind libscripted_module.so until destruction; one at a time.
    explicit ScriptedModule(Transcript& transcript);
    ~ScriptedModule();
    ScriptedModule(const ScriptedModule&) = delete;
    ScriptedModule& operator=(const ScriptedModule&) = delete;

    [[nodiscard]] static ScriptedModule* current();

    // --- What the default functions work upon ---

    std::vector<Slot> slots{{7, "Scripted Reader 0"}}; ///< the token is in each of them
    Token token;
    std::map<CK_OBJECT_HANDLE, Object> objects;  ///< found in the order of their handles
    CK_SESSION_HANDLE nextSession = 41;          ///< session handles count up from here …
    CK_OBJECT_HANDLE nextObject = 101;           ///< … and object handles from here
    CK_RV functionListResult = CKR_OK;           ///< what C_GetFunctionList answers; it always delivers a list
    CK_FUNCTION_LIST_PTR functionList = nullptr; ///< what it delivers; null for the functions below
    CK_ULONG imprecision = 0;                    ///< vendor length queries announce so many bytes too many

    CK_OBJECT_HANDLE add(Object object);

    /// Adds sampleObjects().
    void addSampleObjects();

    /// Ends the login, as a C_Logout does that somebody else in the process calls.
    void logout();

    // --- The functions, each replaceable ---

    template <class Pointer>
    using Function = std::function<std::remove_pointer_t<Pointer>>;

    Function<CK_C_Initialize> C_Initialize;
    Function<CK_C_Finalize> C_Finalize;
    Function<CK_C_GetSlotList> C_GetSlotList;
    Function<CK_C_GetSlotInfo> C_GetSlotInfo;
    Function<CK_C_GetTokenInfo> C_GetTokenInfo;
    Function<CK_C_InitToken> C_InitToken;
    Function<CK_C_OpenSession> C_OpenSession;
    Function<CK_C_GetSessionInfo> C_GetSessionInfo;
    Function<CK_C_CloseSession> C_CloseSession;
    Function<CK_C_Login> C_Login;
    Function<CK_C_SetPIN> C_SetPIN;
    Function<CK_C_FindObjectsInit> C_FindObjectsInit;
    Function<CK_C_FindObjects> C_FindObjects;
    Function<CK_C_FindObjectsFinal> C_FindObjectsFinal;
    Function<CK_C_GetAttributeValue> C_GetAttributeValue;
    Function<CK_C_DestroyObject> C_DestroyObject;
    Function<CK_C_GenerateKeyPair> C_GenerateKeyPair;
    Function<CK_C_TOVR_ImportCert> C_TOVR_ImportCert;
    Function<CK_C_TOVR_ImportX509Certificate> C_TOVR_ImportX509Certificate;
    Function<CK_C_TOVR_CreateCSR> C_TOVR_CreateCSR;
    Function<CK_C_TOVR_pkcs7Sign> C_TOVR_pkcs7Sign;
    Function<CK_C_TOVR_pkcs7Verify> C_TOVR_pkcs7Verify;

    /// Makes the n-th call from now on (1 is the next one; C_GetFunctionList is not counted) answer `code` without
    /// being carried out. One at a time.
    void failCall(unsigned long n, CK_RV code);

    /// Calls received so far, C_GetFunctionList not counted.
    [[nodiscard]] unsigned long callCount() const { return calls_; }

    /// Asked before every call, which comes as it stands in the transcript. A code is answered in place of the
    /// function.
    std::function<std::optional<CK_RV>(const std::string& call)> answerBefore;

    // --- For the entry points ---

    Transcript& transcript;
    [[nodiscard]] std::optional<CK_RV> scriptedFailure(const std::string& call); ///< counts a call
    void unloaded(); ///< forgets sessions_ and initialisation, as an unloaded module does

private:
    struct Session {
        CK_SLOT_ID slot = 0;
        bool searching = false;
        std::vector<CK_OBJECT_HANDLE> found;
    };

    void setDefaults();
    [[nodiscard]] CK_RV initialize();
    [[nodiscard]] CK_RV finalize();
    [[nodiscard]] CK_RV listSlots(CK_SLOT_ID* list, CK_ULONG* count);
    [[nodiscard]] CK_RV slotInfo(CK_SLOT_ID id, CK_SLOT_INFO* info);
    [[nodiscard]] CK_RV tokenInfo(CK_SLOT_ID id, CK_TOKEN_INFO* info);
    [[nodiscard]] CK_RV initToken(CK_SLOT_ID id, const std::string& soPin, const std::string& label);
    [[nodiscard]] CK_RV openSession(CK_SLOT_ID id, CK_SESSION_HANDLE* session);
    [[nodiscard]] CK_RV sessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info);
    [[nodiscard]] CK_RV closeSession(CK_SESSION_HANDLE session);
    [[nodiscard]] CK_RV login(CK_SESSION_HANDLE session, CK_USER_TYPE type, const std::string& pin);
    [[nodiscard]] CK_RV setPin(CK_SESSION_HANDLE session, const std::string& oldPin, const std::string& newPin);
    [[nodiscard]] CK_RV startSearch(CK_SESSION_HANDLE session, const CK_ATTRIBUTE* attributes, CK_ULONG count);
    [[nodiscard]] CK_RV search(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* handles, CK_ULONG room, CK_ULONG* count);
    [[nodiscard]] CK_RV endSearch(CK_SESSION_HANDLE session);
    [[nodiscard]] CK_RV readAttributes(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                                       CK_ULONG count);
    [[nodiscard]] CK_RV destroy(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object);
    [[nodiscard]] CK_RV generate(CK_SESSION_HANDLE session, const CK_MECHANISM& mechanism,
                                 const CK_ATTRIBUTE* publicTemplate, CK_ULONG publicCount,
                                 const CK_ATTRIBUTE* privateTemplate, CK_ULONG privateCount,
                                 CK_OBJECT_HANDLE* publicKey, CK_OBJECT_HANDLE* privateKey);
    [[nodiscard]] CK_RV import(CK_SESSION_HANDLE session, Object object);
    [[nodiscard]] CK_RV deliver(CK_SESSION_HANDLE session, const std::string& answer, CK_BYTE* buffer,
                                CK_ULONG* length);

    [[nodiscard]] const Slot* slot(CK_SLOT_ID id) const;
    [[nodiscard]] CK_RV checkLogin(CK_SESSION_HANDLE session) const;
    [[nodiscard]] bool isVisible(const Object& object) const;

    std::recursive_mutex mutex_;
    bool initialized_ = false;
    std::map<CK_SESSION_HANDLE, Session> sessions_;
    std::optional<CK_USER_TYPE> user_; // logged in on all sessions
    std::atomic<unsigned long> calls_{0};
    std::atomic<unsigned long> failingCall_{0};
    std::atomic<CK_RV> failure_{CKR_OK};
};

/// A replacement that only answers: `module.C_Login = answering(CKR_PIN_LOCKED);`
[[nodiscard]] inline auto answering(CK_RV code)
{
    return [code](auto...) { return code; };
}

/// Replaces the n-th call of one function (1 is the next one) by the code: `failNth(module.C_FindObjects, 2, 48);`
template <class... Args>
void failNth(std::function<CK_RV(Args...)>& function, int n, CK_RV code)
{
    function = [original = function, n, code, count = 0](Args... args) mutable {
        return ++count == n ? code : original(args...);
    };
}

// --- The doors ---

/// Answers C_GetFunctionList for the current module.
[[nodiscard]] CK_RV deliverFunctionList(CK_FUNCTION_LIST_PTR_PTR list);

/// Called for a function that the library must never call, or when there is no current module. Each program defines it:
/// the GoogleTest programs fail the running test, the module for the JVM aborts.
void forbiddenCall(const std::string& function);

} // namespace scripted
