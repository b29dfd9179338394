#include "backends/linux/qt/x11/RoundedShape.h"

#include <xcb/shape.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace jumplark {

void setRoundedShape(xcb_connection_t* connection, xcb_window_t window, QSize size, double radius) {
  std::vector<xcb_rectangle_t> rows;
  const int corner = std::min({static_cast<int>(std::ceil(radius)), size.width() / 2, size.height() / 2});
  const auto add = [&](int y, int inset, int height) {
    rows.push_back({static_cast<int16_t>(inset), static_cast<int16_t>(y),
                    static_cast<uint16_t>(std::max(0, size.width() - 2 * inset)), static_cast<uint16_t>(height)});
  };
  const auto insetOf = [&](int row) {
    const double up = radius - (row + 0.5);
    return static_cast<int>(std::lround(radius - std::sqrt(std::max(0.0, radius * radius - up * up))));
  };
  for (int row = 0; row < corner; ++row) {
    add(row, insetOf(row), 1);
  }
  add(corner, 0, std::max(0, size.height() - 2 * corner));
  for (int row = corner - 1; row >= 0; --row) {
    add(size.height() - 1 - row, insetOf(row), 1);
  }
  xcb_shape_rectangles(connection, XCB_SHAPE_SO_SET, XCB_SHAPE_SK_BOUNDING, XCB_CLIP_ORDERING_YX_BANDED, window, 0, 0,
                       static_cast<uint32_t>(rows.size()), rows.data());
}

}  // namespace jumplark
