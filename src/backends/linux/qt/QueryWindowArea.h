#pragma once

#include <QRect>
#include <functional>
#include <utility>

namespace jumplark {

/// Where the query window's card shows, so that what lies over it can leave it free. Native pixels; empty while it is
/// hidden. Main thread only.
class QueryWindowArea {
 public:
  QRect rect() const { return rect_; }
  void set(const QRect& rect) {
    if (std::exchange(rect_, rect) != rect && changed_) {
      changed_();
    }
  }
  /// One listener at a time; none after null.
  void onChanged(std::function<void()> changed) { changed_ = std::move(changed); }

 private:
  QRect rect_;
  std::function<void()> changed_;
};

}  // namespace jumplark
