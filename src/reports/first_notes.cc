#include "reports/first_notes.h"

#include <algorithm>

namespace ordvane::reports {

void FirstNotes::add(session::TextId<0> text, std::int32_t row, std::int32_t column) {
  const auto [kept, is_new] = places_.try_emplace(text, row, column);
  if (!is_new) kept->second = std::min(kept->second, {row, column});
}

std::vector<std::string> FirstNotes::write(const session::Session& session,
                                           layout::ReportTable& table) const {
  std::vector<std::pair<std::pair<std::int32_t, std::int32_t>, session::TextId<0>>> by_place;
  for (const auto& [text, place] : places_) by_place.emplace_back(place, text);
  std::sort(by_place.begin(), by_place.end());
  std::vector<std::string> texts;
  for (const auto& [place, text] : by_place) {
    texts.push_back(session.text(text));
    table.AddTableNote(place.first, place.second, session.text(text_id::kNoteTitle), texts.back());
  }
  return texts;
}

}  // namespace ordvane::reports
