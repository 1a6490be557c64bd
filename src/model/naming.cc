#include "model/naming.h"

#include <algorithm>
#include <string_view>

#include "host/tidying_up.h"
#include "text/edit.h"
#include "text/utf16.h"

namespace ordvane::model {
namespace {

constexpr const char* kLabelMacro = "Dral4FindLabelVBDebug";
enum LabelSelector : std::int16_t { kLabelText = 1, kFirstLabelCell = 2, kSecondLabelCell = 3 };

constexpr std::int32_t kLongestWholeLabel = 41;
constexpr std::int32_t kLabelRoom = 38;  // both parts together, without the " / " between them
constexpr std::int32_t kHalfLabelRoom = 19;
constexpr std::int32_t kSheetNameLimit = 25;

std::shared_ptr<host::Range> label_cell(session::Session& session, host::Range& cell,
                                        LabelSelector selector) {
  const std::string address = session.application().run(kLabelMacro, cell, selector);
  return address.empty() ? nullptr : cell.worksheet()->range(address);
}

// A spreadsheet that another program has started loads no add-ins: without the macro there is no label.
DefaultLabel label_of(session::Session& session, host::Range& cell) {
  DefaultLabel label;
  host::ignoring_errors([&] {
    label.text = session.application().run(kLabelMacro, cell, kLabelText);
    label.first_cell = label_cell(session, cell, kFirstLabelCell);
    label.second_cell = label_cell(session, cell, kSecondLabelCell);
  });
  return label;
}

// The text of a label cell; "" when it cannot be read.
std::string text_of(const std::shared_ptr<host::Range>& cell) {
  std::string text;
  if (cell) host::ignoring_errors([&] { text = cell->value().text; });
  return text;
}

}  // namespace

DefaultLabel GetDefaultDralLabelForCellRange(session::Session& session, host::Range& cell) {
  constexpr const char* kLogPrefix = "Utils.GetDefaultDralLabelForCellRange ";
  const std::string address = cell.address(true, true);
  session.log.line(std::string(kLogPrefix) + "theCell: " + address);
  DefaultLabel label = label_of(session, cell);
  const std::string cut(text::cut_at_nul(label.text));
  session.log.line(kLogPrefix + address + "    String: " + cut +
                   "    Len: " + std::to_string(text::utf16_length(cut)));
  return label;
}

std::string short_default_label(session::Session& session, host::Range& cell, const std::string& name) {
  const DefaultLabel label = GetDefaultDralLabelForCellRange(session, cell);
  std::string whole(text::cut_at_nul(label.text));
  if (whole.empty()) return name;
  if (text::utf16_length(whole) <= kLongestWholeLabel) return whole;

  const std::string first = text_of(label.first_cell);
  const std::string second = text_of(label.second_cell);
  const std::int32_t first_length = text::utf16_length(first);
  const std::int32_t second_length = text::utf16_length(second);
  std::int32_t first_room = kHalfLabelRoom;
  std::int32_t second_room = kHalfLabelRoom;
  if (first_length < kHalfLabelRoom) {
    first_room = first_length;
    second_room = kLabelRoom - first_length;
  } else if (second_length < kHalfLabelRoom) {
    first_room = kLabelRoom - second_length;
    second_room = second_length;
  }
  return std::string(text::trimmed(std::string(text::left(first, first_room)) + " / " +
                                   std::string(text::left(second, second_room))));
}

std::string clean_sheet_name(const std::string& name) {
  std::string cleaned = name;
  std::erase_if(cleaned,
                [](char c) { return std::string_view("\\:/?*[]").find(c) != std::string_view::npos; });
  return std::string(text::left(cleaned, kSheetNameLimit));
}

std::string external_address(const std::string& book, const std::string& sheet, const std::string& cell) {
  std::string inside;
  for (const char c : "[" + book + "]" + sheet) {
    inside += c;
    if (c == '\'') inside += c;
  }
  return "'" + inside + "'!" + cell;
}

std::string address_for_range_mode(OrdvaneRangeMode mode, const std::string& /*book*/,
                                   const std::string& sheet, const std::string& cell) {
  switch (mode) {
    case OrdvaneRangeCellMode:
      return cell;
    case OrdvaneRangeSheetMode:
    case OrdvaneRangeBookMode:
      return cell + " (" + sheet + ")";
  }
  return {};
}

OrdvaneRangeMode range_mode_of(const Records& records) {
  const DralInputOutput& first = records(1);
  OrdvaneRangeMode mode = OrdvaneRangeCellMode;
  for (const DralInputOutput& record : records) {
    if (record.bookName != first.bookName) return OrdvaneRangeBookMode;
    if (record.sheetName != first.sheetName) mode = OrdvaneRangeSheetMode;
  }
  return mode;
}

void fill_number_formats(session::Session& session, Records& records, std::int32_t count) {
  for (std::int32_t i = 1; i <= count; ++i) {
    host::ignoring_errors([&] {
      DralInputOutput& record = records(i);
      // External addresses are found while a sheet of cells is active only, and have 255 characters at most.
      const auto cell = session.application()
                            .workbook(record.bookName)
                            ->worksheet(record.sheetName)
                            ->range(record.cellAddress);
      record.numberFormat = cell->number_format();
      record.NumberFormatLocal = cell->number_format_local();
    });
  }
}

// Types 0 and 1 leave functions at their base values.
BaseValues::BaseValues(session::Session& session)
    : session_(session), sampling_(session.engine->DRL4_GetSamplingType(session.hVars)) {
  if (is_sampled()) session_.engine->DRL4_SetSamplingType(session_.hVars, 0);
  host::ignoring_errors([&] { session_.application().calculate(); });
}

BaseValues::~BaseValues() {
  if (is_sampled())
    host::tidying_up([&] { session_.engine->DRL4_SetSamplingType(session_.hVars, sampling_); });
  if (is_sampled() || tried_) host::tidying_up([&] { session_.application().calculate(); });
}

double BaseValues::of(host::Range& cell, const std::string& function_text) {
  double result = host::kMissingNumber;
  host::ignoring_errors([&] { result = session_.environment->numbers().missing_number(); });
  host::ignoring_errors([&] {
    const std::string formula = cell.formula();
    const bool is_whole = formula == function_text || formula == "=" + function_text;
    tried_ = tried_ || !is_whole;
    host::CellValue value = is_whole ? cell.value() : cell.value_with(function_text);
    if (!value.is_number()) value = cell.evaluate(function_text);
    if (value.is_number()) result = value.number;
  });
  return result;
}

}  // namespace ordvane::model
