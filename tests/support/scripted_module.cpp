// SPDX-License-Identifier: Apache-2.0
#include "tests/support/scripted_module.h"

#include <algorithm>
#include <cstring>

namespace scripted {
namespace {

std::atomic<ScriptedModule*> currentModule{nullptr};

template <std::size_t width>
void fill(unsigned char (&field)[width], const std::string& text)
{
    std::memset(field, ' ', width);
    std::memcpy(field, text.data(), std::min(width, text.size()));
}

} // namespace

ScriptedModule::ScriptedModule(Transcript& transcriptToWrite) : transcript(transcriptToWrite)
{
    setDefaults();
    currentModule = this;
}

ScriptedModule::~ScriptedModule()
{
    currentModule = nullptr;
}

ScriptedModule* ScriptedModule::current()
{
    return currentModule;
}

CK_OBJECT_HANDLE ScriptedModule::add(Object object)
{
    const std::lock_guard<std::recursive_mutex> lock(mutex_);
    objects[nextObject] = std::move(object);
    return nextObject++;
}

void ScriptedModule::addSampleObjects()
{
    for (const Object& object : sampleObjects())
        add(object);
}

void ScriptedModule::failCall(unsigned long n, CK_RV code)
{
    failure_ = code;
    failingCall_ = calls_ + n;
}

std::optional<CK_RV> ScriptedModule::scriptedFailure(const std::string& call)
{
    if (answerBefore)
        if (const std::optional<CK_RV> answer = answerBefore(call))
            return answer;
    return ++calls_ == failingCall_ ? std::optional<CK_RV>(failure_) : std::nullopt;
}

void ScriptedModule::unloaded()
{
    const std::lock_guard<std::recursive_mutex> lock(mutex_);
    initialized_ = false;
    sessions_.clear();
    user_.reset();
}

const Slot* ScriptedModule::slot(CK_SLOT_ID id) const
{
    const auto found = std::find_if(slots.begin(), slots.end(), [id](const Slot& slot) { return slot.id == id; });
    return found == slots.end() ? nullptr : &*found;
}

void ScriptedModule::logout()
{
    const std::lock_guard<std::recursive_mutex> lock(mutex_);
    user_.reset();
}

/// Without a login private keys are not to be seen (PKCS #11 v2.40, section 2.4).
bool ScriptedModule::isVisible(const Object& object) const
{
    const auto objectClass = object.find(CKA_CLASS);
    return user_ == CKU_USER || objectClass == object.end() || objectClass->second != bytesOf(CKO_PRIVATE_KEY);
}

CK_RV ScriptedModule::checkLogin(CK_SESSION_HANDLE session) const
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    return user_ == CKU_USER ? CKR_OK : CKR_USER_NOT_LOGGED_IN;
}

CK_RV ScriptedModule::initialize()
{
    if (initialized_)
        return CKR_CRYPTOKI_ALREADY_INITIALIZED;
    initialized_ = true;
    return CKR_OK;
}

CK_RV ScriptedModule::finalize()
{
    if (!initialized_)
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    unloaded();
    return CKR_OK;
}

CK_RV ScriptedModule::listSlots(CK_SLOT_ID* list, CK_ULONG* count)
{
    if (!initialized_)
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    const CK_ULONG room = *count;
    *count = slots.size();
    if (list == nullptr)
        return CKR_OK;
    if (room < slots.size())
        return CKR_BUFFER_TOO_SMALL;
    std::transform(slots.begin(), slots.end(), list, [](const Slot& slot) { return slot.id; });
    return CKR_OK;
}

CK_RV ScriptedModule::slotInfo(CK_SLOT_ID id, CK_SLOT_INFO* info)
{
    const Slot* const found = slot(id);
    if (found == nullptr)
        return CKR_SLOT_ID_INVALID;
    if (found->infoResult != CKR_OK)
        return found->infoResult;
    *info = {};
    fill(info->slotDescription, found->description);
    fill(info->manufacturerID, found->manufacturer);
    info->flags = CKF_TOKEN_PRESENT | CKF_REMOVABLE_DEVICE | CKF_HW_SLOT;
    return CKR_OK;
}

CK_RV ScriptedModule::tokenInfo(CK_SLOT_ID id, CK_TOKEN_INFO* info)
{
    if (slot(id) == nullptr)
        return CKR_SLOT_ID_INVALID;
    *info = {};
    fill(info->label, token.label);
    fill(info->manufacturerID, token.manufacturer);
    fill(info->model, token.model);
    fill(info->serialNumber, token.serialNumber);
    info->flags = token.flags;
    return CKR_OK;
}

CK_RV ScriptedModule::initToken(CK_SLOT_ID id, const std::string& soPin, const std::string& label)
{
    if (slot(id) == nullptr)
        return CKR_SLOT_ID_INVALID;
    if (!sessions_.empty())
        return CKR_SESSION_EXISTS;
    if (soPin != token.soPin)
        return CKR_PIN_INCORRECT;
    token.label = label;
    token.userPin = Token().userPin;
    objects.clear();
    return CKR_OK;
}

CK_RV ScriptedModule::openSession(CK_SLOT_ID id, CK_SESSION_HANDLE* session)
{
    if (!initialized_)
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    if (slot(id) == nullptr)
        return CKR_SLOT_ID_INVALID;
    *session = nextSession++;
    sessions_[*session].slot = id;
    return CKR_OK;
}

CK_RV ScriptedModule::sessionInfo(CK_SESSION_HANDLE session, CK_SESSION_INFO* info)
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    *info = {};
    info->slotID = sessions_[session].slot;
    if (!user_)
        info->state = CKS_RW_PUBLIC_SESSION;
    else
        info->state = *user_ == CKU_SO ? CKS_RW_SO_FUNCTIONS : CKS_RW_USER_FUNCTIONS;
    return CKR_OK;
}

CK_RV ScriptedModule::closeSession(CK_SESSION_HANDLE session)
{
    if (sessions_.erase(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    if (sessions_.empty())
        user_.reset();
    return CKR_OK;
}

CK_RV ScriptedModule::login(CK_SESSION_HANDLE session, CK_USER_TYPE type, const std::string& pin)
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    if (user_)
        return CKR_USER_ALREADY_LOGGED_IN;
    if (pin != (type == CKU_SO ? token.soPin : token.userPin))
        return CKR_PIN_INCORRECT;
    user_ = type;
    return CKR_OK;
}

CK_RV ScriptedModule::setPin(CK_SESSION_HANDLE session, const std::string& oldPin, const std::string& newPin)
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    if (!user_)
        return CKR_USER_NOT_LOGGED_IN;
    std::string& pin = user_ == CKU_SO ? token.soPin : token.userPin;
    if (oldPin != pin)
        return CKR_PIN_INCORRECT;
    pin = newPin;
    return CKR_OK;
}

CK_RV ScriptedModule::startSearch(CK_SESSION_HANDLE session, const CK_ATTRIBUTE* attributes, CK_ULONG count)
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    Session& state = sessions_[session];
    state.searching = true;
    state.found.clear();
    for (auto object = objects.rbegin(); object != objects.rend(); ++object)
        if (isVisible(object->second) && matches(object->second, attributes, count))
            state.found.push_back(object->first);
    return CKR_OK;
}

CK_RV ScriptedModule::search(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE* handles, CK_ULONG room, CK_ULONG* count)
{
    const auto state = sessions_.find(session);
    if (state == sessions_.end())
        return CKR_SESSION_HANDLE_INVALID;
    if (!state->second.searching)
        return CKR_OPERATION_NOT_INITIALIZED;
    CK_ULONG given = 0;
    for (auto& found = state->second.found; given < room && !found.empty(); found.pop_back())
        handles[given++] = found.back();
    *count = given;
    return CKR_OK;
}

CK_RV ScriptedModule::endSearch(CK_SESSION_HANDLE session)
{
    const auto state = sessions_.find(session);
    if (state == sessions_.end())
        return CKR_SESSION_HANDLE_INVALID;
    if (!state->second.searching)
        return CKR_OPERATION_NOT_INITIALIZED;
    state->second.searching = false;
    return CKR_OK;
}

CK_RV ScriptedModule::readAttributes(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object, CK_ATTRIBUTE* attributes,
                                     CK_ULONG count)
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    const auto found = objects.find(object);
    if (found == objects.end() || !isVisible(found->second))
        return CKR_OBJECT_HANDLE_INVALID;
    CK_RV result = CKR_OK;
    for (CK_ULONG i = 0; i < count; ++i)
        if (const CK_RV code = readAttribute(found->second, attributes[i]); code != CKR_OK)
            result = code;
    return result;
}

CK_RV ScriptedModule::destroy(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object)
{
    if (sessions_.count(session) == 0)
        return CKR_SESSION_HANDLE_INVALID;
    const auto found = objects.find(object);
    if (found == objects.end() || !isVisible(found->second))
        return CKR_OBJECT_HANDLE_INVALID;
    objects.erase(found);
    return CKR_OK;
}

CK_RV ScriptedModule::generate(CK_SESSION_HANDLE session, const CK_MECHANISM& mechanism,
                               const CK_ATTRIBUTE* publicTemplate, CK_ULONG publicCount,
                               const CK_ATTRIBUTE* privateTemplate, CK_ULONG privateCount, CK_OBJECT_HANDLE* publicKey,
                               CK_OBJECT_HANDLE* privateKey)
{
    if (const CK_RV code = checkLogin(session); code != CKR_OK)
        return code;
    const CK_KEY_TYPE type = mechanism.mechanism == CKM_RSA_PKCS_KEY_PAIR_GEN ? CKK_RSA : CKK_GOSTR3410;
    Object publicObject = objectOf(publicTemplate, publicCount, type);
    if (type == CKK_RSA)
        publicObject[CKA_MODULUS] = Bytes(256, 0xc1);
    *publicKey = add(std::move(publicObject));
    *privateKey = add(objectOf(privateTemplate, privateCount, type));
    return CKR_OK;
}

CK_RV ScriptedModule::import(CK_SESSION_HANDLE session, Object object)
{
    const CK_RV code = checkLogin(session);
    if (code == CKR_OK)
        add(std::move(object));
    return code;
}

CK_RV ScriptedModule::deliver(CK_SESSION_HANDLE session, const std::string& answer, CK_BYTE* buffer, CK_ULONG* length)
{
    if (const CK_RV code = checkLogin(session); code != CKR_OK)
        return code;
    const CK_ULONG announced = answer.size() + imprecision;
    if (buffer == nullptr) {
        *length = announced;
        return CKR_OK;
    }
    if (*length < announced)
        return CKR_BUFFER_TOO_SMALL;
    std::copy(answer.begin(), answer.end(), buffer);
    *length = answer.size();
    return CKR_OK;
}

} // namespace scripted
