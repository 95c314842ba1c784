// A full cycle of ListObjects on an empty token: load, initialise, find the reader, log in, list, finalise, unload. The
// software token stands beside plain SoftHSM2, which it is made of: `ratio` is what its own work costs.
#include "p11/P11Wrapper.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

unsigned char soPin[] = {'8', '7', '6', '5', '4', '3', '2', '1'};
unsigned char userPin[] = {'1', '2', '3', '4', '5', '6', '7', '8'};

/// A module with an initialised, empty token in a folder of its own.
struct Module {
    std::string path;
    std::string reader; ///< empty: the module's last
    std::string variable;
    std::string setting;

    void select() const { setenv(variable.c_str(), setting.c_str(), 1); }

    /// Lists the token once and returns the time of the whole cycle in microseconds.
    double cycle() const
    {
        select();
        std::vector<ObjectAttr> objects;
        CK_SLOT_ID slot = 0;
        const auto start = std::chrono::steady_clock::now();
        {
            P11Wrapper token(path.c_str());
            if (!token.Initialize() || token.GetSlotIDByTerminalName(reader.c_str(), &slot) != CKR_OK ||
                token.ListObjects(slot, userPin, sizeof userPin, objects) != CKR_OK || !objects.empty())
                throw std::runtime_error("listing failed: " + path);
        }
        return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
    }
};

void must(CK_RV rv)
{
    if (rv != CKR_OK)
        throw std::runtime_error("code " + std::to_string(rv));
}

/// Initialises the token. SoftHSM2 leaves the user PIN to be set, and numbers the slot anew.
void initialise(Module& module, bool setUserPin)
{
    module.select();
    CK_SLOT_ID slot = 0;
    {
        P11Wrapper token(module.path.c_str());
        if (!token.Initialize())
            throw std::runtime_error("no module: " + module.path);
        must(token.GetSlotIDByTerminalName(module.reader.c_str(), &slot));
        must(token.InitCard(slot, soPin, sizeof soPin));
        if (!setUserPin)
            return;
        CK_SESSION_HANDLE session = 0;
        must(token.functionList->C_OpenSession(slot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session));
        must(token.functionList->C_Login(session, CKU_SO, soPin, sizeof soPin));
        must(token.functionList->C_InitPIN(session, userPin, sizeof userPin));
    }
    P11Wrapper token(module.path.c_str());
    CK_ULONG count = 1;
    if (!token.Initialize())
        throw std::runtime_error("no module: " + module.path);
    must(token.functionList->C_GetSlotList(CK_TRUE, nullptr, &count));
    std::vector<CK_SLOT_ID> slots(count);
    must(token.functionList->C_GetSlotList(CK_TRUE, slots.data(), &count));
    CK_SLOT_INFO info{};
    must(token.functionList->C_GetSlotInfo(slots.front(), &info));
    module.reader.assign(std::begin(info.slotDescription), std::end(info.slotDescription));
}

/// SoftHSM2 describes a slot by its ID, which it draws, and adds a blank one with the ID 1 behind it. A name beginning
/// with that one's would mean the blank slot.
void initialisePlain(Module& plain, const fs::path& tokens)
{
    do {
        fs::remove_all(tokens);
        fs::create_directories(tokens);
        plain.reader.clear();
        initialise(plain, true);
    } while (plain.reader.rfind("SoftHSM slot ID 0x1", 0) == 0);
}

bool failed = false;

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + static_cast<long>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void ListEmptyToken(benchmark::State& state)
{
    std::string folder = (fs::temp_directory_path() / "listing_benchmark_XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr) {
        state.SkipWithError("no temporary folder");
        return;
    }
    std::ofstream(folder + "/softhsm2.conf") << "directories.tokendir = " << folder << "/softhsm2\n";
    Module plain{SOFTHSM2_MODULE, "", "SOFTHSM2_CONF", folder + "/softhsm2.conf"};
    Module soft{SOFT_TOKEN_MODULE, "Vornix Soft Reader 00 00", "VORNIX_SOFTTOKEN_DIR", folder + "/softtoken"};
    try {
        initialisePlain(plain, folder + "/softhsm2");
        initialise(soft, false);
        std::vector<double> plainTimes;
        std::vector<double> softTimes;
        for ([[maybe_unused]] auto _ : state) { // in turn, so that what the machine does meanwhile strikes both
            plainTimes.push_back(plain.cycle());
            softTimes.push_back(soft.cycle());
        }
        state.counters["softhsm2_us"] = median(plainTimes);
        state.counters["softtoken_us"] = median(softTimes);
        state.counters["ratio"] = median(softTimes) / median(plainTimes);
    } catch (const std::exception& failure) {
        state.SkipWithError(failure.what());
        failed = true;
    }
    fs::remove_all(folder);
}
BENCHMARK(ListEmptyToken)->Iterations(400)->Unit(benchmark::kMillisecond);

} // namespace

int main(int count, char** arguments)
{
    benchmark::Initialize(&count, arguments);
    benchmark::RunSpecifiedBenchmarks();
    return failed ? 1 : 0; // Google Benchmark itself ends with 0
}
