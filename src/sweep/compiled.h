// Recalculation by this program itself (calc/), many recalculations at a time.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "calc/model.h"
#include "sweep/calculator.h"
#include "sweep/plan.h"

namespace ordvane::sweep {

// What in the formulas between inputs and outputs is not calculated here. What is not between them does not
// matter, the workbook's own values stand for it.
std::vector<calc::Obstacle> obstacles(const calc::Model& model, const Plan& plan);
// "Costs!C7: CUBEVALUE"
std::string text_of(const calc::Model& model, const calc::Obstacle& obstacle);

// The model must outlive it; several may use one. Throws host::Error where an obstacle shows during a
// calculation.
std::unique_ptr<Calculator> make_compiled(const calc::Model& model, const Plan& plan);

// As `make_compiled` calculators name themselves.
std::string compiled_engine();

Result result_of(const calc::Value& value);

}  // namespace ordvane::sweep
