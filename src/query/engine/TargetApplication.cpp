#include "query/engine/TargetApplication.h"

#include <spdlog/spdlog.h>

#include <algorithm>

#include "accessibility/JLElement.h"
#include "platform/Platform.h"

namespace jumplark {
namespace {

bool hasTitledWindow(const RunningApplication& application) {
  const auto window = JLElement::elementWithPID(application.pid)->focusedWindow();
  return window && !window->title().value_or("").empty();
}

std::optional<RunningApplication> fromFrontToBackList(const std::string& ownBundleIdentifier) {
  Workspace& workspace = *Platform::current().workspace;
  const auto applications = workspace.applicationsFrontToBack();
  // A process identifier is compared with a bundle identifier: the first entry ends the scan.
  const auto chosen = std::find_if(applications.begin(), applications.end(), [&](const auto& application) {
    return std::to_string(application.pid) != ownBundleIdentifier;
  });
  if (chosen == applications.end() || chosen->pid == 0) {
    spdlog::warn("Unable to find valid application to activate with");
    return std::nullopt;
  }
  return workspace.runningApplicationWithPid(chosen->pid);
}

}  // namespace

TargetApplication chooseTargetApplication(const std::string& ownBundleIdentifier,
                                          const std::function<void()>& hidePreferencesWindow) {
  const auto frontmost = Platform::current().workspace->frontmostApplication();
  const bool isOwn = frontmost && frontmost->bundleIdentifier == ownBundleIdentifier;
  if (isOwn && hasTitledWindow(*frontmost)) {
    return {frontmost, frontmost};
  }
  hidePreferencesWindow();
  if (frontmost && !isOwn) {
    return {frontmost, frontmost};
  }
  const auto other = fromFrontToBackList(ownBundleIdentifier);
  return {frontmost, other ? other : frontmost};
}

}  // namespace jumplark
