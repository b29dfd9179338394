#include "ZAXElement/ZAXObserver.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "desktop/support/Desktop.h"

namespace jumplark::desktop {
namespace {

struct Watched {
  const char* name;
  Arguments command;
  Arguments toField;     ///< keys that give it the focus
  const char* field;     ///< the role of what has the focus, and is typed into
  const char* toDialog;  ///< the key that opens a dialog
  bool tellsOfTheEnd;    ///< of an element
};

/// This process itself as a program of the session.
class LivePlatform : public ::testing::Test {
 protected:
  LivePlatform() {
    auto opened = LinuxPlatform::open(queues_);
    if (!opened.platform) {
      throw std::runtime_error(opened.error);
    }
    linux_ = std::move(opened.platform);
    installed_ = Platform::install(linux_->platform());
  }
  ~LivePlatform() override { JLElement::flushCache(); }

  bool await(const std::function<bool()>& state) {
    return waitUntil([&] {
      queues_.drainMainQueue();
      return state();
    });
  }
  /// As it is now, when it is there and has the role.
  JLElement::Pointer attribute(const ElementRef& of, const char* name, const std::string& role) {
    const auto live = linux_->platform().accessibility->live();
    const auto found = live->copyAttributeValue(of, name);
    const ElementRef* const ref = found.ok() ? found.value.element() : nullptr;
    const auto element = ref ? JLElement::elementWithJLAXElement(std::make_shared<JLAXElement>(*ref, live)) : nullptr;
    return element && element->role() == role ? element : nullptr;
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
  void watch(const Watched& watched);

  Desktop desktop;

 private:
  std::shared_ptr<void> member_ = desktop.session.adoptEnvironment();
  SystemQueues queues_;
  std::unique_ptr<LinuxPlatform> linux_;
  Token installed_;
  std::map<std::string, int> heard_;
};

void LivePlatform::watch(const Watched& watched) {
  PrivateSession& session = desktop.session;
  const Application running(desktop, {.command = watched.command, .busName = watched.name});
  const pid_t pid = running.process().pid();
  const uint32_t window = session.activeWindow();
  std::unique_ptr<ZAXObserver> observer;
  ASSERT_TRUE(await([&] { return (observer = ZAXObserver::initWithPid(pid)) != nullptr; }));
  const auto application = JLElement::elementWithPID(pid);
  JLElement::Pointer field;
  ASSERT_TRUE(await([&] {
    session.press(watched.toField);  // which a window that is only just there may miss
    field = attribute(application->ref(), "AXFocusedUIElement", watched.field);
    return field != nullptr;
  }));

  ASSERT_TRUE(subscribe(*observer, "AXValueChanged", field));
  ASSERT_TRUE(subscribe(*observer, "AXWindowCreated", application));
  EXPECT_FALSE(subscribe(*observer, "AXNoSuchThing", field));
  session.type("ab");
  EXPECT_TRUE(await([&] { return heard("AXValueChanged", field) >= 2; }));
  EXPECT_EQ(heard("AXWindowCreated", application), 0);

  ASSERT_TRUE(subscribe(*observer, "AXFocusedUIElementChanged", application));
  session.press({watched.toDialog});
  EXPECT_TRUE(await([&] { return heard("AXWindowCreated", application) == 1; }));
  EXPECT_TRUE(await([&] { return heard("AXFocusedUIElementChanged", application) > 0; }));
  JLElement::Pointer dialog;
  ASSERT_TRUE(await([&] {
    dialog = attribute(application->ref(), "AXFocusedWindow", "AXWindow");
    return dialog && session.activeWindow() != window;
  }));
  ASSERT_TRUE(subscribe(*observer, "AXUIElementDestroyed", dialog));
  EXPECT_TRUE(observer->unsubscribeFromNotificationForElement("AXWindowCreated", application));
  session.press({"Escape"});
  ASSERT_TRUE(await([&] { return session.activeWindow() == window; }));
  EXPECT_TRUE(!watched.tellsOfTheEnd || await([&] { return heard("AXUIElementDestroyed", dialog) == 1; }));
  const int focused = heard("AXFocusedUIElementChanged", application);
  session.press({watched.toDialog});
  EXPECT_TRUE(await([&] { return heard("AXFocusedUIElementChanged", application) > focused; }));
  EXPECT_EQ(heard("AXWindowCreated", application), 1);
}

TEST_F(LivePlatform, hearsOfValuesFocusWindowsAndDestroyedElements) {
  for (const Watched& watched :
       {Watched{"mousepad", {"mousepad"}, {"ctrl+Home"}, "AXTextArea", "ctrl+l", true},
        Watched{DemoProgram::kName, {JUMPLARK_DEMO_QT6}, {"alt+n"}, "AXTextField", "alt+k", false}}) {
    SCOPED_TRACE(watched.name);
    watch(watched);
  }
}

}  // namespace
}  // namespace jumplark::desktop
