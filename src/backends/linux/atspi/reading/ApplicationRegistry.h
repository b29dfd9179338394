#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "backends/linux/atspi/bus/BusConnection.h"
#include "backends/linux/atspi/reading/FrameMatching.h"
#include "backends/linux/atspi/reading/Toolkit.h"

namespace jumplark::atspi {

/// Which processes offer a tree, under which bus names, and how each is best read. What it learns is remembered as long
/// as the connection to the bus lasts (unique names are not used twice). Calls may come from any thread.
class ApplicationRegistry {
 public:
  /// `toolkitFor` chooses by what an application says; what it gives outlives this.
  using ToolkitChoice = std::function<const Toolkit&(const ToolkitFacts&)>;
  ApplicationRegistry(BusConnection& bus, WindowSystem& windows, ToolkitChoice toolkitFor)
      : bus_(bus), windows_(windows), toolkitFor_(std::move(toolkitFor)) {}

  /// The application of a process: by the process of its bus connection; else, for a process that has windows only
  /// (a sandboxed application is known to the bus by its proxy), by the process that holds the windows' connection;
  /// else by the titles and places of its windows. Empty when there is none.
  ElementRef applicationOfProcess(int32_t pid);
  AccessibilityResult<int32_t> processOf(const std::string& busName);
  /// What draws an application, in its own words and as it is read.
  struct Drawn {
    ToolkitFacts facts;
    const Toolkit* toolkit = nullptr;  ///< never null
  };
  /// The application of a process and its toolkit, if they were found out before; no message.
  ElementRef knownApplicationOfProcess(int32_t pid);
  std::optional<Drawn> knownToolkitOf(const ElementRef& application);
  /// Also switches to the application's own socket where it has one.
  Drawn toolkitOf(const ElementRef& application);

  /// The managed windows of an application that are on screen, front to back.
  std::vector<WindowFacts> windowsOf(const ElementRef& application);
  /// Its open menus, popovers and tool tips, front to back.
  std::vector<WindowFacts> popupsOf(const ElementRef& application);
  /// Its frames and dialogs as they are now.
  std::vector<FrameFacts> framesOf(const ElementRef& application, TimePoint deadline);
  /// The same of the application's children, which have been asked for already.
  static std::vector<FrameFacts> framesFrom(CallRunner& runner, const Toolkit& toolkit,
                                            std::vector<ElementRef> children, TimePoint deadline);

 private:
  struct Listed {
    ElementRef application;
    int32_t pid = -1;
  };
  std::vector<Listed> list();
  std::vector<WindowFacts> ownOf(std::vector<WindowFacts> windows, const ElementRef& application);
  ElementRef byWindowPlaces(int32_t pid, const std::vector<Listed>& listed);
  void forgetOldConnection();
  TimePoint deadline() const;

  BusConnection& bus_;
  WindowSystem& windows_;
  const ToolkitChoice toolkitFor_;
  std::mutex mutex_;
  uint64_t generation_ = 0;
  std::map<std::string, int32_t> pids_;
  std::map<std::string, Drawn> toolkits_;
  /// Process of the windows of a sandboxed application, to its bus name.
  std::map<int32_t, std::string> sandboxed_;
};

}  // namespace jumplark::atspi
