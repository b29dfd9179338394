#include "backends/linux/qt/TileMask.h"

#include <gtest/gtest.h>

namespace jumplark {
namespace {

struct Case {
  const char* what;
  std::vector<QRect> marked;
  std::vector<QRect> taken;
  std::vector<QRect> runs;
};

// An area of 100 by 50 in tiles of 16 by 20: the last column has 4 pixels, the last row 10.
TEST(TileMask, givesTheTouchedTilesAsRunsWithinTheArea) {
  const Case cases[] = {
      {"nothing", {}, {}, {}},
      {"outside", {QRect(200, 0, 10, 10), QRect(-20, 0, 20, 10)}, {}, {}},
      {"empty", {QRect(10, 10, 0, 5)}, {}, {}},
      {"one pixel", {QRect(16, 20, 1, 1)}, {}, {QRect(16, 20, 16, 20)}},
      {"neighbours are one run", {QRect(0, 0, 5, 5), QRect(20, 0, 5, 5)}, {}, {QRect(0, 0, 32, 20)}},
      {"a gap parts them", {QRect(0, 0, 5, 5), QRect(40, 0, 5, 5)}, {}, {QRect(0, 0, 16, 20), QRect(32, 0, 16, 20)}},
      {"a run a row", {QRect(15, 19, 2, 2)}, {}, {QRect(0, 0, 32, 20), QRect(0, 20, 32, 20)}},
      {"cut at the area's edges", {QRect(97, 45, 50, 50)}, {}, {QRect(96, 40, 4, 10)}},
      {"without those of another",
       {QRect(0, 0, 40, 5)},
       {QRect(20, 3, 1, 1)},
       {QRect(0, 0, 16, 20), QRect(32, 0, 16, 20)}},
  };
  for (const Case& c : cases) {
    TileMask mask(QSize(100, 50), QSize(16, 20));
    TileMask other(QSize(100, 50), QSize(16, 20));
    for (const QRect& rect : c.marked) {
      mask.mark(rect);
    }
    for (const QRect& rect : c.taken) {
      other.mark(rect);
    }
    mask.subtract(other);
    EXPECT_TRUE(mask.runs() == c.runs) << c.what;
    mask.clear();
    EXPECT_TRUE(mask.runs().empty()) << c.what;
  }
}

}  // namespace
}  // namespace jumplark
