// The metrics of the program on their own, with the real queues, network and files:
//   FOLDER [ADDRESS]    settings and data below the folder; without an address what this build says
// Reports one event named "run", prints "running" and goes on until SIGTERM.
#include <cstdio>
#include <filesystem>

#include "backends/linux/system/CurlHttp.h"
#include "backends/linux/system/DefaultsFile.h"
#include "backends/linux/system/LinuxFacts.h"
#include "backends/linux/system/PrivateFiles.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/system/TerminationSignals.h"
#include "metrics/JLMetrics.h"
#include "platform/Platform.h"

int main(int argc, char** argv) {
  using namespace jumplark;
  if (argc < 2) {
    return 2;
  }
  const std::filesystem::path folder = argv[1];
  TerminationSignals signals;
  SystemQueues queues;
  DefaultsFile defaults(queues, folder / "config" / "defaults.json");
  CurlHttp http;
  PrivateFiles files(folder / "data");
  LinuxFacts facts;
  Platform platform;
  platform.queues = &queues;
  platform.defaults = &defaults;
  platform.http = &http;
  platform.files = &files;
  platform.facts = &facts;
  const Token installed = Platform::install(platform);

  bool isOver = false;
  signals.start([&](int) { queues.mainQueue().post([&isOver] { isOver = true; }); });
  JLMetrics::sharedInstance().configure(argc > 2 ? argv[2] : builtInCollectorAddress());
  JLTrackEvent("run", MetricData{{"pid", static_cast<int64_t>(1)}});
  std::printf("running\n");
  std::fflush(stdout);
  queues.runMainQueueUntil([&isOver] { return isOver; });
  JLMetrics::sharedInstance().shutdown();
  return 0;
}
