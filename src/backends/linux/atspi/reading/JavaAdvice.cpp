#include "backends/linux/atspi/reading/JavaAdvice.h"

#include <fmt/format.h>

#include <filesystem>
#include <fstream>

namespace jumplark::atspi {
namespace {

constexpr const char* kWrapper = "/usr/share/java/java-atk-wrapper.jar";

/// Every launcher, also one that a program brings along, loads the machine from this library.
bool holdsJavaMachine(int32_t pid) {
  std::ifstream maps(fmt::format("/proc/{}/maps", pid));
  for (std::string line; std::getline(maps, line);) {
    if (line.ends_with("/libjvm.so")) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::string adviceForSilentJava(int32_t pid) {
  if (!holdsJavaMachine(pid)) {
    return {};
  }
  std::error_code error;
  const bool isInstalled = std::filesystem::exists(kWrapper, error);
  return fmt::format(
      "It is a Java program, and those show what they hold only with the Java ATK wrapper: {}start it again with "
      "this in its environment: JAVA_TOOL_OPTIONS='-Djavax.accessibility.assistive_technologies="
      "org.GNOME.Accessibility.AtkWrapper -Xbootclasspath/a:{}'.",
      isInstalled ? "" : "install it (on Debian the package libatk-wrapper-java-jni), and ", kWrapper);
}

}  // namespace jumplark::atspi
