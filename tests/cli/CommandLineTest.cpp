#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "desktop/support/Process.h"
#include "platform/AttributeValue.h"
#include "support/TemporaryFolder.h"

namespace jumplark {
namespace {

using desktop::Arguments;
using desktop::Environment;

/// Two windows' worth of an editor; the query "save" fits two elements, the better one further away from the pointer.
const char* const kDesktop = R"({"screens":[[0,0,1440,900]],"pointer":[700,450],"frontmost":501,
 "applications":[{"pid":501,"bundle_id":"org.example.editor","name":"Editor","element":"app"},
                 {"pid":502,"bundle_id":"org.example.other","name":"Other","element":"other"}],
 "elements":{
  "app":{"attributes":{"AXRole":"AXApplication","AXTitle":"Editor","AXFocusedWindow":{"ref":"w"},"AXChildren":[{"ref":"w"}]}},
  "w":{"attributes":{"AXRole":"AXWindow","AXTitle":"Document","AXParent":{"ref":"app"},
       "AXPosition":{"point":[0,0]},"AXSize":{"size":[800,600]},
       "AXChildren":[{"ref":"save"},{"ref":"saveAs"},{"ref":"tiny"},{"ref":"hidden"},{"ref":"search"},
                       {"ref":"++"},{"ref":"--"},{"ref":"-x"}]}},
  "save":{"attributes":{"AXRole":"AXButton","AXTitle":"Save","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
       "AXPosition":{"point":[10,10]},"AXSize":{"size":[80,20]}},"actions":["AXPress"]},
  "saveAs":{"attributes":{"AXRole":"AXButton","AXTitle":"Save As…","AXParent":{"ref":"w"},"AXWindow":{"ref":"w"},
       "AXPosition":{"point":[100,10]},"AXSize":{"size":[80,20]}}},
  "tiny":{"attributes":{"AXRole":"AXButton","AXTitle":"Save tiny","AXParent":{"ref":"w"},
       "AXPosition":{"point":[300,10]},"AXSize":{"size":[4,20]}}},
  "hidden":{"attributes":{"AXRole":"AXButton","AXTitle":"Save hidden","AXParent":{"ref":"w"},
       "AXPosition":{"point":[3000,10]},"AXSize":{"size":[80,20]}}},
  "search":{"attributes":{"AXRole":"AXTextField","AXSubrole":"AXSearchField","AXValue":"","AXParent":{"ref":"w"},
       "AXWindow":{"ref":"w"},"AXRoleDescription":"search text field",
       "AXPosition":{"point":[10,50]},"AXSize":{"size":[80,20]}}},
  "++":{"attributes":{"AXRole":"AXButton","AXTitle":"++","AXParent":{"ref":"w"},
       "AXPosition":{"point":[10,90]},"AXSize":{"size":[80,20]}}},
  "--":{"attributes":{"AXRole":"AXButton","AXTitle":"--","AXParent":{"ref":"w"},
       "AXPosition":{"point":[10,130]},"AXSize":{"size":[80,20]}}},
  "-x":{"attributes":{"AXRole":"AXButton","AXTitle":"-x tree","AXParent":{"ref":"w"},
       "AXPosition":{"point":[10,170]},"AXSize":{"size":[80,20]}}},
  "other":{"attributes":{"AXRole":"AXApplication","AXTitle":"Other"}}
 }})";

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

TEST_F(CommandLine, MatchPrintsJSONBestFirst) {
  const auto finished = onDesktop("match", {"--json", "save"});
  ASSERT_EQ(finished.status, 0) << finished.err;
  const auto list = nlohmann::json::parse(finished.out);
  ASSERT_EQ(list.size(), 2U) << "too small and invisible ones are left out: " << finished.out;
  EXPECT_EQ(list[0]["label"], "A");
  EXPECT_EQ(list[0]["id"], "save");
  EXPECT_EQ(list[0]["hash"], fnv1a64("save"));
  EXPECT_EQ(list[0]["role"], "Button");
  EXPECT_TRUE(list[0]["subrole"].is_null());
  EXPECT_EQ(list[0]["texts"], nlohmann::json({{"Title", "Save"}}));
  EXPECT_EQ(list[0]["bounds"], nlohmann::json({10, 870, 80, 20}));
  EXPECT_GT(list[0]["score"].get<float>(), list[1]["score"].get<float>());
  EXPECT_EQ(list[1]["label"], "E");
  EXPECT_EQ(list[1]["texts"]["Title_Latin"], "Save As");
}

TEST_F(CommandLine, MatchFindsRolesAndPrintsLinesForPeople) {
  const auto finished = onDesktop("match", {".search"});
  ASSERT_EQ(finished.status, 0) << finished.err;
  EXPECT_NE(finished.out.find("TextField \"search text field\""), std::string::npos) << finished.out;
}

TEST_F(CommandLine, TreeShowsWhatIsVisibleOrEverything) {
  const auto visible = onDesktop("tree", {});
  const auto all = onDesktop("tree", {"--all"});
  ASSERT_EQ(visible.status, 0) << visible.err;
  EXPECT_EQ(visible.out.find("Save hidden"), std::string::npos);
  EXPECT_NE(visible.out.find("<Element Role=\"Button\" Hash=\"" + std::to_string(fnv1a64("save")) + "\">"),
            std::string::npos);
  EXPECT_NE(all.out.find("Save hidden"), std::string::npos);
  EXPECT_NE(all.out.find("\"Save As…\""), std::string::npos) << "as people read it: " << all.out;
}

TEST_F(CommandLine, WhatLooksLikeAMarkOrACommandIsAQueryToo) {
  const std::pair<Arguments, const char*> cases[] = {
      {{"++"}, "++"},         {{"++", "--json"}, "++"},
      {{"--"}, "--"},         {{"--json", "--"}, "--"},
      {{"--", "--"}, "--"},   {{"--", "++"}, "++"},
      {{"--", "-x"}, "-x"},   {{"tree"}, "-x"},
      {{"tree", "--"}, "-x"}, {{"--app", "Editor", "++"}, "++"},
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

TEST_F(CommandLine, ActSaysWhatItClickedAndWhere) {
  const auto dry = onDesktop("act", {"--dry-run", "save"});
  EXPECT_EQ(dry.status, 0);
  EXPECT_EQ(dry.out, "would click Button \"Save\" near 50,880 (bottom-left origin)\n");
  const auto done = onDesktop("act", {"save"});
  EXPECT_EQ(done.status, 0) << done.err;
  EXPECT_EQ(done.out, "clicked Button \"Save\" at 50,19\n");
}

struct Failing {
  std::string name;
  Arguments arguments;
  int status;
  std::string says;  ///< part of standard error
};

TEST_F(CommandLine, FailuresHaveTheirStatusAndOneSentence) {
  write("truncated.json", std::string(kDesktop).substr(0, 400));
  write("reference.json", R"({"elements":{"a":{"attributes":{"AXParent":{"ref":"nowhere"}}}}})");
  write("nobody.json", R"({"frontmost":7,"elements":{}})");
  const std::vector<Failing> cases = {
      {"nothing matched", {"match", "--desktop", file("desktop.json"), "zzz"}, 1, "zzz"},
      {"nothing to click", {"act", "--desktop", file("desktop.json"), "zzz"}, 1, "zzz"},
      {"no query", {"match", "--desktop", file("desktop.json")}, 2, "QUERY"},
      {"unknown option", {"match", "--nonsense", "q"}, 2, "--nonsense"},
      {"a query like an option", {"match", "-x"}, 2, "comes after --"},
      {"two queries", {"match", "open", "file"}, 2, "'file' is one word too many"},
      {"two queries like marks", {"act", "++", "--", "--"}, 2, "'--' is"},
      {"no value", {"tree", "--desktop"}, 2, "--desktop needs"},
      {"no process id", {"tree", "--pid", "7x"}, 2, "'7x' is no process id"},
      {"no time", {"tree", "--wait", "-1"}, 2, "'-1' is no number of seconds"},
      {"unknown pane", {"preferences", "NOSUCH"}, 2, "General, Advanced, Usage, Help, About"},
      {"known pane, in small letters", {"preferences", "help"}, 3, "not running"},
      {"unknown command", {"nonsense"}, 2, "nonsense"},
      {"two targets", {"tree", "--pid", "1", "--app", "x"}, 2, "--app"},
      {"missing file", {"tree", "--desktop", file("none.json")}, 2, "none.json"},
      {"truncated file", {"tree", "--desktop", file("truncated.json")}, 2, "truncated.json"},
      {"missing reference", {"tree", "--desktop", file("reference.json")}, 2, "nowhere"},
      {"nobody in front", {"tree", "--desktop", file("nobody.json")}, 3, "in front"},
      {"unknown application", {"tree", "--desktop", file("desktop.json"), "--app", "Zebra"}, 3, "Editor"},
      {"unknown process", {"tree", "--desktop", file("desktop.json"), "--pid", "9"}, 3, "9"},
      {"no display", {"tree"}, 3, "display"},
      {"no display for the background", {}, 3, "display"},
      {"nothing running", {"activate"}, 3, "not running"},
  };
  for (const Failing& c : cases) {
    // A runtime folder of its own, so that it is the only instance.
    const auto finished = run(c.arguments, {{"XDG_RUNTIME_DIR", folder_.path()}});
    EXPECT_EQ(finished.status, c.status) << c.name << ": " << finished.err;
    EXPECT_NE(finished.err.find(c.says), std::string::npos) << c.name << ": " << finished.err;
    EXPECT_TRUE(finished.out.empty()) << c.name << ": " << finished.out;
  }
  const auto doctor = run({"doctor"});
  EXPECT_EQ(doctor.status, 3);
  EXPECT_NE(doctor.out.find("thing"), std::string::npos) << doctor.out;
}

TEST_F(CommandLine, FindsApplicationsByNameAndIdentifier) {
  for (const std::string name : {"editor", "Editor", "org.example.editor", "edit"}) {
    EXPECT_EQ(run({"match", "--desktop", file("desktop.json"), "--app", name, "save"}).status, 0) << name;
  }
  EXPECT_EQ(run({"match", "--desktop", file("desktop.json"), "--pid", "502", "save"}).status, 1);
}

TEST_F(CommandLine, ElementsThatOnlyTitleEachOtherHaveNoText) {
  const auto button = [](const std::string& id, const std::string& title) {
    return "\"" + id + R"(":{"attributes":{"AXRole":"AXButton","AXTitleUIElement":{"ref":")" + title +
           R"("},"AXPosition":{"point":[0,0]},"AXSize":{"size":[50,50]}}})";
  };
  write("desktop.json", R"({"screens":[[0,0,100,100]],"frontmost":1,
    "applications":[{"pid":1,"bundle_id":"b","name":"n","element":"app"}],"elements":{
    "app":{"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"w"}}},
    "w":{"attributes":{"AXRole":"AXWindow","AXPosition":{"point":[0,0]},"AXSize":{"size":[90,90]},
         "AXChildren":[{"ref":"a"},{"ref":"b"},{"ref":"self"}]}},)" +
                            button("a", "b") + "," + button("b", "a") + "," + button("self", "self") + "}}");
  const auto matched = onDesktop("match", {".but"});
  ASSERT_EQ(matched.status, 0) << matched.err;
  EXPECT_NE(matched.out.find("Button \"\"  at 0,50 size 50x50\n"), std::string::npos) << matched.out;
  const auto dry = onDesktop("act", {"--dry-run", ".but"});
  EXPECT_EQ(dry.out, "would click Button \"\" near 25,75 (bottom-left origin)\n") << dry.err;
}

TEST_F(CommandLine, SurvivesTheDeepestTrees) {
  std::string elements = R"("app":{"attributes":{"AXRole":"AXApplication","AXFocusedWindow":{"ref":"n0"}}})";
#ifdef __SANITIZE_THREAD__
  constexpr int kLevels = 1000;  // this sanitizer stores the whole stack with each allocation: 20 GB at 10,000 levels
#else
  constexpr int kLevels = 10000;
#endif
  for (int i = 0; i < kLevels; ++i) {
    const std::string number = std::to_string(i);
    const std::string children =
        i + 1 < kLevels ? R"(,"AXChildren":[{"ref":"n)" + std::to_string(i + 1) + R"("}])" : std::string();
    elements.append(R"(,"n)").append(number);
    elements.append(R"(":{"attributes":{"AXRole":"AXButton","AXTitle":"level )").append(number);
    elements.append(R"(","AXPosition":{"point":[0,0]},"AXSize":{"size":[50,50]})").append(children).append("}}");
  }
  write("deep.json", R"({"screens":[[0,0,100,100]],"frontmost":1,
    "applications":[{"pid":1,"bundle_id":"b","name":"n","element":"app"}],"elements":{)" +
                         elements + "}}");
  const auto finished =
      run({"match", "--desktop", file("deep.json"), "--json", "level " + std::to_string(kLevels - 1)});
  ASSERT_EQ(finished.status, 0) << finished.err;
  EXPECT_EQ(nlohmann::json::parse(finished.out).at(0)["id"], "n" + std::to_string(kLevels - 1));
}

}  // namespace
}  // namespace jumplark
