#pragma once

#include <memory>

#include "backends/linux/wayland/WaylandConnection.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"
#include "backends/linux/wayland/kwin/LastRequests.h"
#include "backends/linux/windows/LayoutNames.h"
#include "platform/InputSources.h"

namespace jumplark::kwin {

/// The layouts of the keymap, which KWin's service switches. There is none of that where the user has one layout only.
/// Identifiers as on X11: "us", "de(neo)".
class KWinInputSources final : public InputSources {
 public:
  /// The calls outlive this. `changing` is called before each change of what farewell() gives takes effect.
  KWinInputSources(BusCalls& calls, std::function<void()> changing) : calls_(calls), changing_(std::move(changing)) {}

  /// Whose keymap it is; there are no layouts before.
  void setConnection(std::shared_ptr<WaylandConnection> connection) { connection_ = std::move(connection); }

  std::vector<InputSource> selectableKeyboardLayouts() override;
  std::optional<InputSource> currentKeyboardLayout() override;
  bool select(const std::string& identifier) override;

  /// What gives the user the layout back that was there before the one that is selected. From any thread.
  std::vector<LastRequest> farewell() const;

 private:
  std::vector<std::string> identifiers();

  BusCalls& calls_;
  const std::function<void()> changing_;
  std::shared_ptr<WaylandConnection> connection_;
  LayoutNames names_;
  mutable std::mutex mutex_;          ///< leaf, of what follows
  std::optional<uint32_t> usersOwn_;  ///< its place; none while that is the selected one
};

}  // namespace jumplark::kwin
