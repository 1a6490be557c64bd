// Figures as other programs take them: one layout of rows and columns, in three forms of text.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "text/json.h"

namespace ordvane::exchange {

using Json = text::Json;
// Takes the next piece of a text.
using Write = std::function<void(std::string_view)>;

enum class Form { kCsv, kJson, kNdjson };

// What becomes of CSV texts that a spreadsheet would take for formulas: an apostrophe comes before them, or
// they stay as they are.
enum class Texts { kProtected, kRaw };

// As a spreadsheet that opens a CSV file sees it.
bool begins_like_formula(std::string_view text);

// How a text is asked for.
struct TextForm {
  Form form = Form::kCsv;
  Texts texts = Texts::kProtected;
};

// null for the missing-number marker and for what is no finite number.
Json number_or_null(double value);

// The first fields of every JSON text, by which programs know it.
Json document_head(const char* format, int version, const std::string& run);
// Text of a JSON document, with its line break. Bytes that are no UTF-8 are replaced.
std::string document_text(const Json& document);

// Rows of cells under named columns. CSV: a line of names, then a line a row; an array is one field with ";"
// between its elements, null is empty, numbers are the shortest that read back as themselves. NDJSON: an
// object a line. JSON: the head's fields, then the objects as its field "rows".
class RowWriter {
 public:
  // `head`: not used by CSV and NDJSON.
  RowWriter(TextForm form, std::vector<std::string> columns, const Json& head, Write write);
  // As many cells as columns.
  void add(const std::vector<Json>& cells);
  // Nothing can be added behind it.
  void finish();

 private:
  void append_line(const std::vector<Json>& cells);
  void flush();

  TextForm form_;
  std::vector<std::string> columns_;  // JSON: as texts with quotes and colon
  Write write_;
  std::string text_;
  bool first_ = true;
};

}  // namespace ordvane::exchange
