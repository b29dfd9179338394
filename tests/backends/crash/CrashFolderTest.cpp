#include "backends/linux/crash/CrashFolder.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include "backends/linux/crash/ReportReader.h"
#include "backends/system/SystemFixture.h"

namespace jumplark {
namespace {

using ::testing::AllOf;
using ::testing::Eq;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;

namespace fs = std::filesystem;

class CrashFolderTest : public SystemFixture {
 protected:
  void put(const std::string& name, const std::string& text) { write(crashes() / name, text); }
  fs::path crashes() {
    fs::create_directories(folder_ / "crashes");
    return folder_ / "crashes";
  }
  std::vector<CrashReport> take() { return CrashFolder(folder_ / "crashes").takeNew(); }
  size_t countOf(const std::string& extension) {
    return static_cast<size_t>(std::ranges::count_if(
        fs::directory_iterator(crashes()), [&](const auto& entry) { return entry.path().extension() == extension; }));
  }
};

TEST_F(CrashFolderTest, givesEachReportOnceTheOldestFirstAndHoldsAFew) {
  for (int i = 0; i < 8; ++i) {
    put("100000000" + std::to_string(i) + "-7.raw", "Program: " + std::to_string(i) + "\nStack:\nEnd\n");
  }
  put("notes.raw", "the user's own");
  const auto reports = take();
  ASSERT_THAT(reports, SizeIs(CrashFolder::kMostReports));
  EXPECT_EQ(reports.front().name, "1000000003-7.txt");
  EXPECT_EQ(reports.back().text, "Program: 7\n\nStack:\n");
  EXPECT_THAT(take(), IsEmpty());
  EXPECT_EQ(countOf(".raw"), 1U);
  EXPECT_EQ(read(crashes() / reports.back().name), reports.back().text);
  put("1000000009-7.raw", "Program: 9\n");
  EXPECT_THAT(take(), SizeIs(1));
  EXPECT_EQ(countOf(".txt"), CrashFolder::kMostReports);
  EXPECT_FALSE(fs::exists(crashes() / "1000000003-7.txt"));
  EXPECT_EQ(log_.str(), "");
}

TEST_F(CrashFolderTest, passesOverWhatIsNoReport) {
  write(folder_ / "secret", "Program: secret\nEnd\n");
  fs::create_symlink(folder_ / "secret", crashes() / "1-1.raw");
  ASSERT_EQ(::mkfifo((crashes() / "2-2.raw").c_str(), 0600), 0);
  put("3-3.raw", std::string(size_t{300} << 10U, 'x'));
  put("4-4.raw", "");
  EXPECT_THAT(take(), IsEmpty());
  EXPECT_EQ(logLines(), 3U) << log_.str();
  EXPECT_EQ(read(folder_ / "secret"), "Program: secret\nEnd\n");
  EXPECT_THAT(take(), IsEmpty());
  EXPECT_EQ(logLines(), 3U) << "each is told of once";
}

TEST_F(CrashFolderTest, isClosedToOthersOrNotUsed) {
  std::string problem;
  ::chmod(crashes().c_str(), 0755);
  EXPECT_TRUE(CrashFolder(crashes()).open(problem));
  EXPECT_EQ(modeOf(crashes()), 0700U);

  fs::create_directory_symlink(crashes(), folder_ / "link");
  write(folder_ / "file", "");
  fs::path foreign = "/";
  if (::geteuid() == 0) {
    foreign = folder_ / "foreign";
    fs::create_directory(foreign);
    ASSERT_EQ(::chown(foreign.c_str(), 1, 1), 0);
  }
  for (const fs::path& path : {folder_ / "link", folder_ / "file", foreign, fs::path()}) {
    problem.clear();
    EXPECT_FALSE(CrashFolder(path).open(problem)) << path;
    EXPECT_NE(problem, "") << path;
    EXPECT_THAT(CrashFolder(path).takeNew(), IsEmpty());
  }
}

TEST(ReportReader, makesLinesForPeopleOfWhateverThereIs) {
  const std::string page(400, 'a');
  const struct {
    std::string raw;
    ::testing::Matcher<std::string> expected;
  } cases[] = {
      {"", Eq("\nThe report breaks off here.\n")},
      {"Time: 1795272843\nEnd\n", Eq("Time: 2026-11-21 14:54:03 UTC\n")},
      {"Time: 99999999999999999999999\nEnd", Eq("\n")},
      {"Exception: St13runtime_error\nEnd\n", Eq("Exception: std::runtime_error\n")},
      {"Stack:\n#0 0x12 /home/mary ann/bin/jump lark +0x1f\n@ab12 /home/mary ann/bin/jump lark\nEnd\n",
       AllOf(HasSubstr("  0  jump lark+0x1f\n"), HasSubstr("  jump lark  ab12\n"), Not(HasSubstr("mary")))},
      {"Stack:\n#0 0x12\n#1 0x13 /a +0xzz\n#\n#2 \n\x01\xff\n", AllOf(HasSubstr("  0  0x12\n  1  0x13\n\nThe"))},
      {"Program: \x1b[31m\xff\nEnd\n", Eq("Program: ?[31m?\n")},
      {page + "\nEnd\n", Eq(std::string(300, 'a') + "\n")},
      {"Stack:\n#0 0x1 /a +0x1\n#1 0x", HasSubstr("The report breaks off here.")},
  };
  for (const auto& [raw, expected] : cases) {
    EXPECT_THAT(readableReport(raw, nullptr), expected) << raw;
  }
}

}  // namespace
}  // namespace jumplark
