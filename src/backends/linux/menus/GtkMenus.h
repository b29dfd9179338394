#pragma once

#include <string>
#include <utility>

#include "backends/linux/menus/MenuSource.h"
#include "backends/linux/windows/WindowMenus.h"

namespace jumplark::menus {

/// The menu bar, and the application's menu, that GTK applications tell on the session bus (org.gtk.Menus), with what
/// the items do (org.gtk.Actions). Nothing opens.
class GtkMenus final : public MenuSource {
 public:
  /// `sessionBus` is an address, empty for that of the environment.
  explicit GtkMenus(WindowMenus& windows, std::string sessionBus = {})
      : windows_(windows), sessionBus_(std::move(sessionBus)) {}

  void read(const MenuRequest& request, MenuSink& sink) override;
  std::optional<MenuOutcome> perform(const MenuCommand& command, TimePoint deadline) override;

 private:
  WindowMenus& windows_;
  const std::string sessionBus_;
};

}  // namespace jumplark::menus
