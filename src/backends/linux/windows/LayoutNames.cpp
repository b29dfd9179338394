#include "backends/linux/windows/LayoutNames.h"

#include <libintl.h>
#include <xkbcommon/xkbregistry.h>

#include <memory>

namespace jumplark {
namespace {

constexpr const char* kTranslations = "xkeyboard-config";

}  // namespace

std::string layoutIdentifier(const std::string& layout, const std::string& variant) {
  return variant.empty() ? layout : layout + "(" + variant + ")";
}

std::string LayoutNames::localized(const std::string& identifier) {
  std::call_once(read_, [this] { read(); });
  const auto found = english_.find(identifier);
  return found == english_.end() ? identifier : dgettext(kTranslations, found->second.c_str());
}

std::string LayoutNames::identifierOf(const std::string& englishName) {
  std::call_once(read_, [this] { read(); });
  const auto found = identifiers_.find(englishName);
  return found == identifiers_.end() ? englishName : found->second;
}

void LayoutNames::read() {
  bind_textdomain_codeset(kTranslations, "UTF-8");
  const std::unique_ptr<rxkb_context, decltype(&rxkb_context_unref)> context(rxkb_context_new(RXKB_CONTEXT_NO_FLAGS),
                                                                             rxkb_context_unref);
  if (!context || !rxkb_context_parse_default_ruleset(context.get())) {
    return;
  }
  for (rxkb_layout* layout = rxkb_layout_first(context.get()); layout; layout = rxkb_layout_next(layout)) {
    const char* const variant = rxkb_layout_get_variant(layout);
    if (const char* const description = rxkb_layout_get_description(layout)) {
      const std::string identifier = layoutIdentifier(rxkb_layout_get_name(layout), variant ? variant : "");
      english_.emplace(identifier, description);
      identifiers_.emplace(description, identifier);
    }
  }
}

}  // namespace jumplark
