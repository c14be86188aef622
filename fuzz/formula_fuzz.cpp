// fuzz/formula_fuzz.cpp - arbitrary text into the formula parser.
//
// Whatever parses must print as a formula that parses to the equal tree with the equal hash.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <variant>

#include "sheet/formula/Parser.h"

using namespace varnex3::sheet;

namespace {

[[noreturn]] void report(const char* what, std::string_view text, const std::string& printed)
{
    std::fprintf(stderr, "%s\n  read:    %.*s\n  printed: %s\n", what, static_cast<int>(text.size()),
                 text.data(), printed.c_str());
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(data, data + size);
    const CellAddress here{0, 9, 4}; // E10: relative references reach before and behind it
    const ParseResult first = parseFormula(text, here);
    const Tree* tree = std::get_if<Tree>(&first);
    if (tree == nullptr) {
        if (std::get<ParseError>(first).message.empty()) report("refused without a message", text, "");
        return 0;
    }
    for (const Node& node : tree->nodes)
        if (node.kind == NodeKind::Structured &&
            !parseTableItems(tree->texts[static_cast<std::size_t>(node.text2)]))
            report("table items do not read", text, "");
    const std::string printed = formulaText(*tree, here);
    if (printed.size() > 32767) return 0; // a long text may print longer than it may be read
    const ParseResult second = parseFormula(printed, here);
    // Parentheses that printing adds may take a formula at the limit of nesting beyond it.
    if (const auto* error = std::get_if<ParseError>(&second);
        error != nullptr && error->message.find("nested deeper") != std::string::npos)
        return 0;
    if (!std::holds_alternative<Tree>(second)) report("print does not parse", text, printed);
    if (!(std::get<Tree>(second) == *tree)) report("trees differ", text, printed);
    if (hashOf(std::get<Tree>(second)) != hashOf(*tree)) report("hashes differ", text, printed);
    return 0;
}
