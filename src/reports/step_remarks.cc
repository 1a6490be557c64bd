#include "reports/step_remarks.h"

namespace ordvane::reports {
namespace {

// String ids.
constexpr std::int16_t kLeftOut = 260;
constexpr std::int16_t kFailedNote = 261;
constexpr std::int16_t kFailedLine = 262;
constexpr std::int16_t kFailedItem = 263;
constexpr std::int16_t kBaseNote = 264;
constexpr std::int16_t kBaseLine = 265;
constexpr std::int16_t kGroupBaseNote = 330;
constexpr std::int16_t kGroupBaseLine = 331;

}  // namespace

std::string StepNote(const session::Session& session, const model::StepFacts& facts, Varied varied) {
  std::string note;
  if (facts.failed > 0)
    note = session.text(kFailedNote, std::int64_t{facts.failed}, std::int64_t{facts.steps});
  if (facts.leaves_out_base)
    note += (note.empty() ? "" : "\n") + session.text(varied == Varied::kInputs ? kBaseNote : kGroupBaseNote);
  return note;
}

void StepRemarks::add(const std::string& label, const model::StepFacts& facts) {
  if (facts.failed > 0)
    failed_.push_back(
        session_.text(kFailedItem, label, std::int64_t{facts.failed}, std::int64_t{facts.steps}));
  if (facts.leaves_out_base) without_base_.push_back(label);
}

void StepRemarks::write(layout::ReportSheet& sheet) const {
  const auto line = [&](std::int16_t id, const std::vector<std::string>& items) {
    if (!items.empty()) sheet.AddLine(session_.text(id, session_.list_of(items)));
  };
  line(kLeftOut, left_out_);
  line(kFailedLine, failed_);
  line(varied_ == Varied::kInputs ? kBaseLine : kGroupBaseLine, without_base_);
}

}  // namespace ordvane::reports
