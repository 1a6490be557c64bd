// Values and rates of uneven payments.
#include <cmath>
#include <vector>

#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

std::vector<double> numbers_of(Call& call, int argument) {
  std::vector<double> numbers;
  call.each_number_of(argument, [&](double number) { numbers.push_back(number); });
  return numbers;
}

Operand call_npv(Call& call) {
  const double rate = call.number(0);
  double period = 1;
  Sum value;
  call.each_number(1, [&](double payment) { value.add(payment / std::pow(1 + rate, period++)); });
  return value.result();
}

// One step of Newton's method from a rate.
double better_rate(const std::vector<double>& payments, double rate) {
  Sum value, slope;
  double period = 0, growth = 1;
  for (const double payment : payments) {
    value.add(payment / growth);
    growth = std::pow(1 + rate, period + 1);
    slope.add(-period * payment / growth);
    ++period;
  }
  return rate - value.result() / slope.result();
}

// Newton's method until a step is below 1e-7; the last step is taken, so that the result is much nearer than
// that. Twenty steps are all that is tried.
Operand call_irr(Call& call) {
  const double guess = call.missing(1) ? 0.1 : call.number(1);
  const std::vector<double> payments = numbers_of(call, 0);
  if (call.failed()) return 0.0;
  double rate = guess == -1 ? 0.1 : guess;
  for (int step = 0; step < 20; ++step) {
    const double next = better_rate(payments, rate);
    if (!std::isfinite(next)) break;
    const double change = std::fabs(next - rate);
    rate = next;
    if (change < 1e-7)
      return rate == 0 && payments.empty() ? Operand(ErrorCode::kNoConvergence) : Operand(rate);
  }
  return ErrorCode::kNoConvergence;
}

Operand call_mirr(Call& call) {
  const double finance = call.number(1) + 1;
  const double reinvest = call.number(2) + 1;
  const std::vector<double> payments = numbers_of(call, 0);
  Sum income, expense;
  double income_factor = 1, expense_factor = 1;
  for (const double payment : payments) {
    if (payment > 0) income.add(payment * income_factor);
    if (payment < 0) expense.add(payment * expense_factor);
    income_factor /= reinvest;
    expense_factor /= finance;
  }
  const double last = static_cast<double>(payments.size()) - 1;
  if (income.result() == 0 || expense.result() == 0) return ErrorCode::kDivision;
  return std::pow(-income.result() / expense.result() * std::pow(reinvest, last), 1 / last) - 1;
}

// ---- Payments on dates ----

struct Flow {
  double payment, years;  // since the first
};

std::vector<Flow> flows_of(Call& call, int payments_argument) {
  const std::vector<double> payments = numbers_of(call, payments_argument);
  const std::vector<double> dates = numbers_of(call, payments_argument + 1);
  std::vector<Flow> flows;
  if (payments.size() != dates.size() || payments.empty()) {
    call.fail(ErrorCode::kArgument);
    return flows;
  }
  for (std::size_t i = 0; i < payments.size(); ++i)
    flows.push_back({payments[i], (dates[i] - dates[0]) / 365});
  return flows;
}

double value_of(const std::vector<Flow>& flows, double rate) {
  double value = 0;
  for (const Flow& flow : flows) value += flow.payment / std::pow(rate, flow.years);
  return value;
}

Operand call_xnpv(Call& call) {
  const double rate = call.number(0) + 1;
  const std::vector<Flow> flows = flows_of(call, 1);
  if (rate <= 0) return ErrorCode::kArgument;
  return value_of(flows, rate);
}

double slope_of(const std::vector<Flow>& flows, double rate) {
  double slope = 0;
  for (std::size_t i = 1; i < flows.size(); ++i)
    slope -= flows[i].years * flows[i].payment / std::pow(rate, flows[i].years + 1);
  return slope;
}

// Newton's method, with a closer limit than IRR's.
bool found_rate(const std::vector<Flow>& flows, double guess, double& rate) {
  rate = guess;
  for (int step = 0; step < 50; ++step) {
    const double value = value_of(flows, rate + 1);
    const double next = rate - value / slope_of(flows, rate + 1);
    if (!std::isfinite(next)) return false;
    const double change = std::fabs(next - rate);
    rate = next;
    if (change <= 1e-10 || std::fabs(value) <= 1e-10) return rate > -1;
  }
  return false;
}

Operand call_xirr(Call& call) {
  const std::vector<Flow> flows = flows_of(call, 0);
  const double guess = call.missing(2) ? 0.1 : call.number(2);
  if (guess <= -1) return ErrorCode::kArgument;
  bool gains = false, costs = false;
  for (const Flow& flow : flows) {
    gains = gains || flow.payment > 0;
    costs = costs || flow.payment < 0;
  }
  if (!gains || !costs) return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  double rate = 0;
  if (found_rate(flows, guess, rate)) return rate;
  for (int percent = -99; percent <= 999; ++percent)
    if (found_rate(flows, percent / 100.0, rate)) return rate;
  return ErrorCode::kNumber;
}

constexpr Function kCashFlowsFunctions[] = {
    {"IRR", 1, 2, "rs", call_irr},          {"MIRR", 3, 3, "rss", call_mirr},
    {"NPV", 2, kAnyNumber, "sr", call_npv}, {"XIRR", 2, 3, "rrs", call_xirr},
    {"XNPV", 3, 3, "srr", call_xnpv},
};

}  // namespace

std::span<const Function> financial_functions() {
  return kCashFlowsFunctions;
}

}  // namespace ordvane::calc
