#include <algorithm>
#include <map>

#include "ZAXElement/ZAXObserver.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "desktop/DesktopTest.h"
#include "desktop/support/Applications.h"
#include "platform/Accessibility.h"
#include "platform/Platform.h"

namespace jumplark::desktop {
namespace {

struct Watched {
  const char* name;
  Arguments arguments;
  std::vector<std::string> toField;   ///< keys that give it the focus
  const char* field;                  ///< the role of what has the focus, and is typed into
  std::vector<std::string> toDialog;  ///< keys that open a dialog
  bool tellsOfTheEnd;                 ///< of an element
};

std::ostream& operator<<(std::ostream& out, const Watched& watched) {
  return out << watched.name;
}

class Observing : public testing::TestWithParam<Watched> {
 protected:
  Observing() {
    auto opened = LinuxPlatform::open(queues_);
    if (!opened.platform) {
      throw std::runtime_error(opened.error);
    }
    linux_ = std::move(opened.platform);
    installed_ = Platform::install(linux_->platform());
  }
  ~Observing() override { JLElement::flushCache(); }

  bool await(const std::function<bool()>& state) {
    return waitUntil([&] {
      queues_.drainMainQueue();
      return state();
    });
  }
  void press(const std::vector<std::string>& keys) {
    for (const std::string& key : keys) {
      session_.keys({"key", key});
    }
  }
  /// As it is now, when it is there and has the role.
  JLElement::Pointer attribute(const ElementRef& of, const char* name, const std::string& role) {
    const auto live = linux_->platform().accessibility->live();
    const auto found = live->copyAttributeValue(of, name);
    const ElementRef* const ref = found.ok() ? found.value.element() : nullptr;
    if (ref == nullptr) {
      return nullptr;
    }
    auto element = JLElement::elementWithJLAXElement(std::make_shared<JLAXElement>(*ref, live));
    return element->role() == role ? element : nullptr;
  }
  bool subscribe(ZAXObserver& observer, const char* notification, const JLElement::Pointer& element) {
    return observer.subscribeToNotificationForElementWithBlock(
        notification, element, [this](const JLElement::Pointer& of, const std::string& name, ZAXObserver&) {
          ++heard_[name + of->ref().text()];
        });
  }
  /// How often the notification of that element was heard.
  int heard(const char* notification, const JLElement::Pointer& element) {
    return heard_[notification + element->ref().text()];
  }

  PrivateSession session_;
  std::shared_ptr<void> member_ = session_.adoptEnvironment();
  SystemQueues queues_;
  std::unique_ptr<LinuxPlatform> linux_;
  Token installed_;
  std::map<std::string, int> heard_;
};

TEST_P(Observing, HearsOfValuesFocusWindowsAndDestroyedElements) {
  Process& process = session_.start(GetParam().arguments);
  const SessionWindow window = session_.waitForWindowOf(process.pid());
  ASSERT_TRUE(session_.activate(window.id));
  std::unique_ptr<ZAXObserver> observer;
  ASSERT_TRUE(await([&] { return (observer = ZAXObserver::initWithPid(process.pid())) != nullptr; }));
  const auto application = JLElement::elementWithPID(process.pid());
  JLElement::Pointer field;
  ASSERT_TRUE(await([&] {
    press(GetParam().toField);  // which a window that is only just there may miss
    field = attribute(application->ref(), "AXFocusedUIElement", GetParam().field);
    return field != nullptr;
  }));

  ASSERT_TRUE(subscribe(*observer, "AXValueChanged", field));
  ASSERT_TRUE(subscribe(*observer, "AXWindowCreated", application));
  EXPECT_FALSE(subscribe(*observer, "AXValueChanged", field));
  EXPECT_FALSE(subscribe(*observer, "AXNoSuchThing", field));
  session_.keys({"type", "ab"});
  EXPECT_TRUE(await([&] { return heard("AXValueChanged", field) >= 2; }));
  EXPECT_EQ(heard("AXWindowCreated", application), 0);

  ASSERT_TRUE(subscribe(*observer, "AXFocusedUIElementChanged", application));
  press(GetParam().toDialog);
  EXPECT_TRUE(await([&] { return heard("AXWindowCreated", application) == 1; }));
  EXPECT_TRUE(await([&] { return heard("AXFocusedUIElementChanged", application) > 0; }));
  JLElement::Pointer dialog;
  ASSERT_TRUE(await([&] {
    dialog = attribute(application->ref(), "AXFocusedWindow", "AXWindow");
    return dialog && session_.activeWindow() != window.id;
  }));
  ASSERT_TRUE(subscribe(*observer, "AXUIElementDestroyed", dialog));
  session_.keys({"key", "Escape"});
  ASSERT_TRUE(await([&] { return session_.activeWindow() == window.id; }));
  EXPECT_TRUE(!GetParam().tellsOfTheEnd || await([&] { return heard("AXUIElementDestroyed", dialog) == 1; }));
  EXPECT_TRUE(observer->unsubscribeFromNotificationForElement("AXWindowCreated", application));
  EXPECT_FALSE(observer->unsubscribeFromNotificationForElement("AXWindowCreated", application));
  const int focused = heard("AXFocusedUIElementChanged", application);
  press(GetParam().toDialog);
  EXPECT_TRUE(await([&] { return heard("AXFocusedUIElementChanged", application) > focused; }));
  EXPECT_EQ(heard("AXWindowCreated", application), 1);
}

INSTANTIATE_TEST_SUITE_P(In, Observing,
                         testing::Values(Watched{"Gtk3", {"mousepad"}, {}, "AXTextArea", {"ctrl+l"}, true},
                                         // The last button of the form, by way of the field before it.
                                         Watched{
                                             "Qt6",
                                             {JUMPLARK_DEMO_QT6},
                                             {"alt+n"},
                                             "AXTextField",
                                             {"alt+a", "Tab", "Tab", "Tab", "Tab", "Tab", "Tab", "Tab", "Tab", "space"},
                                             false}),
                         [](const auto& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace jumplark::desktop
