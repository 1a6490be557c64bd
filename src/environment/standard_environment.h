// The environment services that do not depend on the host: texts of every language, the number service,
// errors, the clock and the log's file. Standard library only; hosts derive from it and add what only they
// know.
#pragma once

#include <cstdint>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/environment.h"

namespace ordvane::environment {

struct Language;

// Languages whose texts are compiled in, by code: { "de", "en" … }. Ids are the system's language ids (1033
// for English).
std::vector<std::string> languages();
// 0 for an unknown code.
std::int32_t language_id_of(std::string_view code);
// The code of the language that a user or the system calls so: "DE", "pt-BR", "de_AT.UTF-8". Nothing when
// there are no texts in it; those in simplified Chinese are none for readers of traditional characters.
std::optional<std::string> language_named(std::string_view name);
// The language for a user of this locale; "en" where there is no better one.
std::string language_of_locale(std::string_view locale);

class StandardNumberService : public host::NumberService {
 public:
  // Figures as the language writes them. Throws errc::kInvalidProcedureCall for one without texts.
  explicit StandardNumberService(const std::string& language = "en");

  bool concurrent() const override { return true; }
  double missing_number() override;
  bool is_usable(double value) override;
  host::AxisScale axis_scale(double low, double high) override;
  std::string number_text(double value, bool grouped) override;
  std::string date_text(double serial) override;
  std::string list_separator() override;

 private:
  const Language& language_;
};

struct Settings {
  std::string language = "en";
  std::string log_folder;  // empty: no log
  std::string engine_folder;
  char path_separator = '/';
  bool add_in_present = false;
  std::int32_t excel_major_version = 16;
  std::function<std::string()> clock;  // short date and long time; empty: the system's
};

class StandardEnvironment : public host::Environment {
 public:
  // Throws errc::kInvalidProcedureCall for a language without texts.
  explicit StandardEnvironment(Settings settings);

  std::string engine_folder() override;
  std::string log_folder() override;
  char path_separator() override;
  std::int32_t language_id(std::int32_t selector) override;
  std::string language_string(std::int32_t language_id) override;
  std::shared_ptr<host::StringTable> string_table(const std::string& component,
                                                  const std::string& language) override;
  host::NumberService& numbers() override;
  std::string shorten(const std::string& text, std::int32_t limit) override;
  [[noreturn]] void raise_error(std::int32_t code, const std::string& message) override;
  void show_message(const std::string& text, const std::string& title) override;  // does nothing
  void show_progress(const std::string& text1, const std::string& text2,
                     const std::string& text3) override;  // nothing
  void pump_messages() override;                          // does nothing
  bool escape_pressed() override;                         // false
  void remove_file(const std::string& path) override;
  void append_line(const std::string& path, const std::string& line) override;
  void close_file(const std::string& path) override;
  std::string date_and_time() override;
  std::int32_t excel_major_version() override;
  bool add_in_present() override;

 private:
  Settings settings_;
  StandardNumberService numbers_;
  std::ofstream open_file_;  // the one that got the last line
  std::string open_path_;
};

}  // namespace ordvane::environment
