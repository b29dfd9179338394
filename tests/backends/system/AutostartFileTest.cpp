#include "backends/linux/system/AutostartFile.h"

#include <gmock/gmock.h>

#include "backends/system/SystemFixture.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class AutostartFileTest : public SystemFixture {
 protected:
  AutostartFileTest() {
    makeProgram(program_);
    makeProgram(other_);
  }

  static void makeProgram(const fs::path& path) {
    write(path, "#!/bin/sh\n");
    fs::permissions(path, fs::perms::owner_all);
  }
  AutostartFile item(const fs::path& program, const std::string& searchPath = {}) {
    return {queues_, {autostart_, {system_}, searchPath, desktops_}, program};
  }
  AutostartFile item() { return item(program_); }
  std::string own() const { return read(autostart_ / "jumplark.desktop"); }
  static std::string entry(const fs::path& program, const std::string& rest = {}) {
    return "[Desktop Entry]\nExec=" + program.string() + "\n" + rest;
  }

  fs::path autostart_ = folder_ / "config" / "autostart";
  fs::path system_ = folder_ / "etc" / "autostart";
  std::string desktops_ = "ubuntu:GNOME";
  fs::path program_ = folder_ / "opt" / "jumplark";
  fs::path other_ = folder_ / "usr" / "jumplark";
};

TEST_F(AutostartFileTest, namesTheProgramSoThatEverySessionFindsIt) {
  const std::string path = program_.string();
  const struct {
    std::string name;
    std::string searchPath;
    std::string exec;
  } cases[] = {
      {"jumplark", "", "\"" + path + "\""},
      {"jumplark", "/usr/nowhere:" + program_.parent_path().string(), "jumplark"},
      {"jumplark", "opt:.", "\"" + path + "\""},  // relative places are not looked at
      // Quoted once for the key, once more as a string of the file.
      {"a \"b\" $c `d` \\e %f", "", "\"" + folder_.string() + R"(/opt/a \\"b\\" \\$c \\`d\\` \\\\e %%f")"},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.name);
    const fs::path program = program_.parent_path() / example.name;
    makeProgram(program);
    AutostartFile item = this->item(program, example.searchPath);
    EXPECT_EQ(item.set(true), "");
    EXPECT_THAT(own(), HasSubstr("\nExec=" + example.exec + "\n"));
    EXPECT_TRUE(item.isSet()) << "reads what it has written";
    EXPECT_EQ(item.set(true), "");
    EXPECT_EQ(std::distance(fs::directory_iterator(autostart_), {}), 1);
    EXPECT_EQ(item.set(false), "");
    EXPECT_EQ(item.set(false), "");
    EXPECT_TRUE(fs::is_empty(autostart_));
  }
  EXPECT_THAT(item(folder_ / "a\nb").set(true), HasSubstr("line break"));
  EXPECT_THAT(AutostartFile(queues_, {}, program_).set(true), HasSubstr("no folder"));
}

TEST_F(AutostartFileTest, isMendedAtTheNextStartAfterTheProgramMoved) {
  EXPECT_EQ(item().set(true), "");
  const fs::path moved = folder_ / "home" / "jumplark";
  makeProgram(moved);
  item(moved);
  EXPECT_THAT(own(), HasSubstr(program_.string())) << "the other one is still there";
  fs::remove(program_);
  item(moved);
  EXPECT_THAT(own(), HasSubstr("Exec=\"" + moved.string() + "\"\n"));
  // Switched off by the desktop's own list: it stays off until the user says so here.
  const std::string off = own() + "Hidden=true\n";
  write(autostart_ / "jumplark.desktop", off);
  fs::remove(moved);
  makeProgram(program_);
  AutostartFile item = this->item();
  EXPECT_EQ(own(), off);
  EXPECT_FALSE(item.isSet());
  EXPECT_EQ(item.set(true), "");
  EXPECT_TRUE(item.isSet());
}

TEST_F(AutostartFileTest, leavesFilesOfOthersAsTheyAre) {
  const struct {
    std::string text;
    bool starts;  ///< this program
  } cases[] = {{"[Desktop Entry]\nType=Application\nExec=backup\n", false},
               {"[Desktop Entry]\nExec=" + program_.string() + " --quiet\n", true},
               {entry(other_), false},
               {entry(other_, "X-Jumplark-LoginItem=true\n"), false},
               {"[Desktop Entry]\nExec=jumplark\nHidden=true\n", false},
               {"[Other]\nX-Jumplark-LoginItem=true\nExec=jumplark\n", false},
               {"", false},
               {"=\n[\n]=\nExec\n\\", false},
               {std::string("[Desktop Entry]\nExec=\0\xff\\", 23), false},
               {"[Desktop Entry]\nExec=\"" + std::string(100000, '\\') + "\n", false},
               {std::string(17 << 20, 'x'), false}};
  for (const auto& example : cases) {
    SCOPED_TRACE(example.text.substr(0, 60));
    write(autostart_ / "jumplark.desktop", example.text);
    AutostartFile item = this->item();
    EXPECT_EQ(item.isSet(), example.starts);
    EXPECT_EQ(item.set(true), "");
    EXPECT_TRUE(item.isSet());
    EXPECT_EQ(fs::exists(autostart_ / "jumplark-login.desktop"), !example.starts);
    EXPECT_EQ(item.set(false).empty(), !example.starts) << "only by hand";
    EXPECT_FALSE(fs::exists(autostart_ / "jumplark-login.desktop"));
    EXPECT_TRUE(own() == example.text);
  }
  // A link leads to what somebody keeps elsewhere, even with our mark.
  const std::string marked = "[Desktop Entry]\nExec=other\nX-Jumplark-LoginItem=true\n";
  write(folder_ / "kept", marked);
  fs::remove(autostart_ / "jumplark.desktop");
  fs::create_symlink(folder_ / "kept", autostart_ / "jumplark.desktop");
  fs::create_directory(autostart_ / "jumplark-login.desktop");
  EXPECT_THAT(item().set(true), HasSubstr("not made by Jumplark"));
  EXPECT_EQ(read(folder_ / "kept"), marked);
}

TEST_F(AutostartFileTest, followsTheSystemsEntryAsASessionDoes) {
  const std::string ours = entry(program_);
  const struct {
    std::string systems;
    std::string users;  ///< empty for no file
    bool starts;
  } cases[] = {
      {ours, "", true},
      {entry(other_), "", false},
      {ours, "[Desktop Entry]\nHidden=true\n", false},
      {ours, entry(other_), false},
      {entry(other_), ours, true},
      {entry(program_, "Hidden=true\n"), "", false},
      {entry(program_, "X-GNOME-Autostart-enabled = false \r\n"), "", false},
      {entry(program_, "OnlyShowIn=XFCE;GNOME;\n"), "", true},
      {entry(program_, "OnlyShowIn=XFCE;\n"), "", false},
      {entry(program_, "NotShowIn=GNOME\n"), "", false},
      {entry(program_, "NotShowIn=XFCE\n"), "", true},
      {entry(program_, "NotShowIn=GNOME;\nOnlyShowIn=ubuntu;\n"), "", true},  // the first name that is listed
      {entry(program_, "TryExec=/nowhere/jumplark\n"), "", false},
      {entry(program_, "TryExec=" + program_.string() + "\n"), "", true},
  };
  for (const auto& example : cases) {
    SCOPED_TRACE(example.systems + example.users);
    write(system_ / "jumplark.desktop", example.systems);
    if (!example.users.empty()) {
      write(autostart_ / "jumplark.desktop", example.users);
    }
    AutostartFile item = this->item();
    EXPECT_EQ(item.isSet(), example.starts);
    if (example.users.empty()) {
      for (const bool on : {true, false, true, false}) {
        EXPECT_EQ(item.set(on), "");
        EXPECT_EQ(item.isSet(), on);
      }
    }
    EXPECT_EQ(read(system_ / "jumplark.desktop"), example.systems);
    fs::remove(autostart_ / "jumplark.desktop");
  }
}

TEST_F(AutostartFileTest, tellsOfChangesInEachFolderUntilTheTokenGoes) {
  fs::create_directories(system_);
  AutostartFile item = this->item();
  int changes = 0;
  Token token = item.observe([&] { ++changes; });
  ASSERT_TRUE(await([&] { return changes == 2; })) << "each is looked at once at first";
  write(system_ / "jumplark.desktop", entry(program_));
  EXPECT_TRUE(await([&] { return changes > 2 && item.isSet(); }));
  const int before = changes;
  write(autostart_ / "jumplark.desktop", "[Desktop Entry]\nHidden=true\n");
  EXPECT_TRUE(await([&] { return changes > before && !item.isSet(); }));
  token.reset();
  const int last = changes;
  EXPECT_EQ(item.set(true), "");
  queues_.drainMainQueue();
  EXPECT_EQ(changes, last);
}

}  // namespace
}  // namespace jumplark
