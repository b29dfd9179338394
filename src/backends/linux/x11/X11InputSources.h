#pragma once

#include <memory>
#include <string>
#include <vector>

#include "backends/linux/x11/X11Connection.h"
#include "platform/InputSources.h"

namespace jumplark {

class LayoutNames;

/// The layouts that the session's keyboard was set up with, one an XKB group, as the X server's rules property lists
/// them. An identifier is the layout's name, with its variant in parentheses if it has one: "us", "de(neo)". The names
/// come from the XKB registry, in the language of the process's locale; a layout that it does not know goes by its
/// identifier.
class X11InputSources final : public InputSources {
 public:
  explicit X11InputSources(std::shared_ptr<X11Connection> connection);
  ~X11InputSources() override;

  std::vector<InputSource> selectableKeyboardLayouts() override;
  /// The layout that is locked; one that a held key switches to for the moment does not count.
  std::optional<InputSource> currentKeyboardLayout() override;
  bool select(const std::string& identifier) override;

 private:
  std::vector<std::string> identifiers() const;
  std::optional<size_t> lockedGroup() const;

  std::shared_ptr<X11Connection> x_;
  std::unique_ptr<LayoutNames> names_;
};

}  // namespace jumplark
