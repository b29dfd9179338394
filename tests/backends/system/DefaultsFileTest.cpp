#include "backends/linux/system/DefaultsFile.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <nlohmann/json.hpp>

#include "backends/system/SystemFixture.h"

namespace jumplark {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;

class DefaultsFileTest : public SystemFixture {
 protected:
  void open() { defaults_.emplace(queues_, path_); }
  json stored() {
    json object = json::parse(read(path_), nullptr, false);
    return object.is_object() ? std::move(object) : json::object();
  }
  /// In the folder of the settings; one when nothing unfinished is left.
  auto countOfFiles() { return std::distance(std::filesystem::directory_iterator(path_.parent_path()), {}); }

  std::filesystem::path path_ = folder_ / "config" / "jumplark" / "defaults.json";
  std::optional<DefaultsFile> defaults_;
};

TEST_F(DefaultsFileTest, keepsValuesOverRestartsForTheUserAlone) {
  open();
  defaults_->setValue("Text", "grün");
  defaults_->setValue("Record", {{"KeyCode", 49}});
  defaults_->setValue("Broken", "\xff");
  EXPECT_TRUE(await([&] { return stored().value("Text", "") == "grün"; })) << "written without being asked";
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(modeOf(path_), 0600U);
  EXPECT_EQ(modeOf(path_.parent_path()), 0700U);
  EXPECT_EQ(countOfFiles(), 1);
  defaults_->setValue("Late", 1);
  defaults_.reset();
  open();
  EXPECT_EQ(defaults_->text("Text"), "grün");
  EXPECT_EQ(defaults_->value("Record"), (json{{"KeyCode", 49}}));
  EXPECT_EQ(defaults_->value("Late"), 1) << "its end writes what is not yet written";
  defaults_->registerDefaults({{"Registered", 1}});
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_FALSE(stored().contains("Registered"));
  EXPECT_EQ(logLines(), 0U) << log_.str();
}

TEST_F(DefaultsFileTest, noticesWhatOtherProgramsDoToTheFile) {
  open();
  defaults_->setValue("Key", "first");
  ASSERT_TRUE(defaults_->synchronize());
  std::string heard;
  const Token observation = defaults_->observe("Key", [&](const DefaultsValue& value) { heard = value.dump(); });
  const std::filesystem::path folder = path_.parent_path();
  const auto replace = [&](const char* text) {
    write(folder / "edited", text);
    std::filesystem::rename(folder / "edited", path_);
  };
  const struct {
    const char* what;
    std::function<void()> change;
    const char* heard;
  } cases[] = {
      {"written in place", [&] { write(path_, R"({"Key":"second"})"); }, R"("second")"},
      {"another file renamed over it", [&] { replace(R"({"Key":"third"})"); }, R"("third")"},
      {"removed", [&] { std::filesystem::remove(path_); }, "null"},
      {"made again", [&] { write(path_, R"({"Key":"fourth"})"); }, R"("fourth")"},
      {"the key is null", [&] { write(path_, R"({"Key":null})"); }, "null"},
      {"and has a value again", [&] { write(path_, R"({"Key":"fifth"})"); }, R"("fifth")"},
      {"removed with its folder", [&] { std::filesystem::remove_all(folder); }, "null"},
  };
  for (const auto& example : cases) {
    example.change();
    EXPECT_TRUE(await([&] { return heard == example.heard; })) << example.what << ": " << heard;
  }
  EXPECT_TRUE(await([&] { return std::filesystem::is_directory(folder); })) << "made anew, to be watched";
  defaults_->setValue("Key", "again");
  EXPECT_TRUE(await([&] { return stored().value("Key", "") == "again"; }));
  std::filesystem::rename(folder, folder_ / "moved");
  EXPECT_TRUE(await([&] { return heard == "null"; })) << "the folder that was moved away is no longer ours";
}

TEST_F(DefaultsFileTest, twoInstancesThatWriteAtOnceLoseNothing) {
  open();
  SystemQueues otherQueues;
  DefaultsFile other(otherQueues, path_);
  std::thread writer([&] {
    for (int number = 0; number < 50; ++number) {
      other.setValue("B" + std::to_string(number), number);
      other.synchronize();  // may find the other at it; then the next call writes both
    }
  });
  for (int number = 0; number < 50; ++number) {
    defaults_->setValue("A" + std::to_string(number), number);
    defaults_->synchronize();
  }
  writer.join();
  EXPECT_TRUE(defaults_->synchronize() && other.synchronize());
  EXPECT_EQ(stored().size(), 100U);
  EXPECT_TRUE(await([&] { return defaults_->value("B49") == 49; }));
}

TEST_F(DefaultsFileTest, aBrokenFileIsSetAsideAndWhatHeldBeforeHoldsOn) {
  const std::string deep = "{\"Key\":" + std::string(100000, '[') + std::string(100000, ']') + "}";
  for (const std::string& broken : {std::string("{\"Key\":"), std::string(), std::string("[1]"),
                                    std::string("\xff\xfe"), std::string("{\"Key\":\"a\"} trailing"), deep}) {
    SCOPED_TRACE(broken.substr(0, 40));
    defaults_.reset();
    std::filesystem::remove_all(path_.parent_path());
    write(path_, broken);
    log_.str("");
    open();
    EXPECT_EQ(logLines(), 1U) << log_.str();
    EXPECT_THAT(log_.str(), HasSubstr("defaults.json.broken-1"));
    EXPECT_TRUE(defaults_->value("Key").is_null());
    EXPECT_EQ(read(path_.string() + ".broken-1"), broken);
    defaults_->setValue("Key", "new");
    EXPECT_TRUE(defaults_->synchronize());
    write(path_, broken);
    EXPECT_TRUE(await([&] { return stored() == json{{"Key", "new"}}; })) << "written anew";
    EXPECT_EQ(read(path_.string() + ".broken-2"), broken);
    EXPECT_EQ(defaults_->text("Key"), "new");
  }
}

TEST_F(DefaultsFileTest, aDiskThatIsFullKeepsTheOldFileWhole) {
  open();
  defaults_->setValue("Key", "old");
  ASSERT_TRUE(defaults_->synchronize());
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
  const rlimit none{16, before.rlim_max};
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &none), 0);
  defaults_->setValue("Key", std::string(5000, 'x'));
  const bool first = defaults_->synchronize();
  const bool second = defaults_->synchronize();
  ::setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, handler);
  EXPECT_FALSE(first || second);
  EXPECT_EQ(stored(), (json{{"Key", "old"}}));
  EXPECT_EQ(countOfFiles(), 1);
  EXPECT_EQ(logLines(), 1U) << log_.str();
  EXPECT_THAT(log_.str(), HasSubstr("cannot be saved in " + path_.string() + ": it would become too large"));
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_EQ(stored().value("Key", "").size(), 5000U);
}

TEST_F(DefaultsFileTest, aLinkStaysALink) {
  write(folder_ / "mine.json", R"({"Key":"linked"})");
  std::filesystem::create_directories(path_.parent_path());
  std::filesystem::create_symlink(folder_ / "mine.json", path_);
  open();
  EXPECT_EQ(defaults_->text("Key"), "linked");
  defaults_->setValue("Key", "new");
  EXPECT_TRUE(defaults_->synchronize());
  EXPECT_TRUE(std::filesystem::is_symlink(path_));
  EXPECT_EQ(json::parse(read(folder_ / "mine.json")), (json{{"Key", "new"}}));
}

TEST_F(DefaultsFileTest, aWriterThatIsKilledLeavesAWholeFile) {
  for (int round = 0; round < 10; ++round) {
    const auto writer = help({"count", path_.string()});
    ASSERT_TRUE(writer->waitForLine("counting")) << writer->err();
    const int before = stored().value("Counter", 0);
    ASSERT_TRUE(desktop::waitUntil([&] { return stored().value("Counter", 0) != before; }));
    writer->kill(SIGKILL);
    EXPECT_GT(stored().value("Counter", 0), 0) << read(path_);
  }
  open();
  defaults_->setValue("Key", "after");
  EXPECT_TRUE(defaults_->synchronize()) << "the lock went with its holder";
  EXPECT_EQ(countOfFiles(), 1);
}

}  // namespace
}  // namespace jumplark
