#include "backends/linux/x11/X11InputSources.h"

#include <algorithm>
#include <string_view>

#include "backends/linux/windows/LayoutNames.h"
#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/XkbHeader.h"

namespace jumplark {
namespace {

constexpr size_t kMostGroups = 4;

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  while (true) {
    const size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) {
      return parts;
    }
    text.remove_prefix(end + 1);
  }
}

}  // namespace

X11InputSources::X11InputSources(std::shared_ptr<X11Connection> connection)
    : x_(std::move(connection)), names_(std::make_unique<LayoutNames>()) {}

X11InputSources::~X11InputSources() = default;

// The property holds rules, model, layouts, variants and options, each ended by a NUL; layouts and variants are lists.
std::vector<std::string> X11InputSources::identifiers() const {
  const auto cookie = x11::askProperty(*x_, x_->root(), x_->atom(Atom::xkbRulesNames));
  const std::vector<std::string> parts = split(x11::takeText(*x_, cookie), '\0');
  constexpr size_t layoutPart = 2;
  constexpr size_t variantPart = 3;
  if (parts.size() <= variantPart || parts[layoutPart].empty()) {
    return {};
  }
  const std::vector<std::string> layouts = split(parts[layoutPart], ',');
  const std::vector<std::string> variants = split(parts[variantPart], ',');
  std::vector<std::string> result;
  for (size_t i = 0; i < std::min(layouts.size(), kMostGroups); ++i) {
    result.push_back(layoutIdentifier(layouts[i], i < variants.size() ? variants[i] : std::string()));
  }
  return result;
}

std::vector<InputSource> X11InputSources::selectableKeyboardLayouts() {
  std::vector<InputSource> result;
  for (const std::string& identifier : identifiers()) {
    result.push_back({identifier, names_->localized(identifier)});
  }
  return result;
}

std::optional<size_t> X11InputSources::lockedGroup() const {
  if (x_->extensions().xkb == 0) {
    return std::nullopt;
  }
  const auto state =
      x11::takeReply(x_->get(), xcb_xkb_get_state_reply, xcb_xkb_get_state(x_->get(), XCB_XKB_ID_USE_CORE_KBD));
  return state ? std::optional<size_t>(state->lockedGroup) : std::nullopt;
}

std::optional<InputSource> X11InputSources::currentKeyboardLayout() {
  const auto group = lockedGroup();
  const std::vector<std::string> all = identifiers();
  if (!group || all.empty()) {
    return std::nullopt;
  }
  const std::string& identifier = all[*group % all.size()];
  return InputSource{identifier, names_->localized(identifier)};
}

bool X11InputSources::select(const std::string& identifier) {
  const std::vector<std::string> all = identifiers();
  const auto found = std::ranges::find(all, identifier);
  if (found == all.end() || x_->extensions().xkb == 0) {
    return false;
  }
  const auto group = static_cast<uint8_t>(found - all.begin());
  x_->check(xcb_xkb_latch_lock_state_checked(x_->get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0));
  return lockedGroup() == group;
}

}  // namespace jumplark
