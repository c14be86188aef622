// sheet/compile/Typing_calls.cpp - the typed code of worksheet functions.
#include <algorithm>
#include <cmath>
#include <optional>
#include <string_view>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {

bool Typist::call(const CallSite& site)
{
    const FunctionRow& row = *site.row;
    const std::string_view name = row.name;
    if (name == "INDEX") return index(site);
    if (name == "XLOOKUP") return lookUpByMode(site, false);
    if (row.traits != Trait::Pure || site.count == 0) return false;
    if (name == "AVERAGE") return average(site);
    if (name == "COUNT") {
        drop(site.count, sumOf(site, TypedOp::PresentRun, count(site, 0.0, 0.0), TypedOp::Given));
        return true;
    }
    if (name == "COUNTA") {
        const Operand counted = count(site, 0.0, 0.0);
        typed_.counts.back().filled = true;
        drop(site.count, sumOf(site, TypedOp::PresentRun, counted, TypedOp::Given));
        return true;
    }
    if (name.starts_with("IS") && site.count == 1 && question(site)) return true;
    if (name == "VAR" || name == "VAR.S") return statistic(site, 1.0, false);
    if (name == "VARP" || name == "VAR.P") return statistic(site, 0.0, false);
    if (name == "STDEV" || name == "STDEV.S") return statistic(site, 1.0, true);
    if (name == "STDEVP" || name == "STDEV.P") return statistic(site, 0.0, true);
    if (name == "SUMPRODUCT") return products(site);
    if (name == "VLOOKUP") return lookUp(site, false);
    if (name == "HLOOKUP") return lookUp(site, true);
    if (name == "MATCH") return match(site);
    if (name == "LOOKUP") return lookUpSorted(site);
    if (name == "XMATCH") return lookUpByMode(site, true);
    if (name == "PRODUCT") return fold(site, TypedOp::ProductRun, 1.0, TypedOp::Multiply);
    if (name == "DEVSQ") return statistic(site, {}, false);
    if (name == "SUM") return fold(site, TypedOp::SumRun, 0.0, TypedOp::Add);
    if (name == "SUMSQ") return fold(site, TypedOp::SumSquaresRun, 0.0, TypedOp::AddProduct);
    if (name == "MIN") return extreme(site, TypedOp::LeastRun);
    if (name == "MAX") return extreme(site, TypedOp::GreatestRun);
    if (name == "AND") return connective(site, TypedOp::Both);
    if (name == "OR") return connective(site, TypedOp::Either);
    if (name == "XOR") return connective(site, TypedOp::Exclusive);
    const auto takesNumber = [&](int i) { return row.parameters.of(i).take == Take::Number; };
    if (name == "NOT" && site.count == 1) {
        push(emit(TypedOp::Not, arithmetic(pop())).d, Kind::Boolean);
        return true;
    }
    if (site.count == 1 && (name == "SQRT" || name == "ABS")) {
        push(emit(name == "ABS" ? TypedOp::Absolute : TypedOp::SquareRoot, arithmetic(pop())).d);
        return true;
    }
    if (row.body.one != nullptr && row.parameters.count == 1 && site.count == 1 && takesNumber(0)) {
        Step& step = emit(TypedOp::One, arithmetic(pop()));
        step.one = row.body.one;
        push(step.d);
        return true;
    }
    if (row.body.two != nullptr && row.parameters.count == 2 && takesNumber(0) && takesNumber(1) &&
        site.missing == 0) {
        const Operand b = site.count == 2 ? arithmetic(pop()) : constant(row.parameters.of(1).fallback);
        Step& step = emit(TypedOp::Two, arithmetic(pop()), b);
        step.two = row.body.two;
        push(step.d);
        return true;
    }
    return body(site);
}

/// The arguments in order, each joined to what came before.
TypedOperand Typist::sumOf(const CallSite& site, TypedOp run, Operand total, TypedOp joining, Operand from)
{
    for (std::size_t i = stack_.size() - site.count; i < stack_.size(); ++i) {
        const Entry& e = stack_[i];
        if (e.isArea) {
            total = emit(run, read(e.operand.index, true), total, {}, from).d;
        } else if (joining == TypedOp::AddProduct) {
            total = emit(joining, total, arithmetic(e), arithmetic(e)).d;
        } else if (joining == run) {
            total = emit(run, arithmetic(e), total, {}, from).d; // a run of one
        } else {
            total = emit(joining, total, arithmetic(e)).d;
        }
    }
    return total;
}

/// SUM and its like. Of no numbers at all the product is 0, so each area must have one.
bool Typist::fold(const CallSite& site, TypedOp run, double start, TypedOp joining)
{
    const std::size_t known = typed_.readings.size();
    const Operand result = sumOf(site, run, constant(start), joining);
    for (std::size_t k = known; run == TypedOp::ProductRun && k < typed_.readings.size(); ++k)
        typed_.readings[k].needsNumber = typed_.readings[k].isRun;
    drop(site.count, result);
    return true;
}

/// How many numbers the arguments hold, less something.
TypedOperand Typist::count(const CallSite& site, double less, double fewest)
{
    TypedTemplate::Count counted;
    counted.more = -less;
    counted.fewest = fewest;
    for (std::size_t i = stack_.size() - site.count; i < stack_.size(); ++i) {
        if (stack_[i].isArea) {
            counted.readings.push_back(read(stack_[i].operand.index, true).index);
        } else {
            counted.more += 1.0;
        }
    }
    typed_.counts.push_back(std::move(counted));
    return {From::Count, static_cast<std::uint32_t>(typed_.counts.size() - 1)};
}

bool Typist::average(const CallSite& site)
{
    const Operand total = sumOf(site, TypedOp::SumRun, constant(0.0), TypedOp::Add);
    drop(site.count, emit(TypedOp::Divide, total, count(site, 0.0, 1.0)).d);
    return true;
}

/// The sum of the squared distances from the mean; with `less`, their mean, or its root.
bool Typist::statistic(const CallSite& site, std::optional<double> less, bool root)
{
    const Operand total = sumOf(site, TypedOp::SumRun, constant(0.0), TypedOp::Add);
    const Operand mean = emit(TypedOp::Divide, total, count(site, 0.0, 1.0)).d;
    Operand result = sumOf(site, TypedOp::DeviationsRun, constant(0.0), TypedOp::DeviationsRun, mean);
    if (less) result = emit(TypedOp::Divide, result, count(site, *less, 1.0)).d;
    if (root) result = emit(TypedOp::SquareRoot, result).d;
    drop(site.count, result);
    return true;
}

bool Typist::products(const CallSite& site)
{
    const Entry second = stack_.back(), first = stack_[stack_.size() - site.count];
    if (site.count != 2 || !first.isArea || !second.isArea) return false;
    const Operand x = read(first.operand.index, true), y = read(second.operand.index, true);
    typed_.readings[x.index].isPlain = typed_.readings[y.index].isPlain = true;
    drop(2, emit(TypedOp::ProductsRun, x, constant(0.0), {}, y).d);
    return true;
}

/// MIN and MAX: the value of the first number, then the others against it.
bool Typist::extreme(const CallSite& site, TypedOp run)
{
    const std::size_t first = stack_.size() - site.count;
    // Nothing but the first argument may start, or 0 and -0 could come out differently.
    Operand best = constant(run == TypedOp::LeastRun ? HUGE_VAL : -HUGE_VAL);
    for (std::size_t i = first; i < stack_.size(); ++i) {
        const Entry& e = stack_[i];
        if (e.isArea) {
            const Operand area = read(e.operand.index, true);
            // One empty area gives 0; among several arguments the first must hold a number.
            typed_.readings[area.index].needsNumber = i == first && site.count > 1;
            best = emit(run, area, best).d;
        } else {
            best = emit(run, arithmetic(e), best).d; // a run of one
        }
    }
    stack_.resize(first);
    push(best);
    return true;
}

bool Typist::connective(const CallSite& site, TypedOp op)
{
    const std::size_t first = stack_.size() - site.count;
    Operand all;
    for (std::size_t i = first; i < stack_.size(); ++i) {
        const Entry& e = stack_[i];
        Operand one = e.operand;
        if (e.isArea) {
            if (code_.places[e.operand.index].extent != Extent::Cell) return false;
            one = read(e.operand.index, false);
            typed_.readings.back().allowsEmpty = false; // an empty cell does not count at all
            typed_.readings.back().allowsBoolean = true;
        } else {
            one = arithmetic(e);
        }
        // The first one twice: a number other than 0 and 1 becomes 1.
        const Operand start = op == TypedOp::Exclusive ? constant(0.0) : one;
        all = emit(op, one, all.from == From::Nothing ? start : all).d;
    }
    stack_.resize(first);
    push(all, Kind::Boolean);
    return true;
}

} // namespace varnex3::sheet
