// SPDX-License-Identifier: Apache-2.0
#include "tests/endtoend/tools.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>

namespace endtoend {
namespace {

void prepend(std::vector<std::string>& arguments, std::initializer_list<std::string> first)
{
    arguments.insert(arguments.begin(), first);
}

std::string shown(const Outcome& outcome)
{
    return "status " + std::to_string(outcome.status) + "\n" + outcome.out + outcome.err;
}

} // namespace

Bytes bytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

Bytes spoiltAtTheEnd(Bytes original)
{
    original.at(original.size() - 1) ^= 1;
    return original;
}

Bytes spoilt(Bytes original, const Bytes& part)
{
    const auto found = std::search(original.begin(), original.end(), part.begin(), part.end());
    if (found == original.end())
        throw std::invalid_argument("no such part to spoil");
    found[static_cast<std::ptrdiff_t>(part.size()) - 1] ^= 1;
    return original;
}

Folder::Folder()
{
    std::string name = std::filesystem::temp_directory_path() / "vornix-XXXXXX";
    if (!mkdtemp(name.data()))
        throw std::system_error(errno, std::generic_category(), name);
    path_ = name;
}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Folder::write(const std::string& name, const Bytes& contents) const
{
    std::ofstream file(path_ / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(contents.data()), static_cast<std::streamsize>(contents.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + name);
}

Bytes Folder::read(const std::string& name) const
{
    std::ifstream file(path_ / name, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

Outcome run(const Folder& folder, std::vector<std::string> arguments)
{
    const std::string path = folder.path().string();
    if (!std::filesystem::exists(folder.path() / "pkcs11"))
        registerModules(folder, {});
    prepend(arguments,
            {"env", "--chdir=" + path, "XDG_CONFIG_HOME=" + path, "SOFTHSM2_CONF=" + path + "/softhsm2.conf"});
    return ::run(arguments);
}

void registerModules(const Folder& folder, const std::vector<std::string>& modules)
{
    std::filesystem::create_directories(folder.path() / "pkcs11" / "modules");
    folder.write("pkcs11/pkcs11.conf", bytes("user-config: only\n"));
    for (const std::string& module : modules)
        folder.write("pkcs11/modules/" + std::filesystem::path(module).stem().string() + ".module",
                     bytes("module: " + module + "\n"));
}

Outcome openssl(const Folder& folder, std::vector<std::string> arguments)
{
    prepend(arguments, {OPENSSL_PROGRAM});
    return run(folder, std::move(arguments));
}

testing::AssertionResult succeeded(const Outcome& outcome)
{
    return testing::AssertionResult(outcome.status == 0) << shown(outcome);
}

testing::AssertionResult refused(const Outcome& outcome)
{
    return testing::AssertionResult(outcome.status > 0 && outcome.status < 125) << shown(outcome);
}

testing::AssertionResult verified(const Outcome& outcome)
{
    const bool good = outcome.status == 0 && (outcome.out + outcome.err).find("verify OK") != std::string::npos;
    return testing::AssertionResult(good) << shown(outcome);
}

} // namespace endtoend
