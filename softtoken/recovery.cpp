#include "softtoken/recovery.h"

#include <cstdint>
#include <string>
#include <system_error>

namespace softtoken {
namespace {

namespace fs = std::filesystem;

fs::path folder; // that of the last initialisation

/// In one step: whoever dies here leaves the old file or the new one, and an error leaves the old one.
void replace(const fs::path& file, const fs::path& by)
{
    std::error_code ignored;
    const fs::path fresh = file.string() + ".new";
    if (fs::copy_file(by, fresh, fs::copy_options::overwrite_existing, ignored))
        fs::rename(fresh, file, ignored);
}

/// Calls `job(file, copy)` for every token.
template <typename Job>
void forEachToken(Job job)
{
    std::error_code error;
    for (const fs::directory_entry& token : fs::directory_iterator(folder, error))
        job(token.path() / "token.object", token.path() / "token.kept");
}

/// 0 for a file that is not there.
std::uintmax_t sizeOf(const fs::path& file)
{
    std::error_code error;
    const std::uintmax_t size = fs::file_size(file, error);
    return error ? 0 : size;
}

} // namespace

void restoreTokenFiles(const fs::path& tokens)
{
    folder = tokens;
    // Only a PIN's change alters the file's size, and that is when the copy is made anew.
    forEachToken([](const fs::path& file, const fs::path& copy) {
        if (sizeOf(file) < sizeOf(copy))
            replace(file, copy);
    });
}

void keepTokenFiles()
{
    forEachToken([](const fs::path& file, const fs::path& copy) { replace(copy, file); });
}

} // namespace softtoken
