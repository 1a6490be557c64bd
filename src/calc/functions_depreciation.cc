// Values of assets that wear out.
#include <algorithm>
#include <cmath>

#include "calc/functions.h"
#include "calc/rounding.h"
#include "calc/rules.h"

namespace ordvane::calc {
namespace {

Operand call_sln(Call& call) {
  const double cost = call.number(0);
  const double salvage = call.number(1);
  const double life = call.number(2);
  return life == 0 ? Operand(ErrorCode::kDivision) : Operand((cost - salvage) / life);
}

Operand call_syd(Call& call) {
  const double cost = call.number(0);
  const double salvage = call.number(1);
  const double life = call.number(2);
  const double period = call.number(3);
  return (cost - salvage) * (life - period + 1) / (life * (life + 1) / 2);
}

struct Asset {
  double cost, salvage, life;
};

// What is written off in one period with a share of the rest; never below the salvage value.
double declining(const Asset& asset, double period, double factor) {
  double share = factor / asset.life;
  double before = 0;
  if (share >= 1) {
    share = 1;
    before = period == 1 ? asset.cost : 0;
  } else {
    before = asset.cost * std::pow(1 - share, period - 1);
  }
  const double after = asset.cost * std::pow(1 - share, period);
  return std::max(before - std::max(after, asset.salvage), 0.0);
}

Operand call_ddb(Call& call) {
  Asset asset{};
  asset.cost = call.number(0);
  asset.salvage = call.number(1);
  asset.life = call.number(2);
  const double period = call.number(3);
  const double factor = call.number(4, 2);
  if (asset.cost < 0 || asset.salvage < 0 || factor <= 0 || asset.salvage > asset.cost || period < 1 ||
      period > asset.life)
    return ErrorCode::kArgument;
  return declining(asset, period, factor);
}

// A rate of three decimals; the first year has fewer months, and so has the one after the last.
Operand call_db(Call& call) {
  const double cost = call.number(0);
  const double salvage = call.number(1);
  const double life = call.number(2);
  const double period = call.number(3);
  const double months = call.missing(4) ? 12 : whole_part(call.number(4));
  if (months < 1 || months > 12 || life > 1200 || salvage < 0 || period > life + 1 || salvage > cost ||
      cost <= 0 || life <= 0 || period <= 0)
    return ErrorCode::kArgument;
  const double rate = std::floor((1 - std::pow(salvage / cost, 1 / life)) * 1000 + 0.5) / 1000;
  const double first = cost * rate * months / 12;
  double written_off = first;
  Sum rest;
  rest.add(cost);
  rest.add(-first);
  for (double year = 2; year <= std::min(period, life); ++year) {
    written_off = rest.result() * rate;
    rest.add(-written_off);
  }
  if (period >= 1 && period < 2) return first;
  if (period > life) return rest.result() * rate * (12 - months) / 12;
  return period < 1 ? 0.0 : written_off;
}

// ---- Any span of periods ----

// What is written off in the first whole periods: declining until equal parts of
// the rest of a life are more. `life_left`: of the rest.
double written_off(const Asset& asset, double end, double life_left, double factor) {
  Sum sum;
  double rest = asset.cost - asset.salvage, linear = 0;
  bool is_linear = false;
  for (double period = 1; period <= end; ++period) {
    double part = linear;
    if (!is_linear) {
      part = declining(asset, period, factor);
      linear = rest / (life_left - period + 1);
      if (linear > part) {
        part = linear;
        is_linear = true;
      } else {
        rest -= part;
      }
    }
    sum.add(part);
  }
  return sum.result();
}

// Of whole periods: what is written off before `start` makes a new asset of what is left.
double switched_between(Asset asset, double start, double end, double factor) {
  if (start > 0) asset.cost -= written_off(asset, start, asset.life, factor);
  return written_off(asset, end - start, asset.life - start, factor);
}

// The parts of periods that are not meant are taken off.
double written_off_between(const Asset& asset, double start, double end, double factor) {
  const double first = std::floor(start), last = std::ceil(end);
  double sum = switched_between(asset, first, last, factor);
  if (start > first) sum -= (start - first) * switched_between(asset, first, first + 1, factor);
  if (end < last) sum -= (last - end) * switched_between(asset, last - 1, last, factor);
  return sum;
}

// That goes on declining: period by period.
double declined_between(const Asset& asset, double start, double end, double factor) {
  Sum sum;
  for (double period = std::floor(start) + 1; period <= std::ceil(end); ++period)
    sum.add(declining(asset, period, factor) * (std::min(end, period) - std::max(start, period - 1)));
  return sum.result();
}

Operand call_vdb(Call& call) {
  Asset asset{};
  asset.cost = call.number(0);
  asset.salvage = call.number(1);
  asset.life = call.number(2);
  const double start = call.number(3);
  const double end = call.number(4);
  const double factor = call.missing(5) ? 2 : call.number(5);
  const bool may_switch = !call.logical(6, false);
  if (start < 0 || end < start || end > asset.life || asset.cost < 0 || asset.salvage > asset.cost ||
      factor <= 0 || asset.life > 1e5)
    return ErrorCode::kArgument;
  if (call.failed()) return 0.0;
  return may_switch ? written_off_between(asset, start, end, factor)
                    : declined_between(asset, start, end, factor);
}

constexpr Function kDepreciationFunctions[] = {
    {"DB", 4, 5, "s", call_db},   {"DDB", 4, 5, "s", call_ddb}, {"SLN", 3, 3, "s", call_sln},
    {"SYD", 4, 4, "s", call_syd}, {"VDB", 5, 7, "s", call_vdb},
};

}  // namespace

std::span<const Function> depreciation_functions() {
  return kDepreciationFunctions;
}

}  // namespace ordvane::calc
