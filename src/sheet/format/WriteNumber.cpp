// sheet/format/WriteNumber.cpp - numbers written with one section of a number format.
//
// Works on the 15 decimal digits, so that halves round away from zero as they look, not as the double is.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

#include "sheet/format/Decimal.h"
#include "sheet/format/FormatSection.h"

namespace varnex3::sheet {
namespace {

using Tokens = std::vector<FormatToken>;

constexpr int kGeneralWidth = 11; // characters of a number in a cell of General format

/// What a placeholder shows where the number has no digit.
std::string_view blankDigit(std::string_view placeholder)
{
    if (placeholder == "0") return "0";
    return placeholder == "?" ? " " : "";
}

/// A number in the format General: up to 11 characters, with an exponent where it does not fit.
std::string generalDisplay(double x)
{
    Decimal d = decimalOf(x);
    const int places = kGeneralWidth - 2 - std::max(d.exponent, 0); // behind the point
    if (d.exponent < kGeneralWidth) {
        const bool exact = plainText(d).size() <= static_cast<std::size_t>(kGeneralWidth);
        if (exact) return plainText(d);
        Decimal rounded = d;
        rounded.round(std::max(places, 0));
        if (d.exponent >= -4 && rounded.exponent < kGeneralWidth) return plainText(rounded);
    }
    d.round(5 - d.exponent); // six significant digits
    return scientificText(d);
}

/// How the tokens of a plain or scientific section share the work.
struct Layout {
    std::size_t point = 0;    // token of the point, or the number of tokens
    std::size_t mantissa = 0; // tokens before the exponent, or all
    int whole = 0;            // placeholders before the point
    int places = 0;           // placeholders behind it
    int thousands = 0;        // commas that divide by 1000
    int percents = 0;
    bool grouped = false;     // commas between the digits
    std::vector<bool> silent; // commas that show nothing themselves
};

Layout layoutOf(const Tokens& tokens)
{
    const std::size_t n = tokens.size();
    const auto isPiece = [&](std::size_t i, Piece piece) { return i < n && tokens[i].piece == piece; };
    Layout a;
    a.silent.assign(n, false);
    a.mantissa = n;
    for (std::size_t i = n; i-- > 0;)
        if (isPiece(i, Piece::Exponent)) a.mantissa = i;
    a.point = a.mantissa;
    for (std::size_t i = a.mantissa; i-- > 0;)
        if (isPiece(i, Piece::Point)) a.point = i;
    std::size_t lastWhole = n, lastDigit = n;
    for (std::size_t i = 0; i < a.mantissa; ++i) {
        if (isPiece(i, Piece::Percent)) ++a.percents;
        if (!isPiece(i, Piece::Digit)) continue;
        lastDigit = i;
        if (i < a.point) lastWhole = i;
        ++(i < a.point ? a.whole : a.places);
    }
    const auto scale = [&](std::size_t last) {
        for (std::size_t i = last + 1; last < n && isPiece(i, Piece::Comma) && !a.silent[i]; ++i) {
            a.silent[i] = true;
            ++a.thousands;
        }
    };
    scale(lastWhole);
    scale(lastDigit);
    bool digitBefore = false;
    for (std::size_t i = 0; lastWhole < n && i < lastWhole; ++i) {
        digitBefore = digitBefore || isPiece(i, Piece::Digit);
        if (!isPiece(i, Piece::Comma) || !digitBefore) continue;
        a.silent[i] = true;
        a.grouped = true;
    }
    return a;
}

/// The digit at 10^power before the point, with the comma behind it.
void writeWholeDigit(std::string& text, const Decimal& d, int power, std::string_view placeholder,
                     bool grouped)
{
    const bool there = !d.isZero() && power <= d.exponent;
    const std::string_view blank = there ? std::string_view() : blankDigit(placeholder);
    if (there)
        text += d.at(power);
    else
        text += blank;
    if (grouped && power > 0 && power % 3 == 0 && (there || blank == "0")) text += ',';
}

/// The mantissa's tokens of a section, for digits already scaled and rounded.
std::string writeDigits(const Decimal& d, const Tokens& tokens, const Layout& a)
{
    std::string text;
    int power = a.whole - 1; // of the next placeholder
    bool first = true;
    for (std::size_t i = 0; i < a.mantissa; ++i) {
        const FormatToken& token = tokens[i];
        if (a.silent[i]) continue;
        if (i == a.point) {
            if (a.whole == 0)
                for (int p = d.isZero() ? -1 : d.exponent; p >= 0; --p) text += d.at(p);
            text += '.';
            power = -1;
        } else if (token.piece != Piece::Digit) {
            text += token.text;
        } else if (i < a.point) {
            if (std::exchange(first, false)) // the first placeholder takes what is above it, too
                for (int p = d.exponent; p > power; --p) writeWholeDigit(text, d, p, "0", a.grouped);
            writeWholeDigit(text, d, power--, token.text, a.grouped);
        } else {
            const bool more = !d.isZero() && d.exponent - static_cast<int>(d.digits.size()) < power;
            if (more)
                text += d.at(power);
            else
                text += blankDigit(token.text);
            --power;
        }
    }
    return text;
}

std::string writePlain(double x, const Tokens& tokens, const Layout& a)
{
    Decimal d = decimalOf(x);
    if (!d.isZero()) d.exponent += 2 * a.percents - 3 * a.thousands;
    d.round(a.places);
    return writeDigits(d, tokens, a);
}

/// Mantissa and exponent; with several placeholders before the point the exponent is their multiple.
std::string writeScientific(double x, const Tokens& tokens, const Layout& a)
{
    Decimal d = decimalOf(x);
    const int step = std::max(a.whole, 1);
    int exponent = 0;
    if (!d.isZero()) {
        d.exponent += 2 * a.percents - 3 * a.thousands;
        const auto split = [&] {
            const int top = a.whole == 0 ? d.exponent + 1 : d.exponent;
            const int by = (top >= 0 ? top / step : -((step - 1 - top) / step)) * step;
            d.exponent -= by;
            exponent += by;
        };
        split();
        d.round(a.places);
        split(); // 9.99 may have become 10
    }
    std::string text = writeDigits(d, tokens, a);
    const std::string& sign = tokens[a.mantissa].text;
    text += sign.front();
    if (exponent < 0)
        text += '-';
    else if (sign.back() == '+')
        text += '+';
    Tokens behind(tokens.begin() + static_cast<std::ptrdiff_t>(a.mantissa) + 1, tokens.end());
    for (FormatToken& token : behind) // only digits and texts mean something here
        if (token.piece != Piece::Digit) token.piece = Piece::Literal;
    return text + writePlain(std::abs(exponent), behind, layoutOf(behind));
}

// ---- fractions ----

/// "# ?/?": where its parts stand. Tokens before `numerator` are the whole part, if they hold digits.
struct FractionLayout {
    std::size_t numerator = 0, slash = 0, behind = 0;
    bool mixed = false;
    int fixed = 0; // a denominator given as a number
};

std::optional<FractionLayout> fractionLayoutOf(const Tokens& tokens)
{
    FractionLayout f;
    const auto isDigit = [&](std::size_t i) { return i < tokens.size() && tokens[i].piece == Piece::Digit; };
    while (f.slash < tokens.size() && tokens[f.slash].piece != Piece::Slash) ++f.slash;
    if (f.slash == tokens.size() || f.slash == 0 || !isDigit(f.slash - 1)) return std::nullopt;
    f.numerator = f.slash;
    while (f.numerator > 0 && isDigit(f.numerator - 1)) --f.numerator;
    for (std::size_t i = 0; i < f.numerator; ++i) f.mixed = f.mixed || isDigit(i);
    f.behind = f.slash + 1;
    for (; f.behind < tokens.size(); ++f.behind) {
        const std::string& t = tokens[f.behind].text;
        const bool literal = t.size() == 1 && t[0] >= '0' && t[0] <= '9';
        if (literal && (f.fixed > 0 || t != "0") && f.fixed < 100000)
            f.fixed = f.fixed * 10 + (t[0] - '0');
        else if (f.fixed > 0 || !isDigit(f.behind))
            break;
    }
    return f.behind > f.slash + 1 ? std::optional(f) : std::nullopt;
}

struct Fraction {
    double over = 0.0, under = 1.0;
};

/// The nearest fraction with a denominator up to `most`, the smallest one where several are as near.
Fraction nearestFraction(double x, int most)
{
    Fraction best{std::round(x), 1.0};
    double distance = std::fabs(x - best.over);
    for (int under = 2; under <= most && distance > 0.0; ++under) {
        const double over = std::round(x * under);
        const double d = std::fabs(x - over / under);
        if (d < distance - 1e-15) {
            best = {over, static_cast<double>(under)};
            distance = d;
        }
    }
    return best;
}

std::string writeFraction(double x, const Tokens& tokens, const FractionLayout& f)
{
    const auto part = [&](std::size_t from, std::size_t to) {
        return Tokens(tokens.begin() + static_cast<std::ptrdiff_t>(from),
                      tokens.begin() + static_cast<std::ptrdiff_t>(to));
    };
    const Tokens overTokens = part(f.numerator, f.slash), underTokens = part(f.slash + 1, f.behind);
    double whole = f.mixed ? std::floor(x) : 0.0;
    const int digits = std::min(static_cast<int>(underTokens.size()), 5);
    const int most = static_cast<int>(std::pow(10.0, digits)) - 1;
    Fraction fraction = f.fixed > 0
                            ? Fraction{std::round((x - whole) * f.fixed), static_cast<double>(f.fixed)}
                            : nearestFraction(x - whole, most);
    if (f.mixed && fraction.over == fraction.under) {
        whole += 1.0;
        fraction = {0.0, 1.0};
    }
    Tokens wholeTokens = part(0, f.numerator);
    if (whole == 0.0 && fraction.over == 0.0) { // "# ?/?" shows a 0 when nothing else is shown
        const auto last = std::find_if(wholeTokens.rbegin(), wholeTokens.rend(),
                                       [](const FormatToken& t) { return t.piece == Piece::Digit; });
        if (last != wholeTokens.rend()) last->text = "0";
    }
    std::string text = writePlain(whole, wholeTokens, layoutOf(wholeTokens));
    const bool hidden = f.mixed && fraction.over == 0.0 && overTokens.back().text != "0";
    if (hidden) {
        text += std::string(f.behind - f.numerator, ' '); // as wide as the fraction would be
    } else {
        text += writePlain(fraction.over, overTokens, layoutOf(overTokens)) + "/";
        std::string under = plainText(decimalOf(fraction.under));
        if (f.fixed == 0 && under.size() < underTokens.size() && underTokens.back().text == "?")
            under.append(underTokens.size() - under.size(), ' ');
        text += under;
    }
    for (std::size_t i = f.behind; i < tokens.size(); ++i) text += tokens[i].text;
    return text;
}

} // namespace

std::string writeNumber(double x, const FormatSection& section)
{
    const double magnitude = std::fabs(x);
    if (section.has(Piece::General)) {
        std::string text;
        for (const FormatToken& token : section.tokens)
            text += token.piece == Piece::General ? generalDisplay(magnitude) : token.text;
        return text;
    }
    const Layout layout = layoutOf(section.tokens);
    if (layout.mantissa < section.tokens.size()) return writeScientific(magnitude, section.tokens, layout);
    if (const auto fraction = fractionLayoutOf(section.tokens))
        return writeFraction(magnitude, section.tokens, *fraction);
    return writePlain(magnitude, section.tokens, layout);
}

} // namespace varnex3::sheet
