#include "exchange/rows.h"

#include <cmath>
#include <utility>

#include "host/environment.h"
#include "text/numbers.h"

namespace ordvane::exchange {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;
constexpr const char* kListSeparator = ";";

std::string plain_text(const Json& cell) {
  if (cell.is_null()) return {};
  if (cell.is_string()) return cell.string();
  if (cell.is_number_float()) return text::shortest_number(cell.number());
  if (!cell.is_array()) return cell.dump();
  std::string text;
  for (const Json& element : cell)
    text += (&element == &cell.front() ? "" : kListSeparator) + plain_text(element);
  return text;
}

bool holds_texts(const Json& cell) {
  return cell.is_string() || (cell.is_array() && !cell.empty() && cell.front().is_string());
}

void append_csv_field(std::string& line, const Json& cell, Texts texts) {
  const std::string text = plain_text(cell);
  const bool guarded = texts == Texts::kProtected && holds_texts(cell) && begins_like_formula(text);
  const bool quoted = text.find_first_of(",\"\r\n") != std::string::npos;
  if (quoted) line += '"';
  if (guarded) line += '\'';
  for (const char letter : text) {
    if (letter == '"') line += '"';
    line += letter;
  }
  if (quoted) line += '"';
}

}  // namespace

bool begins_like_formula(std::string_view text) {
  return !text.empty() && std::string_view("=+-@\t\r").find(text.front()) != std::string_view::npos;
}

Json number_or_null(double value) {
  return std::isfinite(value) && value != host::kMissingNumber ? Json(value) : Json();
}

Json document_head(const char* format, int version, const std::string& run) {
  return {{"format", format}, {"version", version}, {"run", run}};
}

std::string document_text(const Json& document) {
  return document.dump(2) + '\n';
}

RowWriter::RowWriter(TextForm form, std::vector<std::string> columns, const Json& head, Write write)
    : form_(form), columns_(std::move(columns)), write_(std::move(write)) {
  if (form_.form == Form::kCsv) {
    append_line({columns_.begin(), columns_.end()});
    return;
  }
  for (std::string& column : columns_) column = Json(column).dump() + ":";
  if (form_.form == Form::kNdjson) return;
  text_ = "{\n";
  for (const auto& [name, value] : head.items())
    text_ += "  " + Json(name).dump() + ": " + value.dump() + ",\n";
  text_ += "  \"rows\": [";
}

void RowWriter::append_line(const std::vector<Json>& cells) {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (i > 0) text_ += ',';
    append_csv_field(text_, cells[i], form_.texts);
  }
  text_ += '\n';
}

void RowWriter::add(const std::vector<Json>& cells) {
  if (form_.form == Form::kCsv) {
    append_line(cells);
  } else {
    if (form_.form == Form::kJson) text_ += first_ ? "\n    " : ",\n    ";
    for (std::size_t i = 0; i < cells.size(); ++i)
      text_ += (i == 0 ? "{" : ",") + columns_[i] + cells[i].dump();
    text_ += form_.form == Form::kJson ? "}" : "}\n";
  }
  first_ = false;
  if (text_.size() >= kPiece) flush();
}

void RowWriter::flush() {
  write_(text_);
  text_.clear();
}

void RowWriter::finish() {
  if (form_.form == Form::kJson) text_ += first_ ? "]\n}\n" : "\n  ]\n}\n";
  flush();
}

}  // namespace ordvane::exchange
