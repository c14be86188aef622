// sheet/model/Externals.cpp - what a file keeps of other books, for the formulas that refer to them.
#include "sheet/model/Externals.h"

#include <algorithm>
#include <charconv>

#include "sheet/format/Convert.h"
#include "sheet/formula/Parser.h"
#include "sheet/model/BookImpl.h"

namespace varnex3::sheet {
namespace {

constexpr std::int64_t kMostElements = 4'000'000; // of one area
constexpr int kDeepest = 8;                       // of names that stand for names

std::uint64_t keyOf(std::int32_t row, std::int32_t col)
{
    return static_cast<std::uint64_t>(row) << 16 | static_cast<std::uint64_t>(col);
}

std::optional<Tree> treeOf(std::string_view formula, const CellAddress& cell)
{
    ParseResult parsed = parseFormula(formula, cell);
    if (auto* tree = std::get_if<Tree>(&parsed)) return std::move(*tree);
    return std::nullopt;
}

} // namespace

std::optional<ExternalReference> externalReference(std::string_view text)
{
    ExternalReference written;
    std::string inner;
    std::size_t at = 0;
    if (text.starts_with('\'')) {
        for (at = 1; at < text.size(); ++at) {
            if (text[at] == '\'' && (at + 1 == text.size() || text[++at] != '\'')) break;
            inner += text[at];
        }
    } else {
        at = text.rfind('!');
        if (at == std::string_view::npos) return std::nullopt;
        inner = text.substr(0, at);
    }
    if (at >= text.size() || text[at] != '!') return std::nullopt;
    written.prefix = text.substr(0, at + 1);
    written.rest = text.substr(at + 1);
    const std::size_t open = inner.find('['), close = inner.rfind(']');
    if (open == std::string::npos || close == std::string::npos || close < open) return std::nullopt;
    written.folder = inner.substr(0, open);
    written.book = inner.substr(open + 1, close - open - 1);
    written.sheet = inner.substr(close + 1);
    return written;
}

bool refersToOtherBooks(std::string_view formula, const CellAddress& cell)
{
    if (formula.find('[') == std::string_view::npos) return false;
    const auto tree = treeOf(formula, cell);
    return tree && std::any_of(tree->nodes.begin(), tree->nodes.end(),
                               [](const Node& n) { return n.kind == NodeKind::External; });
}

std::string movedFormula(std::string_view formula, const CellAddress& from, const CellAddress& to)
{
    auto tree = treeOf(formula, from);
    if (!tree) return std::string(formula);
    for (const Node& n : tree->nodes) {
        if (n.kind != NodeKind::External) continue;
        std::string& text = tree->texts[static_cast<std::size_t>(n.text)];
        const auto written = externalReference(text);
        const auto reference = written ? treeOf(written->rest, from) : std::nullopt;
        if (!reference || reference->root().kind != NodeKind::Reference) continue;
        text = std::string(written->prefix) + formulaText(*reference, to).substr(1);
    }
    return formulaText(*tree, to).substr(1);
}

std::size_t Book::linkTo(std::string_view path) const
{
    const auto found = std::find(impl_->links.begin(), impl_->links.end(), path);
    return found == impl_->links.end() ? 0 : static_cast<std::size_t>(found - impl_->links.begin()) + 1;
}

std::vector<OtherBook> Book::otherBooks() const
{
    std::vector<OtherBook> books;
    for (const std::string& target : impl_->links) books.push_back({target, {}});
    for (const ExternalSheet& sheet : impl_->externalSheets) {
        if (sheet.link >= books.size()) continue;
        OtherBook::Sheet& made = books[sheet.link].sheets.emplace_back();
        made.name = sheet.name;
        for (const auto& [key, value] : sheet.cells)
            made.cells.push_back(
                {{0, static_cast<std::int32_t>(key >> 16), static_cast<std::int32_t>(key & 0xFFFF)}, value});
        std::sort(made.cells.begin(), made.cells.end(), [](const auto& a, const auto& b) {
            return std::pair(a.first.row, a.first.col) < std::pair(b.first.row, b.first.col);
        });
    }
    return books;
}

void Book::Impl::externalSheet(std::size_t link, std::string name)
{
    externalSheets.push_back({link, std::move(name), 0, 0, {}});
}

void Book::Impl::externalCell(std::int32_t row, std::int32_t col, Value value)
{
    ExternalSheet& sheet = externalSheets.back();
    sheet.rows = std::max(sheet.rows, row + 1);
    sheet.cols = std::max(sheet.cols, col + 1);
    sheet.cells[keyOf(row, col)] = std::move(value);
}

void Book::Impl::externalName(std::size_t link, std::string name, std::string formula)
{
    externalNames.push_back({link, std::move(name), std::move(formula)});
}

std::optional<Value> Book::Impl::externalValue(std::string_view reference, bool fixed) const
{
    const auto written = externalReference(reference);
    if (!written) return std::nullopt;
    std::size_t link = 0;
    const char* const end = written->book.data() + written->book.size();
    const auto number = std::from_chars(written->book.data(), end, link);
    if (number.ec == std::errc() && number.ptr == end && link > 0) {
        --link;
    } else {
        const auto found = std::find(links.begin(), links.end(), written->folder + written->book);
        link = static_cast<std::size_t>(found - links.begin());
    }
    std::string sheet = written->sheet, cells(written->rest);
    for (int depth = 0; depth < kDeepest; ++depth) {
        const auto tree = treeOf(cells, {});
        if (!tree) return std::nullopt;
        const Node& root = tree->root();
        if (root.sheet >= 0) sheet = tree->texts[static_cast<std::size_t>(root.sheet)];
        if (root.kind == NodeKind::Reference && root.lastSheet < 0)
            return externalArea(link, sheet, root, fixed && depth == 0);
        if (root.kind != NodeKind::Name) return std::nullopt;
        const std::string& name = tree->texts[static_cast<std::size_t>(root.text)];
        const auto found =
            std::find_if(externalNames.begin(), externalNames.end(),
                         [&](const ExternalName& e) { return e.link == link && equalTexts(e.name, name); });
        if (found == externalNames.end()) return std::nullopt;
        cells = found->formula;
    }
    return std::nullopt;
}

/// Values of a reference as seen from A1: one cell, or an array that ends with the last cells known where
/// whole rows or columns are meant.
std::optional<Value> Book::Impl::externalArea(std::size_t link, std::string_view name, const Node& n,
                                              bool fixed) const
{
    const bool relative = !n.first.rowAbsolute || !n.first.colAbsolute ||
                          (n.extent != Extent::Cell && (!n.last.rowAbsolute || !n.last.colAbsolute));
    if (fixed && relative) return std::nullopt;
    const auto sheet =
        std::find_if(externalSheets.begin(), externalSheets.end(),
                     [&](const ExternalSheet& s) { return s.link == link && equalTexts(s.name, name); });
    if (sheet == externalSheets.end()) return std::nullopt;
    const CellRef& last = n.extent == Extent::Cell ? n.first : n.last;
    const Area area{
        0, std::min(n.first.row, last.row), std::min(n.first.col, last.col),
        n.extent == Extent::WholeColumns ? std::max(sheet->rows, 1) - 1 : std::max(n.first.row, last.row),
        n.extent == Extent::WholeRows ? std::max(sheet->cols, 1) - 1 : std::max(n.first.col, last.col)};
    if (std::int64_t{area.rows()} * area.cols() > kMostElements) return std::nullopt;
    const std::string key = std::to_string(sheet - externalSheets.begin()) +
                            a1Text(Area{0, area.row0, area.col0, area.row1, area.col1});
    const auto known = externalAreas.find(key);
    if (known != externalAreas.end()) return known->second;
    std::vector<Value> items;
    for (std::int32_t row = area.row0; row <= area.row1; ++row)
        for (std::int32_t col = area.col0; col <= area.col1; ++col) {
            const auto cell = sheet->cells.find(keyOf(row, col));
            items.push_back(cell == sheet->cells.end() ? Value() : cell->second);
        }
    return externalAreas[key] = Value::array(area.rows(), area.cols(), std::move(items));
}

} // namespace varnex3::sheet
