#include "backends/linux/system/PrivateFiles.h"

#include <sys/stat.h>

#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/LinuxFacts.h"
#include "backends/system/SystemFixture.h"

namespace jumplark {
namespace {

class PrivateFilesTest : public SystemFixture {
 protected:
  std::filesystem::path own_ = folder_ / "data" / "jumplark";
  std::string path_ = (own_ / "Metrics.dat").string();
  PrivateFiles files_{own_};
};

TEST_F(PrivateFilesTest, folderAndFilesAreTheUsersAlone) {
  EXPECT_EQ(files_.applicationSupportDirectory().path, own_.string());
  EXPECT_EQ(modeOf(own_), 0700U);
  ASSERT_EQ(::chmod(own_.c_str(), 0755), 0);
  EXPECT_EQ(files_.applicationSupportDirectory().path, own_.string());
  EXPECT_EQ(modeOf(own_), 0700U) << "closed again";
  EXPECT_EQ(files_.read(path_).state, FileStore::State::absent);
  write(path_, "open to all");
  ASSERT_EQ(::chmod(path_.c_str(), 0666), 0);
  EXPECT_EQ(files_.replace(path_, std::string("a\0b", 3)), "");
  EXPECT_EQ(modeOf(path_), 0600U);
  EXPECT_EQ(files_.read(path_).text, std::string("a\0b", 3));
  EXPECT_EQ(files_.remove(path_), "");
  EXPECT_EQ(files_.remove(path_), "") << "what is not there is removed";
  EXPECT_TRUE(std::filesystem::is_empty(own_));
}

TEST_F(PrivateFilesTest, saysWhatIsInTheWay) {
  EXPECT_NE(files_.replace(path_, "x"), "") << "there is no folder";
  write(folder_ / "data", "a file where the folder should be");
  const auto folder = files_.applicationSupportDirectory();
  EXPECT_EQ(folder.path, "");
  EXPECT_NE(folder.problem, "");
  EXPECT_EQ(PrivateFiles({}).applicationSupportDirectory().problem, "there is no home folder");
  std::filesystem::remove(folder_ / "data");
  files_.applicationSupportDirectory();
  std::filesystem::create_directory(path_);
  EXPECT_EQ(files_.read(path_).state, FileStore::State::failed);
  EXPECT_NE(files_.replace(path_, "x"), "");
  EXPECT_NE(files_.remove(path_), "");
  std::filesystem::remove(path_);
  ASSERT_EQ(::mkfifo(path_.c_str(), 0600), 0);
  EXPECT_EQ(files_.read(path_).problem, "it is not an ordinary file") << "and nobody waits for its writer";
  EXPECT_EQ(files_.replace(path_, "x"), "");
  std::filesystem::resize_file(path_, (16U << 20U) + 1);
  EXPECT_EQ(files_.read(path_).problem, "it is larger than 16 MiB");
}

TEST(DefaultsFilePath, takesOnlyAbsolutePathsFromTheEnvironment) {
  ::setenv("HOME", "/home/me", 1);
  const std::pair<const char*, const char*> cases[] = {
      {"/x/config", "/x/config/jumplark/defaults.json"},
      {"config", "/home/me/.config/jumplark/defaults.json"},
      {"", "/home/me/.config/jumplark/defaults.json"},
  };
  for (const auto& [config, path] : cases) {
    ::setenv("XDG_CONFIG_HOME", config, 1);
    EXPECT_EQ(DefaultsFile::pathFromEnvironment(), path);
  }
  ::setenv("HOME", "me", 1);
  EXPECT_TRUE(DefaultsFile::pathFromEnvironment().is_absolute()) << "from the list of users";
}

TEST(LinuxFactsTest, readsWhatDistributionsWrite) {
  const char* const release =
      "PRETTY_NAME=\"Some Linux 12 (name)\"\n# VERSION_ID=1\nMY_VERSION_ID=2\n VERSION_ID = \"12.5\" \nBUILD_ID='a b'\n"
      "LONE=\"\nBAD=\x01\xff\nVERSION_ID=13";
  const std::pair<const char*, const char*> cases[] = {
      {"VERSION_ID", "12.5"}, {"BUILD_ID", "a b"}, {"LONE", "\""}, {"BAD", "??"}, {"NONE", ""}};
  for (const auto& [key, value] : cases) {
    EXPECT_EQ(LinuxFacts::osReleaseValue(release, key), value);
  }
  EXPECT_EQ(LinuxFacts::osReleaseValue("VERSION_ID=" + std::string(5000, '1'), "VERSION_ID").size(), 200U);
}

TEST(LinuxFactsTest, takesTheLocaleAndTheWishNotToBeTrackedFromTheEnvironment) {
  const std::pair<const char*, const char*> locales[] = {
      {"de_AT.UTF-8@euro", "de_AT"},       {"C", "C"}, {"sr_RS@latin", "sr_RS"}, {"", ""}, {"../x", ""},
      {"a very long name of a locale", ""}};
  for (const auto& [name, locale] : locales) {
    EXPECT_EQ(LinuxFacts::localeWithoutCharset(name), locale);
  }
  for (const auto& [wish, isRefused] : {std::pair("1", true), {"true", true}, {"0", false}, {"", false}}) {
    ::setenv("DO_NOT_TRACK", wish, 1);
    EXPECT_EQ(LinuxFacts().trackingRefused(), isRefused) << wish;
  }
  ::unsetenv("DO_NOT_TRACK");
  EXPECT_FALSE(LinuxFacts().trackingRefused());
}

}  // namespace
}  // namespace jumplark
