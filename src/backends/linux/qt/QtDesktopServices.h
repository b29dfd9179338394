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
  using Check = std::function<std::vector<HealthFinding>()>;

  /// `granted`: whether the accessibility bus was reached. `check` looks at the desktop, on any thread.
  QtDesktopServices(bool granted, Check check) : granted_(granted), check_(std::move(check)) {}

  bool isAccessibilityGranted() override { return granted_; }
  void openURL(const std::string& url, std::function<void(bool opened)> done) override;
  bool openAccessibilitySettings() override;
  /// The user's guide where it is installed with the program, or where the build laid it beside the program.
  std::string installedDocumentation() override;
  std::vector<HealthFinding> checkHealth() override { return check_(); }

 private:
  const bool granted_;
  const Check check_;
};

}  // namespace jumplark
