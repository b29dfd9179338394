#include "backends/linux/atspi/toolkits/Gtk2.h"

#include <fmt/format.h>

#include <filesystem>

#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/toolkits/ControlParts.h"
#include "backends/linux/atspi/toolkits/LoadedLibraries.h"
#include "platform/Texts.h"

namespace jumplark::atspi {
namespace {

constexpr const char* kSwitch = "GTK_MODULES=gail:atk-bridge";

/// Beside the library itself, in the folder for modules of any theme or in that of its version.
bool hasModule(const std::filesystem::path& library, const char* name) {
  const std::filesystem::path folder = library.parent_path() / "gtk-2.0";
  std::error_code error;
  return std::filesystem::exists(folder / "modules" / name, error) ||
         std::filesystem::exists(folder / "2.10.0" / "modules" / name, error);
}

}  // namespace

void Gtk2::addParts(Reading& reading) const {
  for (const ElementFacts* field : shownOf(reading.elements, role::isOneOf<role::spinButton>)) {
    addStackedSteppers(reading, *field);
  }
}

std::string Gtk2::adviceForSilent(int32_t pid, const Snapshot* snapshot) const {
  const std::string library = snapshot ? std::string() : loadedLibrary(pid, "libgtk-x11-2.0.so");
  if (library.empty()) {
    return {};
  }
  return hasModule(library, "libgail.so") && hasModule(library, "libatk-bridge.so")
             ? localizedFormat(
                   "GTK 2 programs show what they hold only with two modules: start it again with this in "
                   "its environment: {}",
                   kSwitch)
             : localizedFormat(
                   "GTK 2 programs show what they hold only with two modules: install them (on Debian the "
                   "packages libatk-adaptor and libgail-common), and start the program again with this in "
                   "its environment: {}",
                   kSwitch);
}

}  // namespace jumplark::atspi
