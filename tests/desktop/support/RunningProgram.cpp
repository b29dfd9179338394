#include "desktop/support/RunningProgram.h"

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <utility>

#include "desktop/support/Applications.h"

namespace jumplark::desktop {
namespace {

constexpr const char* kReady = "Jumplark is running.";

Process& startWith(PrivateSession& session, nlohmann::json defaults, const Environment& extra) {
  for (const char* told : {"shownHelpOnStart", "toldOfMissingStatusBar"}) {
    defaults.emplace(told, true);
  }
  const std::filesystem::path folder = session.environment().at("XDG_CONFIG_HOME") + "/jumplark";
  std::filesystem::create_directories(folder);
  std::ofstream(folder / "defaults.json") << defaults;
  return session.start({JUMPLARK_PROGRAM}, extra);
}

}  // namespace

RunningProgram::RunningProgram(PrivateSession& session, nlohmann::json defaults, const Environment& extra)
    : session_(session), process_(startWith(session, std::move(defaults), extra)) {
  const bool ready = waitUntil([&] { return process_.out().find(kReady) != std::string::npos || !process_.running(); });
  if (!ready || !process_.running()) {
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

std::vector<SessionWindow> RunningProgram::overlayWindows() const {
  std::vector<SessionWindow> found;
  for (const SessionWindow& window : session_.windows()) {
    if (window.pid == pid() && window.overrideRedirect) {
      found.push_back(window);
    }
  }
  return found;
}

bool RunningProgram::isOpen() const {
  const auto window = queryWindow();
  return window && session_.activeWindow() == window->id;
}

bool RunningProgram::waitUntilOpen(Milliseconds limit) const {
  return waitUntil([this] { return isOpen(); }, limit);
}

bool RunningProgram::isClosed() const {
  return !queryWindow() && overlayWindows().empty();
}

bool RunningProgram::waitUntilClosed(Milliseconds limit) const {
  return waitUntil([this] { return isClosed(); }, limit);
}

void RunningProgram::open() {
  key(kShortcut);
  if (!waitUntilOpen()) {
    throw std::runtime_error("the query window did not open: " + process_.err());
  }
}

void RunningProgram::type(const std::string& text) {
  session_.keys({"type", "--delay", "0", text});
}

bool RunningProgram::waitUntilReturnIsForOthers() const {
  constexpr uint8_t kReturn = 36;
  return waitUntil([this] { return session_.keyIsFree(kReturn); });
}

std::optional<std::string> RunningProgram::queryText() {
  for (const AccessibleElement& element : readApplication(session_, "Jumplark")) {
    if (element.role == "text" || element.role == "entry") {
      return element.text;
    }
  }
  return std::nullopt;
}

bool RunningProgram::waitForQuery(const std::string& text) {
  return waitUntil([&] { return queryText() == text; });
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
