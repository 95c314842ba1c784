// SPDX-License-Identifier: Apache-2.0
#include "tests/p11/failure_sweep.h"

#include "tests/p11/wrapper_test.h"

namespace scripted {

using namespace stories;

namespace {

struct Told {
    std::string story;
    Outcome outcome;
};

/// Carries the operation out on a module and a wrapper of its own.
Told tell(const Operation& operation, const std::function<void(ScriptedModule&)>& disturb)
{
    Transcript transcript;
    ScriptedModule module(transcript);
    operation.prepare(module);
    P11Wrapper token(moduleFile);
    EXPECT_TRUE(token.Initialize());
    transcript.clear();
    disturb(module);
    Told told{"", {widestCode}};
    told.story = storyOf(transcript, [&] { told.outcome = operation.perform(token); });
    return told;
}

std::string succeeded(const Step& step)
{
    return step.call + step.answer + ": CKR_OK\n";
}

std::string succeeded(const std::vector<Step>& steps, std::size_t begin, std::size_t end)
{
    std::string story;
    for (std::size_t i = begin; i < end; ++i)
        story += succeeded(steps[i]);
    return story;
}

std::string replaced(std::string story, const std::string& mark, const std::string& text)
{
    if (const std::size_t at = story.find(mark); at != std::string::npos)
        story.replace(at, mark.size(), text);
    return story;
}

void undisturbed(const Operation& operation)
{
    SCOPED_TRACE("undisturbed");
    const Told told = tell(operation, [](ScriptedModule&) {});
    EXPECT_EQ(told.story, succeeded(operation.steps, 0, operation.steps.size()));
    EXPECT_CKR(told.outcome.code, CKR_OK);
    EXPECT_EQ(told.outcome.outputs, operation.outputs);
}

void alreadyLoggedIn(const Operation& operation)
{
    SCOPED_TRACE("the user is logged in already");
    std::string expected;
    for (const Step& step : operation.steps)
        expected += step.call.rfind("C_Login", 0) == 0 ? step.call + ": CKR_USER_ALREADY_LOGGED_IN\n" : succeeded(step);
    const Told told = tell(operation, [](ScriptedModule& module) {
        module.C_Login = [login = module.C_Login](auto... args) {
            EXPECT_CKR(login(args...), CKR_OK);
            return CKR_USER_ALREADY_LOGGED_IN;
        };
    });
    EXPECT_EQ(told.story, expected);
    EXPECT_CKR(told.outcome.code, CKR_OK);
    EXPECT_EQ(told.outcome.outputs, operation.outputs);
}

void failingAt(const Operation& operation, std::size_t failing, CK_RV code)
{
    const Step& step = operation.steps[failing];
    SCOPED_TRACE(step.call + " answers " + codeName(code));
    const std::string rest = succeeded(operation.steps, failing + 1, operation.steps.size());
    const std::string after = replaced(replaced(step.afterFailure, "{code}", std::to_string(code)), "{rest}", rest);
    const Told told = tell(operation, [&](ScriptedModule& module) { module.failCall(failing + 1, code); });
    EXPECT_EQ(told.story, succeeded(operation.steps, 0, failing) + step.call + ": " + codeName(code) + "\n" + after);
    EXPECT_CKR(told.outcome.code, step.isForgiven ? CKR_OK : code);
    EXPECT_EQ(told.outcome.outputs,
              step.left.value_or(step.isForgiven ? operation.outputs : operation.outputsOfFailure));
}

void beforeInitialize(const Operation& operation)
{
    SCOPED_TRACE("before Initialize");
    Transcript transcript;
    ScriptedModule module(transcript);
    P11Wrapper token(moduleFile);
    transcript.clear();
    Outcome outcome{widestCode};
    EXPECT_EQ(storyOf(transcript, [&] { outcome = operation.perform(token); }), "| Not Initialized\n");
    EXPECT_CKR(outcome.code, CKR_GENERAL_ERROR);
    EXPECT_EQ(outcome.outputs, operation.outputsOfFailure);
}

} // namespace

const Step openSession = Step("C_OpenSession(slot 7, flags 0x6, application null, notify null)").gives("session 41");

const Step closeSession = Step("C_CloseSession(session 41)").onFailure("{rest}").forgiven();

const Step endSearch = Step("C_FindObjectsFinal(session 41)").onFailure("{rest}").forgiven();

Step logIn(const std::string& arguments)
{
    return Step("C_Login(session 41, " + arguments + ")").onFailure(closed + "| Login failed. Code: {code}\n");
}

std::vector<Step> inSession(const std::vector<Step>& job)
{
    std::vector<Step> steps = {openSession, logIn(userAndPin)};
    steps.insert(steps.end(), job.begin(), job.end());
    steps.push_back(closeSession);
    return steps;
}

Step startSearch(const std::string& attributes, const std::string& number)
{
    return Step("C_FindObjectsInit(session 41, " + attributes + ")")
        .onFailure(closed + "| C_FindObjectsInit failed" + number + ". Code: {code}\n");
}

Step findOne(CK_OBJECT_HANDLE object, const std::string& number)
{
    return Step(findNext)
        .gives("{" + std::to_string(object) + "}")
        .onFailure("| C_FindObjects failed" + number + ". Code: {code}\n" + searchEnded + closed);
}

void sweep(const Operation& operation)
{
    undisturbed(operation);
    alreadyLoggedIn(operation);
    for (std::size_t failing = 0; failing < operation.steps.size(); ++failing)
        for (const CK_RV code : {CK_RV{CKR_DEVICE_ERROR}, widestCode})
            failingAt(operation, failing, code);
    beforeInitialize(operation);
}

} // namespace scripted
