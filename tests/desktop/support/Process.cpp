#include "desktop/support/Process.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace jumplark::desktop {
namespace {

constexpr Milliseconds kPollInterval{10};

std::string readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

int statusOf(int waitStatus) {
  return WIFSIGNALED(waitStatus) ? 128 + WTERMSIG(waitStatus) : WEXITSTATUS(waitStatus);
}

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> result;
  result.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    result.push_back(text.data());
  }
  result.push_back(nullptr);
  return result;
}

// posix_spawnp searches the caller's PATH; what counts is the program's own.
std::string findProgram(const std::string& name, const Environment& environment) {
  const auto path = environment.find("PATH");
  if (name.find('/') != std::string::npos || path == environment.end()) {
    return name;
  }
  std::stringstream folders(path->second);
  for (std::string folder; std::getline(folders, folder, ':');) {
    folder.append("/").append(name);
    if (::access(folder.c_str(), X_OK) == 0) {
      return folder;
    }
  }
  throw std::runtime_error(name + " is not installed");
}

// The third field of /proc/PID/stat, after the name in parentheses; 0 when there is no such process.
char processState(pid_t pid) {
  const std::string stat = readFile("/proc/" + std::to_string(pid) + "/stat");
  const size_t nameEnd = stat.rfind(") ");
  return nameEnd == std::string::npos ? '\0' : stat[nameEnd + 2];
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

Process::Process(const Arguments& arguments, const Environment& environment, const std::string& outputBase)
    : outPath_(outputBase + ".out"), errPath_(outputBase + ".err") {
  Arguments argumentTexts = arguments;
  std::vector<std::string> variableTexts;
  for (const auto& [name, value] : environment) {
    std::string variable = name;
    variable.append("=").append(value);
    variableTexts.push_back(std::move(variable));
  }
  const std::string program = findProgram(arguments.at(0), environment);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, outPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
  posix_spawn_file_actions_addopen(&files, 2, errPath_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
  posix_spawnattr_setpgroup(&attributes, 0);
  sigset_t none;
  sigemptyset(&none);
  posix_spawnattr_setsigmask(&attributes, &none);
  const int error = posix_spawn(&pid_, program.c_str(), &files, &attributes, pointers(argumentTexts).data(),
                                pointers(variableTexts).data());
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    throw std::runtime_error("cannot start " + program + ": " + std::strerror(error));
  }
}

Process::~Process() {
  kill(SIGKILL);
}

bool Process::running() {
  if (!status_) {
    int waitStatus = 0;
    if (waitpid(pid_, &waitStatus, WNOHANG) == pid_) {
      status_ = statusOf(waitStatus);
    }
  }
  return !status_;
}

std::optional<int> Process::wait(Milliseconds limit) {
  waitUntil([this] { return !running(); }, limit);
  return status_;
}

std::string Process::out() const {
  return readFile(outPath_);
}

std::string Process::err() const {
  return readFile(errPath_);
}

size_t Process::countOfLine(const std::string& line) const {
  std::stringstream lines(out());
  size_t count = 0;
  for (std::string candidate; std::getline(lines, candidate);) {
    count += candidate == line ? 1 : 0;
  }
  return count;
}

bool Process::printed(const std::string& line) const {
  return countOfLine(line) > 0;
}

bool Process::waitForLine(const std::string& line, Milliseconds limit) const {
  return waitUntil([&] { return printed(line); }, limit);
}

void Process::stop() {
  kill(SIGSTOP);
  waitUntil([this] { return processState(pid_) == 'T' || !running(); });
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
