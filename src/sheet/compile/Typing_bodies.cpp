// sheet/compile/Typing_bodies.cpp - functions of numbers that are called by their bodies.
#include <algorithm>
#include <string_view>

#include "sheet/compile/TypingImpl.h"

namespace varnex3::sheet {
namespace {

/// Sorted. Each gives a number or an error, never a text or a Boolean.
constexpr std::string_view kNumberFunctions[] = {
    "BETA.DIST",     "BETA.INV",     "BETADIST",     "BETAINV",     "BINOM.DIST",
    "BINOM.INV",     "BINOMDIST",    "BITAND",       "BITOR",       "BITXOR",
    "CEILING",       "CEILING.MATH", "CHIDIST",      "CHIINV",      "CHISQ.DIST",
    "CHISQ.DIST.RT", "CHISQ.INV",    "CHISQ.INV.RT", "CONFIDENCE",  "CONFIDENCE.NORM",
    "CONFIDENCE.T",  "CONVERT",      "CRITBINOM",    "DATE",        "DAY",
    "DAYS",          "DAYS360",      "DB",           "DDB",         "DELTA",
    "EDATE",         "EOMONTH",      "ERF",          "ERF.PRECISE", "ERFC",
    "ERFC.PRECISE",  "EXPON.DIST",   "EXPONDIST",    "F.DIST",      "F.DIST.RT",
    "F.INV",         "F.INV.RT",     "FDIST",        "FINV",        "FLOOR",
    "FLOOR.MATH",    "FV",           "GAMMA.DIST",   "GAMMA.INV",   "GAMMADIST",
    "GAMMAINV",      "GESTEP",       "HOUR",         "IPMT",        "LOGINV",
    "LOGNORM.DIST",  "LOGNORM.INV",  "LOGNORMDIST",  "MINUTE",      "MONTH",
    "MROUND",        "NORM.DIST",    "NORM.INV",     "NORM.S.DIST", "NORMDIST",
    "NORMINV",       "NPER",         "PDURATION",    "PMT",         "POISSON",
    "POISSON.DIST",  "PPMT",         "PV",           "RATE",        "RRI",
    "SECOND",        "SLN",          "STANDARDIZE",  "SYD",         "T.DIST",
    "T.DIST.2T",     "T.DIST.RT",    "T.INV",        "T.INV.2T",    "TDIST",
    "TIME",          "TINV",         "WEEKDAY",      "WEIBULL",     "WEIBULL.DIST",
    "YEAR",          "YEARFRAC"};
static_assert(std::is_sorted(std::begin(kNumberFunctions), std::end(kNumberFunctions)));

} // namespace

/// Texts and what else is no number are constants; at most three arguments are none.
bool Typist::body(const CallSite& site)
{
    const FunctionRow& row = *site.row;
    if (!std::binary_search(std::begin(kNumberFunctions), std::end(kNumberFunctions), row.name) ||
        row.traits != Trait::Pure || site.missing != 0 || site.count > TypedBody::kMost)
        return false;
    TypedBody called;
    called.row = &row;
    std::vector<Operand> operands;
    for (std::size_t i = 0; i < site.count; ++i) {
        const Entry& e = stack_[stack_.size() - site.count + i];
        const Take take = row.parameters.of(static_cast<int>(i)).take;
        TypedBody::Argument argument;
        if (take == Take::Text && e.stops && e.kind == Kind::Text) {
            argument.constant = code_.constants[e.value];
        } else if ((take == Take::Number || take == Take::Boolean) && !e.stops && !e.isArea) {
            argument.isBoolean = take == Take::Boolean;
            if (e.operand.from == From::Constant) {
                const double x = typed_.constants[e.operand.index];
                argument.constant = argument.isBoolean ? Value(x != 0.0) : Value(x);
            } else {
                argument.operand = static_cast<std::int8_t>(operands.size());
                operands.push_back(arithmetic(e));
            }
        } else {
            return false;
        }
        called.arguments.push_back(std::move(argument));
    }
    if (operands.empty() || operands.size() > 3) return false;
    while (operands.size() < 3) operands.push_back(operands.front());
    typed_.bodies.push_back(std::move(called));
    Step& step = emit(TypedOp::Body, operands[0], operands[1], operands[2]);
    step.table = static_cast<std::uint32_t>(typed_.bodies.size() - 1);
    drop(site.count, step.d);
    return true;
}

} // namespace varnex3::sheet
