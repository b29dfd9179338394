#pragma once

#include <sys/types.h>
#include <wayland-client-core.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/wayland/surfaces/OutputWatch.h"
#include "platform/Token.h"

struct org_kde_kwin_fake_input;
struct wl_registry;
struct wl_seat;
struct zwlr_virtual_pointer_manager_v1;
struct zwp_virtual_keyboard_manager_v1;
struct zxdg_output_manager_v1;

namespace jumplark {

/// What a compositor offers to everybody, as far as it is used here; null where it does not.
struct WaylandGlobals {
  wl_seat* seat = nullptr;  ///< the first one
  zwlr_virtual_pointer_manager_v1* virtualPointers = nullptr;
  zwp_virtual_keyboard_manager_v1* virtualKeyboards = nullptr;
  org_kde_kwin_fake_input* fakeInput = nullptr;  ///< KWin shows it to programs that it trusts
  zxdg_output_manager_v1* outputManager = nullptr;
  bool hasLayerShell = false;
  bool isKWins = false;  ///< protocols that KWin alone has
};

/// A connection to the compositor besides that of our windows, with a thread that reads it. Requests may be made from
/// any thread. A compositor that ends or hangs holds nobody up: requests have no effect then.
class WaylandConnection {
 public:
  struct Opened {
    std::shared_ptr<WaylandConnection> connection;  ///< null when the compositor is out of reach
    std::string error;                              ///< one sentence: what is wrong and what to do about it
    bool isThere = false;                           ///< somebody holds the compositor's socket, who may not answer
  };
  /// Connects to the compositor that WAYLAND_DISPLAY names. Waits two seconds at most.
  static Opened open();

  WaylandConnection(const WaylandConnection&) = delete;
  WaylandConnection& operator=(const WaylandConnection&) = delete;
  ~WaylandConnection();

  wl_display* display() const { return display_; }
  /// At a crash a connection ends first of all, and with it what the compositor has done for it. Not this one.
  void outliveCrash() { endAtCrash_.reset(); }
  /// The process that made the socket, the compositor as a rule; 0 when it cannot be seen from here.
  pid_t compositor() const;
  /// What was there at the opening.
  const WaylandGlobals& globals() const { return globals_; }
  /// Sends what has been requested.
  void flush();
  /// Returns when the compositor has carried out what was requested so far; false when it has gone, or has not done so
  /// within the limit. Not on the thread of this connection.
  bool settle(std::chrono::milliseconds limit = std::chrono::milliseconds(500));

  /// In the order in which the compositor told of them.
  std::vector<WaylandOutput> outputs() const;
  /// Called on the thread of this connection after every change of outputs().
  Token onOutputsChanged(std::function<void()> callback);
  /// The user's keymap as xkbcommon reads it, and its group; empty as long as the compositor has told none.
  std::string keymap() const;

 private:
  struct Listeners;
  struct Progress;
  explicit WaylandConnection(wl_display* display);

  std::string discover();
  void addGlobal(wl_registry* registry, uint32_t name, const std::string& interface, uint32_t version);
  void removeGlobal(uint32_t name);
  void outputsChanged();
  void askQuestions();
  void run();
  bool readOnce(int timeoutMs);

  wl_display* display_;
  Token endAtCrash_;
  wl_registry* registry_ = nullptr;
  WaylandGlobals globals_;
  FileDescriptor wake_;
  std::map<uint32_t, std::unique_ptr<wayland::OutputWatch>> outputs_;  ///< the thread's own
  std::vector<wayland::Owned<wl_keyboard>> keyboards_;                 ///< so is this
  mutable std::mutex mutex_;                                           ///< leaf
  std::vector<WaylandOutput> knownOutputs_;
  std::vector<std::shared_ptr<std::function<void()>>> outputCallbacks_;
  std::string keymap_;
  std::vector<std::shared_ptr<Progress>> questions_;  ///< not asked yet
  std::vector<std::weak_ptr<Progress>> asked_;        ///< the thread's own
  bool gone_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace jumplark
