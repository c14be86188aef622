// sheet/functions/Securities.cpp - coupons, prices and yields of securities, bills, written-off assets.
//
// Day counts for whole securities are with the dates (yearFraction); here are those of coupon periods.
// Dates are serial numbers; the coupons of a security fall on its maturity date and every 12/frequency
// months before it, at the end of the month when it matures at the end of one.
#include <algorithm>
#include <cmath>
#include <optional>

#include "sheet/format/NumberFormat.h"
#include "sheet/functions/DayCount.h"
#include "sheet/functions/Function.h"
#include "sheet/functions/Roots.h"

namespace varnex3::sheet {
namespace {

// --- Coupon periods -------------------------------------------------------------------------------------

/// Dates that follow one another by whole months from an anchor, and how the days between them count.
struct Coupons {
    double anchor = 0.0; // a coupon date
    double frequency = 1.0;
    double basis = 0.0;
    DateSystem dates = DateSystem::From1900;

    CalendarDate calendar(double serial) const
    {
        return dateFromSerial(serial, dates).value_or(CalendarDate{});
    }
    bool endsMonth(double serial) const { return calendar(serial + 1.0).day == 1; }
    bool endsFebruary(double serial) const { return calendar(serial).month == 2 && endsMonth(serial); }

    /// The coupon date k periods after the anchor, before it when negative; 0 before 1900.
    double date(double k) const
    {
        const CalendarDate d = calendar(anchor);
        const int month = d.month + static_cast<int>(k * 12.0 / frequency);
        const double first = serialFromDate(d.year, month, 1, dates).value_or(0.0);
        const double next = serialFromDate(d.year, month + 1, 1, dates).value_or(first);
        return endsMonth(anchor) ? next - 1.0 : std::min(first + d.day, next) - 1.0;
    }

    /// The number of the last coupon date at or before a date, counted from the anchor.
    double lastUpTo(double serial) const
    {
        const CalendarDate a = calendar(anchor), s = calendar(serial);
        double k = std::floor(((s.year - a.year) * 12.0 + s.month - a.month) * frequency / 12.0) + 1.0;
        while (date(k) > serial) k -= 1.0;
        return k;
    }

    /// Days from one date to a later one. In the US year of 360 days a 31st counts as a 30th at the start;
    /// at the end only then, or always for a `whole` coupon period, which February ends on its 30th too.
    double days(double from, double to, bool whole = false) const
    {
        if (basis >= 1.0 && basis <= 3.0) return to - from;
        const CalendarDate a = calendar(from), b = calendar(to);
        int start = std::min(a.day, 30), end = b.day;
        if (basis == 4.0) {
            end = std::min(end, 30);
        } else {
            if (endsFebruary(to) && (whole || endsFebruary(from))) end = 30;
            if (end == 31 && (start == 30 || whole)) end = 30;
            if (endsFebruary(from)) start = 30;
        }
        return (b.year - a.year) * 360.0 + (b.month - a.month) * 30.0 + (end - start);
    }

    /// Days that the period between two neighbouring coupon dates counts for.
    double length(double from, double to) const
    {
        if (basis == 1.0) return to - from;
        return (basis == 3.0 ? 365.0 : 360.0) / frequency;
    }

    /// Coupon periods from one date to a later one, the parts by their days.
    double periods(double from, double to) const
    {
        double total = 0.0;
        for (double k = lastUpTo(from); date(k) < to; k += 1.0) {
            const double start = date(k), end = date(k + 1.0);
            if (end <= start) break; // past the end of the calendar
            const bool all = start >= from && end <= to;
            total += all ? 1.0 : days(std::max(start, from), std::min(end, to)) / length(start, end);
        }
        return total;
    }
};

bool isDate(double serial, DateSystem dates)
{
    return serial >= 1.0 && dateFromSerial(serial, dates).has_value();
}

/// Coupons from the arguments that hold an anchor date, the frequency and the basis; nothing when wrong.
std::optional<Coupons> couponsOf(Call& call, int anchor, int frequency, int basis)
{
    const Coupons c{std::floor(call.number(anchor)), std::trunc(call.number(frequency)),
                    std::trunc(call.number(basis)), call.dates()};
    const bool often = c.frequency == 1.0 || c.frequency == 2.0 || c.frequency == 4.0;
    if (!often || c.basis < 0.0 || c.basis > 4.0 || !isDate(c.anchor, c.dates)) return std::nullopt;
    return c;
}

/// Whether the dates of these arguments exist and follow one another.
bool ascending(Call& call, std::initializer_list<int> arguments)
{
    double before = 0.0;
    for (int i : arguments) {
        const double serial = std::floor(call.number(i));
        if (!isDate(serial, call.dates()) || serial <= before) return false;
        before = serial;
    }
    return true;
}

/// A security that pays coupons, seen from its settlement.
struct Position {
    double previous = 0.0, next = 0.0; // coupon dates around the settlement
    double number = 0.0;               // coupons still to come
    double accrued = 0.0;              // days from the coupon before
    double length = 0.0;               // days of the coupon period
    double frequency = 1.0;
    double untilNext() const { return (length - accrued) / length; } // share of the period
};

/// Arguments: settlement, maturity, and at `frequency` the frequency and the basis.
std::optional<Position> positionOf(Call& call, int frequency)
{
    const auto c = couponsOf(call, 1, frequency, frequency + 1);
    if (!c || !ascending(call, {0, 1})) return std::nullopt;
    const double settlement = std::floor(call.number(0)), k = c->lastUpTo(settlement);
    Position p;
    p.previous = c->date(k);
    p.next = c->date(k + 1.0);
    p.number = -k;
    p.accrued = c->days(p.previous, settlement);
    p.length = c->length(p.previous, p.next);
    p.frequency = c->frequency;
    return p;
}

template <double Position::*member>
Value couponFact(Call& call)
{
    const auto p = positionOf(call, 2);
    return p ? Value((*p).*member) : Value(Failure::Num);
}

/// Days to the next coupon; in the US year of 360 days what is left of the whole period.
Value coupdaysnc(Call& call)
{
    const auto p = positionOf(call, 2);
    if (!p) return Failure::Num;
    const Coupons c = *couponsOf(call, 1, 2, 3);
    if (c.basis == 0.0) return c.days(p->previous, p->next, true) - p->accrued;
    return c.days(std::floor(call.number(0)), p->next);
}

// --- Prices and yields ----------------------------------------------------------------------------------

/// Price per 100 of face value, without what has accrued.
double cleanPrice(const Position& p, double rate, double yield, double redemption)
{
    const double coupon = 100.0 * rate / p.frequency, growth = 1.0 + yield / p.frequency;
    const double accrued = coupon * p.accrued / p.length;
    if (p.number == 1.0) return (redemption + coupon) / (1.0 + p.untilNext() * yield / p.frequency) - accrued;
    double sum = redemption / std::pow(growth, p.number - 1.0 + p.untilNext());
    for (double k = 0.0; k < p.number; k += 1.0) sum += coupon / std::pow(growth, k + p.untilNext());
    return sum - accrued;
}

Value price(Call& call)
{
    const auto p = positionOf(call, 5);
    const double rate = call.number(2), yield = call.number(3), redemption = call.number(4);
    if (!p || rate < 0.0 || yield < 0.0 || redemption <= 0.0) return Failure::Num;
    return finite(cleanPrice(*p, rate, yield, redemption));
}

Value yieldOf(Call& call)
{
    const auto p = positionOf(call, 5);
    const double rate = call.number(2), paid = call.number(3), redemption = call.number(4);
    if (!p || rate < 0.0 || paid <= 0.0 || redemption <= 0.0) return Failure::Num;
    const auto miss = [&](double y) { return cleanPrice(*p, rate, y, redemption) - paid; };
    return finite(rootNear(miss, std::max(rate, 0.01), -p->frequency));
}

/// Mean time to the payments in years, weighted by what they are worth (Macaulay).
Value duration(Call& call, bool modified)
{
    const auto p = positionOf(call, 4);
    const double rate = call.number(2), yield = call.number(3);
    if (!p || rate < 0.0 || yield < 0.0) return Failure::Num;
    const double growth = 1.0 + yield / p->frequency;
    double worth = 0.0, weighted = 0.0;
    for (double k = 0.0; k < p->number; k += 1.0) {
        const double time = k + p->untilNext();
        const double paid = 100.0 * rate / p->frequency + (k + 1.0 == p->number ? 100.0 : 0.0);
        worth += paid / std::pow(growth, time);
        weighted += time * paid / std::pow(growth, time);
    }
    const double years = weighted / worth / p->frequency;
    return finite(modified ? years / growth : years);
}

Value durationOf(Call& call) { return duration(call, false); }
Value modifiedDuration(Call& call) { return duration(call, true); }

// --- Odd first and last periods -------------------------------------------------------------------------

/// A security whose first period has another length: settlement, maturity, issue, first coupon, rate, price
/// or yield, redemption, frequency, basis.
struct OddFirst {
    double first = 0.0;      // the first coupon, in regular periods from the issue
    double accrued = 0.0;    // regular periods from the issue to the settlement
    double untilFirst = 0.0; // regular periods from the settlement to the first coupon
    double number = 0.0;     // regular coupons after the first
    double frequency = 1.0;

    double price(double rate, double yield, double redemption) const
    {
        const double coupon = 100.0 * rate / frequency, growth = 1.0 + yield / frequency;
        double sum = redemption / std::pow(growth, number + untilFirst);
        sum += coupon * first / std::pow(growth, untilFirst);
        for (double k = 1.0; k <= number; k += 1.0) sum += coupon / std::pow(growth, k + untilFirst);
        return sum - coupon * accrued;
    }
};

std::optional<OddFirst> oddFirstOf(Call& call)
{
    const auto c = couponsOf(call, 3, 7, 8);
    if (!c || !ascending(call, {2, 0, 3, 1}) || call.number(4) < 0.0) return std::nullopt;
    const double settlement = std::floor(call.number(0)), maturity = std::floor(call.number(1));
    const double issue = std::floor(call.number(2));
    OddFirst o;
    o.frequency = c->frequency;
    o.first = c->periods(issue, c->anchor);
    o.accrued = c->periods(issue, settlement);
    // Whole regular periods up to the first coupon, and what is left of the one that settlement falls in.
    const double k = c->lastUpTo(settlement), start = c->date(k), end = c->date(k + 1.0);
    o.untilFirst = -(k + 1.0) + 1.0 - c->days(start, settlement) / c->length(start, end);
    o.number = c->lastUpTo(maturity) + (c->date(c->lastUpTo(maturity)) < maturity ? 1.0 : 0.0);
    return o;
}

Value oddfprice(Call& call)
{
    const auto o = oddFirstOf(call);
    if (!o || call.number(5) < 0.0 || call.number(6) <= 0.0) return Failure::Num;
    return finite(o->price(call.number(4), call.number(5), call.number(6)));
}

Value oddfyield(Call& call)
{
    const auto o = oddFirstOf(call);
    const double rate = call.number(4), paid = call.number(5), redemption = call.number(6);
    if (!o || paid <= 0.0 || redemption <= 0.0) return Failure::Num;
    const auto miss = [&](double y) { return o->price(rate, y, redemption) - paid; };
    return finite(rootNear(miss, std::max(rate, 0.01), -o->frequency));
}

/// A security in its last period, of another length: settlement, maturity, last coupon, rate, price or yield,
/// redemption, frequency, basis. Times are in regular periods.
struct OddLast {
    double whole = 0.0, accrued = 0.0, left = 0.0;
    double coupon = 0.0, frequency = 1.0;
};

std::optional<OddLast> oddLastOf(Call& call)
{
    const auto c = couponsOf(call, 2, 6, 7);
    if (!c || !ascending(call, {2, 0, 1}) || call.number(3) < 0.0 || call.number(5) <= 0.0)
        return std::nullopt;
    const double settlement = std::floor(call.number(0)), maturity = std::floor(call.number(1));
    return OddLast{c->periods(c->anchor, maturity), c->periods(c->anchor, settlement),
                   c->periods(settlement, maturity), 100.0 * call.number(3) / c->frequency, c->frequency};
}

Value oddlprice(Call& call)
{
    const auto o = oddLastOf(call);
    if (!o || call.number(4) < 0.0) return Failure::Num;
    const double end = call.number(5) + o->whole * o->coupon;
    return finite(end / (1.0 + o->left * call.number(4) / o->frequency) - o->accrued * o->coupon);
}

Value oddlyield(Call& call)
{
    const auto o = oddLastOf(call);
    if (!o || call.number(4) <= 0.0) return Failure::Num;
    const double end = call.number(5) + o->whole * o->coupon;
    const double start = call.number(4) + o->accrued * o->coupon;
    return finite((end - start) / start * o->frequency / o->left);
}

// --- Interest that has accrued --------------------------------------------------------------------------

/// Issue, first coupon, settlement, rate, face value, frequency, basis, whether from the issue on.
Value accrint(Call& call)
{
    const auto c = couponsOf(call, 1, 5, 6);
    const double rate = call.number(3), par = call.given(4) ? call.number(4) : 1000.0;
    if (!c || !ascending(call, {0, 2}) || rate <= 0.0 || par <= 0.0) return Failure::Num;
    const double settlement = std::floor(call.number(2));
    double from = std::floor(call.number(0));
    if (!call.boolean(7) && settlement > c->anchor) from = std::max(from, c->anchor);
    return finite(par * rate / c->frequency * c->periods(from, settlement));
}

Value accrintm(Call& call)
{
    const double rate = call.number(2), par = call.given(3) ? call.number(3) : 1000.0;
    if (!ascending(call, {0, 1}) || rate <= 0.0 || par <= 0.0) return Failure::Num;
    const Value years = yearFraction(call.number(0), call.number(1), call.number(4), call.dates());
    return years.isFailure() ? years : finite(par * rate * years.number());
}

// --- Securities without coupons -------------------------------------------------------------------------

/// Years from settlement to maturity of a security (arguments 0, 1 and the basis), or a failure.
Value term(Call& call, int basis)
{
    if (std::floor(call.number(0)) >= std::floor(call.number(1))) return Failure::Num;
    return yearFraction(call.number(0), call.number(1), call.number(basis), call.dates());
}

Value disc(Call& call)
{
    const Value years = term(call, 4);
    const double price = call.number(2), redemption = call.number(3);
    if (years.isFailure()) return years;
    if (price <= 0.0 || redemption <= 0.0) return Failure::Num;
    return finite((redemption - price) / redemption / years.number());
}

Value intrate(Call& call)
{
    const Value years = term(call, 4);
    const double investment = call.number(2), redemption = call.number(3);
    if (years.isFailure()) return years;
    if (investment <= 0.0 || redemption <= 0.0) return Failure::Num;
    return finite((redemption - investment) / investment / years.number());
}

Value received(Call& call)
{
    const Value years = term(call, 4);
    const double investment = call.number(2), discount = call.number(3);
    if (years.isFailure()) return years;
    const double left = 1.0 - discount * years.number();
    if (investment <= 0.0 || discount <= 0.0 || left <= 0.0) return Failure::Num;
    return finite(investment / left);
}

Value pricedisc(Call& call)
{
    const Value years = term(call, 4);
    const double discount = call.number(2), redemption = call.number(3);
    if (years.isFailure()) return years;
    if (discount <= 0.0 || redemption <= 0.0) return Failure::Num;
    return finite(redemption - discount * redemption * years.number());
}

Value yielddisc(Call& call)
{
    const Value years = term(call, 4);
    const double price = call.number(2), redemption = call.number(3);
    if (years.isFailure()) return years;
    if (price <= 0.0 || redemption <= 0.0) return Failure::Num;
    return finite((redemption - price) / price / years.number());
}

/// A security that pays its interest at maturity: settlement, maturity, issue, rate, price or yield, basis.
/// Times in years from the issue to the maturity and to the settlement.
struct AtMaturity {
    double whole = 0.0, accrued = 0.0;
    double left() const { return whole - accrued; }
};

std::optional<AtMaturity> atMaturityOf(Call& call)
{
    if (!ascending(call, {2, 0, 1}) || call.number(3) < 0.0) return std::nullopt;
    const double issue = call.number(2), basis = call.number(5);
    const Value whole = yearFraction(issue, call.number(1), basis, call.dates());
    const Value accrued = yearFraction(issue, call.number(0), basis, call.dates());
    if (whole.isFailure() || accrued.isFailure()) return std::nullopt;
    return AtMaturity{whole.number(), accrued.number()};
}

Value pricemat(Call& call)
{
    const auto m = atMaturityOf(call);
    const double rate = call.number(3), yield = call.number(4);
    if (!m || yield < 0.0) return Failure::Num;
    return finite((100.0 + m->whole * rate * 100.0) / (1.0 + m->left() * yield) - m->accrued * rate * 100.0);
}

Value yieldmat(Call& call)
{
    const auto m = atMaturityOf(call);
    const double rate = call.number(3), paid = call.number(4) / 100.0;
    if (!m || paid <= 0.0) return Failure::Num;
    const double start = paid + m->accrued * rate;
    return finite((1.0 + m->whole * rate - start) / start / m->left());
}

/// Days of a treasury bill, at most a year; 0 when wrong.
double billDays(Call& call)
{
    if (!ascending(call, {0, 1}) || call.number(2) <= 0.0) return 0.0;
    const double from = std::floor(call.number(0)), to = std::floor(call.number(1));
    const Coupons yearly{to, 1.0, 1.0, call.dates()};
    return from < yearly.date(-1.0) ? 0.0 : to - from;
}

Value tbillprice(Call& call)
{
    const double days = billDays(call), price = 100.0 * (1.0 - call.number(2) * days / 360.0);
    return days == 0.0 || price < 0.0 ? Value(Failure::Num) : Value(price);
}

Value tbillyield(Call& call)
{
    const double days = billDays(call), price = call.number(2);
    return days == 0.0 ? Value(Failure::Num) : finite((100.0 - price) / price * 360.0 / days);
}

/// The yield of a bond that the bill equals. Past half a year the bond would pay a coupon: with t years,
/// price (1 + y/2)(1 + (2t - 1) y/2) = 100 solved for y.
Value tbilleq(Call& call)
{
    const double days = billDays(call), discount = call.number(2);
    if (days == 0.0 || discount * days >= 360.0) return Failure::Num;
    if (days <= 182.0) return finite(365.0 * discount / (360.0 - discount * days));
    const double t = days / (days == 366.0 ? 366.0 : 365.0), price = 1.0 - discount * days / 360.0;
    return finite(2.0 * (std::sqrt(t * t - (2.0 * t - 1.0) * (1.0 - 1.0 / price)) - t) / (2.0 * t - 1.0));
}

// --- Assets written off by the French rules -------------------------------------------------------------

/// Cost, date bought, end of the first period, salvage, period from 0, rate, basis.
struct Asset {
    double cost = 0.0, salvage = 0.0, period = 0.0, rate = 0.0;
    double firstShare = 0.0; // of a year: the first period
};

std::optional<Asset> assetOf(Call& call)
{
    const Asset a{call.number(0), call.number(3), std::trunc(call.number(4)), call.number(5), 0.0};
    const double bought = std::floor(call.number(1)), end = std::floor(call.number(2));
    if (a.cost <= 0.0 || a.salvage < 0.0 || a.salvage > a.cost || a.period < 0.0 || a.rate <= 0.0)
        return std::nullopt;
    if (!isDate(bought, call.dates()) || bought > end || std::trunc(call.number(6)) == 2.0)
        return std::nullopt;
    const Value share = yearFraction(bought, end, call.number(6), call.dates());
    if (share.isFailure()) return std::nullopt;
    return Asset{a.cost, a.salvage, a.period, a.rate, share.number()};
}

/// Equal parts of the cost; the first by its share of a year, the last what is left.
Value amorlinc(Call& call)
{
    const auto a = assetOf(call);
    if (!a) return Failure::Num;
    const double each = a->cost * a->rate, total = a->cost - a->salvage, first = each * a->firstShare;
    if (a->period == 0.0) return finite(std::min(first, total));
    return finite(std::clamp(total - first - each * (a->period - 1.0), 0.0, each));
}

/// Declining by a rate that a coefficient by the asset's life raises, each part rounded to whole units. The
/// period that would undercut the salvage takes half of the balance instead, later ones nothing.
Value amordegrc(Call& call)
{
    const auto a = assetOf(call);
    if (!a) return Failure::Num;
    const double life = 1.0 / a->rate;
    const double rate = a->rate * (life < 3.0 ? 1.0 : life < 5.0 ? 1.5 : life <= 6.0 ? 2.0 : 2.5);
    double amount = std::round(a->firstShare * rate * a->cost);
    double balance = a->cost - amount, left = balance - a->salvage;
    for (double k = 0.0; k < a->period; k += 1.0) {
        amount = std::round(rate * balance);
        left -= amount;
        if (left < 0.0) return k + 1.0 == a->period ? finite(std::round(balance * 0.5)) : Value(0.0);
        if (amount == 0.0) return 0.0;
        balance -= amount;
    }
    return finite(amount);
}

constexpr ParameterList kCoupon = {number(), number(), number(), number(0)};
constexpr ParameterList kBond = {number(), number(), number(), number(), number(), number(), number(0)};
constexpr ParameterList kSimple = {number(), number(), number(), number(), number(0)};
constexpr ParameterList kDuration = {number(), number(), number(), number(), number(), number(0)};
constexpr ParameterList kOddFirst = {number(), number(), number(), number(), number(),
                                     number(), number(), number(), number(0)};
constexpr ParameterList kOddLast = {number(), number(), number(), number(),
                                    number(), number(), number(), number(0)};
constexpr ParameterList kBill = {number(), number(), number()};

// clang-format off
constexpr FunctionRow rows[] = {
//   name          arguments    trait        body                              summary                                            example                                                                                                    shows
    {"ACCRINT",    {number(), number(), number(), number(), number(), number(), number(0), boolean(true)}, Trait::Pure, accrint, "interest accrued by a security that pays coupons", "=ROUND(ACCRINT(DATE(2008,3,1),DATE(2008,8,31),DATE(2008,5,1),0.1,1000,2,0),6)", "16.666667"},
    {"ACCRINTM",   kSimple,     Trait::Pure, accrintm,                         "interest accrued that is paid at maturity",       "=ROUND(ACCRINTM(39539,39614,0.1,1000,3),6)",                                                              "20.547945"},
    {"AMORDEGRC",  {number(), number(), number(), number(), number(), number(), number(0)}, Trait::Pure, amordegrc, "depreciation by the French declining rules", "=AMORDEGRC(2400,39679,39813,300,1,0.15,1)",                                                "776"},
    {"AMORLINC",   {number(), number(), number(), number(), number(), number(), number(0)}, Trait::Pure, amorlinc,  "depreciation by the French linear rules",    "=AMORLINC(2400,39679,39813,300,1,0.15,1)",                                                 "360"},
    {"COUPDAYBS",  kCoupon,     Trait::Pure, couponFact<&Position::accrued>,   "days from the last coupon to the settlement",     "=COUPDAYBS(DATE(2011,1,25),DATE(2011,11,15),2,1)",                                                        "71"},
    {"COUPDAYS",   kCoupon,     Trait::Pure, couponFact<&Position::length>,    "days in the coupon period of the settlement",     "=COUPDAYS(DATE(2011,1,25),DATE(2011,11,15),2,1)",                                                         "181"},
    {"COUPDAYSNC", kCoupon,     Trait::Pure, coupdaysnc,                       "days from the settlement to the next coupon",     "=COUPDAYSNC(DATE(2011,1,25),DATE(2011,11,15),2,1)",                                                       "110"},
    {"COUPNCD",    kCoupon,     Trait::Pure, couponFact<&Position::next>,      "next coupon date after the settlement",           "=COUPNCD(DATE(2011,1,25),DATE(2011,11,15),2,1)",                                                          "40678"},
    {"COUPNUM",    kCoupon,     Trait::Pure, couponFact<&Position::number>,    "coupons between settlement and maturity",         "=COUPNUM(DATE(2007,1,25),DATE(2008,11,15),2,1)",                                                          "4"},
    {"COUPPCD",    kCoupon,     Trait::Pure, couponFact<&Position::previous>,  "coupon date before the settlement",               "=COUPPCD(DATE(2011,1,25),DATE(2011,11,15),2,1)",                                                          "40497"},
    {"DISC",       kSimple,     Trait::Pure, disc,                             "discount rate of a security",                     "=ROUND(DISC(DATE(2007,1,25),DATE(2007,6,15),97.975,100,1),6)",                                            "0.05242"},
    {"DURATION",   kDuration,   Trait::Pure, durationOf,                       "mean time to the payments of a security, years",  "=ROUND(DURATION(DATE(2008,1,1),DATE(2016,1,1),0.08,0.09,2,1),6)",                                         "5.993775"},
    {"INTRATE",    kSimple,     Trait::Pure, intrate,                          "interest rate of a fully invested security",      "=ROUND(INTRATE(DATE(2008,2,15),DATE(2008,5,15),1000000,1014420,2),5)",                                    "0.05768"},
    {"MDURATION",  kDuration,   Trait::Pure, modifiedDuration,                 "DURATION divided by the growth of one period",    "=ROUND(MDURATION(DATE(2008,1,1),DATE(2016,1,1),0.08,0.09,2,1),5)",                                        "5.73567"},
    {"ODDFPRICE",  kOddFirst,   Trait::Pure, oddfprice,                        "price of a security with an odd first period",    "=ROUND(ODDFPRICE(DATE(2008,11,11),DATE(2021,3,1),DATE(2008,10,15),DATE(2009,3,1),0.0785,0.0625,100,2,1),4)", "113.5977"},
    {"ODDFYIELD",  kOddFirst,   Trait::Pure, oddfyield,                        "yield of a security with an odd first period",    "=ROUND(ODDFYIELD(DATE(2008,11,11),DATE(2021,3,1),DATE(2008,10,15),DATE(2009,3,1),0.0575,84.5,100,2,0),6)", "0.077246"},
    {"ODDLPRICE",  kOddLast,    Trait::Pure, oddlprice,                        "price of a security with an odd last period",     "=ROUND(ODDLPRICE(DATE(2008,2,7),DATE(2008,6,15),DATE(2007,10,15),0.0375,0.0405,100,2,0),6)",              "99.878286"},
    {"ODDLYIELD",  kOddLast,    Trait::Pure, oddlyield,                        "yield of a security with an odd last period",     "=ROUND(ODDLYIELD(DATE(2008,4,20),DATE(2008,6,15),DATE(2007,12,24),0.0375,99.875,100,2,0),6)",             "0.045192"},
    {"PRICE",      kBond,       Trait::Pure, price,                            "price of a security that pays coupons",           "=ROUND(PRICE(DATE(2008,2,15),DATE(2017,11,15),0.0575,0.065,100,2,0),5)",                                  "94.63436"},
    {"PRICEDISC",  kSimple,     Trait::Pure, pricedisc,                        "price of a discounted security",                  "=ROUND(PRICEDISC(DATE(2008,2,16),DATE(2008,3,1),0.0525,100,2),4)",                                        "99.7958"},
    {"PRICEMAT",   kDuration,   Trait::Pure, pricemat,                         "price of a security with interest at maturity",   "=ROUND(PRICEMAT(DATE(2008,2,15),DATE(2008,4,13),DATE(2007,11,11),0.061,0.061,0),5)",                      "99.9845"},
    {"RECEIVED",   kSimple,     Trait::Pure, received,                         "amount received at maturity",                     "=ROUND(RECEIVED(DATE(2008,2,15),DATE(2008,5,15),1000000,0.0575,2),2)",                                    "1014584.65"},
    {"TBILLEQ",    kBill,       Trait::Pure, tbilleq,                          "yield of a treasury bill as that of a bond",      "=ROUND(TBILLEQ(DATE(2008,3,31),DATE(2008,6,1),0.0914),6)",                                                "0.094151"},
    {"TBILLPRICE", kBill,       Trait::Pure, tbillprice,                       "price of a treasury bill",                        "=TBILLPRICE(DATE(2008,3,31),DATE(2008,6,1),0.09)",                                                        "98.45"},
    {"TBILLYIELD", kBill,       Trait::Pure, tbillyield,                       "yield of a treasury bill",                        "=ROUND(TBILLYIELD(DATE(2008,3,31),DATE(2008,6,1),98.45),6)",                                              "0.091417"},
    {"YIELD",      kBond,       Trait::Pure, yieldOf,                          "yield of a security that pays coupons",           "=ROUND(YIELD(DATE(2008,2,15),DATE(2016,11,15),0.0575,95.04287,100,2,0),6)",                               "0.065"},
    {"YIELDDISC",  kSimple,     Trait::Pure, yielddisc,                        "yield of a discounted security",                  "=ROUND(YIELDDISC(DATE(2008,2,16),DATE(2008,3,1),99.795,100,2),6)",                                        "0.052823"},
    {"YIELDMAT",   kDuration,   Trait::Pure, yieldmat,                         "yield of a security with interest at maturity",   "=ROUND(YIELDMAT(DATE(2008,3,15),DATE(2008,11,3),DATE(2007,11,8),0.0625,100.0123,0),6)",                   "0.060954"},
};
// clang-format on
static_assert(wellFormed(rows));

} // namespace

std::span<const FunctionRow> securityFunctions() { return rows; }

} // namespace varnex3::sheet
