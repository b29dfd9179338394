#include "desktop/support/PrivateSession.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <sstream>

#include "support/TemporaryFolder.h"

extern char** environ;

namespace jumplark::desktop {
namespace {

constexpr Milliseconds kStartLimit{60000};

Arguments scriptArguments(const SessionOptions& options) {
  constexpr const char* kNames[] = {
      "xfwm4", "xfwm4-compositor", "openbox", "openbox-picom", "none", "sway", "kwin", "gnome", "weston"};
  Arguments arguments = {JUMPLARK_PRIVATE_SESSION_SCRIPT,
                         "--serve",
                         "--wm",
                         kNames[static_cast<size_t>(options.windowManager)],
                         "--size",
                         std::to_string(options.width) + "x" + std::to_string(options.height)};
  for (const PixelRect& monitor : options.monitors) {
    std::ostringstream geometry;
    geometry << monitor.width << 'x' << monitor.height << '+' << monitor.x << '+' << monitor.y;
    if (options.scaleOfMonitors > 0) {
      geometry << '@' << options.scaleOfMonitors;
    }
    arguments.insert(arguments.end(), {"--monitor", geometry.str()});
  }
  if (options.scale != 1) {
    arguments.insert(arguments.end(), {"--scale", std::to_string(options.scale)});
  }
  if (!options.sessionBus || !options.accessibility) {
    arguments.insert(arguments.end(), {"--without", options.sessionBus ? "accessibility" : "bus"});
  }
  return arguments;
}

Environment currentEnvironment() {
  Environment result;
  for (char** variable = environ; *variable; ++variable) {
    if (char* equals = std::strchr(*variable, '=')) {
      result[std::string(*variable, equals)] = equals + 1;
    }
  }
  return result;
}

void replaceEnvironment(const Environment& environment) {
  clearenv();
  for (const auto& [name, value] : environment) {
    setenv(name.c_str(), value.c_str(), 1);
  }
}

}  // namespace

PrivateSession::PrivateSession(const SessionOptions& options, WithoutDisplay) {
  serve(options);
}

PrivateSession::PrivateSession(const SessionOptions& options) : PrivateSession(options, WithoutDisplay()) {
  try {
    connect(display());
    const bool wantsCompositor =
        options.windowManager == WindowManager::xfwm4Compositor || options.windowManager == WindowManager::openboxPicom;
    if (wantsCompositor && !waitUntil([this] { return compositorRuns(); })) {
      throw std::runtime_error("the compositor did not come up");
    }
  } catch (...) {
    end();
    throw;
  }
}

PrivateSession::~PrivateSession() {
  end();
}

void PrivateSession::serve(const SessionOptions& options) {
  // The script ends the session when nobody holds the other end of its input any more.
  std::array<int, 2> input{};
  if (pipe2(input.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make a pipe");
  }
  serverInput_ = input[1];
  const testing::TemporaryFolder output;
  environment_ = currentEnvironment();
  environment_["JUMPLARK_SESSION_PROGRAMS"] = JUMPLARK_SESSION_PROGRAMS;
  server_ = std::make_unique<Process>(scriptArguments(options), environment_, output.path() + "/session", input[0]);
  close(input[0]);
  waitUntil([this] { return server_->printed("ready") || !server_->running(); }, kStartLimit);
  const std::string text = server_->out();
  if (!text.ends_with("ready\n")) {
    const std::string said = text + server_->err();
    end();
    throw std::runtime_error("the private session did not start; it said: " + said);
  }
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line) && line != "ready";) {
    const size_t equals = line.find('=');
    if (line.starts_with("-")) {
      environment_.erase(line.substr(1));
    } else if (equals != std::string::npos) {
      environment_[line.substr(0, equals)] = line.substr(equals + 1);
    }
  }
  folder_ = environment_.at("JUMPLARK_PRIVATE_SESSION");
}

void PrivateSession::end() {
  processes_.clear();
  disconnect();
  close(serverInput_);
  if (server_) {
    server_->wait(kStartLimit);
    server_.reset();
  }
}

std::shared_ptr<void> PrivateSession::adoptEnvironment() const {
  auto before = std::make_shared<Environment>(currentEnvironment());
  replaceEnvironment(environment_);
  return {before.get(), [before](void*) { replaceEnvironment(*before); }};
}

Process& PrivateSession::start(const Arguments& arguments, const Environment& extra) {
  Environment environment = extra;
  environment.insert(environment_.begin(), environment_.end());
  const std::string base = folder_ + "/program" + std::to_string(started_++);
  processes_.push_back(std::make_unique<Process>(commandOf(arguments), environment, base));
  return *processes_.back();
}

Finished PrivateSession::run(const Arguments& arguments, Milliseconds limit, const Environment& extra) const {
  Environment environment = extra;
  environment.insert(environment_.begin(), environment_.end());
  Process process(commandOf(arguments), environment, folder_ + "/program" + std::to_string(started_++));
  const auto status = process.wait(limit);
  return {status, process.out(), process.err()};
}

SessionWindow PrivateSession::waitForWindow(const WindowPredicate& wanted) {
  std::optional<SessionWindow> found;
  if (!waitUntil([&] { return (found = findWindow(wanted)).has_value(); })) {
    std::ostringstream there;
    for (const SessionWindow& window : windows()) {
      there << "\n  '" << window.title << "' [" << window.className << "] pid " << window.pid;
    }
    throw std::runtime_error("no such window; there is:" + there.str());
  }
  return *found;
}

SessionWindow PrivateSession::waitForWindowTitled(const std::string& title) {
  return waitForWindow([&](const SessionWindow& window) { return window.title == title; });
}

SessionWindow PrivateSession::waitForWindowOf(pid_t pid) {
  return waitForWindow([&](const SessionWindow& window) { return window.pid == pid; });
}

bool PrivateSession::activate(uint32_t window) {
  constexpr Milliseconds kBetweenRequests{500};
  return waitUntil([&] {
    if (activeWindow() == window) {
      return true;
    }
    requestActive(window);
    return waitUntil([&] { return activeWindow() == window; }, kBetweenRequests);
  });
}

void PrivateSession::moveActiveWindow(int x, int y) {
  keys({"getactivewindow", "windowmove", std::to_string(x), std::to_string(y)});
}

void PrivateSession::keys(const Arguments& xdotoolArguments) {
  Arguments arguments = {"xdotool"};
  arguments.insert(arguments.end(), xdotoolArguments.begin(), xdotoolArguments.end());
  const Finished finished = run(arguments);
  if (finished.status != 0) {
    throw std::runtime_error("xdotool failed: " + finished.err);
  }
}

void PrivateSession::press(const Arguments& names) {
  Arguments arguments = {"key"};
  arguments.insert(arguments.end(), names.begin(), names.end());
  keys(arguments);
}

void PrivateSession::click(int x, int y, const std::string& button) {
  keys({"mousemove", std::to_string(x), std::to_string(y), "click", button});
}

}  // namespace jumplark::desktop
