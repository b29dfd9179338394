// What settings promise wherever they are kept: in memory for tests, in a file for users.
#include <gmock/gmock.h>

#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/recorded/RecordedDefaults.h"
#include "backends/recorded/VirtualQueues.h"
#include "support/TemporaryFolder.h"

namespace jumplark {
namespace {

using ::testing::ElementsAre;

struct InMemory {
  VirtualQueues queues;
  RecordedDefaults defaults{queues};
  void settle() { queues.runPending(); }
};

struct InFile {
  testing::TemporaryFolder folder;
  SystemQueues queues;
  DefaultsFile defaults{queues, folder / "jumplark/defaults.json"};
  void settle() { queues.drainMainQueue(); }
};

template <typename Kept>
class DefaultsContract : public ::testing::Test {
 protected:
  Kept kept_;
  Defaults& defaults_ = kept_.defaults;
};

using Kinds = ::testing::Types<InMemory, InFile>;
TYPED_TEST_SUITE(DefaultsContract, Kinds);

TYPED_TEST(DefaultsContract, aStoredValueComesBeforeARegisteredOneAndNullRemovesIt) {
  Defaults& defaults = this->defaults_;
  EXPECT_TRUE(defaults.value("Key").is_null());
  defaults.registerDefaults({{"Key", "registered"}, {"Other", true}});
  EXPECT_EQ(defaults.text("Key"), "registered");
  defaults.setValue("Key", "stored");
  EXPECT_EQ(defaults.text("Key"), "stored");
  defaults.registerDefaults({{"Key", "registered later"}});
  EXPECT_EQ(defaults.text("Key"), "stored");
  EXPECT_TRUE(defaults.synchronize());
  EXPECT_EQ(defaults.text("Key"), "stored");
  defaults.setValue("Key", nullptr);
  EXPECT_EQ(defaults.text("Key"), "registered later");
  EXPECT_TRUE(defaults.boolean("Other"));
}

TYPED_TEST(DefaultsContract, anObserverHearsOfEachChangeOnTheMainQueueInOrder) {
  Defaults& defaults = this->defaults_;
  defaults.setValue("Key", 1);
  std::vector<std::string> heard;
  Token observation = defaults.observe("Key", [&](const DefaultsValue& value) { heard.push_back(value.dump()); });
  defaults.registerDefaults({{"Key", 0}});
  defaults.setValue("Key", 1);
  defaults.setValue("Other", 1);
  this->kept_.settle();
  EXPECT_THAT(heard, ElementsAre()) << "nothing has changed";
  defaults.setValue("Key", 2);
  defaults.setValue("Key", {{"a", 3}});
  defaults.setValue("Key", nullptr);
  EXPECT_THAT(heard, ElementsAre()) << "not before the main queue runs";
  this->kept_.settle();
  EXPECT_THAT(heard, ElementsAre("2", R"({"a":3})", "0"));
  defaults.setValue("Key", 4);
  observation.reset();
  this->kept_.settle();
  EXPECT_EQ(heard.size(), 3U) << "none after the token's end";
}

TYPED_TEST(DefaultsContract, anObserverMayWriteAndEndItselfInItsCall) {
  Defaults& defaults = this->defaults_;
  std::vector<std::string> heard;
  Token observation;
  observation = defaults.observe("Key", [&](const DefaultsValue& value) {
    heard.push_back(value.dump());
    defaults.setValue("Key", "mended");
    if (heard.size() == 2) {
      observation.reset();
      defaults.setValue("Key", "after");
    }
  });
  defaults.setValue("Key", "first");
  this->kept_.settle();
  this->kept_.settle();
  EXPECT_THAT(heard, ElementsAre(R"("first")", R"("mended")"));
  EXPECT_EQ(defaults.text("Key"), "after");
}

}  // namespace
}  // namespace jumplark
