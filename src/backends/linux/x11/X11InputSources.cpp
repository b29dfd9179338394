#include "backends/linux/x11/X11InputSources.h"

#include <libintl.h>
#include <xkbcommon/xkbregistry.h>

#include <algorithm>
#include <map>
#include <mutex>
#include <string_view>

#include "backends/linux/x11/Properties.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/XkbHeader.h"

namespace jumplark {
namespace {

constexpr size_t kMostGroups = 4;
constexpr const char* kTranslations = "xkeyboard-config";

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

std::string identifierOf(const std::string& layout, const std::string& variant) {
  return variant.empty() ? layout : layout + "(" + variant + ")";
}

}  // namespace

/// English names by identifier, read at the first need: the registry is a large file.
class X11InputSources::Names {
 public:
  std::string localized(const std::string& identifier) {
    std::call_once(read_, [this] { read(); });
    const auto found = english_.find(identifier);
    return found == english_.end() ? identifier : dgettext(kTranslations, found->second.c_str());
  }

 private:
  void read() {
    bind_textdomain_codeset(kTranslations, "UTF-8");
    const std::unique_ptr<rxkb_context, decltype(&rxkb_context_unref)> context(rxkb_context_new(RXKB_CONTEXT_NO_FLAGS),
                                                                               rxkb_context_unref);
    if (!context || !rxkb_context_parse_default_ruleset(context.get())) {
      return;
    }
    for (rxkb_layout* layout = rxkb_layout_first(context.get()); layout; layout = rxkb_layout_next(layout)) {
      const char* variant = rxkb_layout_get_variant(layout);
      if (const char* description = rxkb_layout_get_description(layout)) {
        english_.emplace(identifierOf(rxkb_layout_get_name(layout), variant ? variant : ""), description);
      }
    }
  }

  std::once_flag read_;
  std::map<std::string, std::string> english_;
};

X11InputSources::X11InputSources(std::shared_ptr<X11Connection> connection)
    : x_(std::move(connection)), names_(std::make_unique<Names>()) {}

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
    result.push_back(identifierOf(layouts[i], i < variants.size() ? variants[i] : std::string()));
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
