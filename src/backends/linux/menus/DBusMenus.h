#pragma once

#include <string>
#include <utility>

#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/windows/WindowMenus.h"

namespace jumplark::menus {

/// The menu bar that an application gives away to whoever shows it for all windows (com.canonical.dbusmenu), as its
/// window or the registrar of such menus says.
class DBusMenus final : public MenuSource {
 public:
  /// `sessionBus` is an address, empty for that of the environment.
  explicit DBusMenus(WindowMenus& windows, std::string sessionBus = {})
      : windows_(windows), sessionBus_(std::move(sessionBus)) {}

  void read(const MenuRequest& request, MenuSink& sink) override;
  std::optional<MenuOutcome> perform(const MenuCommand& command, TimePoint deadline) override;

 private:
  WindowMenus& windows_;
  const std::string sessionBus_;
};

}  // namespace jumplark::menus
