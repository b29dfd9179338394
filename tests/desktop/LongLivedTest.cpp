#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "accessibility/JLElement.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/recorded/DesktopRecorder.h"
#include "backends/recorded/VirtualQueues.h"
#include "desktop/DesktopTest.h"
#include "platform/Accessibility.h"
#include "platform/Workspace.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::desktop {
namespace {

/// This process as a program that stays: it reads the desktop of a session again and again.
class Reader {
 public:
  Reader() {
    auto opened = LinuxPlatform::open(queues_);
    if (!opened.platform) {
      throw std::runtime_error(opened.error);
    }
    linux_ = std::move(opened.platform);
    installed_ = Platform::install(linux_->platform());
  }

  PrivateSession& session() { return session_; }
  AccessibilityPlatform& accessibility() { return *linux_->platform().accessibility; }
  const Platform& platform() { return linux_->platform(); }

  std::shared_ptr<JLElementTree> tree(pid_t pid, bool visibleOnly = true) {
    accessibility().endSnapshot();
    return JLElementTreeEnumerator(JLElement::elementWithPID(pid))
        .enumerateElementsWithOptions({.visibleElements = visibleOnly});
  }
  /// How many elements there are, once it is many and stays the same.
  size_t wholeCount(pid_t pid) {
    size_t before = 0;
    size_t now = 0;
    EXPECT_TRUE(waitUntil([&] {
      before = now;
      now = tree(pid)->elementCount();
      return before > 20 && before == now;
    }));
    return now;
  }

 private:
  PrivateSession session_;
  std::shared_ptr<void> member_ = session_.adoptEnvironment();
  VirtualQueues queues_;
  std::unique_ptr<LinuxPlatform> linux_;
  Token installed_;
};

Process& startReady(PrivateSession& session, const Arguments& arguments) {
  Process& process = session.start(arguments);
  const SessionWindow window = session.waitForWindowOf(process.pid());
  EXPECT_TRUE(session.activate(window.id));
  return process;
}

TEST(LongLived, AStoppedApplicationCostsOthersNothingAndIsWholeAgainAfterwards) {
  Reader reader;
  Process& stopped = startReady(reader.session(), {JUMPLARK_DEMO_QT6});
  Process& other = startReady(reader.session(), {"gtk3-widget-factory"});
  const size_t wholeOfStopped = reader.wholeCount(stopped.pid());
  const size_t wholeOfOther = reader.wholeCount(other.pid());
  const ElementRef application = reader.accessibility().createApplication(stopped.pid());
  stopped.stop();
  std::atomic<bool> givenUp{false};
  std::thread stuck([&] {
    reader.accessibility().prepareSnapshot(application, true);
    givenUp = true;
  });
  EXPECT_EQ(reader.tree(other.pid())->elementCount(), wholeOfOther);
  EXPECT_FALSE(givenUp) << "the other one was read only after the time-out";
  stuck.join();
  EXPECT_EQ(reader.tree(other.pid())->elementCount(), wholeOfOther);
  stopped.resume();
  EXPECT_EQ(reader.tree(stopped.pid())->elementCount(), wholeOfStopped);
}

TEST(LongLived, AStoppedApplicationIsWaitedForOnceAndNotForThePlaceOfOurWindow) {
  Reader reader;
  Process& stopped = startReady(reader.session(), {JUMPLARK_DEMO_QT6});
  reader.wholeCount(stopped.pid());
  AccessibilityPlatform& accessibility = reader.accessibility();
  const ElementRef application = accessibility.createApplication(stopped.pid());
  const AttributeValue window = accessibility.copyAttributeValue(application, "AXFocusedWindow").value;
  ASSERT_TRUE(window.element());
  accessibility.endSnapshot();
  stopped.stop();
  // Where our window goes is known without the application.
  EXPECT_TRUE(reader.platform().workspace->focusedWindowFrame(stopped.pid()));
  {
    const auto live = accessibility.live();
    EXPECT_EQ(live->setAttributeValue(*window.element(), "AXFocused", AttributeValue(true)),
              AccessibilityError::cannotComplete);
    // It would answer now, but is not asked again.
    stopped.resume();
    for (const char* name : {"AXPosition", "AXSize"}) {
      EXPECT_EQ(live->copyAttributeValue(*window.element(), name).error, AccessibilityError::cannotComplete) << name;
    }
  }
  reader.tree(stopped.pid());
  EXPECT_TRUE(accessibility.copyAttributeValue(*window.element(), "AXSize").ok());
}

int processOfName(PrivateSession& session, const std::string& name) {
  const Finished asked = session.run({"dbus-send", "--session", "--print-reply=literal", "--dest=org.freedesktop.DBus",
                                      "/", "org.freedesktop.DBus.GetConnectionUnixProcessID", "string:" + name});
  std::istringstream words(asked.out);
  std::string type;
  int pid = -1;
  words >> type >> pid;
  return pid;
}

TEST(LongLived, SnapshotsWorkAfterTheAccessibilityBusWasRestarted) {
  Reader reader;
  PrivateSession& session = reader.session();
  Process& before = startReady(session, {JUMPLARK_DEMO_QT6});
  reader.wholeCount(before.pid());
  const int launcher = processOfName(session, "org.a11y.Bus");
  ASSERT_GT(launcher, 0);
  std::error_code error;
  const std::string program = std::filesystem::read_symlink("/proc/" + std::to_string(launcher) + "/exe", error);
  ASSERT_EQ(kill(launcher, SIGTERM), 0);
  ASSERT_TRUE(waitUntil([&] { return processOfName(session, "org.a11y.Bus") != launcher; }));
  // Nothing can be read meanwhile, and nothing hangs.
  EXPECT_LE(reader.tree(before.pid())->elementCount(), 2U);
  session.start({program, "--launch-immediately"});
  ASSERT_TRUE(waitUntil([&] { return processOfName(session, "org.a11y.Bus") > 0; }));
  Process& after = startReady(session, {"gtk3-widget-factory"});
  EXPECT_GT(reader.wholeCount(after.pid()), 100U);
}

/// What nobody may read, backwards, so that this process does not hold it by itself.
constexpr std::string_view kSecretBackwards = "1174-arbeZ-retnuh";
constexpr std::string_view kShownBackwards = "ees ot nialp";

/// How often a text stands in the writable memory of this process, as a core image of it would.
size_t timesInMemory(std::string_view backwards) {
  std::ifstream maps("/proc/self/maps");
  std::ifstream memory("/proc/self/mem", std::ios::binary);
  size_t count = 0;
  std::vector<char> bytes;
  for (std::string line; std::getline(maps, line);) {
    unsigned long from = 0;
    unsigned long to = 0;
    char mode[5] = {};
    if (std::sscanf(line.c_str(), "%lx-%lx %4s", &from, &to, mode) != 3 || mode[0] != 'r' || mode[1] != 'w' ||
        to - from > (size_t{1} << 28U)) {
      continue;
    }
    bytes.assign(to - from, 0);
    memory.clear();
    memory.seekg(static_cast<std::streamoff>(from));
    memory.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    auto at = bytes.begin();
    while ((at = std::search(at, bytes.end(), backwards.rbegin(), backwards.rend())) != bytes.end()) {
      ++count;
      ++at;
    }
  }
  return count;
}

std::string forwards(std::string_view backwards) {
  return {backwards.rbegin(), backwards.rend()};
}

/// Every attribute of every element, and the text behind each.
void readEverything(AccessibilityPlatform& accessibility, const std::shared_ptr<JLElementTree>& tree) {
  xmlNode* node = xmlDocGetRootElement(tree->document());
  while (node) {
    if (const JLElementNode* known = node->type == XML_ELEMENT_NODE ? JLElementNode::fromXML(node) : nullptr;
        known && known->element()) {
      const ElementRef& ref = known->element()->ref();
      for (const std::string& name : accessibility.copyAttributeNames(ref).value) {
        accessibility.copyAttributeValue(ref, name);
      }
      for (const char* name : {"AXValue", "AXVisibleCharacterRange", "AXSelectedText"}) {
        accessibility.copyAttributeValue(ref, name);
      }
      accessibility.copyParameterizedAttributeValue(ref, "AXStringForRange", AttributeValue(Range{0, 100}));
    }
    if (node->children) {
      node = node->children;
      continue;
    }
    while (node && !node->next) {
      node = node->parent && node->parent->type == XML_ELEMENT_NODE ? node->parent : nullptr;
    }
    node = node ? node->next : nullptr;
  }
}

TEST(LongLived, NoPasswordIsEverInItsMemory) {
  std::ostringstream log;
  const auto usual = spdlog::default_logger();
  spdlog::set_default_logger(
      std::make_shared<spdlog::logger>("passwords", std::make_shared<spdlog::sinks::ostream_sink_mt>(log)));
  spdlog::set_level(spdlog::level::trace);
  Reader reader;
  const Arguments programs[] = {{JUMPLARK_LARGE_QT6, "passwords"},
                                {JUMPLARK_LARGE_GTK3, "passwords"},
                                {"chromium", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-sync",
                                 "--disable-background-networking", "--disable-component-update",
                                 "--user-data-dir=" + reader.session().folder() + "/browser",
                                 std::string("file://") + JUMPLARK_PAGES + "/password.html"}};
  for (const Arguments& arguments : programs) {
    SCOPED_TRACE(arguments[0]);
    Process& process = startReady(reader.session(), arguments);
    for (const bool visibleOnly : {true, false}) {
      std::shared_ptr<JLElementTree> tree;
      EXPECT_TRUE(waitUntil([&] {
        tree = reader.tree(process.pid(), visibleOnly);
        return tree->debugDescription().find(forwards(kShownBackwards)) != std::string::npos;
      })) << tree->debugDescription();
      EXPECT_NE(tree->debugDescription().find("SecureTextField"), std::string::npos) << tree->debugDescription();
      readEverything(reader.accessibility(), tree);
      readEverything(*reader.accessibility().live(), tree);
    }
    DesktopRecorder recorder(reader.platform());
    const Token recording = Platform::install(recorder.platform());
    const auto recorded = reader.tree(process.pid());
    EXPECT_NE(recorder.text().find(forwards(kShownBackwards)), std::string::npos);
    EXPECT_GT(timesInMemory(kShownBackwards), 0U) << "what may be read is found this way";
    EXPECT_EQ(timesInMemory(kSecretBackwards), 0U);
    process.kill(SIGKILL);
  }
  spdlog::set_default_logger(usual);
  spdlog::set_level(spdlog::level::info);
}

}  // namespace
}  // namespace jumplark::desktop
