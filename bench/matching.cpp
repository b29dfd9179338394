// What one key press costs: expression, evaluation, scoring, pruning, ordering and labels, for snapshots of several
// sizes and queries of several kinds, beside the goal and beside plain XPath on the same document in the same run. Then
// what building a snapshot costs in time and memory, and what a key press among the commands of menus. Prints tables;
// no argument. Times are processor time of the thread.

#include <fmt/format.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "PlainMatching.h"
#include "SyntheticDesktop.h"
#include "accessibility/JLElement.h"
#include "backends/recorded/RecordedPlatform.h"
#include "query/commands/CommandIndex.h"
#include "query/matching/JLElementFilter.h"
#include "query/matching/JLElementMatcher.h"
#include "selection/JLElementShortcutAssigner.h"
#include "tree/JLElementTree.h"
#include "tree/JLElementTreeEnumerator.h"

namespace jumplark::bench {
namespace {

using Tree = std::shared_ptr<JLElementTree>;

double threadMilliseconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

/// Processor time of this thread, which does all of the work: on an idle machine the time that passes, and on a busy
/// one still the same.
double millisecondsOf(const std::function<void()>& work) {
  const double start = threadMilliseconds();
  work();
  return threadMilliseconds() - start;
}

double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

double medianOf(int runs, const std::function<void()>& work) {
  std::vector<double> times;
  times.reserve(static_cast<size_t>(runs));
  for (int i = 0; i < runs; ++i) {
    times.push_back(millisecondsOf(work));
  }
  return median(std::move(times));
}

/// Memory of this process that is resident, in MB, after giving back what is free.
double residentMegabytes() {
  malloc_trim(0);
  size_t total = 0;
  size_t resident = 0;
  std::ifstream("/proc/self/statm") >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE)) / (1024.0 * 1024.0);
}

/// A synthetic desktop, installed, with the time that its snapshot and its index took.
class Snapshot {
 public:
  Snapshot(size_t elements, Texts texts)
      : platform_(RecordedDesktop::fromText(desktopWithElements(elements, texts), "benchmark")),
        installed_(platform_.install()) {
    JLElement::flushCache();
    const auto target = JLElement::elementWithPID(kPid);
    buildMilliseconds = millisecondsOf([&] { tree = JLElementTreeEnumerator(target).enumerateElements(); });
    indexMilliseconds = millisecondsOf([&] { JLElementMatcher::prepare(*tree); });
  }
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;
  ~Snapshot() { JLElement::flushCache(); }

  /// Runs on the queue on which the program matches.
  void onMatchingQueue(const std::function<void()>& work) {
    platform_.queues().highPriorityQueue().post(work);
    platform_.queues().runPending();
  }

 private:
  RecordedPlatform platform_;
  Token installed_;

 public:
  Tree tree;
  double buildMilliseconds = 0;
  double indexMilliseconds = 0;
};

size_t oneKey(const Tree& tree, const std::string& query) {
  const auto found = JLElementMatcher::searchElementTreeWithQuery(tree, query);
  const auto ordered = JLElementShortcutAssigner::orderedMatches(JLElementFilter::pruneElements(found).collect());
  return JLElementShortcutAssigner::assignShortcutsToMatches(ordered).size();
}

struct Query {
  const char* kind;
  const char* text;
};
const std::vector<Query> kQueries = {
    {"1 letter", "s"},
    {"2 letters", "sa"},
    {"4 letters", "save"},
    {"8 letters", "savedocu"},
    {"16 letters", "savethedocumentq"},
    {"digits", "100"},
    {"Cyrillic", "щук"},
    {"sharp s", "straße"},
    {"role", ".button"},
    {"all roles", "."},
    {"apostrophe", "it's"},
};

struct Size {
  size_t elements;
  double goalMilliseconds;
  int runs;
  int plainRuns;
};
const std::vector<Size> kSizes = {{300, 0.3, 201, 21}, {1000, 1, 101, 11}, {10000, 12, 31, 3}, {100000, 150, 7, 1}};

void printKeyTimes(const Size& size, Texts texts) {
  Snapshot snapshot(size.elements, texts);
  const bool hostile = texts == Texts::hostile;
  fmt::print("\n{} elements, {} texts: one key's worth, median of {} (goal {} ms)\n", size.elements,
             hostile ? "hostile" : "ordinary", size.runs, size.goalMilliseconds);
  fmt::print("{:<12}{:>10}{:>10}{:>8}{:>12}{:>8}\n", "query", "ms", "of goal", "labels", "plain ms", "ratio");
  snapshot.onMatchingQueue([&] {
    for (const Query& query : kQueries) {
      size_t labels = 0;
      const double time = medianOf(size.runs, [&] { labels = oneKey(snapshot.tree, query.text); });
      fmt::print("{:<12}{:>10.3f}{:>9.0f}%{:>8}", query.kind, time, 100 * time / size.goalMilliseconds, labels);
      if (hostile) {
        fmt::print("{:>12}\n", "not run");  // plain backtracking over these texts does not end in reasonable time
        continue;
      }
      const std::string text = query.text;
      const std::string expression = text[0] == '.' ? JLElementMatcher::expressionForRoleText(text.substr(1))
                                                    : JLElementMatcher::expressionForText(text);
      const double plain = medianOf(size.plainRuns, [&] { nodesForXPath(*snapshot.tree, expression); });
      fmt::print("{:>12.3f}{:>7.0f}x\n", plain, plain / time);
    }
  });
}

std::vector<MenuCommand> commandsOfMenus(size_t count) {
  static const std::vector<std::string> kWords = {"Save",  "Page",   "Insert", "Preferences…", "Format",   "as",
                                                  "Файл",  "Größe",  "Table",  "Cell",         "of",       "Style",
                                                  "Image", "Column", "Remove", "Selected",     "Document", "Zoom"};
  const auto word = [](size_t number) { return kWords[number * 7919 % 10007 % kWords.size()]; };
  std::vector<MenuCommand> commands(count);
  for (size_t i = 0; i < count; ++i) {
    const std::string title = word(i) + " " + word(i / 3 + 5) + " " + word(i / 7 + 11);
    commands[i].path = {word(i / 200), word(i / 20), title};
  }
  return commands;
}

void printCommandTimes() {
  constexpr size_t kCount = Menus::kMostCommands;
  CommandIndex index;
  const double time = millisecondsOf([&] { index.add(CommandIndex::prepare(commandsOfMenus(kCount))); });
  fmt::print("\n{} commands of menus: one key's worth, median of 31 (goal 10 ms); prepared in {:.1f} ms\n", kCount,
             time);
  for (const char* query : {"", "s", "save", "insert table", "savethedocumentq", "a b c d", "щук"}) {
    size_t found = 0;
    const double each = medianOf(31, [&] { found = index.search(query).size(); });
    fmt::print("{:<18}{:>10.3f}{:>8} found\n", query, each, found);
  }
}

void printBuildTimes() {
  fmt::print("\nBuilding a snapshot from memory, median of 5 (goal for the document: 5 us an element)\n");
  fmt::print("{:<10}{:>16}{:>16}{:>16}{:>16}\n", "elements", "document ms", "us an element", "index ms",
             "us an element");
  for (const size_t elements : {size_t{300}, size_t{1000}, size_t{10000}, size_t{100000}}) {
    std::vector<double> build;
    std::vector<double> index;
    for (int i = 0; i < 5; ++i) {
      const Snapshot snapshot(elements, Texts::ordinary);
      build.push_back(snapshot.buildMilliseconds);
      index.push_back(snapshot.indexMilliseconds);
    }
    const double each = 1000.0 / static_cast<double>(elements);
    fmt::print("{:<10}{:>16.3f}{:>16.2f}{:>16.3f}{:>16.2f}\n", elements, median(build), median(build) * each,
               median(index), median(index) * each);
  }
}

void printMemory() {
  JLElementMatcher::warm();
  double empty = 0;
  {
    Snapshot snapshot(0, Texts::ordinary);
    empty = residentMegabytes();
  }
  Snapshot snapshot(10000, Texts::ordinary);
  oneKey(snapshot.tree, "s");
  fmt::print("\nMemory of a 10,000-element snapshot and its recording above an empty one: {:.1f} MB (goal 60 MB)\n",
             residentMegabytes() - empty);
}

}  // namespace
}  // namespace jumplark::bench

int main() {
  using namespace jumplark::bench;
  // First, before anything else has left its mark on the heap.
  printMemory();
  printBuildTimes();
  printCommandTimes();
  for (const Size& size : kSizes) {
    printKeyTimes(size, Texts::ordinary);
  }
  printKeyTimes(kSizes[1], Texts::hostile);
  printKeyTimes(kSizes[2], Texts::hostile);
  return 0;
}
