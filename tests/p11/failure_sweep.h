// The failure sweep: one operation carried out with each of its module calls failing in turn.
#pragma once

#include "p11/P11Wrapper.h"
#include "tests/support/scripted_module.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace scripted {

/// What an operation ends with when one of its calls fails.
enum class Ends { withTheCode, withSuccess };

/// One module call of an operation and what follows when it fails.
struct Step {
    std::string call;                                  ///< as in the transcript, without answer and code
    std::string answer;                                ///< " -> session 41" and the like, when it succeeds
    std::string afterFailure;                          ///< the rest of the story when it fails; see below
    Ends ends = Ends::withTheCode;                     ///< the result in that case …
    std::optional<std::string> outputs = std::nullopt; ///< … and the outputs, if not those that go with the result
};

// In afterFailure "{code}" stands for the code in decimal and "{rest}" for all the later calls, undisturbed.

struct Outcome {
    CK_RV code;
    std::string outputs = ""; ///< what the caller's output arguments hold
};

struct Operation {
    std::function<void(ScriptedModule&)> prepare;
    std::function<Outcome(P11Wrapper&)> perform;
    std::vector<Step> steps;
    std::string outputs = "";          ///< after success
    std::string outputsOfFailure = ""; ///< after a failure, if its step does not tell otherwise
};

/// Checks the operation undisturbed, with an already logged-in user (if it logs in at all), with each call failing once
/// by an ordinary code and once by one of 64 bits, and before Initialize: each time the whole story, the result and the
/// outputs.
void sweep(const Operation& operation);

// --- Steps that many operations share ---

extern const Step openSession;
extern const Step userLogin;
extern const Step closeSession; ///< whose failure is ignored
extern const Step endSearch;    ///< likewise

/// C_FindObjectsInit whose failure closes the session; `number` is " #1" and the like.
Step startSearch(const std::string& attributes, const std::string& number = "");

/// C_FindObjects of one handle whose failure ends the search and closes the session.
Step findOne(CK_OBJECT_HANDLE found, const std::string& number = "");

} // namespace scripted
