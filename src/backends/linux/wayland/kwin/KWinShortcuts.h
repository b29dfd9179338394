#pragma once

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "backends/linux/wayland/Compositor.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"
#include "backends/linux/wayland/kwin/LastRequests.h"

namespace jumplark::kwin {

/// Keys that KDE's service of global shortcuts keeps for this program. The shortcut stands among those of the system's
/// settings, under the program's own name; who changes it there has his way until the program's own preferences name
/// another one. Calls may come from any thread.
class KWinShortcuts {
 public:
  static constexpr const char* kComponent = "jumplark";

  /// The calls outlive this.
  explicit KWinShortcuts(BusCalls& calls) : calls_(calls) {}
  KWinShortcuts(const KWinShortcuts&) = delete;
  KWinShortcuts& operator=(const KWinShortcuts&) = delete;
  ~KWinShortcuts();

  Compositor::Binding bind(uint32_t key, uint64_t modifiers, std::function<void()> pressed);
  void release(uint32_t key, uint64_t modifiers);
  bool isTaken(uint32_t key, uint64_t modifiers);

  /// An action of this program was pressed.
  void pressed(const std::string& action);
  /// The service has forgotten which programs are there.
  void bindAnew();
  /// Nothing is bound anew from now on, nor given back.
  void forget();
  /// What undoes all that is bound now.
  std::vector<LastRequest> farewell();

 private:
  struct Bound {
    std::string action;
    int32_t key = 0;
    std::shared_ptr<std::function<void()>> pressed;
  };
  using Combination = std::pair<uint32_t, uint64_t>;

  BusCalls::Answer ask(const char* member, const BusCalls::Arguments& arguments);
  Compositor::Binding request(const std::string& action, int32_t key);
  int32_t setShortcut(const std::string& action, int32_t key, uint32_t flags);
  void undo(const std::string& action);
  bool isFree(int32_t key);

  BusCalls& calls_;
  std::mutex mutex_;  ///< held during questions to the service; no callback runs under it
  std::map<Combination, Bound> bound_;
};

/// Key and modifiers as Qt numbers them; 0 for a key that it does not name.
int32_t qtKeyOf(uint32_t keysym, uint64_t modifiers);

}  // namespace jumplark::kwin
