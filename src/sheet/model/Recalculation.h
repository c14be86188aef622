// sheet/model/Recalculation.h - brings formulas up to date, in order and only those that are affected.
//
// For every set of written cells the affected formulas and their order are worked out once (a plan); from
// its second use on, a plan carries straight-line code for the formulas whose operands are numbers.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "sheet/compile/Typing.h"
#include "sheet/exec/Evaluator.h"
#include "sheet/exec/Store.h"
#include "sheet/graph/Dependencies.h"
#include "sheet/graph/Ordering.h"
#include "sheet/model/FormulaTable.h"
#include "sheet/model/Plan.h"

namespace varnex3::sheet {

class Recalculation {
public:
    Recalculation(Store& store, FormulaTable& formulas, Evaluator& evaluator)
        : store_(store), formulas_(formulas), evaluator_(evaluator)
    {}

    // What happened since the last recalculation.
    void valueWritten(Slot slot)
    {
        if (store_.isMarked(slot, Store::kWritten)) return;
        store_.markWritten(slot);
        written_.push_back(slot);
    }
    /// The kind of a value that no formula gives has changed.
    void kindChanged() { ++kinds_; }
    /// A formula is new or has another code; its precedents must be linked.
    void formulaChanged(FormulaId f);
    /// A formula goes away; call before the table forgets it.
    void formulaRemoved(FormulaId f);
    /// Everything may be different: links all formulas anew.
    void relinkAll();
    void needAll() { all_ = true; }
    /// Before slots go away with their sheet: nothing of them is remembered.
    void forgetSlots()
    {
        forgetWritten();
        forgetChanged();
        reshaped_.clear();
        again_.clear();
        refused_.clear();
        circular_.clear();
        iterated_.clear();
    }
    /// Before a further cell of a spilled block gets a content of its own, or the formula goes away.
    void withdraw(FormulaId f);
    void checkSpill(FormulaId f);
    /// Areas that no formula spills into: tables, merged cells.
    void closedAreas(std::vector<Area> areas) { closed_ = std::move(areas); }
    /// Whether the next recalculation may ask for the time of day.
    bool needsTime() const { return all_ || !changed_.empty() || !everyTime_.empty(); }

    void calculate();
    void calculateAll();
    /// The code for many trials at once of what lies between some written cells and some cells read. Nothing
    /// unless all of it is typed, the written cells hold plain numbers and nothing waits for recalculation.
    std::optional<TrialCode> trialCode(const std::vector<Slot>& inputs, const std::vector<Slot>& outputs);
    /// Whether a trial code still gives what a recalculation would.
    bool fits(const TrialCode& code) const;
    /// Announces a run of trial code. A number that changes whenever cells may have changed that it does not
    /// work out.
    std::uint64_t valuesFor(const TrialCode& code);
    /// Circular references are evaluated again and again, at most `rounds` times, until no value changes by
    /// `change` or more; 0 rounds: they are failures.
    void iterate(int rounds, double change)
    {
        rounds_ = rounds;
        change_ = change;
    }
    /// For tests and measurements: false leaves everything to the general evaluator.
    void useTypedCode(bool use);

    /// Formulas that are part of a circular reference, with the formulas around it.
    using Circle = std::shared_ptr<const std::vector<FormulaId>>;
    const std::unordered_map<FormulaId, Circle>& circular() const { return circular_; }
    /// Formulas of circular references that were iterated.
    const std::unordered_set<FormulaId>& iterated() const { return iterated_; }

private:
    void link(FormulaId f, bool add);
    void outputs(FormulaId f, FunctionRef<void(Slot)> visitor) const;
    void appendReaders(GraphNode node, std::vector<GraphNode>& out) const;
    Order orderFrom(const std::vector<Slot>& slots, const std::vector<FormulaId>& formulas);
    Order orderOf(const std::vector<Slot>& slots, const std::vector<FormulaId>& formulas);
    bool anyDynamic(const Order& order) const;

    static constexpr std::uint64_t kNoPlan = 0;
    /// The cells that a plan works out are about to change.
    void valuesChange(std::uint64_t plan)
    {
        if (plan == kNoPlan || plan != ran_) ++values_;
        ran_ = plan;
    }
    void forgetPlans()
    {
        store_.settle();
        plans_.clear();
        last_ = nullptr;
        ++structure_;
    }
    Plan& planFor(const std::vector<Slot>& written);
    void runPlan(Plan& plan);
    void runGeneral(const Order& order, std::size_t begin, bool dirty);
    void runLoop(const Order& order, std::size_t begin, std::size_t end);
    std::vector<std::uint32_t> levelsOf(const Order& order) const;
    void runBuilt(Plan& plan);
    void build(Plan& plan);
    bool kindsHold(Plan& plan);
    void giveUp(Plan& plan, std::size_t position);
    void markDirty(const Order& order);
    void clearDirty(FormulaId f);
    void bring(FormulaId f);
    bool evaluate(FormulaId f);
    void store(FormulaId f, Value result);
    void storeAt(Slot slot, Value v);
    void storeElements(FormulaId f, const Value& result);
    Area extent(FormulaId f) const;
    void spill(FormulaId f, Value result);
    bool makeRoom(FormulaId f, const Area& wanted);
    void reshape(FormulaId f, const Area& next);
    void retryRefused();
    void settleSpills();
    bool mayBeCovered(const Order& order, const std::vector<std::pair<Slot, Kind>>& cells);
    std::vector<FormulaId> formulasBetween(const std::vector<Slot>& inputs, const std::vector<Slot>& headers);
    bool evaluateTable(FormulaId f);
    void closeLoop(std::size_t from);
    void iterateLoop(std::vector<FormulaId>& members);
    double evaluateAgain(FormulaId f);
    void sortByPlace(std::vector<FormulaId>& members) const;
    void forgetWritten();
    void forgetChanged();
    void dropRemoved();

    Store& store_;
    FormulaTable& formulas_;
    Evaluator& evaluator_;
    Dependencies dependencies_;
    Ordering ordering_;
    std::vector<Slot> written_;
    std::vector<FormulaId> changed_;   // formulas to be evaluated whatever was written
    std::vector<FormulaId> everyTime_; // volatile and dynamic ones, perhaps also removed ones
    /// What lists a formula is in, by formula; a set of bits.
    enum Listed : std::uint8_t { kChanged = 1, kEveryTime = 2, kWantsEveryTime = 4 };
    std::uint8_t& listed(FormulaId f)
    {
        if (f >= listed_.size()) listed_.resize(formulas_.size() + formulas_.size() / 2, 0);
        return listed_[f];
    }
    std::vector<std::uint8_t> listed_;
    bool anyRemoved_ = false; // in everyTime_
    std::vector<std::unique_ptr<Plan>> plans_;
    Plan* last_ = nullptr;
    bool all_ = false;
    bool useTyped_ = true;
    std::uint64_t kinds_ = 1; // grows with every change of a cell's kind that a plan did not expect
    std::uint64_t uses_ = 0;
    std::uint64_t ids_ = kNoPlan; // of plans so far
    std::uint64_t ran_ = kNoPlan; // the plan that ran last
    std::uint64_t values_ = 0;    // grows when another plan runs than before
    std::uint64_t structure_ = 0; // grows when formulas change
    struct Frame {
        FormulaId formula;
        bool started;
    };
    std::vector<Frame> path_;
    std::unordered_map<FormulaId, Circle> circular_;
    std::vector<Slot> reshaped_;                  // cells that got or lost a block, and its first one
    std::vector<FormulaId> again_;                // spilling formulas to be evaluated once more
    std::map<FormulaId, Area> refused_;           // what formulas that show #SPILL! wanted
    std::unordered_map<FormulaId, int> reshapes_; // in the calculation that runs
    std::unordered_map<FormulaId, Value> pinned_; // results that stand until its end
    std::vector<Area> closed_;                    // not to be spilled into
    std::unordered_set<FormulaId> iterated_;
    int rounds_ = 0;
    double change_ = 0.0;
    bool frozen_ = false;                  // spilled blocks keep their sizes
    bool inLoop_ = false;                  // closed circles are collected for iteration
    std::vector<FormulaId> inClosedLoops_; // what was found to be circular since
    std::vector<Slot> sortedKey_;          // scratch
    TypedPool pool_{store_, evaluator_.environment()};
};

} // namespace varnex3::sheet
