// Notes that each stand at the first cell of a table that they are about.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "layout/report_table.h"
#include "session/session.h"

namespace ordvane::reports {

class FirstNotes {
 public:
  // The first place, row by row, is kept.
  void add(session::TextId<0> text, std::int32_t row, std::int32_t column);
  // Attaches the notes. Returns their texts in the order of their places.
  std::vector<std::string> write(const session::Session& session, layout::ReportTable& table) const;

 private:
  std::map<session::TextId<0>, std::pair<std::int32_t, std::int32_t>> places_;  // by text: row and column
};

}  // namespace ordvane::reports
