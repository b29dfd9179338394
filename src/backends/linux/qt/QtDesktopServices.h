#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/DesktopServices.h"

namespace jumplark {

/// The desktop's programs for pages and for its accessibility settings.
class QtDesktopServices final : public DesktopServices {
 public:
  struct Questions {
    std::function<std::vector<HealthFinding>()> health;
    std::function<std::string(int32_t pid)> advice;
  };

  /// `granted`: whether the accessibility bus was reached. The questions are asked on any thread.
  QtDesktopServices(bool granted, Questions questions) : granted_(granted), questions_(std::move(questions)) {}

  bool isAccessibilityGranted() override { return granted_; }
  void openURL(const std::string& url, std::function<void(bool opened)> done) override;
  bool openAccessibilitySettings() override;
  /// By org.freedesktop.Notifications, for some seconds; a further one replaces that before.
  void notify(const std::string& text) override;
  /// The user's guide where it is installed with the program, or where the build laid it beside the program.
  std::string installedDocumentation() override;
  std::vector<HealthFinding> checkHealth() override { return questions_.health(); }
  std::string adviceForSilence(int32_t pid) override { return questions_.advice(pid); }

 private:
  const bool granted_;
  const Questions questions_;
};

}  // namespace jumplark
