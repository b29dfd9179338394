// A second process for the tests of what processes share:
//   count FILE              counts up in a settings file for ever; prints "counting" once the first number is stored
//   serve FOLDER DISPLAY    becomes the running instance; prints "serving" or "already running", then each command
#include <cstdio>
#include <string>

#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/InstanceChannel.h"
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
  return mode == "serve" && argc > 3 ? serve(argv[2], argv[3]) : 2;
}
