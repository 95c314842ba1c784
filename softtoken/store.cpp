// SPDX-License-Identifier: Apache-2.0
#include "softtoken/store.h"

#include "softtoken/failure.h"
#include "softtoken/folder.h"
#include "softtoken/lifetime.h"
#include "softtoken/opened_store.h"
#include "softtoken/recovery.h"

#include <gnutls/gnutls.h>
#include <openssl/crypto.h>

#include <dlfcn.h>

#include <cstdlib>
#include <string>

namespace softtoken {
namespace {

/// Keeps the library that has this function loaded to the end of the process.
template <typename Function>
void keepLoaded(Function* function)
{
    Dl_info library = {};
    if (dladdr(reinterpret_cast<void*>(function), &library) != 0)
        (void)dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE); // without it all is slower, not wrong
}

void finaliseAtEnd();

/// SoftHSM2 for as long as this module is loaded, or longer: a program may have loaded it too, and as GCC 14 builds it,
/// it has a symbol that must be unique and is never unloaded.
class Library {
public:
    Library() = default;
    ~Library()
    {
        if (handle_)
            (void)dlclose(handle_); // at worst it stays
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

    const CK_FUNCTION_LIST& functions()
    {
        if (!list_)
            load();
        return *list_;
    }

private:
    void load()
    {
        // A life of this module is short, and these two take longer to load than it lasts.
        keepLoaded(gnutls_global_init);
        keepLoaded(OPENSSL_init_crypto);
        if (!handle_)
            handle_ = dlopen(VORNIX_SOFTHSM2_MODULE, RTLD_NOW | RTLD_LOCAL);
        require(handle_, CKR_GENERAL_ERROR);
        const auto getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(handle_, "C_GetFunctionList"));
        require(getList, CKR_GENERAL_ERROR);
        check(getList(&list_));
        // Something that SoftHSM2 would ask for later, so that OpenSSL stands ready until the module has closed.
        require(OPENSSL_init_crypto(OPENSSL_INIT_ADD_ALL_DIGESTS, nullptr), CKR_GENERAL_ERROR);
        closeBeforeSoftHsmGoes(finaliseAtEnd);
    }

    void* handle_ = nullptr;
    CK_FUNCTION_LIST_PTR list_ = nullptr;
};

Library library;

/// Whether SoftHSM2 runs because this module has started it, in this process or in the one that it was forked from.
bool started = false;

/// A program that unloads the module without C_Finalize finds it uninitialised when it loads it again.
void finaliseAtEnd()
{
    if (started)
        (void)library.functions().C_Finalize(nullptr); // nobody is left to be told
}

bool isConfigured(const std::string& configuration)
{
    const char* value = std::getenv("SOFTHSM2_CONF");
    return value && value == configuration;
}

/// Starts SoftHSM2 on a store that nobody else changes meanwhile.
void start(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR arguments)
{
    OpenedStore& store = openedStore();
    store.lock.open(store.folder(), store.settings.wait);
    (void)store.lock.acquire(); // nothing is known yet of any store
    writeConfiguration(store.folder());
    (void)recover(store.folder()); // likewise
    store.lock.record.writing = 0;
    store.lock.save();
    check(softHsm.C_Initialize(arguments)); // last of what may fail: SoftHSM2 must not run without the lock
    started = true;
    store.hasRead();
    store.lock.release();
}

} // namespace

const CK_FUNCTION_LIST& softHsm()
{
    return library.functions();
}

bool isInitialised(const CK_FUNCTION_LIST& softHsm)
{
    CK_INFO info;
    return softHsm.C_GetInfo(&info) != CKR_CRYPTOKI_NOT_INITIALIZED;
}

void initialise(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR arguments)
{
    const Settings settings = readSettings();
    // SoftHSM2 would cut a path short at these.
    require(settings.folder.native().find_first_of("=#\r\n") == std::string::npos, CKR_GENERAL_ERROR);
    const std::string configuration = configurationFile(settings.folder);
    const bool configured = isConfigured(configuration);

    // SoftHSM2 runs once in a process. Where it already runs on another store, the tokens are somebody else's.
    require(!isInitialised(softHsm), configured ? CKR_CRYPTOKI_ALREADY_INITIALIZED : CKR_GENERAL_ERROR);

    prepareFolder(settings.folder);
    // The environment is the process's: written only when it changes.
    if (!configured)
        require(setenv("SOFTHSM2_CONF", configuration.c_str(), 1) == 0, CKR_HOST_MEMORY);
    openedStore().settings = settings;
    try {
        start(softHsm, arguments);
    } catch (...) {
        openedStore().lock.close();
        throw;
    }
}

void finalise(const CK_FUNCTION_LIST& softHsm, CK_VOID_PTR reserved)
{
    check(softHsm.C_Finalize(reserved));
    started = false;
    openedStore().lock.close();
}

} // namespace softtoken
