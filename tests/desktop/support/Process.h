#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace jumplark::desktop {

using Milliseconds = std::chrono::milliseconds;
using Environment = std::map<std::string, std::string>;
using Arguments = std::vector<std::string>;

/// Long enough for every state that a healthy session reaches, however busy the machine; a test that waits this long
/// has failed.
inline constexpr Milliseconds kPatience{20000};

/// Asks again and again until the predicate holds; false when the time limit passes first. The predicate is asked at
/// least once, and once more after the limit.
bool waitUntil(const std::function<bool()>& predicate, Milliseconds limit = kPatience);

/// What a program that has ended left behind. `status` is the exit status, or 128 + the number of the signal that ended
/// it; none when it was still running at the time limit (it has been killed then).
struct Finished {
  std::optional<int> status;
  std::string out;
  std::string err;
};

/// A running program whose output goes to files, so that it never waits for a reader. Destruction kills it. All calls
/// from one thread.
class Process {
 public:
  /// Starts arguments[0], searched in the PATH of this process, with standard input from an open file, or from
  /// /dev/null. Throws std::runtime_error when it cannot be started.
  Process(Arguments arguments, const Environment& environment, const std::string& outputBase, int input = -1);
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;
  ~Process();

  pid_t pid() const { return pid_; }
  bool running();
  /// The status once it has ended, as in Finished; none when it is still running after the limit.
  std::optional<int> wait(Milliseconds limit = kPatience);

  std::string out() const;
  std::string err() const;
  /// The lines of standard output that begin with a text.
  std::vector<std::string> linesBeginning(const std::string& beginning) const;
  /// How many lines of standard output are exactly this text.
  size_t countOfLine(const std::string& line) const;
  bool printed(const std::string& line) const { return countOfLine(line) > 0; }
  bool waitForLine(const std::string& line, Milliseconds limit = kPatience) const;

  /// SIGSTOP; returns when the whole process has stopped.
  void stop();
  void resume();
  /// Sends the signal and, for SIGKILL, waits for the end.
  void kill(int signal);

 private:
  pid_t pid_ = -1;
  std::optional<int> status_;
  std::string outPath_;
  std::string errPath_;
};

}  // namespace jumplark::desktop
