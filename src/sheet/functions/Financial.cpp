// sheet/functions/Financial.cpp - loans, investments, depreciation and quotations.
//
// Money paid out is negative, money received positive. Securities are in Securities.cpp.
#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <vector>

#include "sheet/format/Convert.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Roots.h"

namespace varnex3::sheet {
namespace {

// --- Annuities ------------------------------------------------------------------------------------------
//
// pv (1+r)^n + pmt (1 + r type) ((1+r)^n - 1)/r + fv = 0, with type 1 for payments at the start of a period;
// for r = 0: pv + pmt n + fv = 0.

/// Growth of one unit over n periods, less one.
double growthLessOne(double rate, double n)
{
    return rate > -1.0 ? std::expm1(n * std::log1p(rate)) : std::pow(1.0 + rate, n) - 1.0;
}

/// What n payments of one are worth at their end.
double annuity(double rate, double n, double type)
{
    return rate == 0.0 ? n : (1.0 + rate * type) * growthLessOne(rate, n) / rate;
}

double futureValue(double rate, double n, double payment, double present, double type)
{
    return -(present * (1.0 + growthLessOne(rate, n)) + payment * annuity(rate, n, type));
}

double payment(double rate, double n, double present, double future, double type)
{
    return -(present * (1.0 + growthLessOne(rate, n)) + future) / annuity(rate, n, type);
}

/// Whether payments fall at the start of a period: any number but 0 says so.
double typeOf(Call& call, int i) { return call.number(i) != 0.0 ? 1.0 : 0.0; }

Value pmt(Call& call)
{
    const double n = call.number(1);
    if (n == 0.0) return Failure::Num;
    return finite(payment(call.number(0), n, call.number(2), call.number(3), typeOf(call, 4)));
}

Value fv(Call& call)
{
    return finite(
        futureValue(call.number(0), call.number(1), call.number(2), call.number(3), typeOf(call, 4)));
}

Value pv(Call& call)
{
    const double rate = call.number(0), n = call.number(1);
    const double worth = call.number(2) * annuity(rate, n, typeOf(call, 4)) + call.number(3);
    return finite(-worth / (1.0 + growthLessOne(rate, n)));
}

// n = ln((pmt (1 + r type) - fv r) / (pmt (1 + r type) + pv r)) / ln(1 + r)
Value nper(Call& call)
{
    const double rate = call.number(0), paid = call.number(1), present = call.number(2),
                 future = call.number(3);
    if (rate == 0.0) return paid == 0.0 ? Value(Failure::Num) : finite(-(present + future) / paid);
    if (rate <= -1.0) return Failure::Num;
    const double each = paid * (1.0 + rate * typeOf(call, 4));
    return finite(std::log((each - future * rate) / (each + present * rate)) / std::log1p(rate));
}

Value rate(Call& call)
{
    const double n = call.number(0), paid = call.number(1), present = call.number(2), future = call.number(3);
    const double type = typeOf(call, 4), guess = call.number(5);
    if (n <= 0.0 || guess <= -1.0) return Failure::Num;
    // Worth at the start of the term, which stays small where the worth at its end would not.
    const auto worth = [&](double r) {
        const double decay = -n * std::log1p(r);
        const double each = r == 0.0 ? n : -std::expm1(decay) / r;
        return present + paid * (1.0 + r * type) * each + future * std::exp(decay);
    };
    return finite(rootNear(worth, guess, -1.0));
}

/// Interest part of payment `period`.
double interestPart(double rate, double period, double n, double present, double future, double type)
{
    const double paid = payment(rate, n, present, future, type);
    if (type == 0.0) return futureValue(rate, period - 1.0, paid, present, type) * rate;
    // Paid in advance: interest on what is left after the payment that opened the period before.
    return period == 1.0 ? 0.0 : (futureValue(rate, period - 2.0, paid, present, type) - paid) * rate;
}

bool validPeriod(double period, double n) { return period >= 1.0 && period <= n; }

Value ipmt(Call& call)
{
    const double period = call.number(1), n = call.number(2);
    if (!validPeriod(period, n)) return Failure::Num;
    return finite(interestPart(call.number(0), period, n, call.number(3), call.number(4), typeOf(call, 5)));
}

Value ppmt(Call& call)
{
    const double r = call.number(0), period = call.number(1), n = call.number(2), type = typeOf(call, 5);
    if (!validPeriod(period, n)) return Failure::Num;
    return finite(payment(r, n, call.number(3), call.number(4), type) -
                  interestPart(r, period, n, call.number(3), call.number(4), type));
}

/// Interest (or what is paid back) over payments from..to of a loan: rate, nper, pv, from, to, type.
Value cumulated(Call& call, bool interest)
{
    const double r = call.number(0), n = std::trunc(call.number(1)), present = call.number(2);
    const double from = std::trunc(call.number(3)), to = std::trunc(call.number(4)), type = call.number(5);
    if (r <= 0.0 || n <= 0.0 || present <= 0.0 || from < 1.0 || to < from || to > n) return Failure::Num;
    if (type != 0.0 && type != 1.0) return Failure::Num;
    const double paid = payment(r, n, present, 0.0, type);
    double sum = 0.0;
    for (double k = from; k <= to; k += 1.0) {
        const double part = interestPart(r, k, n, present, 0.0, type);
        sum += interest ? part : paid - part;
    }
    return finite(sum);
}

Value cumipmt(Call& call) { return cumulated(call, true); }
Value cumprinc(Call& call) { return cumulated(call, false); }

// Interest of equal repayments of a loan: what is owed falls by pv/nper a period; periods count from 0.
Value ispmt(Call& call)
{
    const double n = call.number(2);
    if (n == 0.0) return Failure::Div0;
    return finite(call.number(0) * call.number(3) * (call.number(1) / n - 1.0));
}

double effect(double nominal, double periods)
{
    const double n = std::trunc(periods);
    return nominal > 0.0 && n >= 1.0 ? growthLessOne(nominal / n, n)
                                     : std::numeric_limits<double>::quiet_NaN();
}

double nominal(double effective, double periods)
{
    const double n = std::trunc(periods);
    return effective > 0.0 && n >= 1.0 ? n * std::expm1(std::log1p(effective) / n)
                                       : std::numeric_limits<double>::quiet_NaN();
}

Value rri(Call& call)
{
    const double n = call.number(0), present = call.number(1), future = call.number(2);
    if (n <= 0.0 || present == 0.0) return Failure::Num;
    return finite(std::pow(future / present, 1.0 / n) - 1.0);
}

Value pduration(Call& call)
{
    const double r = call.number(0), present = call.number(1), future = call.number(2);
    if (r <= 0.0 || present <= 0.0 || future <= 0.0) return Failure::Num;
    return finite((std::log(future) - std::log(present)) / std::log1p(r));
}

Value fvschedule(Call& call)
{
    double worth = call.number(0);
    for (const Value& v : call.elements(1)) {
        if (v.isFailure()) return v;
        if (!v.isNumber() && !v.isEmpty()) return Failure::Value;
        worth *= 1.0 + v.number();
    }
    return finite(worth);
}

// --- Streams of payments --------------------------------------------------------------------------------

struct Payments {
    std::vector<double> amounts;
    std::optional<Failure> failure;
};

/// Adds the numbers of argument i row by row; values written as the argument itself are converted.
void addPayments(Call& call, int i, Payments& to)
{
    const bool written = call.value(i).isScalar();
    for (const Value& v : call.elements(i)) {
        const Value x = written ? toNumber(v, call.dates()) : v;
        if (x.isFailure() && !to.failure) to.failure = x.failure();
        if (x.isNumber()) to.amounts.push_back(x.number());
    }
}

Payments paymentsOf(Call& call, int i)
{
    Payments p;
    addPayments(call, i, p);
    return p;
}

bool bothSigns(const std::vector<double>& amounts)
{
    return std::any_of(amounts.begin(), amounts.end(), [](double x) { return x > 0.0; }) &&
           std::any_of(amounts.begin(), amounts.end(), [](double x) { return x < 0.0; });
}

/// Worth one period before the first amount.
double presentValue(double rate, const std::vector<double>& amounts)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < amounts.size(); ++i)
        sum += amounts[i] / std::pow(1.0 + rate, static_cast<double>(i + 1));
    return sum;
}

Value npv(Call& call)
{
    Payments p;
    for (int i = 1; i < call.count(); ++i) addPayments(call, i, p);
    if (p.failure) return *p.failure;
    if (call.number(0) == -1.0) return Failure::Div0;
    return finite(presentValue(call.number(0), p.amounts));
}

Value irr(Call& call)
{
    const Payments p = paymentsOf(call, 0);
    if (p.failure) return *p.failure;
    const double guess = call.number(1);
    if (!bothSigns(p.amounts) || guess <= -1.0) return Failure::Num;
    const auto worth = [&](double r) { return presentValue(r, p.amounts) * (1.0 + r); };
    return finite(rootNear(worth, guess, -1.0));
}

// (-NPV(reinvestment, gains) (1+reinvestment)^n / (NPV(finance, losses) (1+finance)))^(1/(n-1)) - 1
Value mirr(Call& call)
{
    const Payments p = paymentsOf(call, 0);
    if (p.failure) return *p.failure;
    if (!bothSigns(p.amounts)) return Failure::Div0;
    const double finance = call.number(1), reinvestment = call.number(2);
    std::vector<double> gains, losses;
    for (double x : p.amounts) {
        gains.push_back(std::max(x, 0.0));
        losses.push_back(std::min(x, 0.0));
    }
    const auto n = static_cast<double>(p.amounts.size());
    const double end = presentValue(reinvestment, gains) * std::pow(1.0 + reinvestment, n);
    const double start = presentValue(finance, losses) * (1.0 + finance);
    return finite(std::pow(-end / start, 1.0 / (n - 1.0)) - 1.0);
}

/// Amounts with the years since the first date, of 365 days each.
struct DatedPayments {
    std::vector<double> amounts, years;
    std::optional<Failure> failure;
};

DatedPayments datedPayments(Call& call, int amounts, int dates)
{
    DatedPayments p;
    const std::vector<Value> money = call.elements(amounts), days = call.elements(dates);
    if (money.size() != days.size()) p.failure = Failure::Num;
    double first = 0.0;
    for (std::size_t i = 0; i < money.size() && !p.failure; ++i) {
        const Value amount = toNumber(money[i], call.dates()), day = toNumber(days[i], call.dates());
        if (amount.isFailure() || day.isFailure()) {
            p.failure = amount.isFailure() ? amount.failure() : day.failure();
            break;
        }
        const double serial = std::floor(day.number());
        if (i == 0) first = serial;
        if (serial < first) p.failure = Failure::Num;
        p.amounts.push_back(amount.number());
        p.years.push_back((serial - first) / 365.0);
    }
    return p;
}

double presentValue(double rate, const DatedPayments& p)
{
    double sum = 0.0;
    for (std::size_t i = 0; i < p.amounts.size(); ++i) sum += p.amounts[i] / std::pow(1.0 + rate, p.years[i]);
    return sum;
}

Value xnpv(Call& call)
{
    const DatedPayments p = datedPayments(call, 1, 2);
    if (p.failure) return *p.failure;
    return call.number(0) <= -1.0 ? Value(Failure::Num) : finite(presentValue(call.number(0), p));
}

Value xirr(Call& call)
{
    const DatedPayments p = datedPayments(call, 0, 1);
    if (p.failure) return *p.failure;
    const double guess = call.number(2);
    if (!bothSigns(p.amounts) || guess <= -1.0) return Failure::Num;
    return finite(rootNear([&](double r) { return presentValue(r, p); }, guess, -1.0));
}

// --- Depreciation ---------------------------------------------------------------------------------------

Value sln(Call& call)
{
    const double life = call.number(2);
    return life == 0.0 ? Value(Failure::Div0) : finite((call.number(0) - call.number(1)) / life);
}

Value syd(Call& call)
{
    const double life = call.number(2), period = call.number(3);
    if (life <= 0.0 || period < 1.0 || period > life) return Failure::Num;
    return finite((call.number(0) - call.number(1)) * (life - period + 1.0) * 2.0 / (life * (life + 1.0)));
}

/// Fixed declining balance: the rate is rounded to three decimals; the first year may have fewer months.
Value db(Call& call)
{
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2);
    const double period = std::trunc(call.number(3)), months = std::trunc(call.number(4));
    if (cost < 0.0 || salvage < 0.0 || life <= 0.0 || months < 1.0 || months > 12.0) return Failure::Num;
    if (period < 1.0 || period > life + (months < 12.0 ? 1.0 : 0.0)) return Failure::Num;
    if (cost == 0.0) return 0.0;
    const double share = std::round((1.0 - std::pow(salvage / cost, 1.0 / life)) * 1000.0) / 1000.0;
    const double first = cost * share * months / 12.0;
    if (period == 1.0) return finite(first);
    double total = first, amount = first;
    for (double k = 2.0; k <= period; k += 1.0) {
        amount = (cost - total) * share * (k > life ? (12.0 - months) / 12.0 : 1.0);
        total += amount;
    }
    return finite(amount);
}

/// What a balance declining by factor/life per period is worth after `periods`, never below the salvage.
double decliningBalance(double cost, double salvage, double life, double factor, double periods)
{
    const double share = std::min(factor / life, 1.0);
    const double balance = cost * std::pow(1.0 - share, periods);
    return std::max(balance, std::min(salvage, cost));
}

Value ddb(Call& call)
{
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2);
    const double period = call.number(3), factor = call.number(4);
    if (cost < 0.0 || salvage < 0.0 || life <= 0.0 || period < 1.0 || period > life || factor <= 0.0)
        return Failure::Num;
    return finite(decliningBalance(cost, salvage, life, factor, period - 1.0) -
                  decliningBalance(cost, salvage, life, factor, period));
}

/// Declining balance between two points in time; whole periods that are met in part count in part. Unless
/// `noSwitch`, a period takes the straight line over what is left of the life where that is more.
double variableDecline(double cost, double salvage, double life, double from, double to, double factor,
                       bool noSwitch)
{
    double balance = cost, total = 0.0;
    for (double k = 0.0; k < to && k < life; k += 1.0) {
        const double left = std::max(balance - salvage, 0.0);
        double amount = std::min(balance * std::min(factor / life, 1.0), left);
        if (!noSwitch) amount = std::min(std::max(amount, left / (life - k)), left);
        const double share = std::min(k + 1.0, to) - std::max(k, from);
        if (share > 0.0) total += amount * share;
        balance -= amount;
    }
    return total;
}

Value vdb(Call& call)
{
    const double cost = call.number(0), salvage = call.number(1), life = call.number(2);
    const double from = call.number(3), to = call.number(4);
    const double factor = call.given(5) ? call.number(5) : 2.0; // also when left empty before the last one
    if (cost < 0.0 || salvage < 0.0 || life <= 0.0 || from < 0.0 || to < from || to > life || factor < 0.0)
        return Failure::Num;
    if (life > 1e6) return Failure::Num; // the periods are gone through one by one
    return finite(variableDecline(cost, salvage, life, from, to, factor, call.boolean(6)));
}

// --- Quotations -----------------------------------------------------------------------------------------

/// The power of ten that takes the numerator of a fraction of that denominator as decimals.
double numeratorScale(double denominator) { return std::pow(10.0, std::ceil(std::log10(denominator))); }

Value dollarde(Call& call)
{
    const double denominator = std::trunc(call.number(1)), price = call.number(0);
    if (denominator < 0.0) return Failure::Num;
    if (denominator == 0.0) return Failure::Div0;
    const double whole = std::trunc(price);
    return finite(whole + (price - whole) * numeratorScale(denominator) / denominator);
}

Value dollarfr(Call& call)
{
    const double denominator = std::trunc(call.number(1)), price = call.number(0);
    if (denominator < 0.0) return Failure::Num;
    if (denominator == 0.0) return Failure::Div0;
    const double whole = std::trunc(price);
    return finite(whole + (price - whole) * denominator / numeratorScale(denominator));
}

// clang-format off
constexpr FunctionRow rows[] = {
//   name          arguments                                                                       trait        body           summary                                                  example                                                   shows
    {"CUMIPMT",    {number(), number(), number(), number(), number(), number()},                   Trait::Pure, cumipmt,       "interest paid between two periods",                     "=ROUND(CUMIPMT(0.0075,360,125000,13,24,0),6)",           "-11135.232131"},
    {"CUMPRINC",   {number(), number(), number(), number(), number(), number()},                   Trait::Pure, cumprinc,      "loan paid back between two periods",                    "=ROUND(CUMPRINC(0.0075,360,125000,13,24,0),6)",          "-934.107123"},
    {"DB",         {number(), number(), number(), number(), number(12)},                           Trait::Pure, db,            "depreciation by a fixed declining balance",             "=ROUND(DB(1000000,100000,6,1,7),2)",                     "186083.33"},
    {"DDB",        {number(), number(), number(), number(), number(2)},                            Trait::Pure, ddb,           "depreciation by a doubly declining balance",            "=DDB(2400,300,10,2,1.5)",                                "306"},
    {"DOLLARDE",   {number(), number()},                                                           Trait::Pure, dollarde,      "price quoted in fractions as a decimal number",         "=DOLLARDE(1.02,16)",                                     "1.125"},
    {"DOLLARFR",   {number(), number()},                                                           Trait::Pure, dollarfr,      "decimal price as a quotation in fractions",             "=DOLLARFR(1.125,16)",                                    "1.02"},
    {"EFFECT",     {number(), number()},                                                           Trait::Pure, map2<effect>,  "effective yearly rate of interest",                     "=ROUND(EFFECT(0.0525,4),7)",                             "0.0535427"},
    {"FV",         {number(), number(), number(), number(0), number(0)},                           Trait::Pure, fv,            "worth at the end of equal payments",                    "=ROUND(FV(0.06/12,10,-200,-500,1),2)",                   "2581.4"},
    {"FVSCHEDULE", {number(), range()},                                                            Trait::Pure, fvschedule,    "worth after a series of rates of interest",             "=ROUND(FVSCHEDULE(1,{0.09,0.11,0.1}),5)",                "1.33089"},
    {"IPMT",       {number(), number(), number(), number(), number(0), number(0)},                 Trait::Pure, ipmt,          "interest part of a payment",                            "=ROUND(IPMT(0.1/12,1,36,8000),2)",                       "-66.67"},
    {"IRR",        {range(), number(0.1)},                                                         Trait::Pure, irr,           "internal rate of return of regular payments",           "=ROUND(IRR({-70000,12000,15000,18000,21000,26000}),6)",  "0.086631"},
    {"ISPMT",      {number(), number(), number(), number()},                                       Trait::Pure, ispmt,         "interest of a loan paid back in equal parts",           "=ROUND(ISPMT(0.1/12,1,36,8000000),2)",                   "-64814.81"},
    {"MIRR",       {range(), number(), number()},                                                  Trait::Pure, mirr,          "rate of return with costs of money and reinvestment",   "=ROUND(MIRR({-120000,39000,30000,21000,37000,46000},0.1,0.12),6)", "0.126094"},
    {"NOMINAL",    {number(), number()},                                                           Trait::Pure, map2<nominal>, "nominal yearly rate of interest",                       "=ROUND(NOMINAL(0.053543,4),6)",                          "0.0525"},
    {"NPER",       {number(), number(), number(), number(0), number(0)},                           Trait::Pure, nper,          "number of equal payments",                              "=ROUND(NPER(0.01,-100,-1000,10000,1),6)",                "59.673866"},
    {"NPV",        {number(), repeats(range())},                                                   Trait::Pure, npv,           "present value of payments at the end of each period",   "=ROUND(NPV(0.1,-10000,3000,4200,6800),2)",               "1188.44"},
    {"PDURATION",  {number(), number(), number()},                                                 Trait::Pure, pduration,     "periods until a worth is reached",                      "=ROUND(PDURATION(0.025,2000,2200),2)",                   "3.86"},
    {"PMT",        {number(), number(), number(), number(0), number(0)},                           Trait::Pure, pmt,           "payment per period",                                    "=ROUND(PMT(0.08/12,10,10000),2)",                        "-1037.03"},
    {"PPMT",       {number(), number(), number(), number(), number(0), number(0)},                 Trait::Pure, ppmt,          "part of a payment that pays back",                      "=ROUND(PPMT(0.1/12,1,24,2000),2)",                       "-75.62"},
    {"PV",         {number(), number(), number(), number(0), number(0)},                           Trait::Pure, pv,            "present value of equal payments",                       "=ROUND(PV(0.08/12,12*20,500),2)",                        "-59777.15"},
    {"RATE",       {number(), number(), number(), number(0), number(0), number(0.1)},              Trait::Pure, rate,          "rate of interest per period",                           "=ROUND(RATE(48,-200,8000),6)",                           "0.007701"},
    {"RRI",        {number(), number(), number()},                                                 Trait::Pure, rri,           "rate of growth per period",                             "=ROUND(RRI(96,10000,11000),7)",                          "0.0009933"},
    {"SLN",        {number(), number(), number()},                                                 Trait::Pure, sln,           "depreciation in equal parts",                           "=SLN(30000,7500,10)",                                    "2250"},
    {"SYD",        {number(), number(), number(), number()},                                       Trait::Pure, syd,           "depreciation by the sum of the years' digits",          "=ROUND(SYD(30000,7500,10,1),2)",                         "4090.91"},
    {"VDB",        {number(), number(), number(), number(), number(), number(2), boolean(false)},  Trait::Pure, vdb,           "depreciation by a declining balance between two times", "=ROUND(VDB(2400,300,120,6,18),2)",                       "396.31"},
    {"XIRR",       {range(), range(), number(0.1)},                                                Trait::Pure, xirr,          "internal rate of return of dated payments",             "=ROUND(XIRR({-10000,2750,4250,3250,2750},{39448,39508,39751,39859,39904}),6)", "0.373363"},
    {"XNPV",       {number(), range(), range()},                                                   Trait::Pure, xnpv,          "present value of dated payments",                       "=ROUND(XNPV(0.09,{-10000,2750,4250,3250,2750},{39448,39508,39751,39859,39904}),2)", "2086.65"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> financialFunctions() { return rows; }

} // namespace varnex3::sheet
