#include <fmt/format.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "desktop/support/Process.h"
#include "platform/AttributeValue.h"
#include "support/DesktopText.h"
#include "support/TemporaryFolder.h"

namespace jumplark {
namespace {

using desktop::Arguments;
using desktop::Environment;

/// An editor whose query "save" fits two elements, the better one further away from the pointer.
const std::string kDesktop = testing::DesktopText::of(R"(
  app AXApplication AXTitle="Editor" AXFocusedWindow=@w
    w AXWindow 0,0/800,600 AXTitle="Document"
      save AXButton 10,10/80,20 AXTitle="Save" !AXPress
      saveAs AXButton 100,10/80,20 AXTitle="Save\u0020As…"
      tiny AXButton 300,10/4,20 AXTitle="Save\u0020tiny"
      hidden AXButton 3000,10/80,20 AXTitle="Save\u0020hidden"
      search AXTextField 10,50/80,20 AXSubrole="AXSearchField" AXValue="" AXRoleDescription="search\u0020field"
      ++ AXButton 10,90/80,20 AXTitle="++"
      -- AXButton 10,130/80,20 AXTitle="--"
      -x AXButton 10,170/80,20 AXTitle="-x\u0020tree"
      one AXImage 200,200/50,50 AXTitleUIElement=@other
      other AXImage 200,200/50,50 AXTitleUIElement=@one
  second AXApplication AXTitle="Other")",
                                                      R"("screens":[[0,0,1440,900]],"pointer":[700,450],)");

class CommandLine : public ::testing::Test {
 protected:
  CommandLine() { write("desktop.json", kDesktop); }

  void write(const std::string& name, const std::string& content) const { testing::writeFile(folder_ / name, content); }
  std::string file(const std::string& name) const { return (folder_ / name).string(); }

  desktop::Finished run(const Arguments& arguments, const Environment& environment = {}) const {
    Arguments command = {JUMPLARK_BINARY};
    command.insert(command.end(), arguments.begin(), arguments.end());
    desktop::Process process(command, environment, (folder_ / "run").string());
    const auto status = process.wait();
    return {status, process.out(), process.err()};
  }
  desktop::Finished onDesktop(const std::string& command, const Arguments& more) const {
    Arguments arguments = {command, "--desktop", file("desktop.json")};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return run(arguments);
  }

  testing::TemporaryFolder folder_;
};

TEST_F(CommandLine, matchPrintsJSONBestFirst) {
  const auto finished = onDesktop("match", {"--json", "save"});
  ASSERT_EQ(finished.status, 0) << finished.err;
  auto list = nlohmann::json::parse(finished.out);
  ASSERT_EQ(list.size(), 2U) << "too small and invisible ones are left out: " << finished.out;
  EXPECT_GT(list[0]["score"].get<float>(), list[1]["score"].get<float>());
  list[0].erase("score");
  EXPECT_EQ(list[0], nlohmann::json({{"label", "A"},
                                     {"id", "save"},
                                     {"hash", fnv1a64("save")},
                                     {"role", "Button"},
                                     {"subrole", nullptr},
                                     {"texts", {{"Title", "Save"}}},
                                     {"bounds", {10, 870, 80, 20}}}));
  EXPECT_EQ(list[1]["label"], "E");
}

TEST_F(CommandLine, matchFindsRolesAndPrintsLinesForPeople) {
  const auto finished = onDesktop("match", {".search"});
  ASSERT_EQ(finished.status, 0) << finished.err;
  EXPECT_NE(finished.out.find("TextField \"search field\""), std::string::npos) << finished.out;
  const auto untitled = onDesktop("match", {".ima"});
  EXPECT_NE(untitled.out.find("Image \"\"  at 200,650 size 50x50\n"), std::string::npos)
      << "elements that only title each other have no text: " << untitled.out;
}

TEST_F(CommandLine, treeShowsWhatIsVisibleOrEverything) {
  const auto visible = onDesktop("tree", {});
  const auto all = onDesktop("tree", {"--all"});
  ASSERT_EQ(visible.status, 0) << visible.err;
  EXPECT_EQ(visible.out.find("Save hidden"), std::string::npos);
  EXPECT_NE(visible.out.find("<Element Role=\"Button\" Hash=\"" + std::to_string(fnv1a64("save")) + "\">"),
            std::string::npos);
  EXPECT_NE(all.out.find("Save hidden"), std::string::npos);
  EXPECT_NE(all.out.find("\"Save As…\""), std::string::npos) << "as people read it: " << all.out;
  write("again.json", onDesktop("record", {}).out);
  EXPECT_EQ(run({"tree", "--desktop", file("again.json")}).out, visible.out);
}

TEST_F(CommandLine, whatLooksLikeAMarkOrACommandIsAQueryToo) {
  const std::pair<Arguments, const char*> cases[] = {
      {{"++"}, "++"},       {{"++", "--json"}, "++"}, {{"--"}, "--"},
      {{"--", "--"}, "--"}, {{"--", "-x"}, "-x"},     {{"tree", "--"}, "-x"},
  };
  for (const auto& [arguments, id] : cases) {
    Arguments dry = arguments;
    std::erase(dry, "--json");
    dry.insert(dry.begin(), "--dry-run");
    const auto act = onDesktop("act", dry);
    EXPECT_EQ(act.out.find(std::string("would click Button \"") + id), 0U) << act.out << act.err;
    const auto match = onDesktop("match", arguments);
    EXPECT_NE(match.out.find(id), std::string::npos) << match.out << match.err;
  }
}

TEST_F(CommandLine, actSaysWhatItClickedAndWhere) {
  const auto dry = onDesktop("act", {"--dry-run", "save"});
  EXPECT_EQ(dry.status, 0);
  EXPECT_EQ(dry.out, "would click Button \"Save\" near 50,880 (bottom-left origin)\n");
  const auto done = onDesktop("act", {"save"});
  EXPECT_EQ(done.status, 0) << done.err;
  EXPECT_EQ(done.out, "clicked Button \"Save\" at 50,19\n");
}

TEST_F(CommandLine, theWindowsOwnButtonsAreThereWhenAskedFor) {
  write("desktop.json", R"({"frontmost":1,"applications":[{"pid":1,"element":"app"}],"elements":{
    "app":{"attributes":{"AXRole":"AXApplication","AXWindowButtons":[{"ref":"close"}]}},
    "close":{"attributes":{"AXRole":"AXWindowButton","AXTitle":"Close","AXParent":{"ref":"app"},
                           "AXPosition":{"point":[0,0]},"AXSize":{"size":[20,20]}},"actions":["AXPress"]}}})");
  EXPECT_EQ(onDesktop("match", {"close"}).status, 1);
  EXPECT_EQ(nlohmann::json::parse(onDesktop("match", {"--window", "--json", "close"}).out).at(0).at("id"), "close");
  EXPECT_EQ(onDesktop("act", {"--window", "--dry-run", "close"}).out,
            "would ask the window system for WindowButton \"Close\"\n");
  EXPECT_EQ(onDesktop("act", {"--window", "close"}).out, "asked the window system for WindowButton \"Close\"\n");
}

TEST_F(CommandLine, menusAreListedAndTheirCommandsChosen) {
  write("desktop.json",
        R"({"frontmost":1,"elements":{},"applications":[{"pid":2,"name":"Other"},{"pid":1,"name":"Editor",
    "menus":[{"path":["Edit","Copy"],"keys":"Control+C","enabled":false},
             {"path":["View","Status Bar"],"mark":"check","on":true},
             {"path":["View","Zoom","Zoom In"],"keys":"Control++"}]}]})");
  EXPECT_EQ(onDesktop("menus", {}).out,
            "    Edit ▸ Copy  Control+C  (disabled)\n[x] View ▸ Status Bar\n    View ▸ Zoom ▸ Zoom In  Control++\n");
  const auto list = nlohmann::json::parse(onDesktop("menus", {"--json"}).out);
  EXPECT_EQ(list.at(1), nlohmann::json::parse(R"({"path":["View","Status Bar"],"keys":"","mark":"check","on":true,
                                                  "enabled":true,"open":false})"));
  EXPECT_EQ(onDesktop("act", {"--menu", "--dry-run", "zoom"}).out, "would choose View ▸ Zoom ▸ Zoom In\n");
  EXPECT_EQ(onDesktop("act", {"--menu", "view status"}).out, "chose View ▸ Status Bar\n");
  const std::pair<desktop::Finished, const char*> failures[] = {
      {onDesktop("menus", {"--app", "Other"}), "Other tells of no menus."},
      {onDesktop("act", {"--menu", "zzz"}), "no command of the menus matches 'zzz'."},
      {onDesktop("act", {"--menu", "copy"}), "Edit ▸ Copy cannot be chosen now."}};
  for (const auto& [finished, says] : failures) {
    EXPECT_EQ(finished.status, 1) << says;
    EXPECT_EQ(finished.err, std::string("jumplark: ") + says + "\n");
  }
}

TEST_F(CommandLine, failuresHaveTheirStatusAndOneSentence) {
  write("truncated.json", kDesktop.substr(0, 400));
  write("reference.json", R"({"elements":{"a":{"attributes":{"AXParent":{"ref":"nowhere"}}}}})");
  write("nobody.json", R"({"frontmost":7,"elements":{}})");
  // A part of what each says on standard error.
  const std::tuple<const char*, Arguments, int, const char*> cases[] = {
      {"nothing matched", {"match", "--desktop", file("desktop.json"), "zzz"}, 1, "zzz"},
      {"no query", {"match", "--desktop", file("desktop.json")}, 2, "QUERY"},
      {"a query like an option", {"match", "-x"}, 2, "comes after --"},
      {"two queries", {"match", "open", "file"}, 2, "'file' is one word too many"},
      {"two queries like marks", {"act", "++", "--", "--"}, 2, "'--' is"},
      {"no value", {"tree", "--desktop"}, 2, "--desktop needs"},
      {"no process id", {"tree", "--pid", "7x"}, 2, "'7x' is no process id"},
      {"no time", {"tree", "--wait", "-1"}, 2, "'-1' is no number of seconds"},
      {"unknown pane", {"preferences", "NOSUCH"}, 2, "General, Advanced, Usage, Help, About"},
      {"known pane, in small letters", {"preferences", "help"}, 3, "not running"},
      {"unknown command", {"nonsense"}, 2, "nonsense"},
      {"missing file", {"tree", "--desktop", file("none.json")}, 2, "none.json"},
      {"truncated file", {"tree", "--desktop", file("truncated.json")}, 2, "truncated.json"},
      {"missing reference", {"tree", "--desktop", file("reference.json")}, 2, "nowhere"},
      {"no such folder", {"record", "--desktop", file("desktop.json"), "-o", file("none/a.json")}, 2, "none/a.json"},
      {"nobody in front", {"tree", "--desktop", file("nobody.json")}, 3, "in front"},
      {"unknown application", {"tree", "--desktop", file("desktop.json"), "--app", "Zebra"}, 3, "Zebra"},
      {"unknown process", {"tree", "--desktop", file("desktop.json"), "--pid", "9"}, 3, "9"},
      {"not in this process", {"match", "--desktop", file("desktop.json"), "--pid", "2", "save"}, 1, "save"},
      {"no display", {"tree"}, 3, "display"},
      {"no display for the background", {}, 3, "display"},
      {"nothing running", {"activate"}, 3, "not running"},
  };
  for (const auto& [name, arguments, status, says] : cases) {
    // A runtime folder of its own, so that it is the only instance.
    const auto finished = run(arguments, {{"XDG_RUNTIME_DIR", folder_.path()}});
    EXPECT_EQ(finished.status, status) << name << ": " << finished.err;
    EXPECT_NE(finished.err.find(says), std::string::npos) << name << ": " << finished.err;
    EXPECT_TRUE(finished.out.empty()) << name << ": " << finished.out;
  }
  const auto doctor = run({"doctor"});
  EXPECT_EQ(doctor.status, 3);
  EXPECT_NE(doctor.out.find("thing"), std::string::npos) << doctor.out;
}

TEST_F(CommandLine, survivesTheDeepestTrees) {
#ifdef __SANITIZE_THREAD__
  constexpr int kLevels = 1000;  // this sanitizer stores the whole stack with each allocation: 20 GB at 10,000 levels
#else
  constexpr int kLevels = 10000;
#endif
  std::string lines = "app AXApplication AXFocusedWindow=@n0\n";
  for (int i = 0; i < kLevels; ++i) {
    const std::string below = i + 1 < kLevels ? "@n" + std::to_string(i + 1) : "";
    lines += fmt::format("n{} AXButton 0,0/50,50 AXTitle=\"level{}\" AXChildren=[{}]\n", i, i, below);
  }
  write("deep.json", testing::DesktopText::of(lines));
  const auto finished = run({"match", "--desktop", file("deep.json"), "--json", "level" + std::to_string(kLevels - 1)});
  ASSERT_EQ(finished.status, 0) << finished.err;
  EXPECT_EQ(nlohmann::json::parse(finished.out).at(0)["id"], "n" + std::to_string(kLevels - 1));
}

}  // namespace
}  // namespace jumplark
