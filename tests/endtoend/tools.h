// SPDX-License-Identifier: Apache-2.0
// A folder for one test and the programs that judge what the token made.
#pragma once

#include "tools/child_process/child_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace endtoend {

using Bytes = std::vector<unsigned char>;

inline constexpr const char* readerName = "Vornix Soft Reader 00 00";
inline const std::string soPin = "87654321";
inline const std::string userPin = "12345678"; ///< as initialisation leaves it

Bytes bytes(const std::string& text);

/// A copy whose last byte differs.
Bytes spoiltAtTheEnd(Bytes original);

/// A copy in which the last byte of this part differs. The part must be there.
Bytes spoilt(Bytes original, const Bytes& part);

/// An empty folder, removed with all it holds at the end of its scope.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    const std::filesystem::path& path() const { return path_; }
    void write(const std::string& name, const Bytes& contents) const;
    Bytes read(const std::string& name) const;

private:
    std::filesystem::path path_;
};

/// Runs a program inside the folder; its arguments name files there. p11-kit and SoftHSM2 have their configuration in
/// the folder too, so that no program reaches a token of the machine.
Outcome run(const Folder& folder, std::vector<std::string> arguments);
Outcome openssl(const Folder& folder, std::vector<std::string> arguments);

/// Lets p11-kit show these modules, and no others, to the programs that `run` starts; without this call it shows none.
void registerModules(const Folder& folder, const std::vector<std::string>& modules);

testing::AssertionResult succeeded(const Outcome& outcome);

/// The program gave a verdict: it ended with a failure, but could be started and was not killed (status below 125).
testing::AssertionResult refused(const Outcome& outcome);

/// A request's signature was found good. The output tells: `openssl req -verify` of OpenSSL 3.0 ends with status 0
/// either way.
testing::AssertionResult verified(const Outcome& outcome);

} // namespace endtoend
