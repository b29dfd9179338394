#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "desktop/DesktopTest.h"

namespace jumplark::desktop {
namespace {

// One sentence on standard error, nothing on standard output.
void expectRefusal(const Finished& finished, int status) {
  EXPECT_EQ(finished.status, status) << finished.out << finished.err;
  EXPECT_EQ(finished.out, "");
  ASSERT_FALSE(finished.err.empty());
  EXPECT_EQ(finished.err.find('\n'), finished.err.size() - 1) << "one line: " << finished.err;
}

const Arguments kCommands[] = {{"tree"}, {"match", "ok"}, {"match", "--json", "ok"}, {"act", "ok"}, {"record"}};

std::string describe(const Arguments& arguments) {
  std::string text;
  for (const std::string& argument : arguments) {
    text += argument + ' ';
  }
  return text;
}

TEST(Trouble, aDesktopOutOfReachIsSaidInOneSentence) {
  const struct {
    const char* what;
    SessionOptions options;
    Environment extra;
  } cases[] = {
      {"no display named", {.windowManager = WindowManager::openbox}, {{"DISPLAY", ""}}},
      {"no such display", {.windowManager = WindowManager::openbox}, {{"DISPLAY", ":4711"}}},
      {"no session bus named", {.windowManager = WindowManager::openbox, .sessionBus = false}, {}},
      {"a session bus that has gone",
       {.windowManager = WindowManager::openbox},
       {{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere/bus"}}},
      {"no accessibility bus", {.windowManager = WindowManager::openbox, .accessibility = false}, {}},
      {"no application", {.windowManager = WindowManager::openbox}, {}},
      {"no window manager", {.windowManager = WindowManager::none}, {}},
  };
  for (const auto& [what, options, extra] : cases) {
    PrivateSession session(options);
    Jumplark jumplark(session, options.height);
    for (const Arguments& command : kCommands) {
      SCOPED_TRACE(std::string(what) + ": " + describe(command));
      expectRefusal(jumplark.run(command, extra), 3);
    }
  }
}

TEST(Trouble, theDoctorSaysWhatIsMissingAndWhatIsNot) {
  {
    Desktop desktop;
    const Finished finished = desktop.jumplark.run({"doctor"});
    EXPECT_EQ(finished.status, 0) << finished.out << finished.err;
    EXPECT_TRUE(finished.out.starts_with("Jumplark works here.")) << "there is no panel: " << finished.out;
    EXPECT_EQ(finished.out.find("session bus"), std::string::npos) << "what is well is not told: " << finished.out;
    EXPECT_NE(desktop.jumplark.run({"doctor", "--all"}).out.find("session bus"), std::string::npos);
  }
  PrivateSession session({.windowManager = WindowManager::openbox, .accessibility = false});
  const Finished finished = Jumplark(session, 900).run({"doctor"});
  EXPECT_EQ(finished.status, 3) << finished.out << finished.err;
  EXPECT_TRUE(finished.out.starts_with("2 things keep Jumplark from working here.\nFAILED  accessibility bus"))
      << finished.out << finished.err;
  EXPECT_NE(finished.out.find("at-spi2-core"), std::string::npos) << "how to mend it: " << finished.out;
}

TEST(Trouble, anApplicationThatIsNotThereIsNamed) {
  Desktop desktop;
  const DemoProgram demo(desktop.session);
  const Finished byName = desktop.jumplark.run({"match", "--app", "no-such-thing", "ok"});
  expectRefusal(byName, 3);
  EXPECT_NE(byName.err.find("no-such-thing"), std::string::npos);
  const Finished byPid = desktop.jumplark.run({"match", "--pid", "999999", "ok"});
  expectRefusal(byPid, 3);
  EXPECT_NE(byPid.err.find("999999"), std::string::npos);
}

TEST(Trouble, aFileThatIsNoRecordingIsRefused) {
  PrivateSession session({.windowManager = WindowManager::none, .accessibility = false, .sessionBus = false});
  Jumplark jumplark(session, 900);
  const std::string folder = session.folder() + "/files";
  std::filesystem::create_directory(folder);
  const struct {
    const char* name;
    const char* text;
  } files[] = {
      {"empty.json", ""},
      {"truncated.json", R"({"screens": [[0,0,1440,900]], "pointer": [700,)"},
      {"list.json", "[]"},
      {"wrong-types.json", R"({"screens": 7, "elements": "many", "applications": {}})"},
      {"dangling.json",
       R"({"screens":[[0,0,9,9]],"applications":[{"pid":1,"name":"A","element":"e9"}],"frontmost":1,"elements":{}})"},
      {"binary.json",
       "\x7f"
       "ELF\x02\x01\x01\xff\xfe"},
  };
  for (const auto& [name, text] : files) {
    std::ofstream(folder + "/" + name) << text;
  }
  for (const auto& entry : {"empty.json", "truncated.json", "list.json", "wrong-types.json", "dangling.json",
                            "binary.json", "missing.json", "."}) {
    for (const Arguments& command : {Arguments{"tree"}, Arguments{"match", "ok"}}) {
      Arguments arguments = {command[0], "--desktop", folder + "/" + entry};
      arguments.insert(arguments.end(), command.begin() + 1, command.end());
      SCOPED_TRACE(describe(arguments));
      expectRefusal(jumplark.run(arguments), 2);
    }
  }
}

TEST(Trouble, badUsageIsRefused) {
  PrivateSession session({.windowManager = WindowManager::none, .accessibility = false, .sessionBus = false});
  Jumplark jumplark(session, 900);
  for (const Arguments& arguments :
       {Arguments{"match"}, Arguments{"act"}, Arguments{"tree", "--no-such-option"}, Arguments{"dance"},
        Arguments{"tree", "--pid", "many"}, Arguments{"tree", "--pid", "1", "--app", "x"},
        Arguments{"match", "--wait", "-1", "ok"}}) {
    SCOPED_TRACE(describe(arguments));
    const Finished finished = jumplark.run(arguments);
    EXPECT_EQ(finished.status, 2) << finished.out;
    EXPECT_EQ(finished.out, "");
    EXPECT_FALSE(finished.err.empty());
  }
  const Finished help = jumplark.run({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_NE(help.out.find("match"), std::string::npos);
}

TEST(Trouble, aRecordingThatCannotBeWrittenIsSaid) {
  Desktop desktop;
  const DemoProgram demo(desktop.session);
  const Finished finished =
      desktop.jumplark.run({"record", "--app", DemoProgram::kName, "-o", desktop.session.folder() + "/no/such/folder"});
  EXPECT_EQ(finished.status, 2) << finished.err;
  EXPECT_NE(finished.err.find("/no/such/folder"), std::string::npos) << finished.err;
}

TEST(Trouble, anApplicationThatHangsIsGivenUp) {
  Desktop desktop;
  DemoProgram demo(desktop.session);
  const std::vector<Match> before = desktop.jumplark.everything(kDemo);
  ASSERT_FALSE(before.empty());
  demo.process().stop();
  for (const Arguments& command : {Arguments{"tree"}, Arguments{"match", "ok"}, Arguments{"act", "ok"}}) {
    SCOPED_TRACE(describe(command));
    Arguments arguments = {command[0], "--app", DemoProgram::kName};
    arguments.insert(arguments.end(), command.begin() + 1, command.end());
    expectRefusal(desktop.jumplark.run(arguments), 3);
  }
  demo.process().resume();
  ASSERT_TRUE(waitUntil([&] { return !readApplication(desktop.session, DemoProgram::kName).empty(); }));
  EXPECT_EQ(desktop.jumplark.everything(kDemo).size(), before.size());
  EXPECT_TRUE(demo.linesBeginning("pressed ").empty());
}

}  // namespace
}  // namespace jumplark::desktop
