// SPDX-License-Identifier: Apache-2.0
#include "tests/support/refusing_function_table.h"

#include <gtest/gtest.h>

#include <cstddef>

namespace {

template <auto Entry, typename Function>
struct Refusal;

template <auto Entry, typename Result, typename... Arguments>
struct Refusal<Entry, Result (*JNINativeInterface_::*)(Arguments...)> {
    static inline const char* name = nullptr;
    static Result call(Arguments...)
    {
        ADD_FAILURE() << "JNI function " << name << " called";
        return Result();
    }
};

template <auto Entry, typename Result, typename... Arguments>
struct Refusal<Entry, Result (*JNINativeInterface_::*)(Arguments..., ...)> {
    static inline const char* name = nullptr;
    static Result call(Arguments..., ...)
    {
        ADD_FAILURE() << "JNI function " << name << " called";
        return Result();
    }
};

template <auto Entry>
void refuse(JNINativeInterface_& table, const char* name)
{
    using Refused = Refusal<Entry, decltype(Entry)>;
    Refused::name = name;
    table.*Entry = Refused::call;
}

} // namespace

JNINativeInterface_ refusingFunctionTable()
{
    JNINativeInterface_ table{};
    std::size_t entries = 0;
#define ENTRY(name)                                                                                                    \
    refuse<&JNINativeInterface_::name>(table, #name);                                                                  \
    ++entries;
#include "jni_entries.inc"
#undef ENTRY
    constexpr std::size_t reserved = 4;
    EXPECT_EQ(entries + reserved, sizeof table / sizeof table.reserved0) << "entries of jni.h left out";
    return table;
}
