// tests/unit/cli/Program.h - runs the built program as a user does, in a folder of its own.
#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

namespace varnex3::cli {

struct Outcome {
    int code = -1; // exit code; 128 + signal when one ended it
    std::string out, err;
};

/// A folder under the system's temporary one, removed with everything in it.
class Folder {
public:
    Folder();
    ~Folder();
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string path(const std::string& name) const { return (path_ / name).string(); }
    void write(const std::string& name, const std::string& content) const;
    std::string read(const std::string& name) const;
    void copy(const std::string& from, const std::string& name) const;
    /// The names of all files in it, sorted.
    std::vector<std::string> files() const;

    /// Starts `corvane` here with its outputs in files; `finish` waits for the end.
    pid_t start(const std::vector<std::string>& arguments) const;
    Outcome finish(pid_t child) const;
    Outcome run(const std::vector<std::string>& arguments) const { return finish(start(arguments)); }

private:
    std::filesystem::path path_;
};

} // namespace varnex3::cli
