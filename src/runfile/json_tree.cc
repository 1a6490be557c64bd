#include "runfile/json_tree.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "runfile/run.h"
#include "runfile/values.h"
#include "text/edit.h"
#include "text/utf8.h"

namespace ordvane::runfile {
namespace {

constexpr std::size_t kMostLevels = 200;
constexpr std::size_t kShownName = 40;
constexpr std::size_t kShownProblem = 160;

std::string joined(const std::string& path, std::string_view field) {
  return path + (path.empty() ? "" : ".") + text::cut_to(field, kShownName);
}

std::string element(const std::string& path, std::size_t index) {
  return path + '[' + std::to_string(index) + ']';
}

// What the parser's message says beyond its own name, the position and the text last read.
std::string problem_of(const nlohmann::json::exception& error) {
  std::string problem = error.what();
  const auto drop_through = [&problem](std::string_view mark) {
    const std::size_t at = problem.find(mark);
    if (at != std::string::npos) problem.erase(0, at + mark.size());
  };
  drop_through("] ");
  if (problem.starts_with("parse error")) drop_through(": ");
  const std::size_t last_read = problem.find("; last read: '");
  if (last_read != std::string::npos) {
    const std::size_t expected = problem.rfind("'; expected ");
    problem.erase(last_read, expected == std::string::npos ? expected : expected + 1 - last_read);
  }
  return text::cut_to(problem, kShownProblem);
}

class TreeBuilder : public nlohmann::json_sax<nlohmann::json> {
 public:
  TreeBuilder(std::string_view text, const std::string& file) : text_(text), file_(file) {}

  Json take() { return std::move(root_); }

  bool null() override { return add(nullptr); }
  bool boolean(bool value) override { return add(value); }
  bool number_integer(number_integer_t value) override { return add(value); }
  bool number_unsigned(number_unsigned_t value) override {
    return std::in_range<std::int64_t>(value) ? add(value) : add(static_cast<double>(value));
  }
  bool number_float(number_float_t value, const string_t&) override { return add(value); }
  bool string(string_t& value) override { return add(std::move(value)); }
  bool binary(binary_t&) override { return false; }
  bool start_object(std::size_t) override { return open(Json::object()); }
  bool start_array(std::size_t) override { return open(Json::array()); }
  bool end_object() override { return close(); }
  bool end_array() override { return close(); }

  bool key(string_t& name) override {
    Level& level = levels_.back();
    if (!level.names.insert(name).second)
      throw BadRun(file_, joined(path(), name), "this field stands twice");
    level.key = std::move(name);
    return true;
  }

  bool parse_error(std::size_t position, const std::string&,
                   const nlohmann::json::exception& error) override {
    const std::size_t end = text_.find_last_not_of(" \t\r\n") + 1;
    const std::string_view before =
        text_.substr(0, std::min(position - std::min<std::size_t>(position, 1), end));
    const std::size_t line_start = before.rfind('\n') + 1;  // npos + 1 is the start of the text
    throw BadRun(file_, std::to_string(std::count(before.begin(), before.end(), '\n') + 1),
                 "column " + std::to_string(before.size() - line_start + 1) + ": " + problem_of(error));
  }

 private:
  struct Level {
    Json* node;
    std::string key;  // of an object: the field being read
    std::set<std::string> names;
  };

  Json& place(Json value) {
    if (levels_.empty()) return root_ = std::move(value);
    const Level& level = levels_.back();
    return level.node->is_object() ? level.node->add(level.key, std::move(value))
                                   : level.node->push_back(std::move(value));
  }
  bool add(Json value) {
    place(std::move(value));
    return true;
  }
  // The node stays where it is while it is open: its parent grows no further until it is closed.
  bool open(Json container) {
    if (levels_.size() == kMostLevels)
      throw BadRun(file_, "",
                   "lists and objects stand in more than " + std::to_string(kMostLevels) + " others");
    levels_.push_back({&place(std::move(container)), {}, {}});
    return true;
  }
  bool close() {
    levels_.pop_back();
    return true;
  }
  // Of the innermost open object.
  std::string path() const {
    std::string path;
    for (std::size_t i = 0; i + 1 < levels_.size(); ++i) {
      const Level& level = levels_[i];
      path = level.node->is_object() ? joined(path, level.key) : element(path, level.node->size() - 1);
    }
    return path;
  }

  std::string_view text_;
  const std::string& file_;
  Json root_;
  std::vector<Level> levels_;
};

}  // namespace

Json parse_json(std::string_view text, const std::string& file) {
  TreeBuilder builder(text, file);
  nlohmann::json::sax_parse(text.begin(), text.end(), &builder);
  return builder.take();
}

JsonValue JsonValue::member(std::string_view field) const {
  return {*data_->find(field), joined(path_, field), *file_};
}

JsonValue JsonValue::element(std::size_t index) const {
  return {(*data_)[index], runfile::element(path_, index), *file_};
}

void JsonValue::expect_object() const {
  if (!data_->is_object()) fail_expecting("an object { ... }");
}

void JsonValue::expect_list(const char* what) const {
  if (!data_->is_array()) fail_expecting(std::string("a list of ") + what);
  if (data_->empty()) fail(std::string("is empty; a list of ") + what + " is expected");
}

bool JsonValue::boolean() const {
  if (!data_->is_boolean()) fail_expecting("true or false");
  return data_->boolean();
}

std::int64_t JsonValue::integer(std::int64_t lowest, std::int64_t highest) const {
  if (data_->is_number()) {
    const double value = data_->number();
    // Whole numbers up to 2^53 are exact; every limit is far below.
    if (value == std::floor(value) && value >= static_cast<double>(lowest) &&
        value <= static_cast<double>(highest))
      return static_cast<std::int64_t>(value);
  }
  fail_expecting("a whole number from " + std::to_string(lowest) + " to " + std::to_string(highest));
}

double JsonValue::number() const {
  if (!data_->is_number()) fail_expecting("a number");
  const double value = data_->number();
  if (!(std::fabs(value) < kNumberLimit)) fail_expecting(std::string("a number ") + kNumberRange);
  return value;
}

std::string JsonValue::text() const {
  if (!data_->is_string()) fail_expecting("a text");
  const std::string& value = data_->string();
  for (std::size_t at = 0; at < value.size();) {
    const text::CodePoint character = text::code_point_at(value, at);
    if (!character.valid) fail("is " + shown() + ", which is not UTF-8 text");
    const bool blank = character.code == '\t' || character.code == '\n' || character.code == '\r';
    if ((character.code < 0x20 && !blank) || character.code == 0xFFFE || character.code == 0xFFFF)
      fail("is " + shown() + ", which holds a character that no workbook can hold");
    at += character.bytes;
  }
  return value;
}

std::string JsonValue::shown() const {
  if (data_->is_string()) return text::quoted_text(data_->string());
  if (data_->is_object()) return "an object";
  if (data_->is_array()) return "a list";
  if (data_->is_number_float() && !std::isfinite(data_->number()))
    return std::to_string(data_->number());  // only programs can say these
  return data_->dump();
}

void JsonValue::fail(const std::string& problem) const {
  throw BadRun(*file_, path_, problem);
}

void JsonValue::fail_expecting(const std::string& expected) const {
  fail("is " + shown() + "; " + expected + " is expected");
}

}  // namespace ordvane::runfile
