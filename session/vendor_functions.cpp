// SPDX-License-Identifier: Apache-2.0
#include "session/vendor_functions.h"

#include "include/tovr_pkcs11.h"

#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace {

using Entries = std::array<std::uintptr_t, 5>;
static_assert(sizeof(CK_TOVR_FUNCTION_LIST) == sizeof(CK_FUNCTION_LIST) + sizeof(Entries));

/// Copies memory that may not be there, by a pipe: the kernel answers EFAULT where a plain copy would end the process.
class Pipe {
public:
    Pipe() : open_(pipe2(ends_.data(), O_CLOEXEC | O_NONBLOCK) == 0) {}
    ~Pipe()
    {
        if (!open_)
            return;
        (void)close(ends_[0]); // nothing is kept in the pipe
        (void)close(ends_[1]);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    bool isOpen() const { return open_; }

    [[nodiscard]] bool copy(const void* from, void* to, std::size_t count) const
    {
        const auto whole = static_cast<ssize_t>(count);
        return write(ends_[1], from, count) == whole && read(ends_[0], to, count) == whole;
    }

private:
    std::array<int, 2> ends_{};
    bool open_;
};

/// What is looked for among the loaded files: the one that has `code`, and whether the entries are code of it.
struct Query {
    std::uintptr_t code;
    Entries entries;
    bool answer;
};

bool isCodeOf(const dl_phdr_info& file, std::uintptr_t address)
{
    return std::any_of(file.dlpi_phdr, file.dlpi_phdr + file.dlpi_phnum, [&](const ElfW(Phdr) & segment) {
        const std::uintptr_t start = file.dlpi_addr + segment.p_vaddr;
        return segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0 && address >= start &&
               address - start < segment.p_memsz;
    });
}

int visitFile(dl_phdr_info* file, std::size_t, void* data)
{
    auto& query = *static_cast<Query*>(data);
    if (!isCodeOf(*file, query.code))
        return 0; // go on with the next file
    query.answer = std::all_of(query.entries.begin(), query.entries.end(),
                               [&](std::uintptr_t entry) { return isCodeOf(*file, entry); });
    return 1;
}

} // namespace

Outcome findVendorFunctions(CK_FUNCTION_LIST_PTR functions, const Diagnostics& lines, bool& found)
{
    found = false;
    const Pipe pipe;
    if (!pipe.isOpen()) {
        diagnose(lines, "No pipe to look for vendor functions with: ", std::generic_category().message(errno));
        return {CKR_HOST_MEMORY, "pipe2"};
    }
    Query query{reinterpret_cast<std::uintptr_t>(functions->C_Initialize), {}, false};
    if (pipe.copy(functions + 1, query.entries.data(), sizeof query.entries)) {
        (void)dl_iterate_phdr(visitFile, &query); // the query holds the answer
        found = query.answer;
    }
    return {CKR_OK, "pipe2"};
}
