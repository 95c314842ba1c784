// SPDX-License-Identifier: Apache-2.0
#include "session/pcsc_readers.h"

#include "p11/pcsc_context.h"

#include <algorithm>
#include <cstddef>

namespace {

/// A reader's name with which the service tells of readers that come and go.
constexpr const char* anyReader = R"(\\?PnP?\Notification)";

Outcome outcomeOf(LONG result, const char* step)
{
    return {static_cast<CK_RV>(result), step};
}

/// Lists the names of all readers. No reader is no failure.
Outcome listReaders(const PcscContext& context, std::vector<std::string>& names)
{
    names.clear();
    DWORD length = 0;
    LONG result = SCardListReaders(context.handle(), nullptr, nullptr, &length);
    std::vector<char> run; // the names one behind the other, each with its NUL, and one more NUL
    if (result == SCARD_S_SUCCESS) {
        run.resize(length);
        result = SCardListReaders(context.handle(), nullptr, run.data(), &length);
    }
    if (result == SCARD_S_SUCCESS) {
        for (const char* name = run.data(); *name != '\0'; name += names.back().size() + 1)
            names.emplace_back(name);
    }
    return outcomeOf(result == SCARD_E_NO_READERS_AVAILABLE ? SCARD_S_SUCCESS : result, "SCardListReaders");
}

/// Whether a reader came or went between two calls to the service.
bool isOvertaken(const Outcome& outcome)
{
    const auto code = static_cast<LONG>(outcome.code);
    return code == SCARD_E_INSUFFICIENT_BUFFER || code == SCARD_E_UNKNOWN_READER;
}

/// What is known of these readers, as the service takes it; `complete` tells whether they are the ones known.
std::vector<SCARD_READERSTATE> statesOf(const std::vector<std::string>& names, const std::vector<PcscReader>& known,
                                        bool& complete)
{
    std::vector<SCARD_READERSTATE> states;
    complete = names.size() == known.size();
    for (const std::string& name : names) {
        const auto reader =
            std::find_if(known.begin(), known.end(), [&](const PcscReader& one) { return one.name == name; });
        SCARD_READERSTATE state{};
        state.szReader = name.c_str();
        state.dwCurrentState = reader == known.end() ? SCARD_STATE_UNAWARE : reader->state;
        complete = complete && reader != known.end();
        states.push_back(state);
    }
    SCARD_READERSTATE any{};
    any.szReader = anyReader;
    any.dwCurrentState = static_cast<DWORD>(names.size()) << 16; // the service compares the number of readers
    states.push_back(any);
    return states;
}

/// Asks the service once, and waits where the caller knows all readers.
Outcome askForChange(const PcscContext& context, const std::vector<PcscReader>& known, DWORD timeout,
                     std::vector<PcscReader>& now)
{
    now.clear();
    std::vector<std::string> names;
    const Outcome list = listReaders(context, names);
    if (list.code != SCARD_S_SUCCESS)
        return list;
    bool complete = false;
    std::vector<SCARD_READERSTATE> states = statesOf(names, known, complete);
    const LONG result = SCardGetStatusChange(context.handle(), complete ? timeout : 0, states.data(),
                                             static_cast<DWORD>(states.size()));
    for (std::size_t i = 0; i < names.size(); ++i) {
        const SCARD_READERSTATE& state = states[i];
        const std::size_t length = std::min<std::size_t>(state.cbAtr, sizeof state.rgbAtr);
        now.push_back({names[i], state.dwEventState & ~static_cast<DWORD>(SCARD_STATE_CHANGED),
                       Bytes(state.rgbAtr, state.rgbAtr + length)});
    }
    return outcomeOf(result == SCARD_E_TIMEOUT ? SCARD_S_SUCCESS : result, "SCardGetStatusChange");
}

} // namespace

Outcome awaitReaderChange(const std::vector<PcscReader>& known, DWORD timeout, std::vector<PcscReader>& now)
{
    const PcscContext context;
    if (context.result() != SCARD_S_SUCCESS)
        return outcomeOf(context.result(), "SCardEstablishContext");
    Outcome outcome = askForChange(context, known, timeout, now);
    for (int attempt = 1; isOvertaken(outcome) && attempt < 5; ++attempt)
        outcome = askForChange(context, known, timeout, now);
    return outcome;
}
