// Numbers as pages and graphs write them: as the item's cell shows them, in the figures of a language.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "environment/string_table.h"
#include "runfile/run.h"
#include "text/json.h"

namespace ordvane::page {

// What is written where there is no number.
inline constexpr const char* kNoNumber = "–";

class Figures {
 public:
  // A cell without a format of its own, and one whose format a script could not follow, gets as many decimals
  // as tell `values` apart: those of the item that are shown. Numbers that are none (NaN) are passed over.
  Figures(const runfile::Item& item, std::span<const double> values, const environment::Language& language);

  std::string text(double value) const;
  std::string difference(double value) const;  // of two values: days for dates
  bool shows_dates() const { return shows_dates_; }
  // The format of values, for the ticks of an axis; English codes.
  const std::string& code() const { return code_; }
  // Likewise of differences.
  const std::string& difference_code() const { return difference_code_; }
  // The same rules for the script of a page: resources/page/page.js says what they mean.
  text::Json rules() const;

 private:
  std::string code_, difference_code_;
  bool shows_dates_ = false;
  const environment::Language& language_;
};

// Of figures in one of the formats that a script can follow.
text::Json rules_of(const std::string& code, const environment::Language& language);
// In the figures of a language, by a number format in English codes.
std::string formatted(double value, const std::string& code, const environment::Language& language);
inline constexpr const char* kShareFormat = "#,##0.0%";
inline constexpr const char* kElasticityFormat = "#,##0.00";
// "+12.3%"
std::string change_text(double fraction, const environment::Language& language);

}  // namespace ordvane::page
