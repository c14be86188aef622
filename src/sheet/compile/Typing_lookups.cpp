// sheet/compile/Typing_lookups.cpp - the typed code of searches and of INDEX.
#include <cmath>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {

std::optional<double> Typist::constantAt(std::size_t position) const
{
    const Entry& e = stack_[position];
    if (e.isArea || e.operand.from != From::Constant) return std::nullopt;
    return typed_.constants[e.operand.index];
}

/// Looks the first of some arguments up.
bool Typist::find(std::size_t arguments, const TypedTemplate::Table& table)
{
    const Entry& sought = stack_[stack_.size() - arguments];
    if (sought.isArea || sought.kind != Kind::Number) return false;
    typed_.tables.push_back(table);
    Step& step = emit(TypedOp::Find, sought.operand);
    step.table = static_cast<std::uint32_t>(typed_.tables.size() - 1);
    drop(arguments, step.d);
    return true;
}

/// VLOOKUP and HLOOKUP of a number in a table of numbers.
bool Typist::lookUp(const CallSite& site, bool rowwise)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || !stack_[first + 1].isArea) return false;
    const auto line = constantAt(first + 2);
    const auto sorted = site.count > 3 ? constantAt(first + 3) : std::optional(1.0);
    if (!line || !sorted || !(*line >= 1.0 && *line <= kMaxColumns)) return false;
    TypedTemplate::Table table;
    table.how = *sorted != 0.0 ? TypedTable::How::Ascending : TypedTable::How::Exact;
    table.keys = stack_[first + 1].operand.index;
    table.line = static_cast<std::int32_t>(*line);
    table.rowwise = rowwise;
    return find(site.count, table);
}

bool Typist::match(const CallSite& site)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || !stack_[first + 1].isArea) return false;
    const auto type = site.count > 2 ? constantAt(first + 2) : std::optional(1.0);
    if (!type) return false;
    const Operand& sought = stack_[first].operand; // an empty cell is looked for as itself, not as 0
    if (sought.from == From::Place) typed_.readings[sought.index].allowsEmpty = false;
    TypedTemplate::Table table;
    table.how = *type == 0.0  ? TypedTable::How::Exact
                : *type > 0.0 ? TypedTable::How::Ascending
                              : TypedTable::How::Descending;
    table.keys = stack_[first + 1].operand.index;
    return find(site.count, table);
}

/// LOOKUP in a sorted line, its results in another one or on the other side of the same area.
bool Typist::lookUpSorted(const CallSite& site)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || !stack_[first + 1].isArea || !stack_.back().isArea) return false;
    TypedTemplate::Table table;
    table.how = TypedTable::How::Ascending;
    table.keys = stack_[first + 1].operand.index;
    table.values = stack_.back().operand.index;
    table.hasValues = site.count > 2;
    table.line = site.count > 2 ? 0 : TypedTemplate::Table::kLongest;
    return find(site.count, table);
}

/// XLOOKUP and XMATCH of a number; what XLOOKUP gives when it finds nothing is a number, too.
bool Typist::lookUpByMode(const CallSite& site, bool position)
{
    const std::size_t first = stack_.size() - site.count, modes = position ? 2 : 4;
    const std::uint64_t optional = position ? 0 : 8; // what it gives when it finds nothing
    if ((site.missing & ~optional) != 0 || !stack_[first + 1].isArea) return false;
    const auto mode = site.count > modes ? constantAt(first + modes) : std::optional(0.0);
    const auto search = site.count > modes + 1 ? constantAt(first + modes + 1) : std::optional(1.0);
    if (!mode || !search || !(std::fabs(*mode) <= 1.0) || !(std::fabs(*search) <= 2.0)) return false;
    if (std::trunc(*search) == 0.0) return false;
    TypedTemplate::Table table;
    const double match = std::trunc(*mode);
    table.how = match == 0.0  ? TypedTable::How::Exact
                : match < 0.0 ? TypedTable::How::Below
                              : TypedTable::How::Above;
    table.fromEnd = std::trunc(*search) == -1.0;
    table.keys = stack_[first + 1].operand.index;
    if (position) return find(site.count, table);
    if (!stack_[first + 2].isArea) return false;
    table.values = stack_[first + 2].operand.index;
    table.hasValues = true;
    if (site.count < 4 || (site.missing & optional) != 0) return find(site.count, table);
    Entry instead = stack_[first + 3];
    if (!single(instead) || !find(site.count, table) || !ifError(true)) return false;
    stack_.push_back(instead);
    return ifEnd();
}

/// INDEX of one cell.
bool Typist::index(const CallSite& site)
{
    const std::size_t first = stack_.size() - site.count;
    if (site.missing != 0 || site.count < 2 || site.count > 3 || !stack_[first].isArea) return false;
    for (std::size_t i = first + 1; i < stack_.size(); ++i)
        if (stack_[i].isArea) return false;
    const auto at = constantAt(first + 1), across = site.count > 2 ? constantAt(first + 2) : at;
    if (at && across) {
        if (!(*at >= 1.0 && *at < kMaxRows && *across >= 1.0 && *across < kMaxRows)) return false;
        const Operand cell = read(stack_[first].operand.index, false);
        typed_.readings.back().row = static_cast<std::int32_t>(*at);
        typed_.readings.back().col = site.count > 2 ? static_cast<std::int32_t>(*across) : 0;
        typed_.readings.back().allowsEmpty = false; // the one who takes the reference may leave it out
        drop(site.count, emit(TypedOp::Copy, cell).d);
        return true;
    }
    TypedTemplate::Table table;
    table.how = TypedTable::How::Pick;
    table.values = stack_[first].operand.index;
    table.line = static_cast<std::int32_t>(site.count) - 1; // numbers given
    typed_.tables.push_back(table);
    const Operand row = arithmetic(stack_[first + 1]);
    const Operand col = site.count > 2 ? arithmetic(stack_[first + 2]) : constant(1.0);
    Step& step = emit(TypedOp::Pick, row, col);
    step.table = static_cast<std::uint32_t>(typed_.tables.size() - 1);
    drop(site.count, step.d);
    return true;
}

} // namespace varnex3::sheet
