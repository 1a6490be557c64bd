// Whether what a workbook calculates looks at certain sheets.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ordvane::xlsx {

// Whether a formula names one of these sheets, or a run of sheets, of which any may be one of them. Sheets of
// other workbooks do not count. A text before a "!" that is no reference may count as one.
bool mentions_sheet(std::string_view formula, const std::vector<std::string>& names);

// The same for whatever stands between the tags of a part.
bool part_mentions_sheet(std::string_view xml, const std::vector<std::string>& names);

}  // namespace ordvane::xlsx
