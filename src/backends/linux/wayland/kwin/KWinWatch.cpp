#include "backends/linux/wayland/kwin/KWinWatch.h"

#include <fmt/format.h>
#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include "backends/linux/system/QuietThread.h"
#include "backends/linux/wayland/kwin/KWinScript.h"
#include "backends/linux/wayland/kwin/KWinShortcuts.h"

namespace jumplark::kwin {
namespace {

constexpr std::chrono::seconds kPatience{2};
constexpr int kForEver = -1;
constexpr int kRetryMs = 500;
constexpr int kMostRetries = 20;
/// A service that has just begun may take what it is told and forget it again.
constexpr int kMostRebinds = 4;
constexpr size_t kLongestMessage = 16U << 20U;
constexpr const char* kKWin = "org.kde.KWin";
constexpr const char* kAccelerators = "org.kde.kglobalaccel";
constexpr const char* kPathPrefix = "/com/brindlefox/jumplark/kwin";
constexpr std::string_view kFileStart = "jumplark-kwin-";
constexpr std::string_view kFileEnd = ".js";

std::string nameOfScriptOf(int64_t pid) {
  return fmt::format("jumplark-{}", pid);
}

std::string textOrEmpty(const char* text) {
  return text != nullptr ? text : "";
}

}  // namespace

struct KWinWatch::Bus {
  ~Bus() {
    for (sd_bus_slot* const slot : slots) {
      sd_bus_slot_unref(slot);
    }
    sd_bus_close_unref(connection);
  }
  sd_bus* connection = nullptr;
  std::vector<sd_bus_slot*> slots;
};

/// What the bus library calls, on the thread.
struct KWinWatch::Callbacks {
  static int onCall(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    auto& self = *static_cast<KWinWatch*>(data);
    const char* text = nullptr;
    if (sd_bus_message_is_method_call(message, kScriptInterface, kScriptMember) <= 0) {
      return 0;
    }
    // Anybody on the bus may call.
    const bool isKWin = !self.kwin_.empty() && textOrEmpty(sd_bus_message_get_sender(message)) == self.kwin_ &&
                        textOrEmpty(sd_bus_message_get_path(message)) == self.path_;
    if (isKWin && sd_bus_message_read(message, "s", &text) > 0) {
      self.told(text);
    }
    return sd_bus_reply_method_return(message, "");
  }
  static int onPress(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    const char* component = nullptr;
    const char* action = nullptr;
    if (sd_bus_message_read(message, "ss", &component, &action) > 0 &&
        std::string_view(component) == KWinShortcuts::kComponent) {
      auto& self = *static_cast<KWinWatch*>(data);
      self.handlers_.pressed(action);
      // Whoever ended it says so to nobody, and what is known of windows would be true no more.
      if (!self.scripts_.isLoaded(self.name_)) {
        self.loadScript();
      }
    }
    return 0;
  }
  static int onOwner(sd_bus_message* message, void* data, sd_bus_error* /*error*/) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* now = nullptr;
    if (sd_bus_message_read(message, "sss", &name, &before, &now) > 0) {
      static_cast<KWinWatch*>(data)->ownerChanged(name, now);
    }
    return 0;
  }
};

KWinWatch::KWinWatch(BusCalls& calls, Handlers handlers)
    : calls_(calls),
      scripts_(calls),
      handlers_(std::move(handlers)),
      name_(nameOfScriptOf(getpid())),
      stop_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

KWinWatch::~KWinWatch() {
  if (thread_.joinable()) {
    eventfd_write(stop_.get(), 1);
    thread_.join();
  }
  if (!path_.empty()) {
    scripts_.unload(name_);
    unlink(file_.c_str());
  }
}

std::string KWinWatch::start() {
  const std::string folder = scriptFolder();
  file_ = fmt::format("{}/{}{}{}", folder, kFileStart, getpid(), kFileEnd);
  bus_ = std::make_unique<Bus>();
  if (folder.empty() || sd_bus_open_user(&bus_->connection) < 0) {
    return "there is no session bus";
  }
  const auto match = [&](const std::string& rule, sd_bus_message_handler_t handler) {
    return sd_bus_add_match(bus_->connection, &bus_->slots.emplace_back(), rule.c_str(), handler, this) >= 0;
  };
  const auto owner = [](const char* name) {
    return fmt::format("type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',arg0='{}'", name);
  };
  const std::string presses = fmt::format(
      "type='signal',sender='{}',path='/component/{}',interface='org.kde.kglobalaccel.Component',"
      "member='globalShortcutPressed'",
      kAccelerators, KWinShortcuts::kComponent);
  if (!match(owner(kKWin), Callbacks::onOwner) || !match(owner(kAccelerators), Callbacks::onOwner) ||
      !match(presses, Callbacks::onPress) ||
      sd_bus_add_fallback(bus_->connection, &bus_->slots.emplace_back(), kPathPrefix, Callbacks::onCall, this) < 0) {
    return "the session bus does not answer";
  }
  const auto answer =
      calls_.call({"org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus"}, "GetNameOwner",
                  [](sd_bus_message* question) { return sd_bus_message_append(question, "s", kKWin); });
  kwin_ = answer.values.at(0).text;
  loadScript();
  if (!problem_.empty()) {
    return problem_;
  }
  rebinds_ = kMostRebinds;
  thread_ = startQuietThread([this] { run(); });
  std::unique_lock lock(mutex_);
  return heard_.wait_for(lock, kPatience, [this] { return hasHeard_; }) ? std::string()
                                                                        : "KWin does not run its scripts";
}

/// Under another path than before: what the one before still tells is for nobody.
void KWinWatch::loadScript() {
  const char* unique = nullptr;
  sd_bus_get_unique_name(bus_->connection, &unique);
  path_ = fmt::format("{}/{}", kPathPrefix, ++loads_);
  problem_ = kwin_.empty() ? "KWin is not on the session bus"
                           : scripts_.run(name_, file_, watchingScript(textOrEmpty(unique), path_));
}

void KWinWatch::ownerChanged(const std::string& name, const std::string& owner) {
  if (name == kAccelerators) {
    if (!owner.empty()) {
      handlers_.shortcutsForgotten();
      rebinds_ = kMostRebinds;
    }
    return;
  }
  kwin_ = owner;
  handlers_.told(nullptr);
  // It owns its name some time before it takes scripts.
  retries_ = owner.empty() ? 0 : kMostRetries;
}

void KWinWatch::told(const std::string& text) {
  const auto message = text.size() <= kLongestMessage ? nlohmann::json::parse(text, nullptr, false)
                                                      : nlohmann::json(nlohmann::json::value_t::discarded);
  if (message.is_discarded() || !handlers_.told(message)) {
    spdlog::warn("KWin's script tells what is not understood");
    return;
  }
  retries_ = 0;
  const std::lock_guard lock(mutex_);
  hasHeard_ = true;
  heard_.notify_all();
}

void KWinWatch::run() {
  pollfd waiting[2] = {{stop_.get(), POLLIN, 0}, {sd_bus_get_fd(bus_->connection), POLLIN, 0}};
  while (waiting[0].revents == 0) {
    int done = 0;
    while ((done = sd_bus_process(bus_->connection, nullptr)) > 0) {
    }
    if (done < 0) {
      spdlog::warn("The session bus has gone; KWin tells nothing any more");
      handlers_.told(nullptr);
      return;
    }
    waiting[1].events = static_cast<int16_t>(std::max(sd_bus_get_events(bus_->connection), 0));
    const int ready = poll(waiting, 2, retries_ > 0 || rebinds_ > 0 ? kRetryMs : kForEver);
    if (ready == 0 && rebinds_ > 0) {
      --rebinds_;
      handlers_.shortcutsForgotten();
    }
    if (ready == 0 && retries_ > 0) {
      --retries_;
      loadScript();
    }
  }
}

std::string scriptFolder() {
  const char* const folder = std::getenv("XDG_RUNTIME_DIR");
  return folder != nullptr ? folder : "";
}

void unloadScriptsOfTheDead(KWinScripts& scripts, const std::string& folder) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    const std::string file = entry.path().filename().string();
    pid_t pid = 0;
    if (!file.starts_with(kFileStart) || !file.ends_with(kFileEnd)) {
      continue;
    }
    const char* const digits = file.data() + kFileStart.size();
    std::from_chars(digits, file.data() + file.size(), pid);
    if (pid > 0 && kill(pid, 0) != 0 && errno == ESRCH) {
      scripts.unload(nameOfScriptOf(pid));
      std::filesystem::remove(entry.path(), error);
    }
  }
}

}  // namespace jumplark::kwin
