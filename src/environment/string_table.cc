#include "environment/string_table.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cmath>
#include <limits>
#include <mutex>
#include <optional>
#include <set>

#include "environment/string_resources.h"
#include "text/calendar.h"
#include "text/edit.h"
#include "text/numbers.h"

namespace ordvane::environment {
namespace {

constexpr std::string_view kBlanks = " \t\r";
constexpr std::size_t kPlaces = 3;

#define ORDVANE_TEXT(constant, name, number, places) {name, number, places},
constexpr TextEntry kTextTable[] = {
#include "session/texts.def"
};
#undef ORDVANE_TEXT

// Reads one string file, line by line.
class Reader {
 public:
  explicit Reader(std::string_view code) { language_.code = code; }

  Language read(std::string_view file) {
    while (!file.empty()) {
      ++line_number_;
      const std::size_t end = file.find('\n');
      read_line(text::trimmed(file.substr(0, end), kBlanks));
      file = end == std::string_view::npos ? std::string_view() : file.substr(end + 1);
    }
    for (const char* setting : {"@id", "@decimal", "@group", "@date", "@list"})
      if (!settings_.contains(setting)) fail(std::string("the setting ") + setting + " is missing");
    return std::move(language_);
  }

 private:
  [[noreturn]] void fail(const std::string& problem) const {
    throw host::Error(host::errc::kInvalidProcedureCall, "Texts of language '" + language_.code + "', line " +
                                                             std::to_string(line_number_) + ": " + problem);
  }

  void read_line(std::string_view line) {
    if (line.empty() || line.front() == '#') return;
    const std::size_t equals = line.find('=');
    if (equals == std::string_view::npos) fail("expected \"name = text\"");
    const std::string_view key = text::trimmed(line.substr(0, equals), kBlanks);
    const std::string_view value = text::trimmed(line.substr(equals + 1), kBlanks);
    if (key.starts_with('@')) {
      read_setting(key, value);
    } else if (!language_.texts.emplace(number_of(key), unescaped(value)).second) {
      fail("the text " + std::string(key) + " is given twice");
    }
  }

  void read_setting(std::string_view key, std::string_view value) {
    const std::string name(key);
    if (!settings_.emplace(name).second) fail("the setting " + name + " is given twice");
    if (value.empty()) fail(name + " is empty");
    if (key == "@id") {
      language_.id = number(value);
    } else if (key == "@decimal") {
      if (value.size() != 1) fail("@decimal is one character");
      language_.decimal_separator = value.front();
    } else if (key == "@group") {
      language_.group_separator = unescaped(value);
    } else if (key == "@date") {
      language_.date_format = value;
    } else if (key == "@list") {
      language_.list_separator = unescaped(value);
    } else if (key == "@font") {
      language_.font = value;
    } else {
      fail("there is no setting " + name);
    }
  }

  // Files have their texts in the order of the table, more or less.
  std::int32_t number_of(std::string_view name) {
    const auto end = std::end(kTextTable);
    auto entry = std::ranges::find(next_text_, end, name, &TextEntry::name);
    if (entry == end) entry = std::ranges::find(std::begin(kTextTable), end, name, &TextEntry::name);
    if (entry == end) fail("there is no text " + std::string(name));
    next_text_ = entry + 1;
    return entry->number;
  }

  std::int32_t number(std::string_view text) const {
    std::int16_t value = 0;
    const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
    if (read.ec != std::errc() || read.ptr != text.data() + text.size() || value <= 0)
      fail("\"" + std::string(text) + "\" is not a number from 1 to 32767");
    return value;
  }

  std::string unescaped(std::string_view text) const {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
      if (text[at] == '{') check_place(text.substr(at));
      if (text[at] == '\\')
        result += escaped(text, ++at);
      else
        result += text[at];
    }
    return result;
  }

  std::string_view escaped(std::string_view text, std::size_t at) const {
    const char letter = at < text.size() ? text[at] : '\0';
    switch (letter) {
      case 'n':
        return "\n";
      case 's':
        return " ";
      case '_':
        return "\u00A0";  // no-break space
      case '\\':
        return "\\";
      default:
        fail("a backslash is followed by n, s, _ or another backslash");
    }
  }

  void check_place(std::string_view text) const {
    if (text.size() < 3 || text[1] < '1' || text[1] > '3' || text[2] != '}')
      fail("a place is one of {1}, {2} and {3}");
  }

  Language language_;
  std::set<std::string> settings_;
  const TextEntry* next_text_ = std::begin(kTextTable);  // behind the one that was read last
  int line_number_ = 0;
};

// Answers from the language it was made for, or from the one made active.
class LanguageStringTable : public host::StringTable {
 public:
  explicit LanguageStringTable(const Language& language) : language_(&language) {}

  std::string GetString(std::int16_t id, const host::TextArgument& arg1, const host::TextArgument& arg2,
                        const host::TextArgument& arg3) override {
    const auto found = language_->texts.find(id);
    if (found == language_->texts.end())
      host::raise_subscript_out_of_range("no text " + std::to_string(id) + " in language '" +
                                         language_->code + "'");
    return filled(found->second, {&arg1, &arg2, &arg3});
  }

  void set_active_language(std::int32_t language_id) override {
    language_ = &language(language_code(language_id));
  }

 private:
  std::string filled(const std::string& text,
                     const std::array<const host::TextArgument*, kPlaces>& arguments) const {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
      if (text[at] != '{') {
        result += text[at];
        continue;
      }
      result += argument_text(*arguments[static_cast<std::size_t>(text[at + 1] - '1')]);
      at += 2;
    }
    return result;
  }

  std::string argument_text(const host::TextArgument& argument) const {
    if (const auto* text = std::get_if<std::string>(&argument)) return *text;
    if (const auto* whole = std::get_if<std::int64_t>(&argument)) return std::to_string(*whole);
    if (const auto* number = std::get_if<double>(&argument))
      return general_number(*number, language_->decimal_separator);
    return {};
  }

  const Language* language_;
};

std::string padded(std::int64_t number, std::size_t width) {
  std::string digits = std::to_string(number);
  if (digits.size() < width) digits.insert(0, width - digits.size(), '0');
  return digits;
}

}  // namespace

std::span<const TextEntry> text_table() {
  return kTextTable;
}

Language read_language(std::string_view code, std::string_view file) {
  return Reader(code).read(file);
}

// A language has hundreds of texts, and a program asks for one or two languages.
const Language& language(std::string_view code) {
  static std::mutex mutex;
  static std::map<std::string_view, Language> languages;
  const std::lock_guard lock(mutex);
  if (const auto known = languages.find(code); known != languages.end()) return known->second;
  for (const StringResource& resource : string_resources())
    if (resource.language == code)
      return languages.emplace(resource.language, read_language(code, resource.text)).first->second;
  throw host::Error(host::errc::kInvalidProcedureCall,
                    "There are no texts in the language '" + std::string(code) + "'");
}

std::string_view language_code(std::int32_t id) {
  for (const StringResource& resource : string_resources())
    if (resource.id == id) return resource.language;
  throw host::Error(host::errc::kInvalidProcedureCall,
                    "There are no texts for the language id " + std::to_string(id));
}

std::string general_number(double value, char decimal_separator, std::string_view group_separator) {
  if (value == 0) return "0";  // never "-0"
  constexpr int kDigits = std::numeric_limits<double>::digits10;
  std::string text = text::general_number(value, kDigits);
  if (!std::isfinite(value)) return text;
  const std::size_t whole_end = std::min(text.find_first_of(".e"), text.size());
  std::replace(text.begin(), text.end(), '.', decimal_separator);
  std::replace(text.begin(), text.end(), 'e', 'E');
  if (text.find('E') != std::string::npos) return text;
  const std::size_t first = value < 0 ? 1 : 0;
  for (std::size_t at = whole_end; at > first + 3;) text.insert(at -= 3, group_separator);
  return text;
}

std::string date_text(double serial, std::string_view format) {
  if (!(serial >= 1 && serial < text::kLastSerial + 1)) return {};
  const text::Date date = text::spreadsheet_date(static_cast<std::int64_t>(serial));
  std::string text;
  for (std::size_t at = 0; at < format.size();) {
    const std::size_t end = std::min(format.find_first_not_of(format[at], at), format.size());
    const std::size_t width = end - at;
    switch (format[at]) {
      case 'd':
        text += padded(date.day, width);
        break;
      case 'm':
        text += padded(date.month, width);
        break;
      case 'y':
        text += padded(width > 2 ? date.year : date.year % 100, width);
        break;
      default:
        text += format.substr(at, width);
    }
    at = end;
  }
  return text;
}

std::shared_ptr<host::StringTable> make_string_table(const Language& language) {
  return std::make_shared<LanguageStringTable>(language);
}

}  // namespace ordvane::environment
