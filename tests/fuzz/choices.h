// What bytes choose.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "embedded/report_job.h"

namespace ordvane::fuzz {

// Bytes as numbers, one after the other; zeros behind the last.
class Choices {
 public:
  explicit Choices(std::string_view bytes) : bytes_(bytes) {}

  unsigned next() {
    if (bytes_.empty()) return 0;
    const auto byte = static_cast<unsigned char>(bytes_[0]);
    bytes_.remove_prefix(1);
    return byte;
  }
  bool yes() { return next() % 2 == 1; }
  // Any bits that make a finite number.
  double number();
  std::string_view rest() const { return bytes_; }

 private:
  std::string_view bytes_;
};

// Every report with what hosts choose unless they are told; with bytes, as those choose.
embedded::ReportOptions report_options(const runfile::Run& run, std::string_view bytes = {});

}  // namespace ordvane::fuzz
