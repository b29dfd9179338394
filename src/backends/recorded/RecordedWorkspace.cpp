#include "backends/recorded/RecordedWorkspace.h"

#include <algorithm>

namespace jumplark {
namespace {

RunningApplication described(const RecordedApplication& application) {
  return {application.pid, application.bundleIdentifier, application.name};
}

auto findPid(auto& applications, int32_t pid) {
  return std::find_if(applications.begin(), applications.end(), [&](const auto& other) { return other.pid == pid; });
}

const AttributeValue* attributeOf(const RecordedDesktop& desktop, const ElementRef& element, const char* name) {
  const RecordedElement* found = desktop.elements.find(element);
  return found != nullptr ? desktop.elements.attribute(*found, name) : nullptr;
}

/// Bottom-left origin.
std::optional<Rect> recordedWindowFrame(const RecordedDesktop& desktop, const ElementRef& application) {
  const AttributeValue* window = attributeOf(desktop, application, "AXFocusedWindow");
  if (window == nullptr || window->element() == nullptr || desktop.screens.empty()) {
    return std::nullopt;
  }
  const AttributeValue* position = attributeOf(desktop, *window->element(), "AXPosition");
  const AttributeValue* size = attributeOf(desktop, *window->element(), "AXSize");
  if (position == nullptr || position->point() == nullptr || size == nullptr || size->size() == nullptr) {
    return std::nullopt;
  }
  const Point at = *position->point();
  const Size extent = *size->size();
  return Rect{at.x, desktop.screens.front().maxY() - at.y - extent.height, extent.width, extent.height};
}

}  // namespace

RecordedWorkspace::RecordedWorkspace(const RecordedDesktop& desktop)
    : applications_(desktop.applications),
      frontmost_(desktop.frontmost),
      dockBundleIdentifier_(desktop.dockBundleIdentifier) {
  for (const RecordedApplication& application : applications_) {
    focusedWindowFrames_[application.pid] = recordedWindowFrame(desktop, application.element);
  }
}

std::optional<RunningApplication> RecordedWorkspace::frontmostApplication() {
  const std::scoped_lock lock(mutex_);
  const auto found = frontmost_ ? findPid(applications_, *frontmost_) : applications_.end();
  return found == applications_.end() ? std::nullopt : std::optional(described(*found));
}

std::vector<RunningApplication> RecordedWorkspace::applicationsFrontToBack() {
  const std::scoped_lock lock(mutex_);
  std::vector<RunningApplication> result;
  for (const RecordedApplication& application : applications_) {
    if (!isDock(application) || frontmost_ == application.pid) {
      result.push_back(described(application));
    }
  }
  return result;
}

std::vector<RunningApplication> RecordedWorkspace::runningApplicationsWithBundleIdentifier(
    const std::string& identifier) {
  const std::scoped_lock lock(mutex_);
  const bool wantsDock = identifier == kDockBundleIdentifier;
  std::vector<RunningApplication> result;
  for (const RecordedApplication& application : applications_) {
    if (wantsDock ? isDock(application) : application.bundleIdentifier == identifier) {
      result.push_back(described(application));
    }
  }
  return result;
}

std::optional<RunningApplication> RecordedWorkspace::runningApplicationWithPid(int32_t pid) {
  const std::scoped_lock lock(mutex_);
  const auto found = findPid(applications_, pid);
  return found == applications_.end() ? std::nullopt : std::optional(described(*found));
}

bool RecordedWorkspace::activate(int32_t pid, uint32_t options) {
  const std::scoped_lock lock(mutex_);
  activations_.emplace_back(pid, options);
  const auto found = findPid(applications_, pid);
  if (found == applications_.end()) {
    return false;
  }
  std::rotate(applications_.begin(), found, found + 1);
  frontmost_ = pid;
  return true;
}

std::optional<Rect> RecordedWorkspace::focusedWindowFrame(int32_t pid) {
  const std::scoped_lock lock(mutex_);
  const auto known = focusedWindowFrames_.find(pid);
  return known == focusedWindowFrames_.end() ? std::nullopt : known->second;
}

void RecordedWorkspace::setFocusedWindowFrame(int32_t pid, std::optional<Rect> frame) {
  const std::scoped_lock lock(mutex_);
  focusedWindowFrames_[pid] = frame;
}

void RecordedWorkspace::setFrontmost(std::optional<int32_t> pid) {
  const std::scoped_lock lock(mutex_);
  frontmost_ = pid;
}

void RecordedWorkspace::addApplication(RecordedApplication application) {
  const std::scoped_lock lock(mutex_);
  applications_.push_back(std::move(application));
}

void RecordedWorkspace::removeApplication(int32_t pid) {
  const std::scoped_lock lock(mutex_);
  std::erase_if(applications_, [&](const RecordedApplication& application) { return application.pid == pid; });
}

std::vector<std::pair<int32_t, uint32_t>> RecordedWorkspace::activations() const {
  const std::scoped_lock lock(mutex_);
  return activations_;
}

std::vector<RecordedApplication> RecordedWorkspace::applicationsInHitOrder() const {
  const std::scoped_lock lock(mutex_);
  std::vector<RecordedApplication> result = applications_;
  std::stable_partition(result.begin(), result.end(), [this](const auto& application) { return isDock(application); });
  return result;
}

ElementRef RecordedWorkspace::applicationElement(int32_t pid) const {
  const std::scoped_lock lock(mutex_);
  const auto found = findPid(applications_, pid);
  return found == applications_.end() ? ElementRef() : found->element;
}

bool RecordedWorkspace::isDock(const RecordedApplication& application) const {
  return dockBundleIdentifier_ && application.bundleIdentifier == *dockBundleIdentifier_;
}

}  // namespace jumplark
