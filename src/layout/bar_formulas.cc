#include "layout/bar_formulas.h"

#include <algorithm>

#include "text/numbers.h"

namespace ordvane::layout {
namespace {

// Within a longer formula.
std::string operand(double value) {
  return "(" + text::shortest_number(value) + ")";
}

std::string least(const std::string& a, const std::string& b) {
  return "MIN(" + a + "," + b + ")";
}

std::string most(const std::string& a, const std::string& b) {
  return "MAX(" + a + "," + b + ")";
}

}  // namespace

std::vector<BarFormula> bar_formulas(const std::string& low, const std::string& high, double beyond,
                                     const BarFrame& frame) {
  const std::string reach = beyond > 0 ? text::shortest_number(beyond) : "";
  const std::string left = least(low, high) + (reach.empty() ? "" : "-" + reach);
  const std::string right = most(low, high) + (reach.empty() ? "" : "+" + reach);
  const std::string zero = "0";

  // The lead is cut where the axis begins: a text at its end has all of the second piece to lie in.
  const std::string edge_negative = operand(std::min(0.0, frame.maximum));
  const std::string edge_positive = operand(std::max(0.0, frame.minimum));
  std::vector<BarFormula> parts = {
      {BarPart::kLead, "Lead", false,
       least(zero, most(right, edge_negative)) + "+" + most(zero, least(left, edge_positive))},
      {BarPart::kReach, "Reach", false,
       least(zero, right + "-" + edge_negative) + "+" + most(zero, left + "-" + edge_positive)}};
  if (!frame.split) {
    parts.push_back({BarPart::kNegative, "Bar -", true, least(zero, left) + "-" + least(zero, right)});
    parts.push_back({BarPart::kPositive, "Bar +", true, most(zero, right) + "-" + most(zero, left)});
  } else {
    const std::string negative = operand(std::min(0.0, *frame.split));
    const std::string positive = operand(std::max(0.0, *frame.split));
    parts.push_back({BarPart::kNegative, "Bar -", true,
                     least(zero, most(left, negative)) + "-" + least(zero, most(right, negative))});
    parts.push_back({BarPart::kPositive, "Bar +", true,
                     most(zero, least(right, positive)) + "-" + most(zero, least(left, positive))});
    parts.push_back(
        {BarPart::kBeyondNegative, "Beyond -", true, least(left, negative) + "-" + least(right, negative)});
    parts.push_back(
        {BarPart::kBeyondPositive, "Beyond +", true, most(right, positive) + "-" + most(left, positive)});
  }
  if (frame.tails) {
    parts.push_back({BarPart::kTailNegative, "Tail -", false,
                     least(zero, operand(frame.minimum) + "-" + least(zero, left))});
    parts.push_back({BarPart::kTailPositive, "Tail +", false,
                     most(zero, operand(frame.maximum) + "-" + most(zero, right))});
  }
  for (BarFormula& part : parts) {
    const std::string otherwise = text::shortest_number(part.part == BarPart::kLead ? frame.start : 0);
    part.formula = "=IF(ISNUMBER(" + low + "),IF(ISNUMBER(" + high + ")," + part.formula + "," + otherwise +
                   ")," + otherwise + ")";
  }
  return parts;
}

}  // namespace ordvane::layout
