// Widths of texts by the metrics of their font.
#pragma once

#include <string>
#include <string_view>

namespace ordvane::office {

// Measures texts of one font. Widths are in points, for one line.
class TextMeasure {
 public:
  TextMeasure(const std::string& font, double size, bool bold);
  double width(std::string_view text) const;

 private:
  double points_of_unit_;
  bool bold_;
};

}  // namespace ordvane::office
