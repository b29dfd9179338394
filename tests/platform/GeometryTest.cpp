#include "platform/Geometry.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace jumplark {
namespace {

struct Case {
  std::string name;
  Rect a;
  Rect b;
  Rect common;
  bool shareArea;
};

TEST(Geometry, CommonPartAndSharedAreaInBothOrders) {
  const Rect null = Rect::null();
  const std::vector<Case> cases = {
      {"overlap", {0, 0, 10, 10}, {5, 5, 10, 10}, {5, 5, 5, 5}, true},
      {"inside", {0, 0, 10, 10}, {2, 3, 4, 5}, {2, 3, 4, 5}, true},
      {"apart", {0, 0, 10, 10}, {20, 0, 10, 10}, null, false},
      {"touching at an edge", {0, 0, 10, 10}, {10, 0, 10, 10}, null, false},
      {"touching at a corner", {0, 0, 10, 10}, {10, 10, 1, 1}, null, false},
      {"empty inside", {0, 0, 10, 10}, {4, 4, 0, 0}, {4, 4, 0, 0}, false},
      {"empty on the minimum corner", {0, 0, 10, 10}, {0, 0, 0, 0}, {0, 0, 0, 0}, false},
      {"empty on the maximum edge", {0, 0, 10, 10}, {10, 5, 0, 0}, null, false},
      {"empty outside", {0, 0, 10, 10}, {40, 4, 0, 0}, null, false},
      {"flat inside", {0, 0, 10, 10}, {2, 4, 3, 0}, {2, 4, 3, 0}, false},
      {"null", {0, 0, 10, 10}, null, null, false},
      {"infinite", {0, 0, 10, 10}, Rect::infinite(), {0, 0, 10, 10}, true},
      {"infinite and null", Rect::infinite(), null, null, false},
      {"infinite twice", Rect::infinite(), Rect::infinite(), Rect::infinite(), true},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(intersection(c.a, c.b), c.common) << c.name;
    EXPECT_EQ(intersection(c.b, c.a), c.common) << c.name;
    EXPECT_EQ(intersects(c.a, c.b), c.shareArea) << c.name;
    EXPECT_EQ(intersects(c.b, c.a), c.shareArea) << c.name;
  }
}

}  // namespace
}  // namespace jumplark
