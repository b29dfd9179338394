#pragma once

#include <sys/types.h>

#include <cstddef>
#include <memory>

namespace jumplark::bench {

/// What ours is measured against: the desktop's own accessibility library, asked one element after the other, as a
/// program would do that knows no better way. For each element of the active window that shows: name, description,
/// role, states, parent, place on the screen, relations, and up to 200 characters of text. The library's cache is
/// cleared before each walk.
class BaselineWalk {
 public:
  /// How an application says that an element shows: by its state, or (GTK 4) by being visible and having a size.
  enum class Showing { byState, bySize };

  /// Throws std::runtime_error when the process is not on the accessibility bus.
  BaselineWalk(pid_t process, Showing showing);
  BaselineWalk(const BaselineWalk&) = delete;
  BaselineWalk& operator=(const BaselineWalk&) = delete;
  ~BaselineWalk();

  /// The number of elements that show.
  size_t walk();

 private:
  struct Private;
  std::unique_ptr<Private> d_;
};

}  // namespace jumplark::bench
