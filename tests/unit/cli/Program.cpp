// tests/unit/cli/Program.cpp - the child process and its folder.
#include "Program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>

namespace varnex3::cli {
namespace {

constexpr const char* kOut = ".stdout";
constexpr const char* kErr = ".stderr";

void redirect(const std::string& path, int flags, int to)
{
    const int file = open(path.c_str(), flags, 0600);
    if (file < 0 || dup2(file, to) < 0) _exit(127);
}

} // namespace

Folder::Folder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "corvane-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) std::abort();
    path_ = pattern;
}

Folder::~Folder()
{
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

void Folder::write(const std::string& name, const std::string& content) const
{
    std::ofstream(path_ / name, std::ios::binary) << content;
}

std::string Folder::read(const std::string& name) const
{
    std::ifstream file(path_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void Folder::copy(const std::string& from, const std::string& name) const
{
    std::filesystem::copy_file(from, path_ / name);
}

std::vector<std::string> Folder::files() const
{
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
        if (const std::string name = entry.path().filename().string(); name != kOut && name != kErr)
            names.push_back(name);
    std::sort(names.begin(), names.end());
    return names;
}

pid_t Folder::start(const std::vector<std::string>& arguments) const
{
    std::vector<char*> argv = {const_cast<char*>("corvane")};
    for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child != 0) return child;
    if (chdir(path_.c_str()) != 0) _exit(127);
    redirect("/dev/null", O_RDONLY, STDIN_FILENO);
    redirect(kOut, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    redirect(kErr, O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    execv(CORVANE_PROGRAM, argv.data());
    _exit(127);
}

Outcome Folder::finish(pid_t child) const
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {}
    Outcome outcome;
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    outcome.out = read(kOut);
    outcome.err = read(kErr);
    return outcome;
}

} // namespace varnex3::cli
