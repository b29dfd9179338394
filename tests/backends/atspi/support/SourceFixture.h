#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include "backends/atspi/support/FakeApplication.h"
#include "backends/atspi/support/FakeWindows.h"
#include "backends/linux/atspi/source/AtspiElementSource.h"
#include "backends/linux/atspi/source/View.h"

namespace jumplark::atspi {

inline FakeElement element(uint32_t role, const std::string& name, Rect rect = {0, 0, 10, 10}) {
  FakeElement made;
  made.role = role;
  made.name = name;
  made.rect = rect;
  return made;
}

/// Lets a test look at the last snapshot, whoever took it.
class KeepingSource final : public AtspiElementSource {
 public:
  using AtspiElementSource::AtspiElementSource;
  SnapshotPointer take(const ElementRef& application, bool visibleOnly, std::stop_token stop) override {
    return last = AtspiElementSource::take(application, visibleOnly, std::move(stop));
  }
  SnapshotPointer last;
};

/// A private desktop with one application that has one window, "frame", 400 by 300 at (100, 50).
class SourceFixture : public ::testing::Test {
 protected:
  explicit SourceFixture(const std::string& toolkit = "Qt", const std::string& version = "6.4.2")
      : app(bus, toolkit, version) {
    app.add("root", "frame", element(role::frame, "Window", {100, 50, 400, 300}));
    desktop.list(app);
    WindowFacts& window = windows.add(7, getpid(), {100, 50, 400, 300});
    window.connectionPid = getpid();
    window.title = "Window";
  }

  FakeElement& add(const std::string& parent, const std::string& id, uint32_t role, const std::string& name = "",
                   Rect rect = {0, 0, 10, 10}) {
    return app.add(parent, id, element(role, name, rect));
  }

  void TearDown() override {
    EXPECT_EQ(app.complaints(), std::multiset<std::string>()) << "asked of elements that do not have that interface";
  }

  KeepingSource& source() { return source_; }
  SnapshotPointer prepare(bool visibleOnly = true) { return source_.take(app.root(), visibleOnly, {}); }
  /// What is read is answered from the last snapshot, and live before there is one.
  View view() { return {source(), last()}; }
  View live() { return View::live(source(), last(), nullptr); }
  FactsPointer read(const std::string& id) { return source_.last ? source_.last->find(app.ref(id)) : nullptr; }
  std::vector<FactsPointer> elements() { return source_.last ? source_.last->elements() : std::vector<FactsPointer>(); }
  static std::string idOf(const ElementRef& element) { return element.text().substr(element.text().rfind('/') + 1); }
  /// Names of the snapshot's elements in document order, the application and the window left out.
  std::string names() {
    std::string joined;
    for (const FactsPointer& e : elements()) {
      const std::string id = idOf(e->ref);
      if (id != "root" && id != "frame") {
        joined += (joined.empty() ? "" : " ") + id;
      }
    }
    return joined;
  }

  PrivateBus bus;
  FakeDesktop desktop{bus};
  FakeApplication app;
  FakeWindows windows;

 private:
  View::Snapshots last() { return source_.last ? View::Snapshots{source_.last} : View::Snapshots(); }

  KeepingSource source_{BusConnection::Options{bus.address()}, windows};
};

}  // namespace jumplark::atspi
