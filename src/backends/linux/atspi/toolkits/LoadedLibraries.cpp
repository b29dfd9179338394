#include "backends/linux/atspi/toolkits/LoadedLibraries.h"

#include <fmt/format.h>

#include <fstream>

namespace jumplark::atspi {

std::string loadedLibrary(int32_t pid, std::string_view beginning) {
  std::ifstream maps(fmt::format("/proc/{}/maps", pid));
  for (std::string line; std::getline(maps, line);) {
    const size_t path = line.find('/');
    if (path != std::string::npos && std::string_view(line).substr(line.rfind('/') + 1).starts_with(beginning)) {
      return line.substr(path);
    }
  }
  return {};
}

}  // namespace jumplark::atspi
