// sheet/compile/Typing_cells.cpp - the typed instructions of one cell, and the slots that they share.
#include <algorithm>
#include <cmath>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {
namespace {

using Operand = TypedOperand;
using From = TypedOperand::From;
using Step = TypedTemplate::Step;

constexpr std::int64_t kLargestRun = 20000;

/// A stretch of neighbouring numbers in the store.
struct Run {
    Slot first;
    std::uint32_t count;
};

/// The cells of an area, column by column.
struct Grid {
    std::int32_t rows = 0, cols = 0;
    std::vector<std::pair<Slot, Kind>> cells;
};

/// Turns one template into instructions for one cell.
class Placer {
public:
    Placer(const TypedTemplate& typed, const Code& code, const CellAddress& here, Store& store,
           TypedPool& pool, TypedProgram& program, std::vector<std::pair<Slot, Kind>>& operands)
        : typed_(typed), code_(code), here_(here), store_(store), pool_(pool), program_(program),
          operands_(operands)
    {}
    bool place(Slot result);

private:
    static std::optional<CellAddress> picked(const Area& area, const TypedTemplate::Reading& reading);
    bool settle(const TypedTemplate::Reading& reading);
    bool settleRun(const Area& area, const TypedTemplate::Reading& reading);
    Slot compared(const TypedTemplate::Question& asked);
    bool settleCount(const TypedTemplate::Count& count);
    bool settleTable(const TypedTemplate::Table& table);
    bool readLine(const Area& area, bool numbersOnly, std::vector<std::pair<Slot, Kind>>& cells);
    void products(const Step& step, Slot d);
    bool choiceFits(const TypedTemplate::Choice& choice) const;
    void addChosen(const Step& step, Slot d);
    void instruction(const Step& step, Slot result, bool isLast);
    void runs(const Step& step, Slot d);
    Slot slot(const Operand& o);

    const TypedTemplate& typed_;
    const Code& code_;
    const CellAddress& here_;
    Store& store_;
    TypedPool& pool_;
    TypedProgram& program_;
    std::vector<std::pair<Slot, Kind>>& operands_;
    std::vector<Slot> slots_;                              // reading -> slot
    std::vector<Run> runs_;                                // of all readings
    std::vector<std::pair<std::size_t, std::size_t>> own_; // reading -> its runs
    std::vector<Kind> kinds_;                              // reading -> kind of its cell
    std::vector<Grid> grids_;                              // reading -> its cells, column by column
    std::vector<Slot> cells_;                              // reading -> its cell
    std::vector<double> filled_;                           // reading -> cells of its area that are not empty
    std::vector<double> counts_;
    std::vector<std::uint32_t> tables_; // of the template -> of the program
};

/// The cell that INDEX means.
std::optional<CellAddress> Placer::picked(const Area& area, const TypedTemplate::Reading& reading)
{
    std::int32_t row = reading.row, col = reading.col;
    if (col == 0 && area.rows() > 1 && area.cols() > 1) return std::nullopt; // a whole row
    if (col == 0) {
        col = area.rows() == 1 ? row : 1;
        row = area.rows() == 1 ? 1 : row;
    }
    if (row > area.rows() || col > area.cols()) return std::nullopt;
    return CellAddress{area.sheet, area.row0 + row - 1, area.col0 + col - 1};
}

bool Placer::settle(const TypedTemplate::Reading& reading)
{
    const Place& p = code_.places[reading.place];
    const auto area = resolve(p, here_);
    if (!area) return false;
    if (reading.isRun) return settleRun(*area, reading);
    const auto cell = reading.row > 0 ? picked(*area, reading) : implicitCell(*area, here_);
    if (!cell) return false;
    const Slot slot = store_.make(*cell);
    const Kind kind = store_.value(slot).kind();
    const bool fits = reading.allowsAny || kind == Kind::Number ||
                      (kind == Kind::Empty && reading.allowsEmpty) ||
                      (kind == Kind::Boolean && reading.allowsBoolean);
    if (!fits) return false;
    operands_.emplace_back(slot, kind);
    const bool hasNumber = kind == Kind::Number || kind == Kind::Empty || kind == Kind::Boolean;
    slots_.push_back(hasNumber ? slot : pool_.constant(0.0));
    own_.emplace_back(0, 0);
    kinds_.push_back(kind);
    cells_.push_back(slot);
    grids_.emplace_back();
    filled_.push_back(0.0);
    return true;
}

bool Placer::settleRun(const Area& area, const TypedTemplate::Reading& reading)
{
    if (static_cast<std::int64_t>(area.rows()) * area.cols() > kLargestRun) return false;
    const std::size_t begin = runs_.size();
    bool fits = true;
    double filled = 0.0;
    Grid grid{area.rows(), area.cols(), {}};
    // Cells that are not there yet could come to life unnoticed: their slots are made now.
    for (std::int32_t c = area.col0; c <= area.col1; ++c)
        for (std::int32_t r = area.row0; r <= area.row1; r += Store::kTileRows - r % Store::kTileRows)
            store_.make({area.sheet, r, c});
    store_.visitSlots(area, [&](std::int32_t, std::int32_t, Slot first, std::int32_t n) {
        for (Slot s = first; s < first + static_cast<Slot>(n) && fits; ++s) {
            const Kind kind = store_.value(s).kind();
            operands_.emplace_back(s, kind);
            if (kind != Kind::Empty) filled += 1.0;
            if (reading.isGrid) grid.cells.emplace_back(s, kind);
            if (kind == Kind::Failure || (reading.isPlain && kind != Kind::Number)) fits = false;
            if (kind != Kind::Number) continue;
            if (runs_.size() > begin && runs_.back().first + runs_.back().count == s) {
                ++runs_.back().count;
            } else {
                runs_.push_back({s, 1});
            }
        }
        return fits;
    });
    slots_.push_back(kNoSlot);
    own_.emplace_back(begin, runs_.size());
    kinds_.push_back(Kind::Reference);
    cells_.push_back(kNoSlot);
    grids_.push_back(std::move(grid));
    filled_.push_back(filled);
    if (reading.isPlain && area.rows() > 1 && area.cols() > 1) return false; // a column or a row
    return fits && (!reading.needsNumber || runs_.size() > begin);
}

Slot Placer::slot(const Operand& o)
{
    switch (o.from) {
    case From::Constant: return pool_.constant(typed_.constants[o.index]);
    case From::Place: return slots_[o.index];
    case From::Temporary: return pool_.temporary(o.index);
    case From::Count: return pool_.constant(counts_[o.index]);
    case From::Question: {
        const TypedTemplate::Question& asked = typed_.questions[o.index];
        if (asked.comparison) return compared(asked);
        const auto kind = static_cast<unsigned>(kinds_[asked.reading]);
        return pool_.constant((asked.kinds >> kind & 1U) != 0 ? 1.0 : 0.0);
    }
    default: return 0;
    }
}

/// Only of a text does the answer depend on more than the kind.
Slot Placer::compared(const TypedTemplate::Question& asked)
{
    TypedComparison comparison = *asked.comparison;
    comparison.cell = cells_[asked.reading];
    const Value now = store_.value(comparison.cell);
    if (!now.isText()) return pool_.constant(comparison.holdsFor(now) ? 1.0 : 0.0);
    comparison.answer = pool_.answer(comparison);
    const bool known = std::any_of(program_.comparisons.begin(), program_.comparisons.end(),
                                   [&](const auto& c) { return c.answer == comparison.answer; });
    if (!known) program_.comparisons.push_back(comparison);
    return comparison.answer;
}

bool Placer::settleCount(const TypedTemplate::Count& count)
{
    double n = count.more;
    for (const std::uint32_t reading : count.readings) n += count.filled ? filled_[reading] : 0.0;
    for (const std::uint32_t reading : count.filled ? std::vector<std::uint32_t>() : count.readings)
        for (std::size_t k = own_[reading].first; k < own_[reading].second; ++k) n += runs_[k].count;
    counts_.push_back(n);
    return n >= count.fewest;
}

/// The cells of an area, row by row.
bool Placer::readLine(const Area& area, bool numbersOnly, std::vector<std::pair<Slot, Kind>>& cells)
{
    if (static_cast<std::int64_t>(area.rows()) * area.cols() > kLargestRun) return false;
    for (std::int32_t r = area.row0; r <= area.row1; ++r) {
        for (std::int32_t c = area.col0; c <= area.col1; ++c) {
            const Slot slot = store_.make({area.sheet, r, c});
            const Kind kind = store_.value(slot).kind();
            if (numbersOnly && kind != Kind::Number) return false;
            cells.emplace_back(slot, kind);
        }
    }
    return true;
}

bool Placer::settleTable(const TypedTemplate::Table& table)
{
    const bool picks = table.how == TypedTable::How::Pick;
    const Place& place = code_.places[picks ? table.values : table.keys];
    const auto whole = resolve(place, here_);
    if (!whole || place.lastSheet >= 0) return false;
    TypedTable made;
    made.how = table.how;
    made.fromEnd = table.fromEnd;
    made.identity = {static_cast<std::int32_t>(table.how),
                     whole->sheet,
                     whole->row0,
                     whole->col0,
                     whole->row1,
                     whole->col1,
                     table.line,
                     table.rowwise ? 1 : 0,
                     table.fromEnd ? 1 : 0,
                     table.numbersOnly ? 1 : 0};
    Area keys = *whole, values = *whole;
    if (table.hasValues) {
        const auto results = resolve(code_.places[table.values], here_);
        if (!results || code_.places[table.values].lastSheet >= 0) return false;
        made.identity.insert(made.identity.end(),
                             {results->sheet, results->row0, results->col0, results->row1, results->col1});
        values = *results;
    }
    for (std::uint32_t t = 0; t < program_.tables.size(); ++t) {
        if (program_.tables[t].identity != made.identity) continue;
        tables_.push_back(t);
        return true;
    }
    if (picks) {
        made.rows = static_cast<std::size_t>(whole->rows());
        made.cols = static_cast<std::size_t>(whole->cols());
        if (table.line == 1 && made.rows > 1 && made.cols > 1) return false;    // a whole row
        if (table.line == 1 && made.rows == 1) std::swap(made.rows, made.cols); // along the row
        if (!readLine(values, false, made.cells)) return false;
    } else if (table.line == 0) {
        if (keys.rows() > 1 && keys.cols() > 1) return false;
        if (!readLine(keys, true, made.keyCells)) return false;
        const bool alike = keys.rows() == values.rows() && keys.cols() == values.cols();
        if (table.hasValues && (!alike || !readLine(values, false, made.cells))) return false;
    } else {
        const bool longest = table.line == TypedTemplate::Table::kLongest;
        const bool rowwise = longest ? whole->cols() > whole->rows() : table.rowwise;
        const std::int32_t lines = rowwise ? whole->rows() : whole->cols();
        const std::int32_t line = longest ? lines : table.line;
        if (line > lines) return false;
        if (rowwise) {
            keys.row1 = keys.row0;
            values.row0 = values.row1 = whole->row0 + line - 1;
        } else {
            keys.col1 = keys.col0;
            values.col0 = values.col1 = whole->col0 + line - 1;
        }
        if (!readLine(keys, true, made.keyCells) || !readLine(values, false, made.cells)) return false;
    }
    const auto isNumber = [](const std::pair<Slot, Kind>& cell) { return cell.second == Kind::Number; };
    if (table.numbersOnly && !std::all_of(made.cells.begin(), made.cells.end(), isNumber)) return false;
    made.read(store_.values());
    tables_.push_back(static_cast<std::uint32_t>(program_.tables.size()));
    program_.tables.push_back(std::move(made));
    return true;
}

/// Pairs of neighbours in both areas.
void Placer::products(const Step& step, Slot d)
{
    Slot start = slot(step.b);
    std::vector<Slot> x, y;
    const auto list = [&](const Operand& o, std::vector<Slot>& slots) {
        for (std::size_t k = own_[o.index].first; k < own_[o.index].second; ++k)
            for (std::uint32_t i = 0; i < runs_[k].count; ++i) slots.push_back(runs_[k].first + i);
    };
    list(step.a, x);
    list(step.e, y);
    for (std::size_t i = 0; i < x.size();) {
        std::size_t n = 1;
        while (i + n < x.size() && x[i + n] == x[i] + n && y[i + n] == y[i] + n) ++n;
        program_.instructions.push_back({step.op, d, x[i], start, static_cast<std::uint32_t>(n), y[i]});
        start = d;
        i += n;
    }
}

/// Areas of one size, and none whose texts would have to be read as numbers.
bool Placer::choiceFits(const TypedTemplate::Choice& choice) const
{
    constexpr std::size_t kMostCells = 256;
    const Grid& first = grids_[choice.criteria.front().reading];
    const auto alike = [&](const Grid& g) {
        const std::size_t all = static_cast<std::size_t>(g.rows) * static_cast<std::size_t>(g.cols);
        return g.rows == first.rows && g.cols == first.cols && g.cells.size() == all && all <= kMostCells;
    };
    for (const auto& criterion : choice.criteria) {
        const Grid& grid = grids_[criterion.reading];
        if (!alike(grid)) return false;
        for (const auto& [slot, kind] : grid.cells) {
            if (criterion.relation == TypedOp::NotEqual && kind != Kind::Number) return false;
            if (criterion.relation == TypedOp::Equal && kind == Kind::Text) return false;
        }
    }
    return !choice.values || alike(grids_[*choice.values]);
}

/// Cell by cell; one that is no number meets no criterion.
void Placer::addChosen(const Step& step, Slot d)
{
    const TypedTemplate::Choice& choice = typed_.choices[step.table];
    const Slot mask = slot(step.c), further = slot(step.e);
    program_.instructions.push_back({TypedOp::Copy, d, slot(step.a), 0, 0, 0});
    const std::size_t cells = grids_[choice.criteria.front().reading].cells.size();
    for (std::size_t k = 0; k < cells; ++k) {
        const auto isNumber = [&](std::uint32_t reading) {
            return grids_[reading].cells[k].second == Kind::Number;
        };
        bool may = !choice.values || isNumber(*choice.values);
        for (const auto& criterion : choice.criteria) may = may && isNumber(criterion.reading);
        if (!may) continue;
        bool first = true;
        for (const auto& criterion : choice.criteria) {
            const Slot cell = grids_[criterion.reading].cells[k].first;
            program_.instructions.push_back(
                {criterion.relation, first ? mask : further, cell, slot(criterion.operand), 0, 0});
            if (!first) program_.instructions.push_back({TypedOp::Both, mask, mask, further, 0, 0});
            first = false;
        }
        const Slot value = choice.counts ? pool_.constant(1.0) : grids_[*choice.values].cells[k].first;
        program_.instructions.push_back({TypedOp::AddChosen, d, d, mask, value, 0});
    }
}

void Placer::runs(const Step& step, Slot d)
{
    if (step.op == TypedOp::ProductsRun) return products(step, d);
    const Slot from = step.op == TypedOp::DeviationsRun ? slot(step.e) : 0;
    Slot start = slot(step.b);
    const auto append = [&](Slot first, std::uint32_t count) {
        program_.instructions.push_back({step.op, d, first, start, count, from});
        start = d;
    };
    if (step.a.from != From::Place || !typed_.readings[step.a.index].isRun) return append(slot(step.a), 1);
    const auto [begin, end] = own_[step.a.index];
    for (std::size_t k = begin; k < end; ++k) append(runs_[k].first, runs_[k].count);
    if (begin < end) return;
    const bool nothing = step.b.from == From::Constant && std::isinf(typed_.constants[step.b.index]);
    program_.instructions.push_back({TypedOp::Copy, d, nothing ? pool_.constant(0.0) : start, 0, 0, 0});
}

void Placer::instruction(const Step& step, Slot result, bool isLast)
{
    const Slot d = isLast ? result : slot(step.d);
    if (isRun(step.op)) return runs(step, d);
    if (step.op == TypedOp::AddChosen) return addChosen(step, d);
    TypedInstruction in{step.op, d, slot(step.a), slot(step.b), slot(step.c), slot(step.e)};
    if (step.op == TypedOp::One) {
        in.b = static_cast<std::uint32_t>(program_.ones.size());
        if (program_.ones.empty() || program_.ones.back() != step.one) {
            program_.ones.push_back(step.one);
        } else {
            --in.b;
        }
    } else if (step.op == TypedOp::Two) {
        in.c = static_cast<std::uint32_t>(program_.twos.size());
        if (program_.twos.empty() || program_.twos.back() != step.two) {
            program_.twos.push_back(step.two);
        } else {
            --in.c;
        }
    } else if (step.op == TypedOp::Body) {
        TypedBody body = typed_.bodies[step.table];
        body.environment = &pool_.environment();
        const auto known = std::find(program_.bodies.begin(), program_.bodies.end(), body);
        in.e = static_cast<std::uint32_t>(known - program_.bodies.begin());
        if (known == program_.bodies.end()) program_.bodies.push_back(std::move(body));
    } else if (step.op == TypedOp::Find) {
        in.b = tables_[step.table];
    } else if (step.op == TypedOp::Pick) {
        in.c = tables_[step.table];
    }
    program_.instructions.push_back(in);
}

bool Placer::place(Slot result)
{
    const std::size_t known = operands_.size();
    for (const TypedTemplate::Reading& reading : typed_.readings) {
        if (settle(reading)) continue;
        operands_.resize(known);
        return false;
    }
    bool fits = true;
    for (const TypedTemplate::Question& asked : typed_.questions)
        fits = fits && !(asked.comparison && kinds_[asked.reading] == Kind::Failure);
    for (const TypedTemplate::Count& count : typed_.counts) fits = fits && settleCount(count);
    for (const TypedTemplate::Step& step : typed_.steps) {
        if (step.op != TypedOp::ProductsRun) continue;
        const auto length = [&](const Operand& o) {
            std::size_t n = 0;
            for (std::size_t k = own_[o.index].first; k < own_[o.index].second; ++k) n += runs_[k].count;
            return n;
        };
        const auto x = resolve(code_.places[typed_.readings[step.a.index].place], here_);
        const auto y = resolve(code_.places[typed_.readings[step.e.index].place], here_);
        fits = fits && length(step.a) == length(step.e) && x->rows() == y->rows();
    }
    for (const TypedTemplate::Choice& choice : typed_.choices) fits = fits && choiceFits(choice);
    const std::size_t tables = program_.tables.size();
    for (const TypedTemplate::Table& table : typed_.tables) fits = fits && settleTable(table);
    if (!fits) {
        operands_.resize(known);
        program_.tables.resize(tables);
        return false;
    }
    // The last instruction writes the result itself where nothing jumps past it.
    const bool jumps = !typed_.steps.empty() && [&] {
        for (const Step& step : typed_.steps)
            if (isJump(step.op)) return true;
        return false;
    }();
    const bool direct = !jumps && !typed_.steps.empty() && typed_.steps.back().d == typed_.value;
    std::vector<std::uint32_t> starts;
    std::vector<std::pair<std::size_t, std::uint32_t>> aims, holds; // instruction, step it leads to
    for (std::size_t i = 0; i < typed_.steps.size(); ++i) {
        const Step& step = typed_.steps[i];
        starts.push_back(static_cast<std::uint32_t>(program_.instructions.size()));
        const auto at = static_cast<std::uint32_t>(program_.instructions.size());
        if (isJump(step.op)) aims.emplace_back(at, step.target);
        if (step.op == TypedOp::Holds) holds.emplace_back(at, step.target);
        instruction(step, result, direct && i + 1 == typed_.steps.size());
    }
    starts.push_back(static_cast<std::uint32_t>(program_.instructions.size()));
    if (!direct) program_.instructions.push_back({TypedOp::Copy, result, slot(typed_.value), 0, 0, 0});
    for (const auto& [jump, step] : aims) program_.instructions[jump].d = starts[step];
    for (const auto& [at, step] : holds)
        program_.instructions[at].c = step == kNoHolds ? kNoHolds : starts[step];
    return true;
}

} // namespace

Slot TypedPool::take()
{
    if (next_ == end_) {
        next_ = store_.makeScratch(Store::kTileRows);
        end_ = next_ + Store::kTileRows;
    }
    store_.value(next_) = Value(0.0);
    return next_++;
}

Slot TypedPool::constant(double x)
{
    const auto [at, isNew] = constants_.try_emplace(std::bit_cast<std::uint64_t>(x), kNoSlot);
    if (isNew) {
        at->second = take();
        store_.value(at->second) = Value(x);
    }
    return at->second;
}

Slot TypedPool::answer(const TypedComparison& comparison)
{
    const auto [at, isNew] = answers_.try_emplace(
        {comparison.cell, comparison.op, comparison.textFirst, comparison.text.text()}, kNoSlot);
    if (isNew) at->second = take();
    return at->second;
}

Slot TypedPool::temporary(std::uint32_t i)
{
    while (temporaries_.size() <= i) temporaries_.push_back(take());
    return temporaries_[i];
}

bool appendTyped(const TypedTemplate& typed, const Code& code, const CellAddress& here, Slot result,
                 Store& store, TypedPool& pool, TypedProgram& program,
                 std::vector<std::pair<Slot, Kind>>& operands)
{
    if (!typed.possible) return false;
    return Placer(typed, code, here, store, pool, program, operands).place(result);
}

} // namespace varnex3::sheet
