// Words at graphs and tables about inputs whose steps say less than their row, bar or line shows: results
// that are no numbers, steps that leave out the base value, inputs that move nothing. As notes on cells and
// as lines below a graph.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/excel.h"
#include "layout/report_sheet.h"
#include "model/step_facts.h"
#include "session/session.h"

namespace ordvane::reports {

// What was varied: an input by steps, or a group of inputs by combinations, which are then its steps.
enum class Varied : std::uint8_t { kInputs, kGroups };

// What the note on an input's row says of its steps; "" when there is nothing to say.
std::string StepNote(const session::Session& session, const model::StepFacts& facts,
                     Varied varied = Varied::kInputs);

// The lines at a graph about all of its inputs.
class StepRemarks {
 public:
  explicit StepRemarks(const session::Session& session, Varied varied = Varied::kInputs)
      : session_(session), varied_(varied) {}

  // `label`: what the table calls the input.
  void add(const std::string& label, const model::StepFacts& facts);
  // An input that the graph leaves out because it moves nothing.
  void add_left_out(const std::string& label) { left_out_.push_back(label); }
  // One line for each thing there is to say; none when there is nothing.
  void write(layout::ReportSheet& sheet) const;

 private:
  const session::Session& session_;
  Varied varied_;
  std::vector<std::string> left_out_, failed_, without_base_;
};

}  // namespace ordvane::reports
