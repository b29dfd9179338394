// A second process for the tests of what processes share:
//   count FILE              counts up in a settings file for ever; prints "counting" once the first number is stored
//   replace FILE            replaces a private file for ever; prints "replacing" once the first is there
//   serve FOLDER DISPLAY    becomes the running instance; prints "serving" or "already running", then each command
#include <cstdio>
#include <string>

#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/InstanceChannel.h"
#include "backends/linux/system/PrivateFiles.h"
#include "backends/linux/system/SystemQueues.h"

namespace {

using namespace jumplark;

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

int count(const std::string& path) {
  SystemQueues queues;
  DefaultsFile defaults(queues, path);
  for (int number = 1;; ++number) {
    defaults.setValue("Counter", number);
    defaults.setValue("Padding", std::string(static_cast<size_t>(number % 50) * 1000, 'x'));
    if (!defaults.synchronize()) {
      return 1;
    }
    if (number == 1) {
      say("counting");
    }
  }
}

/// Each file is one digit again and again; the digit tells how often.
int replace(const std::string& path) {
  PrivateFiles files(std::filesystem::path(path).parent_path());
  for (int number = 0;; ++number) {
    const int digit = number % 10;
    const size_t size = static_cast<size_t>(digit) * 100000 + 1000;
    if (const std::string problem = files.replace(path, std::string(size, static_cast<char>('0' + digit)));
        !problem.empty()) {
      std::fprintf(stderr, "%s\n", problem.c_str());
      return 1;
    }
    if (number == 0) {
      say("replacing");
    }
  }
}

int serve(const std::string& folder, const std::string& display) {
  SystemQueues queues;
  const InstanceChannel channel(InstancePlace::inFolder(folder, display));
  const auto serving = channel.serve(queues, [](const InstanceCommand& command) {
    say(command.kind == InstanceCommand::Kind::activate ? "activate" : "preferences " + command.pane);
    return std::string();
  });
  if (serving.state != InstanceChannel::ServeState::serving) {
    say(serving.state == InstanceChannel::ServeState::alreadyRunning ? "already running" : serving.problem);
    return 1;
  }
  say("serving");
  queues.runMainQueueUntil([] { return false; });
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 2 ? argv[1] : "";
  if (mode == "count") {
    return count(argv[2]);
  }
  if (mode == "replace") {
    return replace(argv[2]);
  }
  return mode == "serve" && argc > 3 ? serve(argv[2], argv[3]) : 2;
}
