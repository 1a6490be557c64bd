// Run files as JSON trees, read so that every mistake can be placed: syntax errors by line, fields that stand
// twice and wrong values by the path of the field.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "text/json.h"

namespace ordvane::runfile {

using Json = text::Json;

// Throws BadRun, which names `file`. What stands in more levels than any file of this system is refused.
Json parse_json(std::string_view text, const std::string& file);

// A value of the tree and where it stands. Every reader throws BadRun when the value is not of its kind.
class JsonValue {
 public:
  JsonValue(const Json& data, std::string path, const std::string& file)
      : data_(&data), path_(std::move(path)), file_(&file) {}

  const Json& data() const { return *data_; }
  const std::string& path() const { return path_; }
  const std::string& file() const { return *file_; }

  bool has(std::string_view field) const { return data_->contains(field); }
  // A field of an object, an element of a list. Both must be there.
  JsonValue member(std::string_view field) const;
  JsonValue element(std::size_t index) const;

  void expect_object() const;
  // "list of `what`", which is not empty.
  void expect_list(const char* what) const;
  bool is_null() const { return data_->is_null(); }
  bool boolean() const;
  std::int64_t integer(std::int64_t lowest, std::int64_t highest) const;
  double number() const;
  // Without characters that no workbook can hold.
  std::string text() const;

  // What stands there, for a message: the value itself, or "a list" and "an object".
  std::string shown() const;
  [[noreturn]] void fail(const std::string& problem) const;
  // "is X; Y is expected"
  [[noreturn]] void fail_expecting(const std::string& expected) const;

 private:
  const Json* data_;
  std::string path_;
  const std::string* file_;
};

}  // namespace ordvane::runfile
