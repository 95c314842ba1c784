// SPDX-License-Identifier: Apache-2.0
// Times every operation beside the bare sequence of its module calls, and prints the tables of docs/performance.md.
//
//     benchmark [<file>]    writes the points of the scaling tables to the file, for bench/scaling.gp to draw
#include "bench/calls.h"
#include "bench/instant_module.h"
#include "bench/measuring.h"
#include "bench/own_token.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

/// Removed at the end of its scope, with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder()
    {
        std::string name = (fs::temp_directory_path() / "vornix_benchmark_XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr)
            throw std::runtime_error("no temporary folder");
        path_ = name;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored; // what cannot be removed stays
        fs::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const fs::path& path() const { return path_; }

private:
    fs::path path_;
};

Step step(Call call, Inputs& in, const std::string& name)
{
    return [call, &in, name] {
        const CK_RV rv = call(in);
        if (rv != CKR_OK)
            throw std::runtime_error(name + ": code " + std::to_string(rv));
    };
}

Comparison compareCalls(std::size_t rounds, const Operation& operation, Inputs& in, const Step& prepare = {})
{
    const auto times = takeTurns(
        rounds, {step(operation.bare, in, operation.name), step(operation.ours, in, operation.name)}, prepare);
    return compare(times[0], times[1]);
}

void printRow(const std::string& name, const Comparison& times)
{
    std::printf("| %s | %.1f (%.1f to %.1f) | %.1f (%.1f to %.1f) | %.3f (%.3f to %.3f) |\n", name.c_str(),
                times.first.median, times.first.lower, times.first.upper, times.second.median, times.second.lower,
                times.second.upper, times.ratio.median, times.ratio.lower, times.ratio.upper);
    (void)std::fflush(stdout); // what cannot be shown now may be later
}

void printHead(const std::string& title, const char* first, const char* second)
{
    std::printf("\n%s; µs of processor time, median and quartiles\n\n| | %s | %s | ratio |\n|---|---|---|---|\n",
                title.c_str(), first, second);
}

/// What a call adds or destroys is undone before the next.
bool changesObjects(const std::string& operation)
{
    static const std::set<std::string> changing{"InitCard",   "CleanCard",       "ImportX509Certificate",
                                                "ImportCert", "GenerateKeyPair", "GenerateGostR3410_2001KeyPair"};
    return changing.count(operation) != 0;
}

void compareOnInstantModule(Inputs& in)
{
    printHead("Instant module, 3 slots, 102 objects, outputs of 1,400 bytes", "bare", "the library");
    for (const Operation& operation : operations())
        printRow(operation.name, compareCalls(2000, operation, in));
}

void compareOnToken(const char* title, OwnToken& token, const std::set<std::string>& chosen)
{
    printHead(title, "bare", "the library");
    for (const Operation& operation : operations()) {
        if (chosen.count(operation.name) == 0)
            continue;
        token.restore();
        const Step prepare = changesObjects(operation.name) ? Step([&] { token.restore(); }) : Step();
        printRow(operation.name, compareCalls(200, operation, token.inputs(), prepare));
    }
}

const Operation& named(const std::vector<Operation>& all, const std::string& name)
{
    return *std::find_if(all.begin(), all.end(), [&](const Operation& operation) { return operation.name == name; });
}

/// The software token is made of SoftHSM2: the ratio is what its own work costs.
void compareTokens(OwnToken& plain, OwnToken& software)
{
    const std::vector<Operation> all = operations();
    printHead("The library on both tokens, empty", "SoftHSM2", "software token");
    for (OwnToken* token : {&plain, &software}) {
        token->restore();
        step(named(all, "CleanCard").ours, token->inputs(), "CleanCard")();
    }
    const auto list = [&](OwnToken& token) {
        const Step call = step(named(all, "ListObjects").ours, token.inputs(), "ListObjects");
        return [&token, call] {
            token.select();
            call();
        };
    };
    const auto times = takeTurns(400, {list(plain), list(software)});
    printRow("ListObjects", compare(times[0], times[1]));
}

double medianDifference(const std::vector<double>& less, const std::vector<double>& more)
{
    std::vector<double> differences;
    std::transform(more.begin(), more.end(), less.begin(), std::back_inserter(differences), std::minus<>());
    return spread(differences).median;
}

/// How a call grows with one of the instant module's dimensions.
struct Scaling {
    const char* what;
    const char* operation;
    std::size_t InstantShape::*dimension;
    std::vector<std::size_t> sizes; ///< the least one first
    std::size_t fitFrom;            ///< the size from which on growth stands out against the rest of a call
};

/// The exponents are fitted to the time that a call takes beyond one of the least size.
void scale(const Scaling& scaling, Inputs& in, std::ostream& points)
{
    const std::vector<Operation> all = operations();
    const Operation& operation = named(all, scaling.operation);
    std::vector<Step> steps;
    for (const std::size_t size : scaling.sizes) {
        for (const Call call : {operation.bare, operation.ours}) {
            steps.emplace_back([&scaling, size, timed = step(call, in, operation.name)] {
                instantShape.*scaling.dimension = size;
                timed();
            });
        }
    }
    const auto times = takeTurns(200, steps);
    instantShape = usualShape;

    printHead(scaling.operation + std::string(" on the instant module, by ") + scaling.what, "bare", "the library");
    points << '"' << scaling.what << "\"\n";
    std::vector<std::pair<double, double>> growth[2];
    for (std::size_t i = 0; i < scaling.sizes.size(); ++i) {
        const Comparison compared = compare(times[2 * i], times[2 * i + 1]);
        const auto size = static_cast<double>(scaling.sizes[i]);
        printRow(std::to_string(scaling.sizes[i]), compared);
        points << size << ' ' << compared.first.median << ' ' << compared.second.median << '\n';
        for (const std::size_t which : {0, 1}) {
            if (scaling.sizes[i] >= scaling.fitFrom)
                growth[which].emplace_back(size, medianDifference(times[which], times[2 * i + which]));
        }
    }
    points << "\n\n";
    std::printf("| exponent | %.2f | %.2f | |\n", exponent(growth[0]), exponent(growth[1]));
}

void run(const char* pointsFile)
{
    Inputs instant = instantInputs();
    compareOnInstantModule(instant);

    const TemporaryFolder folder;
    OwnToken plain = OwnToken::onSoftHsm2(folder.path());
    OwnToken software = OwnToken::onSoftwareToken(folder.path());
    compareOnToken("SoftHSM2, 12 objects", plain,
                   {"SetPin", "SetPuk", "InitCard", "CleanCard", "GetTokenInfo", "ListObjects", "GetX509Certificate",
                    "GetPublicKey", "GenerateKeyPair"});
    compareOnToken("Software token, 12 objects", software,
                   {"ImportX509Certificate", "ImportCert", "GenerateGostR3410_2001KeyPair", "pkcs7Sign", "pkcs7Verify",
                    "createCSR"});
    compareTokens(plain, software);

    std::ofstream points;
    if (pointsFile)
        points.open(pointsFile);
    scale({"objects", "ListObjects", &InstantShape::objects, {1, 30, 100, 300, 1000, 2000, 5000, 10000}, 1000}, instant,
          points);
    scale({"slots", "SetPin", &InstantShape::slots, {2, 30, 100, 300, 1000, 2000, 4000, 8000}, 1000}, instant, points);
    scale({"bytes",
           "GetX509Certificate",
           &InstantShape::bytes,
           {1, 10000, 100000, 1000000, 2000000, 5000000, 10000000},
           1000000},
          instant, points);
    if (pointsFile && !points.flush())
        throw std::runtime_error(std::string("cannot write ") + pointsFile);
}

} // namespace

int main(int count, char** arguments)
{
    try {
        run(count > 1 ? arguments[1] : nullptr);
        return 0;
    } catch (const std::exception& failure) {
        std::cerr << "benchmark: " << failure.what() << '\n';
        return 1;
    }
}
