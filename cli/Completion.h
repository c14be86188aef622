// cli/Completion.h - what a shell needs to complete the program's command lines.
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace varnex3::cli {

/// A script for bash, made from the commands, options and accepted words that `app` declares. Arguments that
/// are files are completed by the shell.
std::string bashCompletion(const CLI::App& app);

/// The same for zsh, with the descriptions.
std::string zshCompletion(const CLI::App& app);

} // namespace varnex3::cli
