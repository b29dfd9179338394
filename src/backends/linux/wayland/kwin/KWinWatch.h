#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "backends/linux/system/FileDescriptor.h"
#include "backends/linux/wayland/kwin/KWinScripts.h"

namespace jumplark::kwin {

/// Hears on a connection to the session bus of its own, on a thread, what the script in KWin tells and which shortcuts
/// are pressed. Only KWin is believed. A KWin that was started anew gets the script again.
class KWinWatch {
 public:
  struct Handlers {
    /// What the script tells; null when KWin has gone. False for what is not understood.
    std::function<bool(const nlohmann::json& message)> told;
    std::function<void(const std::string& action)> pressed;  ///< of this program's component
    std::function<void()> shortcutsForgotten;                ///< whoever keeps them has been started anew
  };
  /// The calls outlive this. The handlers run on the thread, until the end of this, and must not throw.
  KWinWatch(BusCalls& calls, Handlers handlers);
  KWinWatch(const KWinWatch&) = delete;
  KWinWatch& operator=(const KWinWatch&) = delete;
  /// Ends the script.
  ~KWinWatch();

  /// Starts the script and waits until it has told what there is, for two seconds at most. What is wrong, for a log;
  /// empty when all is well.
  std::string start();
  /// What KWin knows the script by.
  const std::string& scriptName() const { return name_; }

 private:
  struct Bus;
  struct Callbacks;

  void loadScript();
  void ownerChanged(const std::string& name, const std::string& owner);
  void told(const std::string& text);
  void run();

  BusCalls& calls_;
  KWinScripts scripts_;
  const Handlers handlers_;
  const std::string name_;
  std::string file_;
  FileDescriptor stop_;
  std::unique_ptr<Bus> bus_;
  std::string kwin_;  ///< unique name of KWin; empty while there is none
  std::string path_;  ///< of the object that the running script tells
  int loads_ = 0;
  int retries_ = 0;  ///< that are left of loading the script
  int rebinds_ = 0;  ///< how often shortcuts are still told again
  std::string problem_;
  std::mutex mutex_;  ///< of what follows
  std::condition_variable heard_;
  bool hasHeard_ = false;
  std::thread thread_;
};

/// Ends the scripts that programs which have died left in KWin. Their files in the folder name them.
void unloadScriptsOfTheDead(KWinScripts& scripts, const std::string& folder);
/// Where scripts lie; empty where the user has no folder for such.
std::string scriptFolder();

}  // namespace jumplark::kwin
