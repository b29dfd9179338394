#include "backends/linux/qt/TileMask.h"

#include <algorithm>

namespace jumplark {

TileMask::TileMask(QSize area, QSize tile)
    : area_(area),
      tile_(tile),
      columns_((area.width() + tile.width() - 1) / tile.width()),
      rows_((area.height() + tile.height() - 1) / tile.height()),
      marked_(static_cast<size_t>(columns_) * static_cast<size_t>(rows_)) {}

void TileMask::mark(const QRect& rect) {
  const QRect inside = rect & QRect(QPoint(), area_);
  if (inside.isEmpty()) {
    return;
  }
  const int first = inside.left() / tile_.width();
  const int last = inside.right() / tile_.width();
  for (int row = inside.top() / tile_.height(); row <= inside.bottom() / tile_.height(); ++row) {
    const auto begin = marked_.begin() + static_cast<ptrdiff_t>(row) * columns_;
    std::fill(begin + first, begin + last + 1, char{1});
  }
}

void TileMask::clear() {
  std::ranges::fill(marked_, char{0});
}

void TileMask::subtract(const TileMask& other) {
  std::ranges::transform(marked_, other.marked_, marked_.begin(),
                         [](char own, char theirs) { return static_cast<char>(own && !theirs); });
}

std::vector<QRect> TileMask::runs() const {
  std::vector<QRect> result;
  const QRect whole(QPoint(), area_);
  for (int row = 0; row < rows_; ++row) {
    const char* tiles = marked_.data() + static_cast<ptrdiff_t>(row) * columns_;
    for (int column = 0; column < columns_; ++column) {
      const int first = column;
      while (column < columns_ && tiles[column] != 0) {
        ++column;
      }
      if (column > first) {
        const QRect run(first * tile_.width(), row * tile_.height(), (column - first) * tile_.width(), tile_.height());
        result.push_back(run & whole);
      }
    }
  }
  return result;
}

}  // namespace jumplark
