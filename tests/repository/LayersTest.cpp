#include "repository/Layers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/TemporaryFolder.h"

namespace jumplark::repository {
namespace {

using jumplark::testing::readFile;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

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
}  // namespace jumplark::repository
