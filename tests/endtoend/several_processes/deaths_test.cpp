// SPDX-License-Identifier: Apache-2.0
// Processes that are killed at random moments, in the middle of every kind of change. What was answered with 0 must
// have been done, what was begun must be done whole or not at all, and the token must be readable. DEATHS says how
// many.
#include "tests/endtoend/endurance/full_cycle.h"
#include "tests/endtoend/several_processes/deaths.h"
#include "tests/endtoend/several_processes/raw_token.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <random>
#include <thread>

namespace endtoend {
namespace {

namespace fs = std::filesystem;

int deaths()
{
    const char* number = std::getenv("DEATHS");
    return number == nullptr ? 20 : std::stoi(number);
}

/// How far a killed process has come.
struct Progress {
    long begun = 0;
    long done = 0;
};

class Death : public testing::Test {
protected:
    /// A token with a key pair and its certificate.
    void SetUp() override
    {
        prepareToken(folder);
        progress = {};
    }

    static bool hasSaid(const fs::path& log, const std::string& wanted)
    {
        std::ifstream lines(log);
        std::string what;
        long number = 0;
        while (lines >> what >> number)
            if (what == wanted)
                return true;
        return false;
    }

    /// A process that goes on with this job where the last one left off, killed so long after it said "begin" or
    /// "done".
    void writeAndDie(const std::string& job, const std::string& moment, std::chrono::microseconds life)
    {
        const fs::path log = folder.path() / "log";
        const int out = open(log.c_str(), O_CREAT | O_WRONLY | O_TRUNC | O_CLOEXEC, 0600);
        ASSERT_GE(out, 0);
        {
            ChildProcess writer(
                {TOKEN_WRITER, job, std::to_string(progress.done + 1), folder.path() / "certificate.der"}, STDIN_FILENO,
                out, STDERR_FILENO);
            while (!hasSaid(log, moment) && writer.running())
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            std::this_thread::sleep_for(life);
            writer.signal(SIGKILL);
            ASSERT_EQ(writer.wait(), 128 + SIGKILL) << "it ended by itself";
        }
        (void)close(out); // the writer's
        progress.begun = progress.done;
        std::ifstream lines(log);
        std::string what;
        long number = 0;
        while (lines >> what >> number)
            (what == "done" ? progress.done : progress.begun) = number;
        written += progress.done;
    }

    /// What the store holds must be what was done, or what was begun. Goes on from there.
    void settle(long found)
    {
        ASSERT_GE(found, progress.done) << "something acknowledged is lost";
        ASSERT_LE(found, progress.begun) << "something was done that nobody began";
        progress.done = found;
    }

    void expectWitnesses()
    {
        Bytes certificate;
        ASSERT_EQ(readCertificate(certificate), CKR_OK);
        Bytes message;
        ASSERT_EQ(sign(bytes("still here"), message), CKR_OK);
    }

    static long count(const std::string& type, const std::string& id)
    {
        std::vector<ObjectAttr> objects;
        EXPECT_EQ(list(objects), CKR_OK);
        return std::count_if(objects.begin(), objects.end(),
                             [&](const ObjectAttr& object) { return object.type == type && object.id == id; });
    }

    /// Kills so many processes, with a new token after each few: a listing of many objects takes long.
    void killAll(const std::string& job, const std::function<void()>& check, bool renew = true)
    {
        std::mt19937 random(20240601); // the same deaths every time, as far as the machine allows
        std::uniform_int_distribution<int> life(0, 100000);
        for (int death = 0; death < deaths(); ++death) {
            SCOPED_TRACE("death " + std::to_string(death));
            if (death % 25 == 24 && renew)
                SetUp();
            writeAndDie(job, death == 0 ? "done" : "begin", std::chrono::microseconds(life(random)));
            if (!HasFatalFailure())
                check();
            if (HasFatalFailure())
                return;
        }
        EXPECT_GT(written, 0) << "no process has done anything";
    }

    Folder folder;
    Progress progress;
    long written = 0;
};

CK_RV tryPin(const std::string& pin)
{
    const RawToken token;
    return token.login(pin);
}

TEST_F(Death, WhileImporting)
{
    killAll("importing", [this] {
        settle(count("certificate", "01") - 1);
        expectWitnesses();
    });
}

TEST_F(Death, WhileGenerating)
{
    killAll("generating", [this] {
        EXPECT_EQ(count("public key", "02"), count("private key", "02")) << "both or none";
        settle(count("private key", "02"));
        expectWitnesses();
    });
}

TEST_F(Death, WhileGeneratingGost)
{
    killAll("generatingGost", [this] {
        EXPECT_EQ(count("public key", "02"), count("private key", "02")) << "both or none";
        settle(count("private key", "02"));
        expectWitnesses();
    });
}

TEST_F(Death, WhileChangingThePin)
{
    killAll("changingThePin", [this] {
        const CK_RV before = tryPin(pinNumber(progress.done));
        if (before == CKR_OK) {
            ASSERT_TRUE(progress.begun == progress.done || tryPin(pinNumber(progress.begun)) == CKR_PIN_INCORRECT)
                << "both PINs are valid";
            settle(progress.done);
        } else {
            ASSERT_CKR(before, CKR_PIN_INCORRECT);
            ASSERT_CKR(tryPin(pinNumber(progress.begun)), CKR_OK);
            settle(progress.begun);
        }
        if (progress.done > 0) {
            ASSERT_CKR(tryPin(pinNumber(progress.done - 1)), CKR_PIN_INCORRECT) << "a replaced PIN is valid again";
        }
    });
}

TEST_F(Death, WhileInitialising)
{
    const auto prepare = [] {
        ASSERT_EQ(initialise(), CKR_OK) << "by the PUK of before";
        ASSERT_EQ(generateKeyPair(), CKR_OK);
        ASSERT_EQ(changePin(userPin, otherPin), CKR_OK);
    };
    prepare();
    killAll(
        "initialising",
        [&] {
            const bool isNew = tryPin(userPin) == CKR_OK;
            ASSERT_CKR(tryPin(otherPin), isNew ? CKR_PIN_INCORRECT : CKR_OK);
            ASSERT_TRUE(isNew || progress.done == 0) << "an acknowledged initialisation is undone";
            ASSERT_TRUE(!isNew || progress.begun > 0);
            if (!isNew) {
                ASSERT_EQ(changePin(otherPin, userPin), CKR_OK);
            }
            std::vector<ObjectAttr> objects;
            ASSERT_EQ(list(objects), CKR_OK);
            ASSERT_EQ(objects.size(), isNew ? 0U : 2U);
            prepare();
            progress = {};
        },
        false);
}

TEST_F(Death, WhileInitialisingABlankToken)
{
    const auto prepare = [this] { fs::remove_all(folder.path() / "token"); };
    prepare();
    killAll(
        "initialising",
        [&] {
            if (progress.done > 0) {
                ASSERT_CKR(tryPin(userPin), CKR_OK);
            }
            ASSERT_EQ(initialise(), CKR_OK) << "blank, or by its PUK";
            ASSERT_CKR(tryPin(userPin), CKR_OK);
            prepare();
            progress = {};
        },
        false);
}

TEST_F(Death, WhileLoggingIn)
{
    killAll("loggingIn", [this] {
        ASSERT_CKR(tryPin(userPin), CKR_OK);
        expectWitnesses();
    });
}

TEST_F(Death, WhileCreatingObjects)
{
    killAll("creating", [this] {
        const RawToken token;
        ASSERT_CKR(token.login(userPin), CKR_OK);
        const auto objects = token.objects();
        settle(static_cast<long>(objects.size()));
        for (const auto& [label, object] : objects) {
            ASSERT_LE(std::stol(label), progress.done);
            ASSERT_EQ(token.value(object), RawToken::valueFor(label));
        }
    });
}

TEST_F(Death, WhileRelabellingAnObject)
{
    killAll("relabelling", [this] {
        const RawToken token;
        ASSERT_CKR(token.login(userPin), CKR_OK);
        const auto objects = token.objects();
        if (objects.empty() && progress.begun <= 1) // the first step makes it
            return;
        ASSERT_EQ(objects.size(), 1U);
        settle(std::stol(objects.begin()->first));
        ASSERT_EQ(token.value(objects.begin()->second), RawToken::valueFor("1"));
    });
}

TEST_F(Death, WhileDestroyingAnObject)
{
    killAll("destroying", [this] {
        const RawToken token;
        ASSERT_CKR(token.login(userPin), CKR_OK);
        const bool isThere = !token.objects().empty();
        settle(isThere == (progress.done % 2 != 0) ? progress.done : progress.done + 1);
    });
}

} // namespace
} // namespace endtoend
