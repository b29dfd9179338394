// Prints what a snapshot of one application holds and how long it took: look-at-tree PID [--all] [--tree] [--repeat N]

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <cstdlib>
#include <map>
#include <string_view>

#include "backends/linux/atspi/AtspiElementSource.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11WindowSystem.h"

using namespace jumplark;         // NOLINT(google-build-using-namespace)
using namespace jumplark::atspi;  // NOLINT(google-build-using-namespace)

namespace {

struct Wishes {
  int32_t pid = -1;
  bool all = false;
  bool tree = false;
  int repeat = 1;
};

int depthOf(ElementSource& source, const ElementFacts& element) {
  int depth = 0;
  FactsPointer above = source.snapshotFacts(element.parent);
  while (above && depth < 1000) {
    ++depth;
    above = source.snapshotFacts(above->parent);
  }
  return depth;
}

void print(ElementSource& source, const ElementFacts& e) {
  std::string line(static_cast<size_t>(depthOf(source, e)) * 2, ' ');
  line += fmt::format("{} {} '{}'", e.role, e.localizedRole, e.name.substr(0, 40));
  if (!e.description.empty()) {
    line += fmt::format(" ({})", e.description.substr(0, 40));
  }
  if (e.extents) {
    line += fmt::format(" [{} {} {} {}]", e.extents->x, e.extents->y, e.extents->width, e.extents->height);
  }
  if (!e.shortText.empty()) {
    line += fmt::format(" text '{}'", e.shortText.substr(0, 40));
  }
  if (e.currentValue) {
    line += fmt::format(" value {}", *e.currentValue);
  }
  for (const ElementRef& label : e.labelledBy) {
    const FactsPointer facts = source.snapshotFacts(label);
    line += fmt::format(" labelled '{}'", facts ? facts->name : label.text());
  }
  fmt::print("{}{}{} n={} known={}\n", line, e.is(state::showing) ? "" : " -",
             e.childrenAreVisibleOnly ? " partly" : "", e.childCount, e.known);
}

Wishes parse(int argc, char** argv) {
  Wishes wishes;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument == "--all") {
      wishes.all = true;
    } else if (argument == "--tree") {
      wishes.tree = true;
    } else if (argument == "--repeat" && i + 1 < argc) {
      wishes.repeat = std::atoi(argv[++i]);
    } else {
      wishes.pid = std::atoi(argv[i]);
    }
  }
  return wishes;
}

}  // namespace

int main(int argc, char** argv) {
  const Wishes wishes = parse(argc, argv);
  spdlog::set_level(spdlog::level::debug);
  X11WindowSystem windows(X11Connection::open().connection);
  AtspiElementSource source(windows);
  if (const auto reached = source.connect(); !reached.reachable) {
    fmt::print(stderr, "{}\n", reached.advice);
    return 3;
  }
  const ElementRef application = source.application(wishes.pid);
  if (!application) {
    fmt::print(stderr, "Process {} is not on the accessibility bus\n", wishes.pid);
    return 3;
  }
  for (int i = 0; i < wishes.repeat; ++i) {
    const auto start = std::chrono::steady_clock::now();
    source.prepareSnapshot(application, !wishes.all);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    size_t showing = 0;
    const auto elements = source.snapshotElements(application);
    for (const FactsPointer& e : elements) {
      showing += e->is(state::showing) ? 1 : 0;
    }
    fmt::print("{} elements, {} showing, {:.1f} ms\n", elements.size(), showing, took.count());
  }
  const FactsPointer window = source.snapshotFacts(source.focusedWindow(application));
  const FactsPointer focus = source.snapshotFacts(source.focusedElement(application));
  fmt::print("window '{}', menu bar {}, focus {} '{}'\n", window ? window->name : "none",
             source.menuBar(source.focusedWindow(application)).text(), focus ? focus->role : 0,
             focus ? focus->name : "none");
  if (wishes.tree) {
    for (const FactsPointer& e : source.snapshotElements(application)) {
      print(source, *e);
    }
  }
  return 0;
}
