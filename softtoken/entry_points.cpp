// SPDX-License-Identifier: Apache-2.0
// The symbols that callers look up in the module: C_GetFunctionList, and C_GetInterface and C_GetInterfaceList for
// callers of PKCS #11 v3.0. Without the latter two, such a caller would find those of p11-kit, which GnuTLS loads, and
// with them the machine's other tokens.
#include "softtoken/function_list.h"

#include <string_view>

namespace softtoken {
namespace {

/// CK_INTERFACE of PKCS #11 v3.0. Headers of version 2.40 do not have it.
struct Interface {
    const char* name;
    void* functions;
    CK_FLAGS flags;
};

/// The function list of version 2.40 and nothing else.
Interface onlyInterface = {"PKCS 11", &functionList, 0};

/// What a caller leaves open may be anything.
bool isOnlyInterface(const CK_UTF8CHAR* name, const CK_VERSION* version, CK_FLAGS flags)
{
    const CK_VERSION& own = functionList.standard.version;
    return (!name || std::string_view(onlyInterface.name) == reinterpret_cast<const char*>(name)) &&
           (!version || (version->major == own.major && version->minor == own.minor)) &&
           (flags & ~onlyInterface.flags) == 0;
}

CK_RV getInterfaceList(Interface* interfaces, CK_ULONG_PTR count)
{
    if (!count)
        return CKR_ARGUMENTS_BAD;
    const CK_ULONG room = *count;
    *count = 1;
    if (!interfaces)
        return CKR_OK;
    if (room < 1)
        return CKR_BUFFER_TOO_SMALL;
    *interfaces = onlyInterface;
    return CKR_OK;
}

CK_RV getInterface(const CK_UTF8CHAR* name, const CK_VERSION* version, Interface** interface, CK_FLAGS flags)
{
    if (!interface || !isOnlyInterface(name, version, flags))
        return CKR_ARGUMENTS_BAD;
    *interface = &onlyInterface;
    return CKR_OK;
}

} // namespace
} // namespace softtoken

extern "C" {

__attribute__((visibility("default"))) CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR list)
{
    return softtoken::getFunctionList(list);
}

// Named in the object file only: headers that know these two declare them with types of their own.
__attribute__((visibility("default"))) CK_RV exportedGetInterfaceList(softtoken::Interface* interfaces,
                                                                      CK_ULONG_PTR count) __asm__("C_GetInterfaceList");
__attribute__((visibility("default"))) CK_RV exportedGetInterface(const CK_UTF8CHAR* name, const CK_VERSION* version,
                                                                  softtoken::Interface** interface,
                                                                  CK_FLAGS flags) __asm__("C_GetInterface");

CK_RV exportedGetInterfaceList(softtoken::Interface* interfaces, CK_ULONG_PTR count)
{
    return softtoken::getInterfaceList(interfaces, count);
}

CK_RV exportedGetInterface(const CK_UTF8CHAR* name, const CK_VERSION* version, softtoken::Interface** interface,
                           CK_FLAGS flags)
{
    return softtoken::getInterface(name, version, interface, flags);
}
}
