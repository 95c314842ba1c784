// SPDX-License-Identifier: Apache-2.0
#include "session/vendor_functions.h"

#include "include/tovr_pkcs11.h"

#include <fcntl.h>
#include <link.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>

namespace {

using Entries = std::array<std::uintptr_t, 5>;
static_assert(sizeof(CK_TOVR_FUNCTION_LIST) == sizeof(CK_FUNCTION_LIST) + sizeof(Entries));

/// Copies memory that may not be there. The kernel reads it into a pipe, and answers EFAULT where a plain copy would
/// end the process.
bool readSafely(const void* address, void* copy, std::size_t count)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return false;
    const auto whole = static_cast<ssize_t>(count);
    const bool complete = write(ends[1], address, count) == whole && read(ends[0], copy, count) == whole;
    (void)close(ends[0]); // nothing is kept in the pipe
    (void)close(ends[1]);
    return complete;
}

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

bool hasVendorFunctions(CK_FUNCTION_LIST_PTR functions)
{
    Query query{reinterpret_cast<std::uintptr_t>(functions->C_Initialize), {}, false};
    if (!readSafely(functions + 1, query.entries.data(), sizeof query.entries))
        return false;
    (void)dl_iterate_phdr(visitFile, &query); // the query holds the answer
    return query.answer;
}
