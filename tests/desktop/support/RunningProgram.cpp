#include "desktop/support/RunningProgram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <csignal>

#include "support/TemporaryFolder.h"

namespace jumplark::desktop {
namespace {

Process& startWith(PrivateSession& session, nlohmann::json defaults, const Environment& extra) {
  for (const char* told : {"shownHelpOnStart", "toldOfMissingStatusBar"}) {
    defaults.emplace(told, true);
  }
  testing::writeFile(AppWindows(session).settingsFile(), defaults.dump());
  return session.start({JUMPLARK_PROGRAM}, extra);
}

}  // namespace

bool waitUntilReady(Process& program) {
  constexpr const char* kReady = "Jumplark is running.";
  const auto saysSo = [&] { return program.out().find(kReady) != std::string::npos; };
  return waitUntil([&] { return saysSo() || !program.running(); }) && saysSo();
}

RunningProgram::RunningProgram(PrivateSession& session, nlohmann::json defaults, const Environment& extra)
    : session_(session), process_(startWith(session, std::move(defaults), extra)), windows_(session) {
  if (!waitUntilReady(process_)) {
    throw std::runtime_error("the program did not start: " + process_.out() + process_.err());
  }
}

RunningProgram::~RunningProgram() {
  process_.kill(SIGTERM);
  process_.wait();
}

std::optional<SessionWindow> RunningProgram::queryWindow() const {
  return session_.findWindow(
      [this](const SessionWindow& window) { return window.pid == pid() && !window.overrideRedirect; });
}

size_t RunningProgram::overlayWindows() const {
  return static_cast<size_t>(std::ranges::count_if(session_.windows(), [this](const SessionWindow& window) {
    return window.pid == pid() && window.overrideRedirect;
  }));
}

bool RunningProgram::isOpen() const {
  if (!session_.listsAllWindows()) {
    const auto field = windows_.find("text", "What to click");
    return field && field->is("focused");
  }
  const auto window = queryWindow();
  return window && session_.activeWindow() == window->id;
}

bool RunningProgram::waitUntilOpen(Milliseconds limit) const {
  return waitUntil([this] { return isOpen(); }, limit);
}

bool RunningProgram::waitUntilClosed(Milliseconds limit) const {
  const auto isClosed = [this] {
    return session_.listsAllWindows() ? !queryWindow() && overlayWindows() == 0
                                      : !windows_.shows("text", "What to click");
  };
  return waitUntil(isClosed, limit);
}

void RunningProgram::open() {
  constexpr Milliseconds kForgotten{5000};  // is a press by then that was not answered in time
  if (!waitUntil([&] { return key(kShortcut), waitUntilOpen(kForgotten); })) {
    throw std::runtime_error("the query window did not open: " + process_.err());
  }
}

void RunningProgram::query(const std::string& text) {
  type(text);
  EXPECT_TRUE(waitForQuery(text)) << "the query window does not hold '" << text << "'";
}

void RunningProgram::close(const std::string& name) {
  key(name);
  EXPECT_TRUE(waitUntilClosed()) << "after " << name;
}

bool RunningProgram::waitUntilReturnIsForOthers() const {
  constexpr uint8_t kReturn = 36;
  return waitUntil([this] {
    const bool free = session_.takeKey(kReturn);
    session_.giveKeyBack(kReturn);
    return free;
  });
}

bool RunningProgram::waitForQuery(const std::string& text) const {
  return waitUntil([&] {
    const auto field = windows_.find("text", "What to click");
    return field && field->text == text;
  });
}

std::string RunningProgram::description() const {
  const auto field = windows_.find("text", "What to click");
  return field ? field->description : std::string();
}

uint32_t tinted(uint32_t over, uint32_t under, double alpha) {
  uint32_t result = 0;
  for (int shift = 0; shift <= 16; shift += 8) {
    const auto part =
        static_cast<uint32_t>(std::lround(alpha * ((over >> shift) & 0xff) + (1 - alpha) * ((under >> shift) & 0xff)));
    result |= part << shift;
  }
  return result;
}

bool similar(uint32_t a, uint32_t b, int tolerance) {
  for (int shift = 0; shift <= 16; shift += 8) {
    if (std::abs(static_cast<int>((a >> shift) & 0xff) - static_cast<int>((b >> shift) & 0xff)) > tolerance) {
      return false;
    }
  }
  return true;
}

}  // namespace jumplark::desktop
