// SPDX-License-Identifier: Apache-2.0
#include "session/vendor_functions.h"

#include "include/tovr_pkcs11.h"

#include <fcntl.h>
#include <link.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <system_error>

namespace {

/// So many functions the vendor's list has behind those of PKCS #11 v2.40, and a list of v3.0.
constexpr std::size_t vendorCount = 5;
constexpr std::size_t newerCount = 24;
using Entries = std::array<std::uintptr_t, newerCount>;
static_assert(sizeof(CK_TOVR_FUNCTION_LIST) == sizeof(CK_FUNCTION_LIST) + vendorCount * sizeof(Entries::value_type));

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
        // The bare system call: AddressSanitizer looks into write's buffer, and may know no object there.
        return syscall(SYS_write, ends_[1], from, count) == whole && read(ends_[0], to, count) == whole;
    }

private:
    std::array<int, 2> ends_{};
    bool open_;
};

/// What is looked for among the loaded files: the one that has `code`, and how many entries in a row are code of it.
struct Query {
    std::uintptr_t code;
    Entries entries;
    std::ptrdiff_t count;
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
    const auto* const end = std::find_if_not(query.entries.begin(), query.entries.end(),
                                             [&](std::uintptr_t entry) { return isCodeOf(*file, entry); });
    query.count = end - query.entries.begin();
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
    Query query{reinterpret_cast<std::uintptr_t>(functions->C_Initialize), {}, 0};
    const auto* const first = reinterpret_cast<const Entries::value_type*>(functions + 1);
    constexpr std::size_t vendorSize = vendorCount * sizeof *first;
    if (pipe.copy(first, query.entries.data(), vendorSize)) {
        // The vendor's list may end here, and with it what can be read.
        (void)pipe.copy(first + vendorCount, query.entries.data() + vendorCount, sizeof query.entries - vendorSize);
        (void)dl_iterate_phdr(visitFile, &query); // the query holds the answer
        found = query.count >= std::ptrdiff_t{vendorCount} && query.count < std::ptrdiff_t{newerCount};
    }
    return {CKR_OK, "pipe2"};
}
