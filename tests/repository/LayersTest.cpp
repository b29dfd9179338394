#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

namespace jumplark {
namespace {

using jumplark::testing::readFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

const std::regex kForeignHeader(
    R"(Q[A-Z].*|Qt.*|q[a-z]+\.h|X11/.*|xcb/.*|xkbcommon/.*|systemd/.*|dbus/.*|gio/.*|glib.*|gtk/.*|atspi.*|linux/.*)");
const std::regex kPlatformCondition(
    R"(\s*#\s*(if|ifdef|ifndef|elif)\b.*(__linux|__unix|__APPLE__|__FreeBSD|_WIN32|WIN32|Q_OS|Q_WS|X11|WAYLAND).*)");
const std::regex kInclude(R"(\s*#\s*include\s*([<"])([^>"]+)[>"].*)");

/// A source file: its path below src/ and what is in it.
struct Source {
  std::string path;
  std::string text;
};

bool isBackend(const std::string& folder) {
  return folder.starts_with("backends/");
}

/// What breaks the layers, one sentence an offence, with path and line:
/// - an include of a folder that comes after the file's own in `order`, or that is not in it;
/// - a backend that includes the core (backends know the interfaces of platform/ and each other);
/// - in the core (every folder but backends/ and cli/) a header of a window system, toolkit or message bus, or a
///   preprocessor condition on a platform.
/// A file belongs to the longest folder of `order` that its path begins with.
class LayerCheck {
 public:
  explicit LayerCheck(const std::vector<std::string>& order) : order_(order) {}

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

/// The folders below `folder` that the CMake files of `root` add, in their order, what a folder adds itself before it.
std::vector<std::string> addedFolders(const std::filesystem::path& root, const std::string& folder = "") {
  static const std::regex kAdded(R"(add_subdirectory\(([^)\s]+)\))");
  const std::string cmakeText = readFile(root / folder / "CMakeLists.txt");
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
  LayerCheck layers(order);
  for (const Source& source : sources) {
    layers.check(source);
  }
  return layers.offences;
}

std::vector<Source> sourcesBelow(const std::filesystem::path& root) {
  std::vector<Source> sources;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
    if (entry.path().extension() == ".h" || entry.path().extension() == ".cpp") {
      sources.push_back({std::filesystem::relative(entry.path(), root).string(), readFile(entry.path())});
    }
  }
  return sources;
}

const std::vector<std::string> kOrder = {"platform",          "query/text",         "tree",
                                         "backends/recorded", "backends/linux/x11", "cli"};

TEST(Layers, refuseEveryWayOut) {
  const struct {
    const char* path;
    const char* text;
    const char* offence;
  } cases[] = {
      {"platform/A.h", "\n#include \"tree/T.h\"", "platform/A.h:2 includes \"tree/T.h\" from a layer below its own"},
      {"tree/A.h", "#include \"cli/C.h\"", "tree/A.h:1 includes \"cli/C.h\" from a layer below its own"},
      {"tree/A.h", "#include \"B.h\"", "tree/A.h:1 includes \"B.h\", which names no folder below src/"},
      {"tree/A.h", "#include <QString>", "tree/A.h:1 includes <QString>; the core knows no platform"},
      {"tree/A.h", "# include <QtCore/qstring.h>",
       "tree/A.h:1 includes <QtCore/qstring.h>; the core knows no platform"},
      {"tree/A.h", "#include <X11/Xlib.h>", "tree/A.h:1 includes <X11/Xlib.h>; the core knows no platform"},
      {"tree/A.h", "#include <systemd/sd-bus.h>", "tree/A.h:1 includes <systemd/sd-bus.h>; the core knows no platform"},
      {"tree/A.cpp", "#ifdef __linux__", "tree/A.cpp:1 asks for a platform; the core knows none"},
      {"tree/A.cpp", "#if defined(_WIN32)", "tree/A.cpp:1 asks for a platform; the core knows none"},
      {"backends/recorded/R.cpp", "#include \"tree/T.h\"",
       "backends/recorded/R.cpp:1 includes \"tree/T.h\"; a backend knows platform/ only"},
      {"elsewhere/A.h", "", "elsewhere/A.h:0 lies in no folder that src/CMakeLists.txt adds"},
  };
  for (const auto& [path, text, offence] : cases) {
    EXPECT_THAT(layerOffences({{path, text}}, kOrder), ElementsAre(offence));
  }
}

TEST(Layers, holdInThisRepository) {
  const std::filesystem::path root(JUMPLARK_SOURCE_FOLDER);
  const auto order = addedFolders(root);
  const auto sources = sourcesBelow(root);
  ASSERT_GT(order.size(), 10U);
  ASSERT_GT(sources.size(), 20U);
  EXPECT_THAT(layerOffences(sources, order), IsEmpty());
}

}  // namespace
}  // namespace jumplark
