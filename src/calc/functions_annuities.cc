// Loans and savings of equal payments, and interest rates.
//
// Payments at the beginning of a period have type 1, at its end type 0. The formulas are the ones that give
// LibreOffice's last digit: powers where it takes powers, expm1 and log1p for payments.
#include <cmath>

#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

struct Loan {
  double rate = 0, periods = 0, payment = 0, present = 0, future = 0;
  bool at_start = false;
};

double future_value(const Loan& loan) {
  if (loan.rate == 0) return -(loan.present + loan.payment * loan.periods);
  const double growth = std::pow(1 + loan.rate, loan.periods);
  const double payments = loan.at_start ? loan.payment * (1 + loan.rate) * (growth - 1) / loan.rate
                                        : loan.payment * (growth - 1) / loan.rate;
  return -(loan.present * growth + payments);
}

double present_value(const Loan& loan) {
  if (loan.rate == 0) return -(loan.future + loan.payment * loan.periods);
  const double last = loan.future * std::pow(1 + loan.rate, -loan.periods);
  if (!loan.at_start)
    return -(last + loan.payment * (1 - std::pow(1 + loan.rate, -loan.periods)) / loan.rate);
  return -(last + loan.payment * (1 - std::pow(1 + loan.rate, -loan.periods + 1)) / loan.rate + loan.payment);
}

double payment_of(const Loan& loan) {
  if (loan.rate == 0) return -(loan.present + loan.future) / loan.periods;
  const double growth = std::log1p(loan.rate);
  const double due = (loan.future + loan.present * std::exp(loan.periods * growth)) * loan.rate;
  const double share =
      loan.at_start ? std::expm1((loan.periods + 1) * growth) - loan.rate : std::expm1(loan.periods * growth);
  return -(due / share);
}

double future_after(Loan loan, double periods) {
  loan.periods = periods;
  return future_value(loan);
}

// Of a loan whose payment is known.
double interest_in(const Loan& loan, double period) {
  if (period == 1) return loan.at_start ? 0 : -loan.present * loan.rate;
  return loan.at_start ? (future_after(loan, period - 2) - loan.payment) * loan.rate
                       : future_after(loan, period - 1) * loan.rate;
}

Operand call_fv(Call& call) {
  Loan loan;
  loan.rate = call.number(0);
  loan.periods = call.number(1);
  loan.payment = call.number(2);
  loan.present = call.number(3, 0);
  loan.at_start = call.number(4, 0) != 0;
  return future_value(loan);
}

Operand call_pv(Call& call) {
  Loan loan;
  loan.rate = call.number(0);
  loan.periods = call.number(1);
  loan.payment = call.number(2);
  loan.future = call.number(3, 0);
  loan.at_start = call.number(4, 0) != 0;
  return present_value(loan);
}

Loan loan_to_pay(Call& call, int first) {
  Loan loan;
  loan.periods = call.number(first);
  loan.present = call.number(first + 1);
  loan.future = call.number(first + 2, 0);
  loan.at_start = call.number(first + 3, 0) != 0;
  return loan;
}

Operand call_pmt(Call& call) {
  const double rate = call.number(0);
  Loan loan = loan_to_pay(call, 1);
  loan.rate = rate;
  return payment_of(loan);
}

enum class Part : std::uint8_t { kInterest, kPrincipal };

template <Part part>
Operand call_part(Call& call) {
  const double rate = call.number(0);
  const double period = call.number(1);
  Loan loan = loan_to_pay(call, 2);
  loan.rate = rate;
  if (period < 1 || period > loan.periods) return ErrorCode::kArgument;
  loan.payment = payment_of(loan);
  const double interest = interest_in(loan, period);
  return part == Part::kInterest ? interest : loan.payment - interest;
}

template <Part part>
Operand call_parts(Call& call) {
  Loan loan;
  loan.rate = call.number(0);
  loan.periods = call.number(1);
  loan.present = call.number(2);
  const double start = whole_part(call.number(3));
  const double end = whole_part(call.number(4));
  const double type = call.number(5);
  if (start < 1 || end < start || loan.rate <= 0 || end > loan.periods || loan.present <= 0 ||
      (type != 0 && type != 1) || end > kMostSteps)
    return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  loan.at_start = type == 1;
  loan.payment = payment_of(loan);
  Sum sum;
  for (double period = start; period <= end; ++period) {
    // The rate is applied to the sum of the balances, so that one factor is rounded once.
    double balance = 0;
    if (period == 1) {
      balance = loan.at_start ? 0 : -loan.present;
    } else {
      balance =
          loan.at_start ? future_after(loan, period - 2) - loan.payment : future_after(loan, period - 1);
    }
    sum.add(part == Part::kInterest ? balance : loan.payment - balance * loan.rate);
  }
  return part == Part::kInterest ? sum.result() * loan.rate : sum.result();
}

Operand call_nper(Call& call) {
  const double rate = call.number(0);
  const double payment = call.number(1);
  const double present = call.number(2);
  const double future = call.number(3, 0);
  const bool at_start = call.number(4, 0) != 0;
  if (present + future == 0) return 0.0;
  if (rate == 0) return -(present + future) / payment;
  const double due = at_start ? payment * (1 + rate) : payment;
  return std::log(-(rate * future - due) / (rate * present + due)) / std::log1p(rate);
}

// ---- Rates ----

struct RateProblem {
  double periods, payment, present, future;
};

// One step of Newton's method for the rate at which the loan is paid off.
double better_rate(const RateProblem& loan, double rate) {
  const double before_last = std::pow(1 + rate, loan.periods - 1);
  const bool whole = loan.periods == std::floor(loan.periods);
  const double growth = whole ? before_last * (1 + rate) : std::pow(1 + rate, loan.periods);
  const double series = rate == 0 ? loan.periods : (growth - 1) / rate;
  const double slope =
      rate == 0 ? loan.periods * (loan.periods - 1) / 2 : loan.periods * before_last / rate - series / rate;
  const double value = loan.future + loan.present * growth + loan.payment * series;
  return rate - value / (loan.present * loan.periods * before_last + loan.payment * slope);
}

bool found_rate(const RateProblem& loan, double guess, double& rate) {
  rate = guess;
  for (int step = 0; step < 150; ++step) {
    const double next = better_rate(loan, rate);
    if (!std::isfinite(next)) return false;
    const double change = std::fabs(next - rate);
    rate = next;
    if (change < 1e-7) return rate > -1;
  }
  return false;
}

Operand call_rate(Call& call) {
  RateProblem loan{};
  loan.periods = call.number(0);
  loan.payment = call.number(1);
  loan.present = call.number(2);
  loan.future = call.number(3, 0);
  const bool at_start = call.number(4, 0) != 0;
  const double guess = call.number(5, 0.1);
  if (loan.periods <= 0) return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  if (at_start) {  // as if all were paid at the end: the first payment is made now, the last is not
    loan.future -= loan.payment;
    loan.present += loan.payment;
  }
  double rate = 0;
  if (found_rate(loan, guess, rate)) return rate;
  if (call.missing(5)) {
    // Other starts, from near to far.
    for (int i = 2; i <= 10; ++i)
      for (const double other : {guess * i, guess / i})
        if (found_rate(loan, other, rate)) return rate;
  }
  return ErrorCode::kNoConvergence;
}

Operand call_effect(Call& call) {
  const double rate = call.number(0);
  const double periods = floor_of(call.number(1));
  if (periods < 1 || rate < 0) return ErrorCode::kArgument;
  return rate == 0 ? 0.0 : std::pow(1 + rate / periods, periods) - 1;
}

Operand call_nominal(Call& call) {
  const double rate = call.number(0);
  const double periods = floor_of(call.number(1));
  if (periods < 1 || rate <= 0) return ErrorCode::kArgument;
  return (std::pow(1 + rate, 1 / periods) - 1) * periods;
}

Operand call_rri(Call& call) {
  const double periods = call.number(0);
  const double present = call.number(1);
  const double future = call.number(2);
  if (periods <= 0 || present == 0) return ErrorCode::kArgument;
  return std::pow(future / present, 1 / periods) - 1;
}

Operand call_pduration(Call& call) {
  const double rate = call.number(0);
  const double present = call.number(1);
  const double future = call.number(2);
  if (rate <= 0 || present <= 0 || future <= 0) return ErrorCode::kArgument;
  return std::log(future / present) / std::log1p(rate);
}

Operand call_ispmt(Call& call) {
  const double rate = call.number(0);
  const double period = call.number(1);
  const double periods = call.number(2);
  return call.number(3) * rate * (period / periods - 1);
}

Operand call_fvschedule(Call& call) {
  double result = call.number(0);
  call.each_number_of(1, [&](double rate) { result *= 1 + rate; });
  return result;
}

constexpr Function kAnnuitiesFunctions[] = {
    {"CUMIPMT", 6, 6, "s", call_parts<Part::kInterest>},
    {"CUMPRINC", 6, 6, "s", call_parts<Part::kPrincipal>},
    {"EFFECT", 2, 2, "s", call_effect},
    {"FV", 3, 5, "s", call_fv},
    {"FVSCHEDULE", 2, 2, "sr", call_fvschedule},
    {"IPMT", 4, 6, "s", call_part<Part::kInterest>},
    {"ISPMT", 4, 4, "s", call_ispmt},
    {"NOMINAL", 2, 2, "s", call_nominal},
    {"NPER", 3, 5, "s", call_nper},
    {"PDURATION", 3, 3, "s", call_pduration},
    {"PMT", 3, 5, "s", call_pmt},
    {"PPMT", 4, 6, "s", call_part<Part::kPrincipal>},
    {"PV", 3, 5, "s", call_pv},
    {"RATE", 3, 6, "s", call_rate},
    {"RRI", 3, 3, "s", call_rri},
};

}  // namespace

std::span<const Function> annuity_functions() {
  return kAnnuitiesFunctions;
}

}  // namespace ordvane::calc
