#pragma once

#include <memory>
#include <utility>

#include "backends/linux/windows/WindowMenus.h"
#include "backends/linux/x11/X11Connection.h"

namespace jumplark {

/// Where the menus of X windows are told, from the properties that toolkits set on them.
class X11WindowMenus final : public WindowMenus {
 public:
  explicit X11WindowMenus(std::shared_ptr<X11Connection> connection) : x_(std::move(connection)) {}
  WindowMenuAddresses menusOf(WindowId window) override;

 private:
  std::shared_ptr<X11Connection> x_;
};

}  // namespace jumplark
