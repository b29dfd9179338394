#include "repository/Layers.h"

#include <algorithm>
#include <optional>
#include <regex>
#include <sstream>

#include "support/TemporaryFolder.h"

namespace jumplark::repository {
namespace {

const std::regex kForeignHeader(
    R"(Q[A-Z].*|Qt.*|q[a-z]+\.h|X11/.*|xcb/.*|xkbcommon/.*|systemd/.*|dbus/.*|gio/.*|glib.*|gtk/.*|atspi.*|linux/.*)");
const std::regex kPlatformCondition(
    R"(\s*#\s*(if|ifdef|ifndef|elif)\b.*(__linux|__unix|__APPLE__|__FreeBSD|_WIN32|WIN32|Q_OS|Q_WS|X11|WAYLAND).*)");
const std::regex kInclude(R"(\s*#\s*include\s*([<"])([^>"]+)[>"].*)");

bool isBackend(const std::string& folder) {
  return folder.starts_with("backends/");
}

class Layers {
 public:
  explicit Layers(const std::vector<std::string>& order) : order_(order) {}

  void check(const Source& source) {
    folder_ = folderOf(source.path);
    path_ = source.path;
    line_ = 0;
    if (!folder_) {
      offend("lies in no folder that src/CMakeLists.txt adds");
      return;
    }
    std::stringstream lines(source.text);
    for (std::string line; std::getline(lines, line);) {
      ++line_;
      checkLine(line);
    }
  }

  std::vector<std::string> offences;

 private:
  bool isCore() const { return !isBackend(*folder_) && *folder_ != "cli"; }

  void checkLine(const std::string& line) {
    std::smatch parts;
    if (std::regex_match(line, parts, kInclude)) {
      if (parts[1] == "<") {
        if (isCore() && std::regex_match(parts[2].str(), kForeignHeader)) {
          offend("includes <" + parts[2].str() + ">; the core knows no platform");
        }
      } else {
        checkFolderInclude(parts[2]);
      }
    } else if (isCore() && std::regex_match(line, kPlatformCondition)) {
      offend("asks for a platform; the core knows none");
    }
  }

  void checkFolderInclude(const std::string& header) {
    const auto target = folderOf(header);
    if (!target) {
      offend("includes \"" + header + "\", which names no folder below src/");
    } else if (position(*target) > position(*folder_)) {
      offend("includes \"" + header + "\" from a layer below its own");
    } else if (isBackend(*folder_) && !isBackend(*target) && *target != "platform") {
      offend("includes \"" + header + "\"; a backend knows platform/ only");
    }
  }

  std::optional<std::string> folderOf(const std::string& path) const {
    std::optional<std::string> longest;
    for (const std::string& folder : order_) {
      if (path.starts_with(folder + "/") && (!longest || folder.size() > longest->size())) {
        longest = folder;
      }
    }
    return longest;
  }

  size_t position(const std::string& folder) const {
    return static_cast<size_t>(std::find(order_.begin(), order_.end(), folder) - order_.begin());
  }

  void offend(const std::string& what) { offences.push_back(path_ + ":" + std::to_string(line_) + " " + what); }

  const std::vector<std::string>& order_;
  std::optional<std::string> folder_;
  std::string path_;
  int line_ = 0;
};

}  // namespace

std::vector<std::string> addedFolders(const std::filesystem::path& root, const std::string& folder) {
  static const std::regex kAdded(R"(add_subdirectory\(([^)\s]+)\))");
  const std::string cmakeText = testing::readFile(root / folder / "CMakeLists.txt");
  std::vector<std::string> folders;
  for (std::sregex_iterator match(cmakeText.begin(), cmakeText.end(), kAdded), end; match != end; ++match) {
    const std::string added = (folder.empty() ? "" : folder + "/") + (*match)[1].str();
    const std::vector<std::string> below = addedFolders(root, added);
    folders.insert(folders.end(), below.begin(), below.end());
    folders.push_back(added);
  }
  return folders;
}

std::vector<std::string> layerOffences(const std::vector<Source>& sources, const std::vector<std::string>& order) {
  Layers layers(order);
  for (const Source& source : sources) {
    layers.check(source);
  }
  return layers.offences;
}

}  // namespace jumplark::repository
