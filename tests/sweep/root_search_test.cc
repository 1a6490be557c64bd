// Roots that are known, jumps, and how often the function is asked.
#include "sweep/root_search.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>

namespace ordvane::sweep {
namespace {

struct Case {
  const char* what;
  std::function<double(double)> function;
  double from, to, level, root;
  int most;  // times that the function is asked
};

const Case kCases[] = {
    {"a line", [](double x) { return 3 * x - 1; }, 0, 1, 4.0 / 3, 7.0 / 9, 12},
    {"falls, whole", [](double x) { return 40 - 4 * x; }, 1, 100, 0, 10, 12},
    {"a square", [](double x) { return x * x; }, 0, 100, 2, std::numbers::sqrt2, 20},
    {"steep", [](double x) { return std::exp(x); }, -50, 50, 1e15, std::log(1e15), 20},
    {"flat at its root", [](double x) { return x * x * x; }, -1, 3, 0, 0, 90},
    {"rounded", [](double x) { return std::round(x * 100) / 100 - 7.31; }, 0, 10, 0, 7.31, 30},
    {"a jump", [](double x) { return x < 3.3 ? -1.0 : 2.0; }, 0, 10, 0, 3.3, 80},
    {"a pole", [](double x) { return 1 / (x - 5.1); }, 2, 10, 0, 5.1, 80},
    {"large", [](double x) { return x - 1e299; }, -9e299, 9e299, 0, 1e299, 20},
};

TEST(RootSearch, NarrowsToNeighbouringNumbers) {
  for (const Case& c : kCases) {
    SCOPED_TRACE(c.what);
    RootSearch search({c.from, c.function(c.from)}, {c.to, c.function(c.to)}, c.level);
    int asked = 0;
    for (; !search.done() && asked < 1000; ++asked) {
      ASSERT_GT(search.next(), c.from);
      ASSERT_LT(search.next(), c.to);
      search.tell(c.function(search.next()));
    }
    const double tolerance = std::string_view(c.what) == "rounded"
                                 ? 0.005
                                 : 4e-16 * std::fabs(c.root) + std::ldexp(c.to - c.from, -62);
    EXPECT_NEAR(search.best().x, c.root, tolerance);
    EXPECT_EQ(search.best().y, c.function(search.best().x));
    EXPECT_LE(asked, c.most);
  }
}

}  // namespace
}  // namespace ordvane::sweep
