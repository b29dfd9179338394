#include "cli/OpenDesktop.h"

#include <fmt/format.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/recorded/RecordedPlatform.h"
#include "platform/Accessibility.h"

namespace jumplark::cli {
namespace {

constexpr double kMessagingTimeout = 0.5;  // seconds

class LiveDesktop final : public OpenDesktop {
 public:
  explicit LiveDesktop(std::unique_ptr<LinuxPlatform> desktop) : desktop_(std::move(desktop)) {}
  const Platform& platform() const override { return desktop_->platform(); }

 private:
  std::unique_ptr<LinuxPlatform> desktop_;
};

class RecordedSession final : public OpenDesktop {
 public:
  explicit RecordedSession(const RecordedDesktop& desktop) : recorded_(desktop), platform_(recorded_.platform()) {}
  const Platform& platform() const override { return platform_; }

 private:
  RecordedPlatform recorded_;
  Platform platform_;
};

std::unique_ptr<OpenDesktop> openRecording(const std::string& file) {
  try {
    const RecordedDesktop desktop = RecordedDesktop::fromFile(file);
    for (const std::string& warning : desktop.warnings) {
      fmt::print(stderr, "jumplark: {}\n", warning);
    }
    return std::make_unique<RecordedSession>(desktop);
  } catch (const RecordingError& error) {
    throw CommandFailure(ExitStatus::badUsage, error.what());
  }
}

std::unique_ptr<OpenDesktop> openLive(SystemQueues& queues) {
  auto opened = LinuxPlatform::open(queues);
  if (!opened.platform) {
    throw CommandFailure(ExitStatus::outOfReach, opened.error);
  }
  return std::make_unique<LiveDesktop>(std::move(opened.platform));
}

}  // namespace

std::unique_ptr<OpenDesktop> openDesktop(const Target& target, SystemQueues& queues) {
  auto desktop = target.desktopFile ? openRecording(*target.desktopFile) : openLive(queues);
  AccessibilityPlatform& accessibility = *desktop->platform().accessibility;
  accessibility.setMessagingTimeout(accessibility.systemWideElement(), kMessagingTimeout);
  if (target.waitSeconds > 0) {
    desktop->platform().queues->sleep(
        std::chrono::duration_cast<Duration>(std::chrono::duration<double>(target.waitSeconds)));
  }
  return desktop;
}

}  // namespace jumplark::cli
