// SPDX-License-Identifier: Apache-2.0
// The natives as the library registers them, each found by its name and the signature that follows from its C++ type.
#pragma once

#include "session/natives.h"
#include "tests/session/StrictJniEnv.h"

#include <string>

extern "C" void Java_com_tovr_smartcard_vornixtoken_NativeCall_bind(JNIEnv* env, jclass callClass);

struct BoundNatives {
    /// Has the library bind its natives. One that is missing or has another signature fails the test and stays null.
    explicit BoundNatives(StrictJniEnv& java);

    decltype(&natives::load) load = nullptr;
    decltype(&natives::functionList) functionList = nullptr;
    decltype(&natives::initialize) initialize = nullptr;
    decltype(&natives::finish) finish = nullptr;
    decltype(&natives::unload) unload = nullptr;
    decltype(&natives::hasVendorFunctions) hasVendorFunctions = nullptr;
    decltype(&natives::slots) slots = nullptr;
    decltype(&natives::tokenInfo) tokenInfo = nullptr;
    decltype(&natives::openSession) openSession = nullptr;
    decltype(&natives::login) login = nullptr;
    decltype(&natives::closeSession) closeSession = nullptr;
    decltype(&natives::initializeToken) initializeToken = nullptr;
    decltype(&natives::changePin) changePin = nullptr;
    decltype(&natives::destroyObjects) destroyObjects = nullptr;
    decltype(&natives::listObjects) listObjects = nullptr;
    decltype(&natives::listCertificates) listCertificates = nullptr;
    decltype(&natives::readCertificate) readCertificate = nullptr;
    decltype(&natives::readPublicKey) readPublicKey = nullptr;
    decltype(&natives::importCertificate) importCertificate = nullptr;
    decltype(&natives::importBlocks) importBlocks = nullptr;
    decltype(&natives::generateRsaKeyPair) generateRsaKeyPair = nullptr;
    decltype(&natives::generateGostKeyPair) generateGostKeyPair = nullptr;
    decltype(&natives::sign) sign = nullptr;
    decltype(&natives::verify) verify = nullptr;
    decltype(&natives::createRequest) createRequest = nullptr;
    decltype(&natives::resetReader) resetReader = nullptr;
    decltype(&natives::keepShared) keepShared = nullptr;
    decltype(&natives::findShared) findShared = nullptr;
    decltype(&natives::awaitReaderChange) awaitReaderChange = nullptr;
};
