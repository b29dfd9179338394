#include "platform/Texts.h"

#include <atomic>

namespace jumplark {
namespace {

std::atomic<const char* (*)(const char*)> catalogue{nullptr};

}  // namespace

const char* localized(const char* english) {
  const auto lookup = catalogue.load(std::memory_order_relaxed);
  return lookup != nullptr ? lookup(english) : english;
}

std::string localizedWith(fmt::string_view english, fmt::format_args values) {
  const std::string original(english.data(), english.size());
  try {
    return fmt::vformat(localized(original.c_str()), values);
  } catch (const fmt::format_error&) {
    return fmt::vformat(original, values);
  }
}

void setTextCatalogue(const char* (*lookup)(const char* english)) {
  catalogue = lookup;
}

}  // namespace jumplark
