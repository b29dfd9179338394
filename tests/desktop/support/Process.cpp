#include "desktop/support/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <sstream>
#include <thread>

#include "support/TemporaryFolder.h"

namespace jumplark::desktop {
namespace {

constexpr Milliseconds kPollInterval{10};

int statusOf(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  for (std::string& text : texts) {
    result.push_back(text.data());
  }
  result.push_back(nullptr);
  return result;
}

}  // namespace

bool waitUntil(const std::function<bool()>& predicate, Milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (!predicate()) {
    if (std::chrono::steady_clock::now() >= deadline) {
      return predicate();
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

Process::Process(Arguments arguments, const Environment& environment, const std::string& outputBase, int input)
    : outPath_(outputBase + ".out"), errPath_(outputBase + ".err") {
  std::vector<std::string> variables;
  for (const auto& [name, value] : environment) {
    variables.push_back(std::string(name).append("=").append(value));
  }
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  if (input >= 0) {
    posix_spawn_file_actions_adddup2(&files, input, 0);
  } else {
    posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  }
  constexpr int kFreshFile = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
  posix_spawn_file_actions_addopen(&files, 1, outPath_.c_str(), kFreshFile, 0600);
  posix_spawn_file_actions_addopen(&files, 2, errPath_.c_str(), kFreshFile, 0600);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setpgroup(&attributes, 0);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  const int error = posix_spawnp(&pid_, arguments.at(0).c_str(), &files, &attributes, pointers(arguments).data(),
                                 pointers(variables).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    throw std::runtime_error("cannot start " + arguments[0] + ": " + std::strerror(error));
  }
}

Process::~Process() {
  kill(SIGKILL);
}

bool Process::running() {
  int waitStatus = 0;
  if (!status_ && waitpid(pid_, &waitStatus, WNOHANG) == pid_) {
    status_ = statusOf(waitStatus);
  }
  return !status_;
}

std::optional<int> Process::wait(Milliseconds limit) {
  waitUntil([this] { return !running(); }, limit);
  return status_;
}

std::string Process::out() const {
  return testing::readFile(outPath_);
}

std::string Process::err() const {
  return testing::readFile(errPath_);
}

std::vector<std::string> Process::linesBeginning(const std::string& beginning) const {
  std::vector<std::string> result;
  std::istringstream lines(out());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(beginning)) {
      result.push_back(line);
    }
  }
  return result;
}

size_t Process::countOfLine(const std::string& line) const {
  return static_cast<size_t>(std::ranges::count(linesBeginning(line), line));
}

bool Process::waitForLine(const std::string& line, Milliseconds limit) const {
  return waitUntil([&] { return printed(line); }, limit);
}

void Process::stop() {
  kill(SIGSTOP);
  int waitStatus = 0;
  if (running() && waitpid(pid_, &waitStatus, WUNTRACED) == pid_ && !WIFSTOPPED(waitStatus)) {
    status_ = statusOf(waitStatus);
  }
}

void Process::resume() {
  kill(SIGCONT);
}

void Process::kill(int signal) {
  if (!running()) {
    return;
  }
  ::kill(pid_, signal);
  if (signal == SIGKILL) {
    int waitStatus = 0;
    waitpid(pid_, &waitStatus, 0);
    status_ = statusOf(waitStatus);
  }
}

}  // namespace jumplark::desktop
