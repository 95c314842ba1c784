// SPDX-License-Identifier: Apache-2.0
// The failure sweep: one operation carried out with each of its module calls failing in turn.
#pragma once

#include "p11/P11Wrapper.h"
#include "tests/support/scripted_module.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace scripted {

/// One module call of an operation, as the transcript tells it, and what follows when it fails.
struct Step {
    explicit Step(std::string call) : call(std::move(call)) {}

    /// What the transcript shows behind the call when it succeeds: "session 41" and the like.
    Step& gives(const std::string& outputs)
    {
        answer = " -> " + outputs;
        return *this;
    }

    /// The rest of the story when the call fails; see below.
    Step& onFailure(std::string rest)
    {
        afterFailure = std::move(rest);
        return *this;
    }

    /// The operation succeeds although the call fails.
    Step& forgiven()
    {
        isForgiven = true;
        return *this;
    }

    /// The operation's outputs when the call fails, if they are not those that its result implies.
    Step& leaves(std::string outputs)
    {
        left = std::move(outputs);
        return *this;
    }

    std::string call;
    std::string answer;
    std::string afterFailure;
    bool isForgiven = false;
    std::optional<std::string> left;
};

// In the story after a failure "{code}" stands for the code in decimal and "{rest}" for all the later calls,
// undisturbed.

struct Outcome {
    CK_RV code;
    std::string outputs = ""; ///< what the caller's output arguments hold
};

/// Tests set the members by name.
struct Operation {
    std::function<void(ScriptedModule&)> prepare = [](ScriptedModule&) {};
    std::function<Outcome(P11Wrapper&)> perform;
    std::vector<Step> steps;
    std::string outputs;          ///< after success
    std::string outputsOfFailure; ///< after a failure, unless its step says otherwise
};

/// Runs the operation undisturbed; with a user who is already logged in, if it logs in at all; with each call failing
/// once by an ordinary code and once by one of 64 bits; and before Initialize. Checks story, result and outputs each
/// time.
void sweep(const Operation& operation);

// --- Steps that many operations share ---

extern const Step openSession;
extern const Step closeSession; ///< whose failure is ignored
extern const Step endSearch;    ///< likewise

/// C_Login with these arguments ("CKU_SO, PIN null [0]"), whose failure closes the session.
[[nodiscard]] Step logIn(const std::string& arguments);

/// An operation in the user's session: these steps between opening and login before, closing behind.
[[nodiscard]] std::vector<Step> inSession(const std::vector<Step>& job);

/// C_FindObjectsInit whose failure closes the session; `number` is " #1" and the like.
[[nodiscard]] Step startSearch(const std::string& attributes, const std::string& number = "");

/// C_FindObjects of one handle whose failure ends the search and closes the session.
[[nodiscard]] Step findOne(CK_OBJECT_HANDLE object, const std::string& number = "");

} // namespace scripted
