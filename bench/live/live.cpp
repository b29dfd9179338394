// How long the whole snapshot of the window in front takes (reading, document, index), on real applications in a
// session of its own, beside a plain walk of the same window in the same run; both take turns, so that what else the
// machine does burdens both alike. Prints a table. Arguments: [--runs N] [PART OF A NAME]...

#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "BaselineWalk.h"
#include "LiveWindows.h"
#include "accessibility/JLElement.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "platform/Accessibility.h"
#include "query/matching/JLElementMatcher.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::bench {
namespace {

struct Wishes {
  int runs = 15;
  std::vector<std::string> names;
};

struct Figures {
  size_t showing = 0;  ///< by the baseline's count
  size_t nodes = 0;    ///< of our document
  double first = 0;    ///< milliseconds of the first snapshot, before anybody else has read the window
  double baseline = 0;
  double ours = 0;
  double reading = 0;  ///< the part of it that is not document and index
};

double millisecondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values.empty() ? 0 : values[values.size() / 2];
}

size_t countNodes(const std::string& xml) {
  size_t count = 0;
  for (size_t at = xml.find("<Element"); at != std::string::npos; at = xml.find("<Element", at + 1)) {
    ++count;
  }
  return count;
}

std::shared_ptr<JLElementTree> takeSnapshot(int32_t pid) {
  JLElement::flushCache();
  auto tree =
      JLElementTreeEnumerator(JLElement::elementWithPID(pid)).enumerateElementsWithOptions({.visibleElements = true});
  JLElementMatcher::prepare(*tree);
  return tree;
}

void readOnly(int32_t pid) {
  JLElement::flushCache();
  AccessibilityPlatform& accessibility = *Platform::current().accessibility;
  accessibility.prepareSnapshot(accessibility.createApplication(pid), true);
}

void waitUntilOnTheBus(int32_t pid) {
  AccessibilityPlatform& accessibility = *Platform::current().accessibility;
  const auto answers = [&] {
    return accessibility.copyAttributeValue(accessibility.createApplication(pid), "AXRole").ok();
  };
  if (!desktop::waitUntil(answers)) {
    throw std::runtime_error(fmt::format("process {} is not on the accessibility bus", pid));
  }
}

Figures measure(const LiveWindow& window, int runs) {
  desktop::PrivateSession session({.width = 1400, .height = 900});
  const auto environment = session.adoptEnvironment();
  SystemQueues queues;
  auto opened = LinuxPlatform::open(queues);
  if (!opened.platform) {
    throw std::runtime_error(opened.error);
  }
  const Token installed = Platform::install(opened.platform->platform());
  const int32_t pid = window.start(session).pid;

  waitUntilOnTheBus(pid);
  Figures figures;
  figures.first = millisecondsOf([&] { takeSnapshot(pid); });
  BaselineWalk baseline(pid, window.showing);
  if (!desktop::waitUntil([&] { return (figures.showing = baseline.walk()) >= window.enoughElements; })) {
    throw std::runtime_error(fmt::format("only {} elements show in {}", figures.showing, window.name));
  }
  std::vector<double> baselineTimes;
  std::vector<double> ourTimes;
  std::vector<double> readingTimes;
  for (int i = 0; i < runs; ++i) {
    baselineTimes.push_back(millisecondsOf([&] { figures.showing = baseline.walk(); }));
    std::shared_ptr<JLElementTree> tree;
    ourTimes.push_back(millisecondsOf([&] { tree = takeSnapshot(pid); }));
    figures.nodes = countNodes(tree->debugDescription());
    readingTimes.push_back(millisecondsOf([&] { readOnly(pid); }));
  }
  JLElement::flushCache();
  figures.baseline = median(baselineTimes);
  figures.ours = median(ourTimes);
  figures.reading = median(readingTimes);
  return figures;
}

std::string load() {
  double averages[1] = {0};
  getloadavg(averages, 1);
  return fmt::format("{:.1f}", averages[0]);
}

void print(const LiveWindow& window, const Figures& figures) {
  const auto perThousand = 1000 * figures.ours / static_cast<double>(std::max<size_t>(figures.showing, 1));
  fmt::print("{:<24}{:>8}{:>8}{:>10.1f}{:>8.1f}{:>8.1f}{:>8.1f}{:>8.3f}{:>6}{:>10.0f}{:>6}{:>6}\n", window.name,
             figures.showing, figures.nodes, figures.baseline, figures.first, figures.ours, figures.reading,
             figures.ours / figures.baseline, window.ratioGoal, perThousand, window.thousandGoal, load());
  std::fflush(stdout);
}

Wishes parse(int argc, char** argv) {
  Wishes wishes;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "--runs" && i + 1 < argc) {
      wishes.runs = std::max(1, std::atoi(argv[++i]));
    } else {
      wishes.names.push_back(argument);
    }
  }
  return wishes;
}

bool isWanted(const Wishes& wishes, const std::string& name) {
  return wishes.names.empty() || std::any_of(wishes.names.begin(), wishes.names.end(), [&](const std::string& part) {
           return name.find(part) != std::string::npos;
         });
}

/// In a process of its own, since the accessibility library knows one session only.
bool measureApart(const LiveWindow& window, int runs) {
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    int status = 0;
    try {
      JLElementMatcher::warm();
      print(window, measure(window, runs));
    } catch (const std::exception& error) {
      fmt::print(stderr, "bench_live: {}\n", error.what());
      status = 1;
    }
    std::fflush(stdout);
    _exit(status);
  }
  int status = 0;
  return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

bool measureAll(const Wishes& wishes) {
  fmt::print("Milliseconds, median of {}; load of the machine at the end of each line\n", wishes.runs);
  fmt::print("{:<24}{:>8}{:>8}{:>10}{:>8}{:>8}{:>8}{:>8}{:>6}{:>10}{:>6}{:>6}\n", "window", "showing", "ours",
             "baseline", "first", "later", "read", "ratio", "goal", "per 1,000", "goal", "load");
  bool all = true;
  for (const LiveWindow& window : liveWindows()) {
    all = (!isWanted(wishes, window.name) || measureApart(window, wishes.runs)) && all;
  }
  return all;
}

}  // namespace
}  // namespace jumplark::bench

int main(int argc, char** argv) {
  using namespace jumplark::bench;
  return measureAll(parse(argc, argv)) ? 0 : 1;
}
