// sheet/format/NumberFormat.cpp - number formats taken apart, and the choice among their sections.
//
// Colours and the repetition of a fill character are read and have no effect on a text.
#include "sheet/format/NumberFormat.h"

#include <algorithm>
#include <utility>

#include "sheet/format/Convert.h"
#include "sheet/format/FormatSection.h"
#include "sheet/format/Letters.h"

namespace varnex3::sheet {
namespace {

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
bool isLetter(char c) { return lower(c) >= 'a' && lower(c) <= 'z'; }

bool isDatePiece(Piece piece) { return piece >= Piece::Year; }

class FormatReader {
public:
    explicit FormatReader(std::string_view format) : format_(format) {}

    std::optional<std::vector<FormatSection>> read()
    {
        sections_.emplace_back();
        while (at_ < format_.size()) {
            if (format_[at_] == ';') {
                ++at_;
                sections_.emplace_back();
            } else if (!readToken()) {
                return std::nullopt;
            }
        }
        if (sections_.size() > 4) return std::nullopt;
        for (FormatSection& section : sections_)
            if (!settle(section)) return std::nullopt;
        return std::move(sections_);
    }

private:
    FormatSection& section() { return sections_.back(); }

    bool add(Piece piece, std::string_view text, int count = 1)
    {
        section().tokens.push_back({piece, std::string(text), count});
        return true;
    }

    bool startsWith(std::string_view word) const
    {
        return equalTexts(format_.substr(at_, word.size()), word);
    }

    /// The whole character at `at_`, which moves behind it.
    std::string_view takeCharacter()
    {
        const std::size_t start = at_;
        nextCharacter(format_, at_);
        return format_.substr(start, at_ - start);
    }

    bool readToken()
    {
        const char c = format_[at_];
        for (const std::string_view word : {"General", "AM/PM", "A/P"}) {
            if (!startsWith(word)) continue;
            add(word == "General" ? Piece::General : Piece::HalfDay, format_.substr(at_, word.size()));
            at_ += word.size();
            return true;
        }
        switch (c) {
        case '"': return readQuoted();
        case '[': return readBracket();
        case '\\':
        case '_':
        case '*': return readEscape(c);
        default: break;
        }
        if (isLetter(c)) return readLetters();
        const std::string_view text = takeCharacter();
        constexpr std::pair<char, Piece> kSigns[] = {
            {'0', Piece::Digit}, {'#', Piece::Digit},   {'?', Piece::Digit}, {'.', Piece::Point},
            {',', Piece::Comma}, {'%', Piece::Percent}, {'/', Piece::Slash}, {'@', Piece::At},
        };
        for (const auto& [sign, piece] : kSigns)
            if (c == sign) return add(piece, text);
        return add(Piece::Literal, text);
    }

    bool readQuoted()
    {
        const auto end = format_.find('"', at_ + 1);
        if (end == std::string_view::npos) return false;
        add(Piece::Literal, format_.substr(at_ + 1, end - at_ - 1));
        at_ = end + 1;
        return true;
    }

    /// "\x": x. "_x": a blank as wide as x. "*x": x as often as the cell is wide, which a text is not.
    bool readEscape(char c)
    {
        if (++at_ == format_.size()) return false;
        const std::string_view text = takeCharacter();
        if (c == '\\') add(Piece::Literal, text);
        if (c == '_') add(Piece::Literal, " ");
        return true;
    }

    bool readLetters()
    {
        const char c = lower(format_[at_]);
        if (c == 'e') {
            const char sign = at_ + 1 < format_.size() ? format_[at_ + 1] : '\0';
            if (sign != '+' && sign != '-') return false;
            add(Piece::Exponent, format_.substr(at_, 2));
            at_ += 2;
            return true;
        }
        const std::size_t start = at_;
        while (at_ < format_.size() && lower(format_[at_]) == c) ++at_;
        const std::string_view run = format_.substr(start, at_ - start);
        constexpr std::pair<char, Piece> kParts[] = {
            {'y', Piece::Year}, {'m', Piece::Month},  {'d', Piece::Day},
            {'h', Piece::Hour}, {'s', Piece::Second},
        };
        for (const auto& [letter, piece] : kParts)
            if (c == letter) return add(piece, run, static_cast<int>(run.size()));
        if (c == 'b' || c == 'g' || c == 'n') return false; // kept for calendars not known here
        return add(Piece::Literal, run);
    }

    bool readBracket()
    {
        const auto end = format_.find(']', at_);
        if (end == std::string_view::npos) return false;
        const std::string_view inner = format_.substr(at_ + 1, end - at_ - 1);
        at_ = end + 1;
        if (inner.empty()) return false;
        if (inner.front() == '$') // "[$kr-414]": currency and language
            return add(Piece::Literal,
                       inner.substr(1, inner.rfind('-') == std::string_view::npos ? std::string_view::npos
                                                                                  : inner.rfind('-') - 1));
        if (inner.find_first_of("<>=") == 0) return readCondition(inner);
        const char letter = lower(inner.front());
        if (std::all_of(inner.begin(), inner.end(), [&](char c) { return lower(c) == letter; })) {
            const int count = static_cast<int>(inner.size());
            if (letter == 'h') return add(Piece::ElapsedHours, inner, count);
            if (letter == 'm') return add(Piece::ElapsedMinutes, inner, count);
            if (letter == 's') return add(Piece::ElapsedSeconds, inner, count);
        }
        return isColour(inner);
    }

    static bool isColour(std::string_view word)
    {
        for (const std::string_view name :
             {"Black", "Blue", "Cyan", "Green", "Magenta", "Red", "White", "Yellow"})
            if (equalTexts(word, name)) return true;
        return equalTexts(word.substr(0, 5), "Color");
    }

    bool readCondition(std::string_view text)
    {
        using Test = FormatCondition::Test;
        constexpr std::pair<std::string_view, Test> kTests[] = {
            {"<=", Test::LessEqual}, {"<>", Test::NotEqual}, {">=", Test::GreaterEqual},
            {"<", Test::Less},       {"=", Test::Equal},     {">", Test::Greater},
        };
        for (const auto& [sign, test] : kTests) {
            if (text.substr(0, sign.size()) != sign) continue;
            const auto limit = numberFromText(text.substr(sign.size()), DateSystem::From1900);
            if (!limit) return false;
            section().condition = FormatCondition{test, *limit};
            return true;
        }
        return false;
    }

    // ---- what needs the whole section ----

    static bool settle(FormatSection& section)
    {
        section.isText = section.has(Piece::At);
        section.isDate = std::any_of(section.tokens.begin(), section.tokens.end(),
                                     [](const FormatToken& t) { return isDatePiece(t.piece); });
        if (!section.isDate) return true;
        if (section.isText || section.has(Piece::Exponent) || section.has(Piece::General)) return false;
        if (!joinFractions(section.tokens)) return false;
        tellMinutes(section.tokens);
        return true;
    }

    /// "ss.00": the zeros become a fraction of the second; other digits do not belong beside a date.
    static bool joinFractions(std::vector<FormatToken>& tokens)
    {
        std::vector<FormatToken> joined;
        bool behindSeconds = false;
        for (std::size_t i = 0; i < tokens.size(); ++i) {
            FormatToken token = tokens[i];
            if (token.piece == Piece::Digit) return false;
            if (token.piece == Piece::Point && behindSeconds) {
                int count = 0;
                while (i + 1 < tokens.size() && tokens[i + 1].piece == Piece::Digit &&
                       tokens[i + 1].text == "0") {
                    ++count;
                    ++i;
                }
                if (count > 0) token = {Piece::SecondFraction, ".", count};
            }
            behindSeconds = token.piece == Piece::Second || token.piece == Piece::ElapsedSeconds;
            if (!isDatePiece(token.piece)) token.piece = Piece::Literal;
            joined.push_back(std::move(token));
        }
        tokens = std::move(joined);
        return true;
    }

    /// m is minutes right behind hours or right before seconds.
    static void tellMinutes(std::vector<FormatToken>& tokens)
    {
        FormatToken* previous = nullptr;
        for (FormatToken& token : tokens) {
            if (!isDatePiece(token.piece) || token.piece == Piece::HalfDay) continue;
            const bool seconds = token.piece == Piece::Second || token.piece == Piece::ElapsedSeconds;
            if (previous != nullptr && seconds && previous->piece == Piece::Month && previous->count <= 2)
                previous->piece = Piece::Minute;
            const bool hours = previous != nullptr &&
                               (previous->piece == Piece::Hour || previous->piece == Piece::ElapsedHours);
            if (hours && token.piece == Piece::Month && token.count <= 2) token.piece = Piece::Minute;
            previous = &token;
        }
    }

    std::string_view format_;
    std::size_t at_ = 0;
    std::vector<FormatSection> sections_;
};

/// A text section with the value in place of "@".
std::string writeText(std::string_view value, const FormatSection& section)
{
    std::string text;
    for (const FormatToken& token : section.tokens) {
        if (token.piece == Piece::At)
            text += value;
        else
            text += token.text;
    }
    return text;
}

struct Choice {
    const FormatSection* section = nullptr; // none: no condition holds
    bool withSign = true;
};

/// The section for a number. Without conditions: everything; or from 0 up and below; or above, below and 0.
Choice chooseSection(double x, const std::vector<FormatSection>& sections, std::size_t count)
{
    if (count == 1 && !sections[0].condition) return {&sections[0], true};
    const bool conditions =
        std::any_of(sections.begin(), sections.begin() + static_cast<std::ptrdiff_t>(count),
                    [](const FormatSection& s) { return s.condition.has_value(); });
    using Test = FormatCondition::Test;
    for (std::size_t i = 0; i < count; ++i) {
        const FormatSection& section = sections[i];
        if (section.condition) {
            if (section.condition->holds(x)) return {&section, !section.condition->negativeOnly()};
            continue;
        }
        FormatCondition rule;
        if (i == 0) rule.test = count == 2 ? Test::GreaterEqual : Test::Greater;
        const bool last = i + 1 == count;
        const bool negatives = i == 1 && !(last && conditions);
        if ((last && i > 0) || rule.holds(x)) return {&section, !negatives};
    }
    return {};
}

std::optional<std::string> writeWithSections(double x, const std::vector<FormatSection>& sections,
                                             DateSystem dates)
{
    const bool textLast = sections.size() == 4 || sections.back().isText;
    const std::size_t count = sections.size() - (textLast ? 1 : 0);
    if (count == 0) return writeText(generalText(x), sections[0]);
    const Choice choice = chooseSection(x, sections, count);
    if (choice.section == nullptr) return std::nullopt;
    if (choice.section->isDate) return writeDate(x, *choice.section, dates);
    if (choice.section->isText) return writeText(generalText(x), *choice.section);
    if (choice.section->tokens.empty()) return std::string(); // an empty section hides the number
    const std::string text = writeNumber(x, *choice.section);
    return x < 0.0 && choice.withSign ? "-" + text : text;
}

} // namespace

bool FormatCondition::holds(double x) const
{
    switch (test) {
    case Test::Less: return x < limit;
    case Test::LessEqual: return x <= limit;
    case Test::Equal: return x == limit;
    case Test::NotEqual: return x != limit;
    case Test::GreaterEqual: return x >= limit;
    case Test::Greater: return x > limit;
    }
    return false;
}

bool FormatCondition::negativeOnly() const
{
    switch (test) {
    case Test::Less: return limit <= 0.0;
    case Test::LessEqual:
    case Test::Equal: return limit < 0.0;
    default: return false;
    }
}

bool FormatSection::has(Piece piece) const
{
    return std::any_of(tokens.begin(), tokens.end(), [&](const FormatToken& t) { return t.piece == piece; });
}

std::optional<std::vector<FormatSection>> readFormat(std::string_view format)
{
    return FormatReader(format).read();
}

std::optional<std::string> formatValue(const Value& scalar, std::string_view format, DateSystem dates)
{
    const auto sections = readFormat(format);
    if (!sections) return std::nullopt;
    switch (scalar.kind()) {
    case Kind::Empty:
    case Kind::Number: return writeWithSections(scalar.number(), *sections, dates);
    case Kind::Boolean: return scalar.boolean() ? "TRUE" : "FALSE";
    case Kind::Failure: return std::string(failureText(scalar.failure()));
    case Kind::Text: {
        const bool forText = sections->size() == 4 || sections->back().isText;
        return forText ? writeText(scalar.text(), sections->back()) : scalar.text();
    }
    default: return std::nullopt;
    }
}

bool isDateFormat(std::string_view format)
{
    const auto sections = readFormat(format);
    return sections && std::any_of(sections->begin(), sections->end(),
                                   [](const FormatSection& section) { return section.isDate; });
}

} // namespace varnex3::sheet
