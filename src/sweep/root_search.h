// Where a function that is asked step by step crosses a level.
#pragma once

namespace ordvane::sweep {

// Narrows a range, at whose ends the function lies on opposite sides of the level, to two neighbouring
// numbers, or to a 2^64th of the range: a curve through what is known says where to ask next, and halves
// where that does not get on. A jump over the level is narrowed like a root; the value at the end tells them
// apart.
class RootSearch {
 public:
  struct Point {
    double x = 0, y = 0;
  };
  RootSearch(const Point& from, const Point& to, double level);

  bool done() const { return done_; }
  double next() const { return next_; }  // where the function is to be asked; not when done
  void tell(double y);                   // what it is there
  // The end of the range that is nearer to the level.
  const Point& best() const;

 private:
  void choose();
  double part() const;
  double off(const Point& point) const { return point.y - level_; }

  double level_;
  Point near_, far_, before_;  // the latest, the other end of the range, and the one that left it last
  double finest_;              // what the range is narrowed to at least
  double next_ = 0;
  double reach_ = 1;  // of a step past the latest point, in the finest
  double width_ = 0;  // of the range when it last was halved
  int since_ = 0;     // points asked since then
  bool done_ = false;
};

}  // namespace ordvane::sweep
