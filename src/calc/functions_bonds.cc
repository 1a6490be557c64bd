// Securities: coupons, prices and yields, discounts, treasury bills.
//
// Coupons are paid at the same day of every so many months back from maturity, at the end of months when that
// is the end of one.
#include <algorithm>
#include <cmath>
#include <limits>

#include "calc/day_counts.h"
#include "calc/functions.h"
#include "calc/rounding.h"

namespace ordvane::calc {
namespace {

using text::Calendar;
using text::Date;

Basis basis_of(Call& call, int argument) {
  const double basis = whole_part(call.number(argument, 0));
  if (basis < 0 || basis > 4) call.fail(ErrorCode::kArgument);
  return call.failed() ? Basis::kAmerican360 : static_cast<Basis>(basis);
}

// Between the purchase of a security and its end.
struct Term {
  Calendar calendar;
  std::int64_t settlement = 0, maturity = 1;
  Basis basis = Basis::kAmerican360;

  double years() const { return year_fraction(calendar, settlement, maturity, basis); }
  // As simple interest counts them: actual days by the length of the first year alone; months of 30 days
  // without rules for their ends, but for the American February that a year goes on after, which has its own.
  double simple_years() const {
    const Date start = calendar.date(settlement), end = calendar.date(maturity);
    if (basis == Basis::kActual)
      return static_cast<double>(maturity - settlement) / (text::is_leap(start.year) ? 366 : 365);
    if (basis != Basis::kAmerican360 && basis != Basis::kEuropean360) return years();
    double days = plain_days(start, end);
    if (basis == Basis::kAmerican360 && start.month == 2 && end.month > 2 && start.year == end.year)
      days -= 30 - text::days_in_month(start.year, 2);
    return days / 360;
  }
};

Term term_of(Call& call, int basis_argument) {
  Term term{Calendar(call.counts_from_1904())};
  term.settlement = day_of(call, 0);
  term.maturity = day_of(call, 1);
  term.basis = basis_of(call, basis_argument);
  if (term.settlement >= term.maturity) call.fail(ErrorCode::kArgument);
  return term;
}

// ---- Coupons ----

struct Coupons {
  Term term;
  int a_year = 1;

  // The coupon date so many coupons before maturity.
  std::int64_t date(int before) const {
    const Date end = term.calendar.date(term.maturity);
    const bool ends_month = end.day == text::days_in_month(end.year, end.month);
    const std::int64_t first = term.calendar.day(end.year, end.month - before * (12 / a_year), 1);
    const Date month = term.calendar.date(first);
    const int length = text::days_in_month(month.year, month.month);
    return first + (ends_month ? length : std::min(end.day, length)) - 1;
  }
  // Of those after settlement.
  int count() const {
    const Date start = term.calendar.date(term.settlement), end = term.calendar.date(term.maturity);
    const std::int64_t months = (end.year - start.year) * 12 + end.month - start.month;
    int number = static_cast<int>(months) / (12 / a_year);
    while (date(number) > term.settlement) ++number;
    return number;
  }
  std::int64_t previous() const { return date(count()); }
  std::int64_t next() const { return date(count() - 1); }
  double days() const {
    if (term.basis == Basis::kActual) return static_cast<double>(next() - previous());
    return (term.basis == Basis::kActual365 ? 365.0 : 360.0) / a_year;
  }
  double days_before() const { return days_between(term.calendar, previous(), term.settlement, term.basis); }
  double days_after() const {
    const bool of_30 = term.basis == Basis::kAmerican360 || term.basis == Basis::kEuropean360;
    return of_30 ? days() - days_before() : static_cast<double>(next() - term.settlement);
  }
};

Coupons coupons_of(Call& call, int frequency_argument) {
  Coupons coupons{term_of(call, frequency_argument + 1)};
  const double frequency = whole_part(call.number(frequency_argument));
  if (frequency != 1 && frequency != 2 && frequency != 4) call.fail(ErrorCode::kArgument);
  if (call.failed()) return Coupons{{Calendar(call.counts_from_1904())}};
  coupons.a_year = static_cast<int>(frequency);
  return coupons;
}

Operand call_coupnum(Call& call) {
  return static_cast<double>(coupons_of(call, 2).count());
}
Operand call_couppcd(Call& call) {
  return static_cast<double>(coupons_of(call, 2).previous());
}
Operand call_coupncd(Call& call) {
  return static_cast<double>(coupons_of(call, 2).next());
}
Operand call_coupdays(Call& call) {
  return coupons_of(call, 2).days();
}
Operand call_coupdaybs(Call& call) {
  return coupons_of(call, 2).days_before();
}
Operand call_coupdaysnc(Call& call) {
  return coupons_of(call, 2).days_after();
}

// ---- Prices and yields ----

struct Bond {
  double count, until_next;           // coupons; a part of the time between two
  double days_before, days;           // of that time, those that are over; all
  double coupon, redemption, a_year;  // per 100
};

Bond bond_of(const Coupons& coupons, double rate, double redemption) {
  const double days = coupons.days();
  return {static_cast<double>(coupons.count()),
          coupons.days_after() / days,
          coupons.days_before(),
          days,
          100 * rate / coupons.a_year,
          redemption,
          static_cast<double>(coupons.a_year)};
}

double price_at(const Bond& bond, double yield) {
  const double growth = 1 + yield / bond.a_year;
  double price = bond.redemption / std::pow(growth, bond.count - 1 + bond.until_next);
  price -= bond.coupon * bond.days_before / bond.days;
  for (double k = 0; k < bond.count; ++k) price += bond.coupon / std::pow(growth, k + bond.until_next);
  return price;
}

Operand call_price(Call& call) {
  const Coupons coupons = coupons_of(call, 5);
  const double rate = call.number(2), yield = call.number(3), redemption = call.number(4);
  if (rate < 0 || yield < 0 || redemption <= 0) return ErrorCode::kArgument;
  return price_at(bond_of(coupons, rate, redemption), yield);
}

// No price of a double needs more.
constexpr double kLargestYield = 1e300;

// Prices fall as yields rise.
Operand halved_yield_of(const Bond& bond, double price) {
  double low = 0, high = 0;
  if (price_at(bond, 0) < price)
    low = -bond.a_year;
  else
    for (high = 1; price_at(bond, high) > price; high *= 2) {
      if (high > kLargestYield) return ErrorCode::kNoConvergence;
      low = high;
    }
  for (;;) {
    const double middle = low + (high - low) / 2;
    if (middle == low || middle == high) return high;
    (price_at(bond, middle) > price ? low : high) = middle;
  }
}

// By the method of secants, which goes astray where terms are long.
Operand yield_of(const Bond& bond, double price) {
  double low = 0, high = 0.1, low_price = price_at(bond, low), high_price = price_at(bond, high);
  for (int step = 0; step < 100; ++step) {
    if (low_price == high_price) break;
    const double next = high + (price - high_price) * (high - low) / (high_price - low_price);
    low = high;
    low_price = high_price;
    high = next;
    high_price = price_at(bond, high);
    if (!std::isfinite(high_price)) break;
    if (std::fabs(high - low) < 1e-15 * std::max(1.0, std::fabs(high)))
      return std::fabs(high_price - price) < 1e-9 * price ? Operand(high) : halved_yield_of(bond, price);
  }
  return halved_yield_of(bond, price);
}

Operand call_yield(Call& call) {
  const Coupons coupons = coupons_of(call, 5);
  const double rate = call.number(2), price = call.number(3), redemption = call.number(4);
  if (rate < 0 || price <= 0 || redemption <= 0) return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  return yield_of(bond_of(coupons, rate, redemption), price);
}

// The mean time of what is paid, weighted by its present value. Times end with the term, counted in years.
double duration_of(const Coupons& coupons, double rate, double yield) {
  const int count = coupons.count();
  const double growth = yield / coupons.a_year + 1, coupon = rate * 100 / coupons.a_year;
  const double shift = coupons.term.years() * coupons.a_year - count;
  double weighted = 0, value = 0;
  for (int k = 1; k <= count; ++k) {
    const double time = k + shift, paid = k == count ? coupon + 100 : coupon;
    weighted += time * paid / std::pow(growth, time);
    value += paid / std::pow(growth, time);
  }
  return weighted / value / coupons.a_year;
}

Operand call_duration(Call& call) {
  const Coupons coupons = coupons_of(call, 4);
  const double rate = call.number(2), yield = call.number(3);
  if (rate < 0 || yield < 0) return ErrorCode::kArgument;
  return duration_of(coupons, rate, yield);
}

Operand call_mduration(Call& call) {
  const Operand duration = call_duration(call);
  if (duration.value.is_error()) return duration;
  return duration.value.number() / (1 + call.number(3) / whole_part(call.number(4)));
}

// ---- Without coupons ----

template <double (*calculate)(double, double, double), double (Term::*years)() const>
Operand call_discounted(Call& call) {
  const Term term = term_of(call, 4);
  const double a = call.number(2), b = call.number(3);
  if (a <= 0 || b <= 0) return ErrorCode::kArgument;
  return calculate(a, b, (term.*years)());
}

double disc(double price, double redemption, double years) {
  return (1 - price / redemption) / years;
}
double intrate(double investment, double redemption, double years) {
  return (redemption / investment - 1) / years;
}
double received(double investment, double discount, double years) {
  return investment / (1 - discount * years);
}
double pricedisc(double discount, double redemption, double years) {
  return redemption * (1 - discount * years);
}

// Interest is paid at maturity, from the day of issue on.
template <bool of_price>
Operand call_at_maturity(Call& call) {
  const Term term = term_of(call, 5);
  const std::int64_t issue = day_of(call, 2);
  const double rate = call.number(3), given = call.number(4);
  if (rate < 0 || given < 0) return ErrorCode::kArgument;
  const double whole = year_fraction(term.calendar, issue, term.maturity, term.basis);
  const double before = year_fraction(term.calendar, issue, term.settlement, term.basis);
  if (!of_price) return ((1 + whole * rate) / (1 + term.years() * given) - before * rate) * 100;
  if (given == 0 || issue > term.settlement) return ErrorCode::kArgument;
  return ((1 + whole * rate) / (given / 100 + before * rate) - 1) / term.years();
}

// From the day of issue to another.
Term term_from_issue(Call& call, int end, int basis) {
  Term term{Calendar(call.counts_from_1904())};
  term.settlement = day_of(call, 0);
  term.maturity = day_of(call, end);
  term.basis = basis_of(call, basis);
  if (term.settlement >= term.maturity) call.fail(ErrorCode::kArgument);
  return term;
}

Operand call_accrint(Call& call) {
  const double frequency = whole_part(call.number(5));
  if (frequency != 1 && frequency != 2 && frequency != 4) return ErrorCode::kArgument;
  day_of(call, 1);  // of the first interest; nothing is made of it
  const Term term = term_from_issue(call, 2, 6);
  const double rate = call.number(3), par = call.number(4);
  if (rate <= 0 || par <= 0) return ErrorCode::kArgument;
  return par * rate * term.simple_years();
}

Operand call_accrintm(Call& call) {
  const Term term = term_from_issue(call, 1, 4);
  const double rate = call.number(2), par = call.number(3);
  if (rate <= 0 || par <= 0) return ErrorCode::kArgument;
  return par * rate * term.simple_years();
}

// What is written off from the day of purchase on; the first period is a part of one.
struct AmortizedAsset {
  explicit AmortizedAsset(Call& call) : cost(call.number(0)) {
    const Calendar calendar(call.counts_from_1904());
    const std::int64_t bought = day_of(call, 1), first_end = day_of(call, 2);
    salvage = call.number(3);
    period = floor_of(call.number(4));
    rate = call.number(5);
    first_years = year_fraction(calendar, bought, first_end, basis_of(call, 6));
    if (bought > first_end || rate <= 0 || cost <= 0 || salvage < 0 || salvage > cost || period < 0)
      call.fail(ErrorCode::kArgument);
  }
  double cost, salvage = 0, period = 0, rate = 0, first_years = 0;
};

// Equal parts of the cost; the last is a part of one, too.
Operand call_amorlinc(Call& call) {
  const AmortizedAsset asset(call);
  if (call.failed()) return 0.0;
  const double part = asset.cost * asset.rate, first = asset.first_years * asset.rate * asset.cost;
  if (asset.period == 0) return first;
  const double left = asset.cost - asset.salvage;
  const double whole = std::trunc((left - first) / part);
  if (asset.period <= whole) return part;
  return asset.period == whole + 1 ? std::max(left - part * whole - first, 0.0) : 0.0;
}

// How much faster than by equal parts a life of so many years is written off.
double degressive_factor(double life) {
  if (life < 3) return 1;
  if (life < 5) return 1.5;
  return life <= 6 ? 2 : 2.5;
}

// A share of the rest, in whole numbers; half of it in the period that would leave less than the salvage
// value, and nothing after that.
Operand call_amordegrc(Call& call) {
  const AmortizedAsset asset(call);
  if (call.failed()) return 0.0;
  const double rate = asset.rate * degressive_factor(1 / asset.rate);
  double part = std::round(asset.first_years * rate * asset.cost);
  double rest = asset.cost - part;
  for (double period = 1; period <= std::min(asset.period, kMostSteps); ++period) {
    part = std::round(rate * rest);
    if (rest - part < asset.salvage) return period == asset.period ? std::round(rest / 2) : 0.0;
    if (part == 0) break;
    rest -= part;
  }
  return part;
}

// ---- Treasury bills ----

template <double (*calculate)(double, double)>
Operand call_bill(Call& call) {
  const std::int64_t settlement = day_of(call, 0), maturity = day_of(call, 1);
  const double given = call.number(2);
  const auto days = static_cast<double>(maturity - settlement);
  if (given <= 0 || days <= 0 || days > 366) return ErrorCode::kArgument;
  const double result = calculate(given, days);
  return result < 0 ? Operand(ErrorCode::kArgument) : Operand(result);
}

double bill_equivalent(double discount, double days) {
  return 365 * discount / (360 - discount * days);
}
double bill_price(double discount, double days) {
  return 100 * (1 - discount * days / 360);
}
double bill_yield(double price, double days) {
  return (100 - price) / price * (360 / days);
}

// ---- Fractions of a dollar ----

// 1.02 in 16ths is 1 2/16: as many decimals as the denominator has digits.
template <bool to_decimal>
Operand call_dollar_fraction(Call& call) {
  const double number = call.number(0);
  const double parts = whole_part(call.number(1));
  if (parts < 0 || parts > std::numeric_limits<std::int32_t>::max()) return ErrorCode::kArgument;
  if (parts == 0) return ErrorCode::kDivision;
  const double whole = std::trunc(number), rest = number - whole;
  const double decimals = std::pow(10, std::ceil(std::log10(parts)));
  return whole + (to_decimal ? rest / parts * decimals : rest / decimals * parts);
}

constexpr Function kBondsFunctions[] = {
    {"ACCRINT", 6, 8, "s", call_accrint},
    {"ACCRINTM", 4, 5, "s", call_accrintm},
    {"AMORDEGRC", 6, 7, "s", call_amordegrc},
    {"AMORLINC", 6, 7, "s", call_amorlinc},
    {"COUPDAYBS", 3, 4, "s", call_coupdaybs},
    {"COUPDAYS", 3, 4, "s", call_coupdays},
    {"COUPDAYSNC", 3, 4, "s", call_coupdaysnc},
    {"COUPNCD", 3, 4, "s", call_coupncd},
    {"COUPNUM", 3, 4, "s", call_coupnum},
    {"COUPPCD", 3, 4, "s", call_couppcd},
    {"DISC", 4, 5, "s", call_discounted<disc, &Term::years>},
    {"DOLLARDE", 2, 2, "s", call_dollar_fraction<true>},
    {"DOLLARFR", 2, 2, "s", call_dollar_fraction<false>},
    {"DURATION", 5, 6, "s", call_duration},
    {"INTRATE", 4, 5, "s", call_discounted<intrate, &Term::simple_years>},
    {"MDURATION", 5, 6, "s", call_mduration},
    {"PRICE", 6, 7, "s", call_price},
    {"PRICEDISC", 4, 5, "s", call_discounted<pricedisc, &Term::simple_years>},
    {"PRICEMAT", 5, 6, "s", call_at_maturity<false>},
    {"RECEIVED", 4, 5, "s", call_discounted<received, &Term::simple_years>},
    {"TBILLEQ", 3, 3, "s", call_bill<bill_equivalent>},
    {"TBILLPRICE", 3, 3, "s", call_bill<bill_price>},
    {"TBILLYIELD", 3, 3, "s", call_bill<bill_yield>},
    {"YIELD", 6, 7, "s", call_yield},
    {"YIELDDISC", 4, 5, "s", call_discounted<intrate, &Term::years>},
    {"YIELDMAT", 5, 6, "s", call_at_maturity<true>},
};

}  // namespace

std::span<const Function> bond_functions() {
  return kBondsFunctions;
}

}  // namespace ordvane::calc
