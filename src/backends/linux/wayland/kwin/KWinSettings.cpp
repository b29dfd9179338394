#include "backends/linux/wayland/kwin/KWinSettings.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace jumplark::kwin {

TitleBarLayout titleBarLayoutIn(std::istream& settings) {
  std::string left = "MS";
  std::string right = "HIAX";
  bool isOurs = false;
  for (std::string line; std::getline(settings, line);) {
    if (line.starts_with('[')) {
      isOurs = line == "[org.kde.kdecoration2]";
    } else if (const size_t equals = line.find('='); isOurs && equals != std::string::npos) {
      const std::string key = line.substr(0, equals);
      if (key == "ButtonsOnLeft" || key == "ButtonsOnRight") {
        (key == "ButtonsOnLeft" ? left : right) = line.substr(equals + 1);
      }
    }
  }
  return layoutOfLetters(left + "|" + right, "XIA", '|').value_or(usualLayout());
}

TitleBarLayout titleBarLayout() {
  const char* const own = std::getenv("XDG_CONFIG_HOME");
  const char* const home = std::getenv("HOME");
  const std::filesystem::path folder = own && *own ? own : std::filesystem::path(home ? home : "/") / ".config";
  std::ifstream file(folder / "kwinrc");
  return titleBarLayoutIn(file);
}

}  // namespace jumplark::kwin
