#include "softtoken/store.h"

#include "softtoken/failure.h"
#include "softtoken/lifetime.h"
#include "softtoken/recovery.h"

#include <gnutls/gnutls.h>
#include <openssl/crypto.h>

#include <dlfcn.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace softtoken {
namespace {

namespace fs = std::filesystem;

/// Keeps the library that has this function loaded to the end of the process.
template <typename Function>
void keepLoaded(Function* function)
{
    Dl_info library = {};
    if (dladdr(reinterpret_cast<void*>(function), &library) != 0)
        (void)dlopen(library.dli_fname, RTLD_LAZY | RTLD_NOLOAD | RTLD_NODELETE); // without it all is slower, not wrong
}

/// SoftHSM2 for as long as this module is loaded. A program that unloads the module without C_Finalize thus finds it
/// uninitialised when it loads it again.
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
        closeBeforeSoftHsmGoes();
    }

    void* handle_ = nullptr;
    CK_FUNCTION_LIST_PTR list_ = nullptr;
};

Library library;

fs::path fromEnvironment(const char* variable)
{
    const char* value = std::getenv(variable);
    return value ? value : "";
}

fs::path directory()
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

void makePrivateDirectory(const fs::path& path)
{
    require(mkdir(path.c_str(), S_IRWXU) == 0 || errno == EEXIST, CKR_GENERAL_ERROR);
}

std::string contents(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Replaced in one step and only when it changes: another process may be reading it.
void writeConfiguration(const fs::path& path, const std::string& text)
{
    if (contents(path) == text)
        return;
    const fs::path fresh = path.string() + "." + std::to_string(getpid());
    std::ofstream file(fresh, std::ios::binary);
    const bool replaced = file << text << std::flush && std::rename(fresh.c_str(), path.c_str()) == 0;
    if (!replaced)
        (void)std::remove(fresh.c_str()); // where the disk is full it is there, but empty
    require(replaced, CKR_GENERAL_ERROR);
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
    const fs::path home = directory();
    // SoftHSM2 would cut a path short at these.
    require(home.native().find_first_of("=#\r\n") == std::string::npos, CKR_GENERAL_ERROR);
    const fs::path configuration = home / "softhsm2.conf";
    const bool configured = fromEnvironment("SOFTHSM2_CONF") == configuration;

    // SoftHSM2 runs once in a process. Where it already runs on another store, the tokens are somebody else's.
    require(!isInitialised(softHsm), configured ? CKR_CRYPTOKI_ALREADY_INITIALIZED : CKR_GENERAL_ERROR);

    fs::create_directories(home.parent_path());
    makePrivateDirectory(home);
    makePrivateDirectory(home / "tokens");
    writeConfiguration(configuration, "directories.tokendir = " + (home / "tokens").string() +
                                          "\nobjectstore.backend = file\nlog.level = ERROR\nslots.removable = false\n");

    // The environment is the process's: written only when it changes.
    if (!configured)
        require(setenv("SOFTHSM2_CONF", configuration.c_str(), 1) == 0, CKR_HOST_MEMORY);
    restoreTokenFiles(home / "tokens");
    check(softHsm.C_Initialize(arguments));
}

} // namespace softtoken
