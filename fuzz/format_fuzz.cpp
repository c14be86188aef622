// fuzz/format_fuzz.cpp - number formats with numbers and texts, and texts that may read as numbers.
//
// Input is a format code, a zero byte, and a text. The text is formatted as text, and as a number where it
// reads as one. Numbers as the general format shows them read as the same number to 15 digits.
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

#include "sheet/format/Convert.h"
#include "sheet/format/NumberFormat.h"

using namespace varnex3::sheet;

namespace {

constexpr std::size_t kLongest = std::size_t{1} << 20; // of what a short format may show

[[noreturn]] void report(const char* what, std::string_view text)
{
    std::fprintf(stderr, "%s: %.*s\n", what, static_cast<int>(text.size()), text.data());
    std::abort();
}

void format(const Value& value, std::string_view code)
{
    for (const DateSystem dates : {DateSystem::From1900, DateSystem::From1904}) {
        const auto shown = formatValue(value, code, dates);
        if (shown && shown->size() > kLongest) report("shows too much", code);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    constexpr std::size_t kMostInput = 2000;
    if (size > kMostInput) return 0;
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t zero = input.find('\0');
    const std::string_view code = input.substr(0, zero);
    const std::string text(zero == std::string_view::npos ? std::string_view() : input.substr(zero + 1));
    isDateFormat(code);
    format(Value(text), code);
    format(Value(true), code);
    const auto number = numberFromText(text, DateSystem::From1900);
    if (!number) return 0;
    if (!std::isfinite(*number)) report("reads as no number", text);
    for (const double x : {*number, -*number}) format(Value(x), code);
    const std::string general = generalText(*number);
    const auto again = numberFromText(general, DateSystem::From1900);
    if (!again || std::fabs(*again - *number) > 1e-14 * std::fabs(*number))
        report("general text differs", general);
    return 0;
}
