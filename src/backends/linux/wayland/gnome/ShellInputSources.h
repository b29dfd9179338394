#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "backends/linux/wayland/gnome/ShellBus.h"
#include "backends/linux/windows/LayoutNames.h"
#include "platform/InputSources.h"

namespace jumplark::gnome {

/// What the shell's list of input sources holds; layouts are named as on X11: "us", "de(neo)".
struct SourceList {
  struct Source {
    std::string layout;  ///< empty for an input method, which is no layout
    uint32_t place = 0;  ///< in the shell's list
  };
  std::vector<Source> sources;
  int64_t current = -1;  ///< its place; -1 when none is
};

/// What is no list gives an empty one.
SourceList readSources(std::string_view json);

/// The layouts that the user has chosen in the shell's settings.
class InputSources final : public jumplark::InputSources {
 public:
  explicit InputSources(std::shared_ptr<Bus> bus) : bus_(std::move(bus)) {}

  std::vector<InputSource> selectableKeyboardLayouts() override;
  std::optional<InputSource> currentKeyboardLayout() override;
  bool select(const std::string& identifier) override;

 private:
  SourceList ask();

  std::shared_ptr<Bus> bus_;
  LayoutNames names_;
};

}  // namespace jumplark::gnome
