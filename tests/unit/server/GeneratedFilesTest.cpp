// Files made from the table are those that would be made now.
#include <cstdlib>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "server/AutomationDocs.h"
#include "server/TypeLibrary.h"

namespace varnex3::server {
namespace {

TEST(GeneratedFiles, AreUpToDate)
{
    const std::pair<std::string, std::string> files[] = {
        {CORVANE_SOURCE "/docs/automation.md", automationReference()},
        {CORVANE_SOURCE "/bindings/windows/varnex3.idl", interfaceDefinition()},
    };
    for (const auto& [path, text] : files) {
        if (std::getenv("CORVANE_UPDATE")) std::ofstream(path, std::ios::binary) << text;
        std::ostringstream held;
        held << std::ifstream(path, std::ios::binary).rdbuf();
        EXPECT_TRUE(held.str() == text)
            << path << " is not what the table gives: CORVANE_UPDATE=1 test_server";
    }
}

} // namespace
} // namespace varnex3::server
