#pragma once

#include <memory>

#include "backends/linux/wayland/sway/SwayIpc.h"
#include "backends/linux/windows/LayoutNames.h"
#include "platform/InputSources.h"

namespace jumplark::sway {

/// The layouts of sway's keyboards: those of the keyboard that has most. Identifiers as on X11: "us", "de(neo)".
class InputSources final : public jumplark::InputSources {
 public:
  explicit InputSources(std::shared_ptr<Ipc> ipc) : ipc_(std::move(ipc)) {}

  std::vector<InputSource> selectableKeyboardLayouts() override;
  std::optional<InputSource> currentKeyboardLayout() override;
  /// On all keyboards.
  bool select(const std::string& identifier) override;

 private:
  struct Layouts {
    std::vector<std::string> identifiers;
    size_t active = 0;
  };
  Layouts read();

  std::shared_ptr<Ipc> ipc_;
  LayoutNames names_;
};

}  // namespace jumplark::sway
