// SPDX-License-Identifier: Apache-2.0
// Every native that calls the module, the PC/SC service or can run out of memory, with arguments with which it succeeds
// on the sample objects: for tests of what holds for all of them.
#pragma once

#include "tests/session/scene.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

struct SessionCall {
    const char* name;
    void (*run)(Scene& scene, const Scene::Bytes& pin, const Scene::Bytes& newPin);
    std::size_t secrets = 0; ///< how many of its arguments are PINs
};

inline std::ostream& operator<<(std::ostream& stream, const SessionCall& call)
{
    return stream << call.name;
}

/// For the names of parameterised tests.
[[nodiscard]] inline std::string nameOf(const testing::TestParamInfo<SessionCall>& call)
{
    return call.param.name;
}

[[nodiscard]] std::vector<SessionCall> allSessionCalls();
[[nodiscard]] std::vector<SessionCall> sessionCallsWithSecrets();

/// The call of this name.
[[nodiscard]] SessionCall sessionCall(const std::string& name);

/// Makes the scene in which the call succeeds, and nothing else: the session is open, but not always logged in.
void prepare(Scene& scene, const SessionCall& call);
