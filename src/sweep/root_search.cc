#include "sweep/root_search.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace ordvane::sweep {
namespace {

constexpr int kPatience = 3;  // points that may leave more than half of the range

// The distance of a number to the next one.
double spacing(double x) {
  const double size = std::fabs(x);
  return std::nextafter(size, std::numeric_limits<double>::infinity()) - size;
}

bool same_sign(double a, double b) {
  return (a < 0) == (b < 0);
}

}  // namespace

RootSearch::RootSearch(const Point& from, const Point& to, double level)
    : level_(level),
      near_(from),
      far_(to),
      before_(to),
      finest_(std::ldexp(std::fabs(to.x / 2 - from.x / 2), -63)) {
  if (std::fabs(off(far_)) < std::fabs(off(near_))) std::swap(near_, far_);
  before_ = far_;
  width_ = std::fabs(far_.x - near_.x);
  choose();
}

const RootSearch::Point& RootSearch::best() const {
  return std::fabs(off(far_)) < std::fabs(off(near_)) ? far_ : near_;
}

// Which part of the way from the latest point to the far end is asked: where the level is on the parabola
// through the three points, x by y, if that rises or falls all along, at first on the line through two; else
// the half.
double RootSearch::part() const {
  if (since_ > kPatience) return 0.5;
  const double near = off(near_), far = off(far_), before = off(before_);
  if (before_.x == far_.x || before_.x == near_.x) return near / (near - far);
  const double place = (near_.x - far_.x) / (before_.x - far_.x);
  const double value = (near - far) / (before - far);
  if (!(value * value < place && (1 - value) * (1 - value) < 1 - place)) return 0.5;
  return near / (far - near) * (before / (far - before)) +
         (before_.x - near_.x) / (far_.x - near_.x) * (near / (before - near)) * (far / (before - far));
}

void RootSearch::choose() {
  const double width = std::fabs(far_.x - near_.x);
  const double least = std::max({finest_, spacing(near_.x), spacing(far_.x)});
  if (off(near_) == 0 || width <= least) {
    done_ = true;
    return;
  }
  if (width <= width_ / 2) {
    width_ = width;
    since_ = 0;
  }
  // The level is passed rather than met, so that both ends of the range come near.
  const double step = std::min(reach_ * least, width / 2);
  const double at = std::clamp(part() * width, step, width - step);
  next_ = near_.x + std::copysign(at, far_.x - near_.x);
  if (next_ == near_.x || next_ == far_.x) next_ = near_.x / 2 + far_.x / 2;
  done_ = next_ == near_.x || next_ == far_.x;
}

void RootSearch::tell(double y) {
  const Point asked{next_, y};
  if (off(asked) != 0 && same_sign(off(asked), off(far_))) {
    before_ = std::exchange(far_, near_);
    reach_ = 1;
  } else {
    before_ = near_;
    reach_ *= 8;
  }
  near_ = asked;
  ++since_;
  choose();
}

}  // namespace ordvane::sweep
