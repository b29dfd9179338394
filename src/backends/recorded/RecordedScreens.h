#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <vector>

#include "backends/recorded/RecordedDesktop.h"
#include "platform/Screens.h"

namespace jumplark {

class Queues;

/// The screens and the pointer of a recording, which a test may change. Safe on any thread.
class RecordedScreens : public Screens {
 public:
  RecordedScreens(const RecordedDesktop& desktop, Queues& queues);

  std::vector<Rect> frames() override;
  Point pointerLocation() override;
  Token onFramesChanged(std::function<void()> callback) override;

  /// Tells the observers when the frames differ.
  void setFrames(std::vector<Rect> frames);
  void setPointerLocation(Point location);
  /// From a point with a top-left origin: the row y from the top of the primary screen is top - y - 1.
  void setPointerFromTopLeft(Point location);

 private:
  struct Observer;

  Queues& queues_;
  std::mutex mutex_;
  std::vector<Rect> frames_;
  Point pointer_;
  std::vector<std::weak_ptr<Observer>> observers_;
};

}  // namespace jumplark
