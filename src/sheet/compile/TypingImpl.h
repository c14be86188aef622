// sheet/compile/TypingImpl.h - the work of making one template. Private to compile/.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

#include "sheet/compile/Typing.h"
#include "sheet/formula/Tree.h"

namespace varnex3::sheet {

inline bool isRun(TypedOp op) { return op >= TypedOp::SumRun && op <= TypedOp::ProductsRun; }
inline bool isJump(TypedOp op)
{
    return op == TypedOp::JumpIfZero || op == TypedOp::Jump || op == TypedOp::Try;
}

/// Runs the stack code with operands in place of values; gives up at the first thing that is not a matter of
/// numbers.
class Typist {
    using Operand = TypedOperand;
    using From = TypedOperand::From;
    using Step = TypedTemplate::Step;

public:
    explicit Typist(const Code& code) : code_(code) {}
    TypedTemplate run();

private:
    struct Entry {
        Operand operand;
        Kind kind = Kind::Number;
        bool isArea = false;     // operand is a place whose cells are meant
        bool stops = false;      // a value that typed code does not go on with: a text, an error
        std::uint32_t value = 0; // of those: which constant of the code
    };
    struct Branch {
        std::size_t otherwise = 0, end = 0; // jumps to be aimed
        Operand result;
        Kind kind = Kind::Number;
        bool stops = false;
    };
    /// A CHOOSE or SWITCH: an IF for every value.
    struct Cases {
        Operand selector;
        std::size_t values = 0, done = 0; // of a CHOOSE; of a SWITCH 0, and the tests so far
    };

    bool instruction(std::size_t at);
    bool unary(Operator op);
    bool operation(const Instruction& in);
    bool call(const CallSite& site);
    bool body(const CallSite& site);
    bool chosen(const CallSite& site);
    bool criterion(std::size_t range, TypedTemplate::Choice& choice);
    Operand addChosen(TypedTemplate::Choice choice, bool counts);
    bool fold(const CallSite& site, TypedOp run, double start, TypedOp joining);
    bool average(const CallSite& site);
    bool extreme(const CallSite& site, TypedOp run);
    Operand sumOf(const CallSite& site, TypedOp run, Operand total, TypedOp joining, Operand from = {});
    bool statistic(const CallSite& site, std::optional<double> less, bool root);
    bool products(const CallSite& site);
    bool lookUp(const CallSite& site, bool rowwise);
    bool match(const CallSite& site);
    bool lookUpSorted(const CallSite& site);
    bool lookUpByMode(const CallSite& site, bool position);
    bool find(std::size_t arguments, const TypedTemplate::Table& table);
    bool index(const CallSite& site);
    Operand count(const CallSite& site, double less, double fewest);
    std::optional<double> constantAt(std::size_t position) const;
    void drop(std::size_t arguments, Operand result)
    {
        stack_.resize(stack_.size() - arguments);
        push(result);
    }
    bool connective(const CallSite& site, TypedOp op);
    void binary(TypedOp op, Kind kind);
    void sum(bool minus, bool final);

    // Branches, and what they do about errors (Typing_branches.cpp)
    bool branching(std::size_t at);
    bool single(Entry& e);
    bool anyStops(std::size_t count) const;
    bool ifTest();
    bool ifThen();
    bool ifEnd();
    bool ifError(bool onlyNA);
    bool choose(std::size_t values);
    bool nextChoice();
    bool switchTest();
    bool switchEnd();
    std::optional<Operand> holds(const Entry& e, bool onlyNA);
    void insertTry(std::size_t at);
    bool maySucceed(const Step& pick) const;
    bool question(const CallSite& site);
    bool compareText(const Instruction& in);

    Operand temporary() { return {From::Temporary, typed_.temporaries++}; }
    Operand constant(double x)
    {
        typed_.constants.push_back(x);
        return {From::Constant, static_cast<std::uint32_t>(typed_.constants.size() - 1)};
    }
    Operand read(std::uint32_t place, bool isRun)
    {
        typed_.readings.push_back({place, false, true, isRun});
        return {From::Place, static_cast<std::uint32_t>(typed_.readings.size() - 1)};
    }
    Step& emit(TypedOp op, Operand a, Operand b = {}, Operand c = {}, Operand e = {})
    {
        typed_.steps.push_back({op, temporary(), a, b, c, e});
        return typed_.steps.back();
    }
    std::uint32_t label()
    {
        barrier_ = typed_.steps.size();
        return static_cast<std::uint32_t>(barrier_);
    }
    Entry pop()
    {
        const Entry e = stack_.back();
        stack_.pop_back();
        return e;
    }
    /// The operand as arithmetic takes it.
    Operand arithmetic(const Entry& e)
    {
        if (e.operand.from == From::Place) typed_.readings[e.operand.index].allowsBoolean = true;
        return e.operand;
    }
    void push(Operand o, Kind kind = Kind::Number) { stack_.push_back({o, kind, false}); }
    /// The step that is `back` steps from the end, when it is a product that only `o` takes.
    const Step* product(Operand o, std::size_t back) const;

    const Code& code_;
    TypedTemplate typed_;
    std::vector<Entry> stack_;
    std::vector<Entry> locals_;       // what the names of LET stand for
    std::vector<std::size_t> starts_; // by stack position: the first step of what stands there
    std::vector<Branch> branches_;
    std::vector<Cases> cases_;
    std::size_t barrier_ = 0;
};

} // namespace varnex3::sheet
