// SPDX-License-Identifier: Apache-2.0
// One of many processes on the token in VORNIX_SOFTTOKEN_DIR: random jobs for a while, each checked against what this
// process was answered before. Ends with status 0 when nothing was wrong, else with a line that says what.
//     mixed_worker INDEX SECONDS FOLDER
// Worker 0 changes the PIN and writes the one to come to FOLDER/pin before. Each leaves its objects' labels in
// FOLDER/objects.INDEX.
#include "tests/endtoend/several_processes/deaths.h"
#include "tests/endtoend/several_processes/raw_token.h"

#include <chrono>
#include <fstream>
#include <iostream>
#include <random>
#include <set>
#include <stdexcept>
#include <thread>

namespace endtoend {
namespace {

namespace fs = std::filesystem;

class Worker {
public:
    Worker(long index, fs::path folder)
        : index_(index), folder_(std::move(folder)), random_(static_cast<unsigned>(index))
    {
        login();
    }

    void doSomething()
    {
        switch (std::uniform_int_distribution<int>(0, 9)(random_)) {
        case 0:
            token_.startAgain();
            login();
            break;
        case 1:
            token_.logout();
            login();
            break;
        case 2:
        case 3: create(); break;
        case 4: destroy(); break;
        case 5: sign(); break;
        case 6:
            if (index_ == 0)
                changePin();
            else
                tryReplacedPin();
            break;
        default: look(); break;
        }
    }

    void end() const
    {
        std::ofstream file(folder_ / ("objects." + std::to_string(index_)));
        for (const std::string& label : mine_)
            file << label << '\n';
        must(file.flush() ? CKR_OK : CKR_GENERAL_ERROR, "writing");
    }

private:
    static void require(bool condition, const std::string& what)
    {
        if (!condition)
            throw std::runtime_error(what);
    }

    /// The PIN that worker 0 has set or is about to set.
    long newestPin() const
    {
        long number = -1;
        while (!(std::ifstream(folder_ / "pin") >> number)) // it is replaced in one step
            std::this_thread::yield();
        return number;
    }

    /// Either the newest PIN is valid or, until it is set, the one before. None before that ever is.
    void login()
    {
        for (int round = 0; round < 10000; ++round)
            for (const long back : {0, 1}) {
                const CK_RV rv = token_.login(pinNumber(std::max(0L, newestPin() - back)));
                if (rv == CKR_OK)
                    return;
                require(rv == CKR_PIN_INCORRECT, "login: " + scripted::codeName(rv));
            }
        throw std::runtime_error("no PIN is valid");
    }

    void tryReplacedPin()
    {
        const long number = newestPin();
        if (number < 2)
            return;
        token_.logout();
        const CK_RV rv = token_.login(pinNumber(number - 2));
        require(rv == CKR_PIN_INCORRECT, "a replaced PIN: " + scripted::codeName(rv));
        login();
    }

    void changePin()
    {
        const long number = newestPin();
        {
            std::ofstream file(folder_ / "pin.new");
            file << number + 1 << '\n';
        }
        fs::rename(folder_ / "pin.new", folder_ / "pin");
        must(token_.changePin(pinNumber(number), pinNumber(number + 1)), "changing the PIN");
    }

    void create()
    {
        const std::string label = std::to_string(index_) + "/" + std::to_string(++made_);
        must(token_.create(label), "creating");
        mine_.insert(label);
    }

    void destroy()
    {
        if (mine_.empty())
            return;
        const std::string label = *mine_.begin();
        must(token_.destroy(token_.objects().at(label)), "destroying");
        mine_.erase(label);
    }

    void look() const
    {
        const auto all = token_.objects();
        const std::string prefix = std::to_string(index_) + "/";
        std::set<std::string> found;
        for (const auto& [label, object] : all)
            if (label.compare(0, prefix.size(), prefix) == 0) {
                found.insert(label);
                require(token_.value(object) == RawToken::valueFor(label), "another value: " + label);
            }
        require(found == mine_, "not the objects of before");
    }

    void sign() const
    {
        CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
        CK_ATTRIBUTE query = {CKA_CLASS, &objectClass, sizeof objectClass};
        CK_OBJECT_HANDLE key = CK_INVALID_HANDLE;
        CK_ULONG found = 0;
        must(token_->C_FindObjectsInit(token_.session(), &query, 1), "searching");
        must(token_->C_FindObjects(token_.session(), &key, 1, &found), "finding");
        must(token_->C_FindObjectsFinal(token_.session()), "ending the search");
        require(found == 1, "the key is gone");
        CK_MECHANISM mechanism = {CKM_SHA256_RSA_PKCS, nullptr, 0};
        Bytes content = bytes("signed by many");
        Bytes signature(512);
        CK_ULONG length = signature.size();
        must(token_->C_SignInit(token_.session(), &mechanism, key), "C_SignInit");
        must(token_->C_Sign(token_.session(), content.data(), content.size(), signature.data(), &length), "C_Sign");
    }

    const long index_;
    const fs::path folder_;
    std::mt19937 random_;
    RawToken token_;
    long made_ = 0;
    std::set<std::string> mine_;
};

} // namespace
} // namespace endtoend

int main(int, char** arguments)
{
    using Clock = std::chrono::steady_clock;
    try {
        const auto end = Clock::now() + std::chrono::seconds(std::stol(arguments[2]));
        endtoend::Worker worker(std::stol(arguments[1]), arguments[3]);
        long jobs = 0;
        do {
            worker.doSomething();
            ++jobs;
        } while (Clock::now() < end);
        worker.end();
        std::cout << jobs << '\n';
        return 0;
    } catch (const std::exception& error) {
        std::cerr << "worker " << arguments[1] << ": " << error.what() << '\n';
        return 1;
    }
}
