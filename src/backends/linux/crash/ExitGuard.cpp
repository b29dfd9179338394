#include "backends/linux/crash/ExitGuard.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "backends/linux/crash/CrashRelease.h"

namespace jumplark {
namespace {

constexpr int kReplyPatienceMs = 1000;
constexpr int kStartPatienceMs = 5000;

/// What travels to the child, one datagram each.
struct LastWords {
  uint32_t socket = 0;
  uint32_t size = 0;
  std::array<char, 4000> bytes{};
};

// Everything else that the parent has open must end with the parent: the compositor sees its end by that.
void closeAllBut(int parent, const int* sockets, size_t count) {
  constexpr int kMostDescriptors = 65536;
  for (int descriptor = 0; descriptor < kMostDescriptors;) {
    int next = kMostDescriptors;
    for (size_t i = 0; i < count; ++i) {
      next = sockets[i] >= descriptor ? std::min(next, sockets[i]) : next;
    }
    next = parent >= descriptor ? std::min(next, parent) : next;
    if (next > descriptor) {
      close_range(static_cast<unsigned>(descriptor), static_cast<unsigned>(next - 1), 0);
    }
    descriptor = next + 1;
  }
  close_range(kMostDescriptors, ~0U, 0);
}

[[noreturn]] void guard(int parent, const int* sockets, size_t count) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE}) {
    std::signal(signal, SIG_IGN);
  }
  setsid();
  prctl(PR_SET_NAME, "jumplark-guard");
  closeAllBut(parent, sockets, count);
  // Nothing may be allocated after the fork of a process with threads.
  LastWords words[ExitGuard::kMostSockets];
  LastWords next;
  [[maybe_unused]] const ssize_t ready = send(parent, &next.socket, 1, MSG_NOSIGNAL);
  ssize_t got = 0;
  while ((got = recv(parent, &next, sizeof next, 0)) > 0 || (got < 0 && errno == EINTR)) {
    if (got > 0 && next.socket < count) {
      words[next.socket] = next;
    }
  }
  for (size_t i = 0; i < count; ++i) {
    if (words[i].size > 0 && send(sockets[i], words[i].bytes.data(), words[i].size, MSG_NOSIGNAL) > 0) {
      pollfd reply{sockets[i], POLLIN, 0};
      poll(&reply, 1, kReplyPatienceMs);
    }
  }
  _exit(0);
}

bool waitForByte(int socket) {
  pollfd waiting{socket, POLLIN, 0};
  int ready = 0;
  do {
    ready = poll(&waiting, 1, kStartPatienceMs);
  } while (ready < 0 && errno == EINTR);
  char byte = 0;
  return ready == 1 && recv(socket, &byte, 1, 0) == 1;
}

}  // namespace

std::unique_ptr<ExitGuard> ExitGuard::start(std::vector<int> sockets) {
  int ends[2] = {-1, -1};
  if (sockets.size() > kMostSockets || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    return nullptr;
  }
  const pid_t child = fork();
  if (child == 0) {
    guard(ends[1], sockets.data(), sockets.size());
  }
  close(ends[1]);
  if (child < 0) {
    close(ends[0]);
    return nullptr;
  }
  std::unique_ptr<ExitGuard> result(new ExitGuard(child, ends[0]));
  // Only a child that has come to ignore signals outlives a signal to the whole process group.
  return waitForByte(ends[0]) ? std::move(result) : nullptr;
}

ExitGuard::ExitGuard(pid_t child, int socket)
    : child_(child), socket_(socket), endAtCrash_(shutDownAtCrash(socket, CrashRelease::guard)) {}

ExitGuard::~ExitGuard() {
  endAtCrash_.reset();
  shutdown(socket_.get(), SHUT_RDWR);
  while (waitpid(child_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

void ExitGuard::setLastWords(size_t socket, const std::string& bytes) {
  LastWords words;
  if (bytes.size() <= words.bytes.size()) {
    words.socket = static_cast<uint32_t>(socket);
    words.size = static_cast<uint32_t>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), words.bytes.begin());
    const size_t used = offsetof(LastWords, bytes) + bytes.size();
    [[maybe_unused]] const ssize_t sent = send(socket_.get(), &words, used, MSG_NOSIGNAL);
  }
}

}  // namespace jumplark
