#include "desktop/support/PrivateSession.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <stdexcept>

#include "desktop/support/SessionDisplay.h"

extern char** environ;

namespace jumplark::desktop {
namespace {

constexpr int kStartLimitMilliseconds = 60000;

const char* nameOf(WindowManager windowManager) {
  switch (windowManager) {
    case WindowManager::xfwm4:
      return "xfwm4";
    case WindowManager::xfwm4Compositor:
      return "xfwm4-compositor";
    case WindowManager::openbox:
      return "openbox";
    case WindowManager::openboxPicom:
      return "openbox-picom";
    case WindowManager::none:
      break;
  }
  return "none";
}

Arguments scriptArguments(const SessionOptions& options) {
  Arguments arguments = {
      JUMPLARK_PRIVATE_SESSION_SCRIPT, "--serve", "--wm",
      nameOf(options.windowManager),   "--size",  std::to_string(options.width) + "x" + std::to_string(options.height)};
  for (const PixelRect& monitor : options.monitors) {
    std::stringstream geometry;
    geometry << monitor.width << 'x' << monitor.height << '+' << monitor.x << '+' << monitor.y;
    arguments.insert(arguments.end(), {"--monitor", geometry.str()});
  }
  if (!options.sessionBus) {
    arguments.insert(arguments.end(), {"--without", "bus"});
  } else if (!options.accessibility) {
    arguments.insert(arguments.end(), {"--without", "accessibility"});
  }
  return arguments;
}

Environment currentEnvironment() {
  Environment result;
  for (char** variable = environ; *variable; ++variable) {
    char* equals = std::strchr(*variable, '=');
    if (equals) {
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

// Everything up to the line "ready"; what came when the script ended or the time was over.
std::string readUntilReady(int fd) {
  std::string text;
  std::array<char, 4096> buffer{};
  pollfd waiting{fd, POLLIN, 0};
  while (!text.ends_with("ready\n") && poll(&waiting, 1, kStartLimitMilliseconds) > 0) {
    const ssize_t count = read(fd, buffer.data(), buffer.size());
    if (count <= 0) {
      break;
    }
    text.append(buffer.data(), static_cast<size_t>(count));
  }
  return text;
}

std::string describe(const std::vector<SessionWindow>& windows) {
  std::stringstream text;
  for (const SessionWindow& window : windows) {
    text << "\n  '" << window.title << "' [" << window.className << "] pid " << window.pid;
  }
  return text.str();
}

}  // namespace

PrivateSession::PrivateSession(const SessionOptions& options) {
  serve(options);
  try {
    display_ = std::make_unique<Display>(display());
    const bool wantsCompositor =
        options.windowManager == WindowManager::xfwm4Compositor || options.windowManager == WindowManager::openboxPicom;
    if (wantsCompositor && !waitUntil([this] { return display_->compositorRuns(); })) {
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
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  if (pipe2(input.data(), O_CLOEXEC) != 0 || pipe2(output.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("cannot make a pipe");
  }
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_adddup2(&files, input[0], 0);
  posix_spawn_file_actions_adddup2(&files, output[1], 1);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  // A process group of its own: an interrupt from the terminal ends the tests, and their end ends the session.
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  posix_spawnattr_setpgroup(&attributes, 0);
  Arguments arguments = scriptArguments(options);
  std::vector<char*> argv;
  for (std::string& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  const int error = posix_spawn(&server_, argv[0], &files, &attributes, argv.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  close(input[0]);
  close(output[1]);
  serverInput_ = input[1];
  const std::string text = error == 0 ? readUntilReady(output[0]) : std::string();
  close(output[0]);
  if (!text.ends_with("ready\n")) {
    server_ = error == 0 ? server_ : -1;
    end();
    throw std::runtime_error("the private session did not start; it said: " + text);
  }

  environment_ = currentEnvironment();
  std::stringstream lines(text);
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
  display_.reset();
  if (serverInput_ >= 0) {
    close(serverInput_);
    serverInput_ = -1;
  }
  if (server_ > 0) {
    waitpid(server_, nullptr, 0);
    server_ = -1;
  }
}

std::shared_ptr<void> PrivateSession::adoptEnvironment() const {
  auto before = std::make_shared<Environment>(currentEnvironment());
  replaceEnvironment(environment_);
  return {before.get(), [before](void*) { replaceEnvironment(*before); }};
}

Process& PrivateSession::start(const Arguments& arguments, const Environment& extra) {
  Environment environment = environment_;
  for (const auto& [name, value] : extra) {
    environment[name] = value;
  }
  const std::string base = folder_ + "/program" + std::to_string(started_++);
  processes_.push_back(std::make_unique<Process>(arguments, environment, base));
  return *processes_.back();
}

Finished PrivateSession::run(const Arguments& arguments, Milliseconds limit, const Environment& extra) {
  Process& process = start(arguments, extra);
  Finished result;
  result.status = process.wait(limit);
  result.out = process.out();
  result.err = process.err();
  processes_.pop_back();
  return result;
}

std::vector<SessionWindow> PrivateSession::windows() const {
  return display_->windows();
}

std::optional<SessionWindow> PrivateSession::findWindow(const std::function<bool(const SessionWindow&)>& wanted) const {
  for (const SessionWindow& window : windows()) {
    if (wanted(window)) {
      return window;
    }
  }
  return std::nullopt;
}

SessionWindow PrivateSession::waitForWindow(const std::function<bool(const SessionWindow&)>& wanted,
                                            Milliseconds limit) {
  std::optional<SessionWindow> found;
  waitUntil(
      [&] {
        found = findWindow(wanted);
        return found.has_value();
      },
      limit);
  if (!found) {
    throw std::runtime_error("no such window; there is:" + describe(windows()));
  }
  return *found;
}

SessionWindow PrivateSession::waitForWindowTitled(const std::string& title, Milliseconds limit) {
  return waitForWindow([&](const SessionWindow& window) { return window.title == title; }, limit);
}

SessionWindow PrivateSession::waitForWindowOf(pid_t pid, Milliseconds limit) {
  return waitForWindow([&](const SessionWindow& window) { return window.pid == pid; }, limit);
}

uint32_t PrivateSession::activeWindow() const {
  return display_->activeWindow();
}

bool PrivateSession::activate(uint32_t window) {
  constexpr Milliseconds kBetweenRequests{500};
  return waitUntil([&] {
    if (activeWindow() == window) {
      return true;
    }
    display_->requestActive(window);
    return waitUntil([&] { return activeWindow() == window; }, kBetweenRequests);
  });
}

uint32_t PrivateSession::pixel(int x, int y) const {
  return pixels({x, y, 1, 1}).at(0);
}

std::string PrivateSession::heldInput() const {
  return display_->heldInput();
}

bool PrivateSession::keyboardIsFree() const {
  return display_->keyboardIsFree();
}

bool PrivateSession::keyIsFree(uint8_t keycode) const {
  return display_->keyIsFree(keycode);
}

std::vector<uint32_t> PrivateSession::pixels(const PixelRect& rect) const {
  return display_->pixels(rect);
}

bool PrivateSession::screenshot(const std::string& path) {
  return run({"import", "-silent", "-window", "root", path}).status == 0;
}

void PrivateSession::keys(const Arguments& xdotoolArguments) {
  Arguments arguments = {"xdotool"};
  arguments.insert(arguments.end(), xdotoolArguments.begin(), xdotoolArguments.end());
  const Finished finished = run(arguments);
  if (finished.status != 0) {
    throw std::runtime_error("xdotool failed: " + finished.err);
  }
}

}  // namespace jumplark::desktop
