// sheet/csv/Reader.cpp - records, fields, and what a field stands for.
#include "sheet/csv/Reader.h"

#include <algorithm>
#include <array>
#include <optional>
#include <vector>

#include "sheet/csv/Decode.h"
#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/xlsx/Text.h"

namespace varnex3::sheet::csv {
namespace {

constexpr std::size_t kLongestSheetName = 31;
constexpr std::size_t kMostDigits = 15; // of a whole number that a cell holds exactly

std::string lowerCase(std::string_view text)
{
    std::string lower(text);
    for (char& c : lower)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return lower;
}

std::string_view endingOf(std::string_view path)
{
    const std::size_t dot = path.find_last_of("./\\");
    return dot == std::string_view::npos || path[dot] != '.' ? std::string_view() : path.substr(dot);
}

/// The file's name without folder and ending, as far as a sheet may be called that.
std::string sheetNameFor(std::string_view path)
{
    path.remove_suffix(endingOf(path).size());
    const std::size_t slash = path.find_last_of("/\\");
    if (slash != std::string_view::npos) path.remove_prefix(slash + 1);
    std::string name;
    for (char c : path) name += std::string_view("[]:*?/\\'").find(c) == std::string_view::npos ? c : '_';
    std::size_t length = std::min(name.size(), kLongestSheetName);
    while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0U) == 0x80U)
        --length;
    name.resize(length);
    return name.empty() ? "Sheet1" : name;
}

// --- Records ----------------------------------------------------------------------------------------------

/// Takes fields off a text one after another. A field in quotes may hold separators, ends of lines and,
/// doubled, quotes.
class Fields {
public:
    Fields(std::string_view text, char separator) : text_(text), separator_(separator) {}

    enum class After { Separator, Line, End, Unclosed };

    /// The next field and what follows it.
    After next(std::string& field)
    {
        field.clear();
        if (at_ < text_.size() && text_[at_] == '"' && !takeQuoted(field)) return After::Unclosed;
        while (at_ < text_.size() && text_[at_] != separator_ && text_[at_] != '\n' && text_[at_] != '\r')
            field += text_[at_++];
        if (at_ == text_.size()) return After::End;
        const char c = text_[at_++];
        if (c == separator_) return After::Separator;
        if (c == '\r' && at_ < text_.size() && text_[at_] == '\n') ++at_;
        ++line_;
        return at_ == text_.size() ? After::End : After::Line;
    }

    /// Of the text, from 1: where reading stands, or where a quote was opened that is never closed.
    std::size_t line() const { return line_; }

private:
    bool takeQuoted(std::string& field)
    {
        const std::size_t opened = line_;
        for (++at_; at_ < text_.size(); ++at_) {
            const char c = text_[at_];
            if (c == '"' && (at_ + 1 == text_.size() || text_[at_ + 1] != '"')) {
                ++at_;
                return true;
            }
            if (c == '"') ++at_;
            if (c == '\n') ++line_;
            field += c;
        }
        line_ = opened;
        return false;
    }

    std::string_view text_;
    char separator_;
    std::size_t at_ = 0, line_ = 1;
};

/// "sep=;" on a line of its own, as some programs write it; takes it off the text.
std::optional<char> statedSeparator(std::string_view& text)
{
    if (text.size() < 5 || lowerCase(text.substr(0, 4)) != "sep=") return std::nullopt;
    const std::size_t end = text.find_first_of("\r\n");
    if (end != 5 && !(end == std::string_view::npos && text.size() == 5)) return std::nullopt;
    const char separator = text[4];
    text.remove_prefix(std::min(text.find_first_not_of("\r\n", 5), text.size()));
    return separator;
}

/// How well a separator parts the first records: fields per record when all have the same number, a little
/// less when they differ; 0 when it parts nothing. `whole`: the text has not been cut off.
double fitOf(std::string_view text, bool whole, char separator)
{
    constexpr std::size_t kRecords = 50;
    Fields fields(text, separator);
    std::string field;
    std::vector<int> counts(1, 1);
    for (;;) {
        const auto after = fields.next(field);
        if (after == Fields::After::Unclosed && whole) return 0.0;
        if (after == Fields::After::Unclosed) break;
        if (after == Fields::After::Separator) ++counts.back();
        if (after == Fields::After::End) break;
        if (after != Fields::After::Line) continue;
        if (counts.size() == kRecords) break;
        counts.push_back(1);
    }
    const auto [least, most] = std::minmax_element(counts.begin(), counts.end());
    if (*most == 1) return 0.0;
    return *least == *most ? 1e6 + *most : static_cast<double>(*least) + 1e-3 * *most;
}

char separatorOf(std::string_view text, std::string_view path)
{
    if (lowerCase(endingOf(path)) != ".csv") return '\t';
    constexpr std::array<char, 4> kCandidates = {',', ';', '\t', '|'};
    constexpr std::size_t kLookAhead = std::size_t{1} << 20; // lines may be of any length
    const std::size_t cut = text.size() > kLookAhead ? text.rfind('\n', kLookAhead) : std::string_view::npos;
    text = text.substr(0, cut == std::string_view::npos ? text.size() : cut);
    char best = ',';
    double bestFit = 0.0;
    for (char candidate : kCandidates) {
        const double fit = fitOf(text, cut == std::string_view::npos, candidate);
        if (fit > bestFit) best = candidate;
        bestFit = std::max(fit, bestFit);
    }
    return best;
}

// --- Values -----------------------------------------------------------------------------------------------

bool isDigit(char c) { return c >= '0' && c <= '9'; }

/// Digits with one decimal sign and an exponent at most, signs aside.
bool isPlainNumber(std::string_view text, char decimal)
{
    std::size_t at = !text.empty() && (text[0] == '+' || text[0] == '-') ? 1 : 0;
    std::size_t digits = 0;
    bool point = false;
    for (; at < text.size() && (isDigit(text[at]) || (text[at] == decimal && !point)); ++at) {
        point = point || text[at] == decimal;
        digits += isDigit(text[at]) ? 1 : 0;
    }
    if (digits == 0) return false;
    if (at == text.size()) return true;
    if (text[at] != 'e' && text[at] != 'E') return false;
    ++at;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
    return at < text.size() &&
           std::all_of(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), isDigit);
}

/// Whole numbers that lose something as a number: leading zeros, or more digits than a cell holds.
bool isLabel(std::string_view text)
{
    return std::all_of(text.begin(), text.end(), isDigit) &&
           (text.size() > kMostDigits || (text.size() > 1 && text[0] == '0'));
}

class Meaning {
public:
    explicit Meaning(char decimal) : decimal_(decimal) {}

    Value of(const std::string& field, bool& date) const
    {
        date = false;
        const std::string_view text = xlsx::trimmed(field);
        if (const auto x = number(text)) return *x;
        if (text.size() >= 10 && isDigit(text[0]) && text[4] == '-') {
            if (const auto serial = xlsx::serialFromIso(text, DateSystem::From1900)) {
                date = true;
                return *serial;
            }
        }
        if (equalTexts(text, "TRUE")) return true;
        if (equalTexts(text, "FALSE")) return false;
        if (!text.empty() && text[0] == '#')
            if (const auto failure = parseFailure(text)) return *failure;
        return Value(field);
    }

private:
    std::optional<double> number(std::string_view text) const
    {
        const bool percent = !text.empty() && text.back() == '%';
        if (percent) text.remove_suffix(1);
        if (!isPlainNumber(text, decimal_) || isLabel(text)) return std::nullopt;
        if (text[0] == '+') text.remove_prefix(1);
        std::string plain(text);
        if (decimal_ == ',') std::replace(plain.begin(), plain.end(), ',', '.');
        const auto x = xlsx::parseDouble(plain);
        if (!x) return std::nullopt;
        return percent ? *x / 100.0 : *x;
    }

    char decimal_;
};

/// Whether what stands behind the comma may be thousands: three digits.
bool maybeThousands(std::string_view text)
{
    const std::string_view behind = text.substr(text.find(',') + 1);
    return behind.size() == 3 && std::all_of(behind.begin(), behind.end(), isDigit);
}

/// A comma where semicolons part the fields (which is why they do), unless some number has a point. Of other
/// files only when a comma cannot stand before thousands.
char decimalOf(std::string_view text, char separator)
{
    if (separator == ',') return '.';
    Fields fields(text, separator);
    std::string field;
    bool comma = false;
    for (auto after = Fields::After::Line;
         after == Fields::After::Line || after == Fields::After::Separator;) {
        after = fields.next(field);
        const std::string_view trimmed = xlsx::trimmed(field);
        if (trimmed.find('.') != std::string_view::npos && isPlainNumber(trimmed, '.')) return '.';
        const bool written = trimmed.find(',') != std::string_view::npos && isPlainNumber(trimmed, ',');
        comma = comma || (written && (separator == ';' || !maybeThousands(trimmed)));
    }
    return comma ? ',' : '.';
}

[[noreturn]] void fail(const std::string& path, const std::string& problem)
{
    throw FileError(path + ": " + problem);
}

void tellFields(std::string_view text, char separator, const std::string& path, BookBuilder& builder,
                const ReadLimits& limits)
{
    const Meaning meaning(decimalOf(text, separator));
    Fields fields(text, separator);
    CellAddress at{builder.addSheet(sheetNameFor(path)), 0, 0};
    std::string field;
    std::size_t cells = 0;
    for (bool more = !text.empty(); more;) {
        const auto after = fields.next(field);
        if (after == Fields::After::Unclosed)
            fail(path,
                 "line " + std::to_string(fields.line()) + ": a quotation mark is opened and never closed");
        if (!field.empty()) {
            if (at.row >= kMaxRows) fail(path, "more lines than the 1048576 rows that a sheet has");
            if (at.col >= kMaxColumns)
                fail(path, "row " + std::to_string(at.row + 1) +
                               ": more fields than the 16384 columns that a sheet has");
            if (++cells > limits.cells)
                fail(path, "the file has more cells than the limit of " + std::to_string(limits.cells));
            bool date = false;
            if (field.size() > 1 && field[0] == '=')
                builder.formula(at, std::string_view(field).substr(1), {});
            else
                builder.constant(at, meaning.of(field, date));
            if (date) builder.dateCell(at);
        }
        ++at.col;
        if (after == Fields::After::Line) at = {at.sheet, at.row + 1, 0};
        more = after != Fields::After::End;
    }
}

} // namespace

bool isSeparatedValues(std::string_view path)
{
    const std::string ending = lowerCase(endingOf(path));
    return ending == ".csv" || ending == ".tsv" || ending == ".tab";
}

void readSeparatedValues(std::string_view bytes, const std::string& path, BookBuilder& builder,
                         const ReadLimits& limits)
{
    if (bytes.size() > limits.fileBytes || bytes.size() > limits.textBytes)
        fail(path, "the file is larger than the limit of " +
                       std::to_string(std::min(limits.fileBytes, limits.textBytes)) + " bytes");
    const auto whole = decoded(bytes);
    if (!whole)
        fail(path,
             "this is no text file of separated values: it holds zero bytes, as files of other kinds do, and "
             "texts in UTF-16 without its mark; save it as UTF-8");
    std::string_view text = *whole;
    const auto stated = statedSeparator(text);
    builder.settings({});
    try {
        tellFields(text, stated ? *stated : separatorOf(text, path), path, builder, limits);
    } catch (const FileError&) {
        throw;
    } catch (const std::runtime_error& error) {
        fail(path, error.what());
    }
}

} // namespace varnex3::sheet::csv
