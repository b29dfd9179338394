#include "backends/linux/atspi/toolkits/Toolkits.h"

#include <array>

#include "backends/linux/atspi/toolkits/Gecko.h"
#include "backends/linux/atspi/toolkits/Gtk2.h"
#include "backends/linux/atspi/toolkits/Gtk3.h"
#include "backends/linux/atspi/toolkits/LibreOffice.h"
#include "backends/linux/atspi/toolkits/Qt.h"
#include "backends/linux/atspi/toolkits/Swing.h"
#include "backends/linux/atspi/toolkits/chromium/Chromium.h"
#include "backends/linux/atspi/toolkits/gtk4/Gtk4.h"

namespace jumplark::atspi {
namespace {

struct Entry {
  bool (*draws)(const ToolkitFacts& facts);
  std::unique_ptr<const Toolkit> (*make)();
};

template <typename T>
constexpr Entry entry() {
  return {T::draws, []() -> std::unique_ptr<const Toolkit> { return std::make_unique<T>(); }};
}

/// The first that fits counts. The last fits all: whatever tells everything as AT-SPI has it.
constexpr std::array kTable{
    entry<LibreOfficeOn<Gtk3>>(),
    entry<LibreOfficeOn<Qt>>(),
    entry<LibreOfficeOn<Toolkit>>(),
    entry<Gtk2>(),
    entry<Gtk3>(),
    entry<Gtk4>(),
    entry<Qt>(),
    entry<Swing>(),
    entry<Chromium>(),
    entry<Gecko>(),
    entry<Toolkit>(),
};

}  // namespace

Toolkits::Toolkits() {
  for (const Entry& entry : kTable) {
    toolkits_.push_back(entry.make());
  }
}

const Toolkit& Toolkits::of(const ToolkitFacts& facts) const {
  size_t i = 0;
  while (!kTable[i].draws(facts)) {
    ++i;
  }
  return *toolkits_[i];
}

std::string Toolkits::adviceForSilent(int32_t pid, const Snapshot* snapshot) const {
  for (const auto& toolkit : toolkits_) {
    if (std::string advice = toolkit->adviceForSilent(pid, snapshot); !advice.empty()) {
      return advice;
    }
  }
  return {};
}

}  // namespace jumplark::atspi
