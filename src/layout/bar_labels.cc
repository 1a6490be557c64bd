#include "layout/bar_labels.h"

#include <algorithm>

#include "layout/look.h"
#include "layout/text_estimate.h"

namespace ordvane::layout {
namespace {

using host::LabelPosition;

// Points.
constexpr double kBesideBar = 6;     // to the text and beyond it
constexpr double kRightOfPlot = 16;  // that a text may go on

double width_of(const std::string& text) {
  return text.empty() ? 0 : estimated_width(text, kEndLabelSize) + kBesideBar;
}

// One end of a bar.
struct End {
  double value;
  bool is_right;
  const std::string& text;
  host::Color on_bar;

  // A part of a bar begins at the side of zero.
  bool away_from_zero() const { return is_right ? value >= 0 : value <= 0; }
};

End end_of(const LabelledBar& bar, bool is_right) {
  return is_right ? End{bar.ends->right, true, bar.labels.right, bar.labels.right_on_bar}
                  : End{bar.ends->left, false, bar.labels.left, bar.labels.left_on_bar};
}

class Placing {
 public:
  explicit Placing(const BarPlot& plot) : plot_(plot) {}

  std::vector<PlacedLabel> labels;

  void label(std::int32_t number, const LabelledBar& bar) {
    if (bar.is_point)
      static_cast<void>(put_beside(number, end_of(bar, true)) || put_beside(number, end_of(bar, false)));
    else if (bar.ends->left != bar.ends->right)
      label_both_ends(number, bar);
  }

 private:
  // Points from the left end of the value axis.
  double place(double value) const {
    return (value - plot_.minimum) / ((plot_.maximum - plot_.minimum) / plot_.width);
  }

  // The axis of the names may not go through a text.
  bool clear_of_axis(double from, double to) const {
    if (!plot_.base) return true;
    const double axis = place(*plot_.base);
    return axis <= std::min(from, to) || axis >= std::max(from, to);
  }

  bool put_beside(std::int32_t number, const End& end) {
    const double from = place(end.value);
    const double to = from + (end.is_right ? width_of(end.text) : -width_of(end.text));
    if (end.text.empty() || to < 0 || to > plot_.width + kRightOfPlot || !clear_of_axis(from, to))
      return false;
    const BarPart tail = end.is_right ? BarPart::kTailPositive : BarPart::kTailNegative;
    const bool away = end.away_from_zero();
    labels.push_back({number, away ? tail : BarPart::kReach, end.text, look::kMuted,
                      away ? LabelPosition::kInsideBase : LabelPosition::kInsideEnd});
    return true;
  }

  void label_both_ends(std::int32_t number, const LabelledBar& bar) {
    const bool fit_on_bar = place(bar.ends->right) - place(bar.ends->left) >=
                            width_of(bar.labels.left) + width_of(bar.labels.right);
    std::optional<BarPart> labelled;  // a part has one label
    for (const bool is_right : {false, true}) {
      const End end = end_of(bar, is_right);
      if (end.text.empty() || put_beside(number, end) || !fit_on_bar) continue;
      const double inwards = is_right ? -width_of(end.text) : width_of(end.text);
      const BarPart part = part_at(end);
      if (part == labelled || !clear_of_axis(place(end.value), place(end.value) + inwards)) continue;
      labelled = part;
      labels.push_back({number, part, end.text, end.on_bar,
                        end.away_from_zero() ? LabelPosition::kInsideEnd : LabelPosition::kInsideBase});
    }
  }

  // The seen part that ends here: on either side of zero the part nearer to zero comes first.
  BarPart part_at(const End& end) const {
    const auto before = [&](double value) {
      return end.value < value || (end.is_right && end.value == value);
    };
    const bool negative = before(0);
    const BarPart near_zero = negative ? BarPart::kNegative : BarPart::kPositive;
    if (!plot_.split || before(*plot_.split) != negative) return near_zero;
    return negative ? BarPart::kBeyondNegative : BarPart::kBeyondPositive;
  }

  const BarPlot& plot_;
};

}  // namespace

std::vector<PlacedLabel> place_labels(const std::vector<LabelledBar>& bars, const BarPlot& plot) {
  Placing placing(plot);
  if (plot.height / static_cast<double>(bars.size()) < kEndLabelSize * look::kLineHeight) return {};
  for (std::int32_t number = 1; const LabelledBar& bar : bars) {
    if (bar.ends) placing.label(number, bar);
    ++number;
  }
  return placing.labels;
}

}  // namespace ordvane::layout
