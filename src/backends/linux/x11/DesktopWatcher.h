#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Geometry.h"
#include "platform/Queues.h"
#include "platform/Token.h"

namespace jumplark {

/// Tells what happens on the desktop besides our own windows, from a thread with an X connection of its own. Callbacks
/// run on the queue given, until their token is destroyed. Calls may come from any thread; tokens may outlive this.
class DesktopWatcher {
 public:
  /// Null when the display cannot be reached. The queue must outlive the watcher and its tokens.
  static std::unique_ptr<DesktopWatcher> create(const std::string& display, TaskQueue& queue);
  DesktopWatcher(const DesktopWatcher&) = delete;
  DesktopWatcher& operator=(const DesktopWatcher&) = delete;
  ~DesktopWatcher();

  /// Called when a window of another application than before has become the active one. Windows of this process do not
  /// count.
  Token onActiveApplicationChanged(std::function<void(int32_t pid)> callback);
  /// Called at each press of a mouse button anywhere, grabs or not, with the place of the pointer in pixels of the
  /// root, top-left origin; scrolling does not count. Watched only while such a token lives.
  Token onButtonPress(std::function<void(Point position)> callback);

 private:
  class Impl;
  explicit DesktopWatcher(std::shared_ptr<Impl> impl);
  std::shared_ptr<Impl> impl_;
};

}  // namespace jumplark
