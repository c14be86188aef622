// sheet/functions/TextForms.cpp - values and arrays as texts that formulas or addresses can hold.
#include <string>
#include <string_view>

#include "sheet/format/Convert.h"
#include "sheet/functions/Block.h"
#include "sheet/functions/Function.h"

namespace varnex3::sheet {
namespace {

constexpr std::size_t kLongestText = 32767; // characters that a cell holds

/// As cells show it, or, when strict, as a formula would write it.
std::string written(const Value& v, bool strict)
{
    if (v.isFailure()) return std::string(failureText(v.failure()));
    const std::string plain = toText(v).text();
    if (!strict || !v.isText()) return plain;
    std::string quoted = "\"";
    for (char c : plain) quoted += c == '"' ? std::string("\"\"") : std::string(1, c);
    return quoted + "\"";
}

/// Whether format argument 1 asks for the strict form; nothing when it is neither 0 nor 1.
std::optional<bool> strictForm(Call& call)
{
    const double form = std::trunc(call.number(1));
    if (form != 0.0 && form != 1.0) return std::nullopt;
    return form == 1.0;
}

Value fitting(std::string text)
{
    return text.size() > kLongestText ? Value(Failure::Value) : Value(std::move(text));
}

Value valueToText(Call& call)
{
    const auto strict = strictForm(call);
    return strict ? fitting(written(call.value(0), *strict)) : Value(Failure::Value);
}

/// "1, 2, 3", or strictly "{1,2;3,4}".
Value arrayToText(Call& call)
{
    const auto strict = strictForm(call);
    if (!strict) return Failure::Value;
    const Block cells = Block(call, 0).manageable();
    std::string text;
    for (std::int32_t r = 0; r < cells.rows(); ++r) {
        for (std::int32_t c = 0; c < cells.cols(); ++c) {
            if (r > 0 || c > 0) text += !*strict ? ", " : c == 0 ? ";" : ",";
            text += written(cells.at(r, c), *strict);
            if (text.size() > kLongestText) return Failure::Value;
        }
    }
    return fitting(*strict ? "{" + text + "}" : text);
}

/// Letters, digits and - . _ ~ stay; every other byte becomes % and two hexadecimal digits.
Value encodeUrl(Call& call)
{
    constexpr std::string_view kDigits = "0123456789ABCDEF", kPlain = "-._~";
    std::string encoded;
    for (char c : call.text(0)) {
        const auto byte = static_cast<unsigned char>(c);
        const bool plain = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
                           kPlain.find(c) != std::string_view::npos;
        if (plain)
            encoded += c;
        else
            encoded.append({'%', kDigits[byte >> 4U], kDigits[byte & 15U]});
    }
    return fitting(std::move(encoded));
}

constexpr FunctionRow rows[] = {
    {"ARRAYTOTEXT",
     {range(), number(0)},
     Trait::Pure,
     arrayToText,
     "all values of an array as one text",
     "=ARRAYTOTEXT({1,TRUE;\"a\",#N/A}, 1)",
     "{1,TRUE;\"a\",#N/A}"},
    {"ENCODEURL",
     {text()},
     Trait::Pure,
     encodeUrl,
     "a text as a part of a web address",
     "=ENCODEURL(\"a b/c\")",
     "a%20b%2Fc"},
    {"VALUETOTEXT",
     {any(), number(0)},
     Trait::Pure,
     valueToText,
     "a value as text, also errors",
     "=VALUETOTEXT(\"a\", 1)",
     "\"a\""},
};
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> textFormFunctions() { return rows; }

} // namespace varnex3::sheet
