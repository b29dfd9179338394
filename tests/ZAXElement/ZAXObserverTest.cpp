#include "ZAXElement/ZAXObserver.h"

#include "support/DesktopText.h"
#include "support/RecordedFixture.h"

namespace jumplark::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Observer : public ::testing::Test {
 protected:
  /// Notes what it is called with, after its name.
  ZAXObserver::Handler block(const std::string& name) {
    return [this, name](const JLElement::Pointer& element, const std::string& notification, ZAXObserver& observer) {
      EXPECT_EQ(&observer, observer_.get());
      calls_.push_back(name + " " + element->ref().text() + " " + notification);
    };
  }
  bool subscribe(const std::string& notification, const std::string& id, const std::string& name) {
    return observer_->subscribeToNotificationForElementWithBlock(notification, desktop_.element(id), block(name));
  }
  bool unsubscribe(const std::string& notification, const std::string& id) {
    return observer_->unsubscribeFromNotificationForElement(notification, desktop_.element(id));
  }
  std::vector<std::string> notify(const std::string& notification, const std::string& id) {
    calls_.clear();
    desktop_->notifications().notify(id, notification);
    run();
    return calls_;
  }
  void run() { desktop_->queues().advance({}); }

  RecordedFixture desktop_{DesktopText::of(R"(
    app AXApplication
      field AXTextField
      box AXCheckBox
    other AXApplication)")};
  std::vector<std::string> calls_;
  std::unique_ptr<ZAXObserver> observer_ = ZAXObserver::initWithPid(1);
};

TEST_F(Observer, callsTheHandlerOfElementAndNotificationWithAFreshModel) {
  EXPECT_TRUE(subscribe("AXValueChanged", "field", "field"));
  EXPECT_TRUE(subscribe("AXValueChanged", "box", "box"));
  JLElement::flushCache();
  EXPECT_THAT(notify("AXValueChanged", "field"), ElementsAre("field field AXValueChanged"));
  EXPECT_THAT(notify("AXValueChanged", "box"), ElementsAre("box box AXValueChanged"));
  observer_->notificationReceivedForElement("AXTitleChanged", desktop_.element("box"));
  EXPECT_EQ(calls_.size(), 1U) << "nobody asked for that";
}

TEST_F(Observer, keepsItsHandlerWhereThePlatformRefusesAnother) {
  EXPECT_FALSE(subscribe("AXValueChanged", "other", "other")) << "an element of another process";
  EXPECT_FALSE(unsubscribe("AXValueChanged", "field"));
  EXPECT_TRUE(subscribe("AXValueChanged", "field", "first"));
  EXPECT_FALSE(subscribe("AXValueChanged", "field", "second"));
  EXPECT_FALSE(unsubscribe("AXTitleChanged", "field"));
  EXPECT_THAT(notify("AXValueChanged", "field"), ElementsAre("first field AXValueChanged"));
  desktop_->notifications().acceptsAgain = true;
  EXPECT_TRUE(subscribe("AXValueChanged", "field", "third"));
  EXPECT_THAT(notify("AXValueChanged", "field"), ElementsAre("third field AXValueChanged"));
}

TEST_F(Observer, ignoresWhatComesAfterTheHandlerWasRemovedOrTheObserverStopped) {
  EXPECT_TRUE(subscribe("AXValueChanged", "field", "field"));
  desktop_->notifications().notify("field", "AXValueChanged");
  EXPECT_TRUE(unsubscribe("AXValueChanged", "field"));
  run();
  EXPECT_THAT(calls_, IsEmpty()) << "it was on its way";
  EXPECT_TRUE(subscribe("AXValueChanged", "field", "field"));
  observer_->stop();
  EXPECT_THAT(notify("AXValueChanged", "field"), IsEmpty());
  observer_->start();
  EXPECT_THAT(notify("AXValueChanged", "field"), ElementsAre("field field AXValueChanged"));
  desktop_->notifications().notify("field", "AXValueChanged");
  calls_.clear();
  observer_.reset();
  run();
  EXPECT_THAT(calls_, IsEmpty());
  EXPECT_THAT(desktop_->notifications().registered(), IsEmpty());
}

TEST_F(Observer, mayBeChangedAndDestroyedByItsHandlers) {
  const auto field = desktop_.element("field");
  const auto once = [&](const JLElement::Pointer& element, const std::string& name, ZAXObserver& observer) {
    EXPECT_TRUE(observer.unsubscribeFromNotificationForElement(name, element));
    calls_.push_back("once");
  };
  EXPECT_TRUE(observer_->subscribeToNotificationForElementWithBlock("AXValueChanged", field, once));
  EXPECT_TRUE(observer_->subscribeToNotificationForElementWithBlock(
      "AXTitleChanged", field,
      [this](const JLElement::Pointer&, const std::string&, ZAXObserver&) { observer_.reset(); }));
  EXPECT_THAT(notify("AXValueChanged", "field"), ElementsAre("once"));
  EXPECT_THAT(notify("AXValueChanged", "field"), IsEmpty());
  notify("AXTitleChanged", "field");
  EXPECT_FALSE(observer_);
}

TEST_F(Observer, isNoneForAProcessWithoutAnInterfaceAndRefusesMistakesOfItsUser) {
  EXPECT_FALSE(ZAXObserver::initWithPid(77));
  const auto field = desktop_.element("field");
  EXPECT_THROW(observer_->subscribeToNotificationForElementWithBlock("AXMoved", nullptr, block("")), std::logic_error);
  EXPECT_THROW(observer_->subscribeToNotificationForElementWithBlock("AXMoved", field, nullptr), std::logic_error);
  EXPECT_THROW(observer_->unsubscribeFromNotificationForElement("AXMoved", nullptr), std::logic_error);
}

}  // namespace
}  // namespace jumplark::testing
