#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/recorded/RecordedDesktop.h"
#include "platform/Workspace.h"

namespace jumplark {

/// The applications of a recording. Activating one brings it to the front of the order and makes it the frontmost one.
/// Safe on any thread.
class RecordedWorkspace : public Workspace {
 public:
  explicit RecordedWorkspace(const RecordedDesktop& desktop);

  std::optional<RunningApplication> frontmostApplication() override;
  /// The dock is not among them, unless it is the frontmost one.
  std::vector<RunningApplication> applicationsFrontToBack() override;
  /// The dock is found under kDockBundleIdentifier, whatever its own.
  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(const std::string& identifier) override;
  std::optional<RunningApplication> runningApplicationWithPid(int32_t pid) override;
  bool activate(int32_t pid, uint32_t options) override;
  /// As recorded, of the application's "AXFocusedWindow", until it is set.
  std::optional<Rect> focusedWindowFrame(int32_t pid) override;

  /// For tests.
  void setFocusedWindowFrame(int32_t pid, std::optional<Rect> frame);
  void setFrontmost(std::optional<int32_t> pid);
  /// The new application stands behind the others.
  void addApplication(RecordedApplication application);
  void removeApplication(int32_t pid);
  /// Each activate() so far with its options, also those that found no application.
  std::vector<std::pair<int32_t, uint32_t>> activations() const;

  /// All applications, the dock first, then front to back: the order of a hit test.
  std::vector<RecordedApplication> applicationsInHitOrder() const;
  ElementRef applicationElement(int32_t pid) const;

 private:
  bool isDock(const RecordedApplication& application) const;

  mutable std::mutex mutex_;
  std::vector<RecordedApplication> applications_;
  std::optional<int32_t> frontmost_;
  std::optional<std::string> dockBundleIdentifier_;
  std::vector<std::pair<int32_t, uint32_t>> activations_;
  std::map<int32_t, std::optional<Rect>> focusedWindowFrames_;
};

}  // namespace jumplark
