// SPDX-License-Identifier: Apache-2.0
#include "softtoken/settings.h"

#include "softtoken/failure.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <system_error>

namespace softtoken {
namespace {

namespace fs = std::filesystem;

std::string fromEnvironment(const char* variable)
{
    const char* value = std::getenv(variable);
    return value ? value : "";
}

/// A variable that is not there, or empty, leaves the value alone.
template <typename Number>
void readNumber(const char* variable, Number& value, Number least, Number greatest)
{
    const std::string text = fromEnvironment(variable);
    if (text.empty())
        return;
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size() && number >= least && number <= greatest) {
        value = number;
        return;
    }
    complain(std::string(variable) + " must be a whole number from " + std::to_string(least) + " to " +
             std::to_string(greatest));
    throw Failure{CKR_ARGUMENTS_BAD};
}

fs::path findFolder()
{
    if (const fs::path named = fromEnvironment("VORNIX_SOFTTOKEN_DIR"); !named.empty()) {
        const fs::path full = fs::absolute(named).lexically_normal();
        return full.has_filename() ? full : full.parent_path();
    }
    fs::path data = fromEnvironment("XDG_DATA_HOME");
    if (!data.is_absolute()) {
        data = fromEnvironment("HOME");
        require(data.is_absolute(), CKR_GENERAL_ERROR);
        data /= ".local/share";
    }
    return data / "vornix-softtoken";
}

} // namespace

Settings readSettings()
{
    Settings settings;
    settings.folder = findFolder();
    auto wait = static_cast<unsigned>(settings.wait.count());
    readNumber("VORNIX_SOFTTOKEN_WAIT", wait, 0U, 86400U);
    settings.wait = std::chrono::seconds(wait);
    readNumber("VORNIX_SOFTTOKEN_PIN_TRIES", settings.pinTries, 1U, 99U);
    return settings;
}

void complain(const std::string& text)
{
    (void)std::fprintf(stderr, "vornix_softtoken: %s\n", text.c_str()); // where nobody reads it, the code must do
}

} // namespace softtoken
