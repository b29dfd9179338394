#pragma once

#include <memory>

#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"
#include "backends/linux/windows/LayoutNames.h"
#include "platform/InputSources.h"

namespace jumplark::kwin {

/// The layouts of the keymap, which KWin's service switches. There is none of that where the user has one layout only.
/// Identifiers as on X11: "us", "de(neo)".
class KWinInputSources final : public InputSources {
 public:
  /// The calls outlive this.
  explicit KWinInputSources(BusCalls& calls) : calls_(calls) {}

  /// Whose keymap it is; there are no layouts before.
  void setConnection(std::shared_ptr<WaylandConnection> connection) { connection_ = std::move(connection); }

  std::vector<InputSource> selectableKeyboardLayouts() override;
  std::optional<InputSource> currentKeyboardLayout() override;
  bool select(const std::string& identifier) override;

 private:
  std::vector<std::string> identifiers();

  BusCalls& calls_;
  std::shared_ptr<WaylandConnection> connection_;
  LayoutNames names_;
};

}  // namespace jumplark::kwin
