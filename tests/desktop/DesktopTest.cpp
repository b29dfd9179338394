#include "desktop/DesktopTest.h"

#include <fstream>

namespace jumplark::desktop {

std::string writeLongText(const PrivateSession& session) {
  constexpr int kLines = 300;
  std::string path = session.folder() + "/long.txt";
  std::ofstream file(path);
  for (int i = 1; i <= kLines; ++i) {
    file << "Line " << i << '\n';
  }
  return path;
}

}  // namespace jumplark::desktop
