#include "backends/linux/system/FolderWatch.h"

#include <poll.h>
#include <spdlog/spdlog.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <utility>

#include "backends/linux/system/QuietThread.h"
#include "backends/linux/system/WholeFile.h"

namespace jumplark {
namespace {

// A file that is still being written is left alone until its writer closes it.
constexpr uint32_t kEvents =
    IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;
constexpr uint32_t kFolderGone = IN_DELETE_SELF | IN_MOVE_SELF | IN_IGNORED | IN_UNMOUNT;

}  // namespace

FolderWatch::FolderWatch(std::filesystem::path folder, std::string fileName, std::function<void()> onChange,
                         Missing missing)
    : folder_(std::move(folder)),
      fileName_(std::move(fileName)),
      onChange_(std::move(onChange)),
      missing_(missing),
      wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      notify_(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  if (!wake_) {
    throw std::system_error(errno, std::generic_category(), "Cannot make an event descriptor");
  }
  thread_ = startQuietThread([this] { run(); });
}

FolderWatch::~FolderWatch() {
  stopping_ = true;
  poke();
  thread_.join();
}

void FolderWatch::poke() {
  const uint64_t one = 1;
  // Fails only when the counter is full, and then the thread wakes anyway.
  static_cast<void>(!::write(wake_.get(), &one, sizeof one));
}

/// Whether a watch began.
bool FolderWatch::watchFolder() {
  if (watch_ >= 0) {
    return false;
  }
  if (missing_ == Missing::make) {
    makePrivateFolders(folder_);
  }
  watch_ = ::inotify_add_watch(notify_.get(), folder_.c_str(), kEvents);
  if (watch_ < 0 && missing_ == Missing::make && !std::exchange(warned_, true)) {
    spdlog::warn("{} cannot be watched ({}): what other programs change there is not noticed",
                 (folder_ / fileName_).string(), std::generic_category().message(errno));
  }
  return watch_ >= 0;
}

/// Whether something happened to the file.
bool FolderWatch::takeEvents() {
  alignas(inotify_event) std::array<char, 4096> buffer;
  bool happened = false;
  ssize_t size = 0;
  while ((size = ::read(notify_.get(), buffer.data(), buffer.size())) > 0) {
    for (ssize_t at = 0; at < size;) {
      inotify_event event{};
      std::memcpy(&event, buffer.data() + at, sizeof event);
      const char* name = event.len > 0 ? buffer.data() + at + sizeof event : "";
      at += static_cast<ssize_t>(sizeof event + event.len);
      const bool overflow = (event.mask & IN_Q_OVERFLOW) != 0;
      if (event.wd == watch_ && (event.mask & kFolderGone) != 0) {
        ::inotify_rm_watch(notify_.get(), watch_);  // a folder that was moved away is still watched
        watch_ = -1;
      }
      happened = happened || overflow || watch_ < 0 || (event.wd == watch_ && (fileName_.empty() || fileName_ == name));
    }
  }
  return happened;
}

void FolderWatch::run() {
  while (!stopping_) {
    // What happened before the watch began is found by the call that follows it.
    if (watchFolder()) {
      onChange_();
    }
    std::array<pollfd, 2> polled{{{wake_.get(), POLLIN, 0}, {notify_.get(), POLLIN, 0}}};
    if (::poll(polled.data(), polled.size(), -1) < 0) {
      continue;
    }
    uint64_t pokes = 0;
    const bool poked = ::read(wake_.get(), &pokes, sizeof pokes) > 0;
    const bool happened = takeEvents();
    if (!stopping_ && (poked || happened)) {
      onChange_();
    }
  }
}

}  // namespace jumplark
