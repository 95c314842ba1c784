#include "tools.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

namespace endtoend {
namespace {

void check(int error, const std::string& what)
{
    if (error != 0)
        throw std::system_error(error, std::generic_category(), what);
}

std::string readAll(int descriptor)
{
    std::string text;
    std::array<char, 4096> chunk;
    for (ssize_t length; (length = read(descriptor, chunk.data(), chunk.size())) > 0;)
        text.append(chunk.data(), static_cast<std::size_t>(length));
    return text;
}

void prepend(std::vector<std::string>& arguments, std::initializer_list<std::string> first)
{
    arguments.insert(arguments.begin(), first);
}

} // namespace

Bytes bytes(const std::string& text)
{
    return {text.begin(), text.end()};
}

Bytes spoiltAtTheEnd(Bytes original)
{
    original.at(original.size() - 1) ^= 1;
    return original;
}

Bytes spoilt(Bytes original, const Bytes& part)
{
    const auto found = std::search(original.begin(), original.end(), part.begin(), part.end());
    if (found == original.end())
        throw std::invalid_argument("no such part to spoil");
    found[static_cast<std::ptrdiff_t>(part.size()) - 1] ^= 1;
    return original;
}

Folder::Folder()
{
    std::string name = std::filesystem::temp_directory_path() / "vornix-XXXXXX";
    check(mkdtemp(name.data()) ? 0 : errno, name);
    path_ = name;
}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Folder::write(const std::string& name, const Bytes& contents) const
{
    std::ofstream file(path_ / name, std::ios::binary);
    file.write(reinterpret_cast<const char*>(contents.data()), static_cast<std::streamsize>(contents.size()));
    if (!file.flush())
        throw std::runtime_error("cannot write " + name);
}

Bytes Folder::read(const std::string& name) const
{
    std::ifstream file(path_ / name, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + name);
    return {std::istreambuf_iterator<char>(file), {}};
}

Outcome run(const Folder& folder, std::vector<std::string> arguments)
{
    std::vector<char*> argv;
    for (std::string& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int ends[2];
    check(pipe(ends) == 0 ? 0 : errno, "pipe");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.path().c_str());
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    pid_t child = 0;
    const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    std::string output = error == 0 ? readAll(ends[0]) : "";
    close(ends[0]);
    check(error, arguments.front());
    int status = 0;
    check(waitpid(child, &status, 0) == child ? 0 : errno, "waitpid");
    return {WIFEXITED(status) && WEXITSTATUS(status) == 0, std::move(output)};
}

Outcome openssl(const Folder& folder, std::vector<std::string> arguments)
{
    prepend(arguments, {OPENSSL_PROGRAM});
    return run(folder, std::move(arguments));
}

Outcome gostOpenssl(const Folder& folder, std::vector<std::string> arguments)
{
    folder.write("gost.cnf", bytes("openssl_conf = init\n[init]\nengines = engines\n[engines]\ngost = gost\n"
                                   "[gost]\nengine_id = gost\ndynamic_path = " GOST_ENGINE_FILE
                                   "\ndefault_algorithms = ALL\n[req]\ndistinguished_name = subject\n[subject]\n"));
    prepend(arguments, {"env", "OPENSSL_CONF=gost.cnf", OPENSSL_PROGRAM});
    return run(folder, std::move(arguments));
}

testing::AssertionResult succeeded(const Outcome& outcome)
{
    return outcome.succeeded ? testing::AssertionSuccess() : testing::AssertionFailure() << outcome.output;
}

testing::AssertionResult refused(const Outcome& outcome)
{
    return outcome.succeeded ? testing::AssertionFailure() << outcome.output : testing::AssertionSuccess();
}

} // namespace endtoend
