#include "reports/step_remarks.h"

namespace ordvane::reports {

std::string StepNote(const session::Session& session, const model::StepFacts& facts, Varied varied) {
  std::string note;
  if (facts.failed > 0)
    note = session.text(text_id::kNoteFailedResults, std::int64_t{facts.failed}, std::int64_t{facts.steps});
  if (facts.leaves_out_base)
    note +=
        (note.empty() ? "" : "\n") +
        session.text(varied == Varied::kInputs ? text_id::kNoteBaseLeftOut : text_id::kNoteGroupBaseLeftOut);
  return note;
}

void StepRemarks::add(const std::string& label, const model::StepFacts& facts) {
  if (facts.failed > 0)
    failed_.push_back(session_.text(text_id::kInputsFailedResultsItem, label, std::int64_t{facts.failed},
                                    std::int64_t{facts.steps}));
  if (facts.leaves_out_base) without_base_.push_back(label);
}

void StepRemarks::write(layout::ReportSheet& sheet) const {
  const auto line = [&](session::TextId<1> id, const std::vector<std::string>& items) {
    if (!items.empty()) sheet.AddLine(session_.text(id, session_.list_of(items)));
  };
  line(text_id::kInputsWithoutEffect, left_out_);
  line(text_id::kInputsFailedResults, failed_);
  line(varied_ == Varied::kInputs ? text_id::kInputsBaseLeftOut : text_id::kGroupsBaseLeftOut, without_base_);
}

}  // namespace ordvane::reports
