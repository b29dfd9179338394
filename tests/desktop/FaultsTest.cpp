#include <csignal>
#include <cstdio>

#include "desktop/support/Desktop.h"
#include "desktop/support/RunningProgram.h"

namespace jumplark::desktop {
namespace {

using ::testing::HasSubstr;

size_t countOf(const std::string& text, const std::string& part) {
  size_t count = 0;
  for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

Program demo(const std::string& page) {
  return {.command = {JUMPLARK_DEMO_QT6, page}, .busName = DemoProgram::kName, .role = "frame", .element = "Demo"};
}

TEST(Faults, ofWhatIsLargeOnlyThatWhichShowsIsRead) {
  Desktop desktop;
  const std::tuple<Program, const char*, const char*> cases[] = {
      {demo("Table"), "\"Note 3\"", "\"Note 90\""},
      {longList(desktop.session), "\"row 3\"", "\"row 900\""},
      {demo("Text"), "This is line 3 of many", "line 900 of many"},
      {mousepad(desktop.session), "This is line 3 of many", "line 900 of many"}};
  constexpr size_t kMostElements = 250;
  for (const auto& [program, shows, isFarBelow] : cases) {
    SCOPED_TRACE(program.command.back());
    const Application application(desktop, program);
    for (const Arguments& options : {Arguments{}, Arguments{"--all"}}) {
      const Finished tree = desktop.jumplark.run("tree", application.target(), options);
      EXPECT_EQ(tree.status, 0) << tree.err;
      EXPECT_GE(countOf(tree.out, shows), 1U) << tree.out.substr(0, 3000);
      EXPECT_EQ(countOf(tree.out, isFarBelow), 0U);
      EXPECT_LT(countOf(tree.out, "<Element "), kMostElements);
    }
  }
}

int processOf(PrivateSession& session, const std::string& busName) {
  const Finished asked = session.run({"dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus",
                                      "/", "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:" + busName});
  int pid = -1;
  return std::sscanf(asked.out.c_str(), " uint32 %d", &pid) == 1 ? pid : -1;
}

TEST(LongLived, worksOnAfterTheAccessibilityBusWasRestarted) {
  Desktop desktop;
  PrivateSession& session = desktop.session;
  RunningProgram program(session);
  {
    const DemoProgram before(desktop, "Form", {});  // which complains of the bus
    const int launcher = processOf(session, "org.a11y.Bus");
    ASSERT_GT(launcher, 0);
    const std::string bus = std::filesystem::read_symlink("/proc/" + std::to_string(launcher) + "/exe");
    ASSERT_EQ(kill(launcher, SIGTERM), 0);
    ASSERT_TRUE(waitUntil([&] { return processOf(session, "org.a11y.Bus") != launcher; }));
    // Nothing can be read meanwhile, and nothing hangs.
    program.open();
    program.type("ok");
    program.close();
    session.start({bus, "--launch-immediately"});
    ASSERT_TRUE(waitUntil([&] { return processOf(session, "org.a11y.Bus") > 0; }));
  }
  const Application after(desktop, widgetFactory3());
  session.pointTo(560, 30);
  program.open();
  program.type("page 2");
  EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() > 0; }));
  program.close("Return");
  EXPECT_TRUE(after.waitForState("radio button", "Page 2", "checked"));
}

/// How often a text stands in the writable memory of a process, as a core image of it would.
size_t timesInMemory(pid_t pid, const std::string& text) {
  const std::string process = "/proc/" + std::to_string(pid);
  std::ifstream maps(process + "/maps");
  std::ifstream memory(process + "/mem", std::ios::binary);
  size_t count = 0;
  std::string bytes;
  for (std::string line; std::getline(maps, line);) {
    size_t from = 0;
    size_t to = 0;
    char mode[5] = {};
    if (std::sscanf(line.c_str(), "%zx-%zx %4s", &from, &to, mode) != 3 || mode[0] != 'r' || mode[1] != 'w' ||
        to - from > (size_t{1} << 28U)) {
      continue;
    }
    bytes.assign(to - from, '\0');
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(from));
    memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    for (size_t at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
      ++count;
    }
  }
  return count;
}

TEST(LongLived, noPasswordIsEverInItsMemory) {
  const std::string secret = "hunter-Zebra-4711";
  const std::string shown = "plain to see";
  Desktop desktop;
  RunningProgram program(desktop.session, {}, {{"SPDLOG_LEVEL", "trace"}});
  const Program programs[] = {{.command = {JUMPLARK_DEMO_QT6, "Secrets"}, .busName = DemoProgram::kName},
                              passwordForm(),
                              chromium(desktop.session, "password.html", "Passwords")};
  for (const Program& secretive : programs) {
    SCOPED_TRACE(secretive.busName);
    Application application(desktop, secretive);
    application.matchesWith("TextField", shown);
    const Matches fields = application.matches(".textfield");
    EXPECT_GE(fields.size(), 2U);
    desktop.session.pointTo(700, 5);
    program.open();
    program.query(".");
    for (const Match& field : fields) {
      // What the pointer rests on is described with all its texts.
      desktop.session.pointTo(field.rect);
      EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() == 3; })) << field.rect;
      desktop.session.pointTo(5, 5);
      EXPECT_TRUE(waitUntil([&] { return program.overlayWindows() < 3; }));
    }
    EXPECT_GT(timesInMemory(program.pid(), shown), 0U) << "what may be read is found this way";
    program.close();
    EXPECT_EQ(timesInMemory(program.pid(), secret), 0U);
    for (const char* command : {"tree", "record"}) {
      const std::string printed = desktop.jumplark.run(command, application.target()).out;
      EXPECT_THAT(printed, AllOf(HasSubstr(shown), HasSubstr("SecureTextField"), Not(HasSubstr(secret)))) << command;
    }
  }
}

}  // namespace
}  // namespace jumplark::desktop
