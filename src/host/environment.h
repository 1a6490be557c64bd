// What the reports need of their surroundings besides the spreadsheet: folders, language and texts, the
// number service, errors, progress, the Escape key, the clock.
//
// Every member may throw host::Error unless it says otherwise. One thread. Texts are UTF-8.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "host/error.h"

namespace ordvane::host {

// The missing-number marker: stands for a value that is not a number, and for a change from a base of zero.
inline constexpr double kMissingNumber = -1e300;
// No base value was given. Compared by its exact bits.
inline constexpr double kNoBaseValue = 1.01E+300;
// What a table shows for a value that cannot be shown.
inline constexpr const char* kNotShown = " - ";

// A substitution argument of a text: missing, text, whole number or floating-point number.
using TextArgument = std::variant<std::monostate, std::string, std::int64_t, double>;

class StringTable {
 public:
  virtual ~StringTable() = default;
  // The text of an id in the active language, its places filled. Throws error 9 for an id without a text.
  virtual std::string GetString(std::int16_t id, const TextArgument& arg1 = {}, const TextArgument& arg2 = {},
                                const TextArgument& arg3 = {}) = 0;
  virtual void set_active_language(std::int32_t language_id) = 0;
};

struct AxisScale {
  double minimum = 0;
  double maximum = 0;
  double major_unit = 0;
};

class NumberService {
 public:
  virtual ~NumberService() = default;
  // Whether several threads may call missing_number and is_usable at once, which then throw nothing.
  virtual bool concurrent() const { return false; }
  virtual double missing_number() = 0;
  // False for NaN, infinities and the missing-number marker. Error values are the engine's to know.
  virtual bool is_usable(double value) = 0;
  // Rounded bounds that contain both values.
  virtual AxisScale axis_scale(double low, double high) = 0;
  // Shortest general form, at most 15 significant digits, as the language writes numbers; on request with
  // group separators.
  virtual std::string number_text(double value, bool grouped) = 0;
  // The day of a spreadsheet's date as the language writes it; "" for what is no date.
  virtual std::string date_text(double serial) = 0;
  // What the language puts between the items of a list, with its blanks.
  virtual std::string list_separator() = 0;
};

class Environment {
 public:
  virtual ~Environment() = default;

  // Folders without a trailing separator. An empty log folder means that this host keeps no log.
  virtual std::string engine_folder() = 0;
  virtual std::string log_folder() = 0;
  virtual char path_separator() = 0;

  virtual std::int32_t language_id(std::int32_t selector) = 0;  // selector: always 1
  virtual std::string language_string(std::int32_t language_id) = 0;
  virtual std::shared_ptr<StringTable> string_table(const std::string& component,
                                                    const std::string& language) = 0;

  virtual NumberService& numbers() = 0;
  // At most `limit` UTF-16 units; a cut is marked.
  virtual std::string shorten(const std::string& text, std::int32_t limit) = 0;

  // Throws host::Error with this code and message.
  [[noreturn]] virtual void raise_error(std::int32_t code, const std::string& message) = 0;
  virtual void show_message(const std::string& text, const std::string& title) = 0;
  virtual void show_progress(const std::string& text1, const std::string& text2,
                             const std::string& text3) = 0;
  // Lets the host handle pending user-interface messages.
  virtual void pump_messages() = 0;
  // The user asks to stop: Escape was pressed since the last call. Never throws.
  virtual bool escape_pressed() = 0;

  // The log's file: whole lines in the system's encoding, which outlive this process once the call returns.
  // It may stay open between lines; removing a file that another session writes empties it.
  virtual void remove_file(const std::string& path) = 0;
  virtual void append_line(const std::string& path, const std::string& line) = 0;
  virtual void close_file(const std::string& path) = 0;  // until the next line
  // Now, in the system's short date and long time formats, joined by one space.
  virtual std::string date_and_time() = 0;

  // Major version of the running spreadsheet: 12 for 2007.
  virtual std::int32_t excel_major_version() = 0;
  // Whether the add-in that owns the chart click macro and the menu is present beside this host.
  virtual bool add_in_present() = 0;
};

}  // namespace ordvane::host
