#include "backends/recorded/DesktopRecorder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <nlohmann/json.hpp>
#include <system_error>

#include "backends/recorded/MenuCommandJson.h"
#include "backends/recorded/RecordedValues.h"
#include "platform/Utf8.h"
#include "platform/Workspace.h"

namespace jumplark {
namespace {

using nlohmann::json;

[[noreturn]] void throwErrno(const std::string& path) {
  throw std::system_error(errno, std::generic_category(), path);
}

/// Writes all of `text` to a path that exists already or is made for the user alone.
void writeAll(const std::string& path, const std::string& text) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
  if (file < 0) {
    throwErrno(path);
  }
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(file, text.data() + done, text.size() - done);
    if (count < 0 && errno != EINTR) {
      const int failure = errno;
      ::close(file);
      errno = failure;
      throwErrno(path);
    }
    done += static_cast<size_t>(std::max<ssize_t>(count, 0));
  }
  if (::close(file) != 0) {
    throwErrno(path);
  }
}

}  // namespace

std::vector<Rect> RecordingScreens::frames() {
  std::vector<Rect> frames = live_.frames();
  const std::scoped_lock lock(mutex_);
  frames_ = frames;
  return frames;
}

Point RecordingScreens::pointerLocation() {
  const Point pointer = live_.pointerLocation();
  const std::scoped_lock lock(mutex_);
  pointer_ = pointer;
  return pointer;
}

Token RecordingScreens::onFramesChanged(std::function<void()> callback) {
  return live_.onFramesChanged(std::move(callback));
}

std::vector<Rect> RecordingScreens::seenFrames() {
  {
    const std::scoped_lock lock(mutex_);
    if (frames_) {
      return *frames_;
    }
  }
  return frames();
}

Point RecordingScreens::seenPointer() {
  {
    const std::scoped_lock lock(mutex_);
    if (pointer_) {
      return *pointer_;
    }
  }
  return pointerLocation();
}

DesktopRecorder::DesktopRecorder(const Platform& live)
    : live_(live), accessibility_(*live.accessibility), screens_(*live.screens) {}

Platform DesktopRecorder::platform() {
  Platform platform = live_;
  platform.accessibility = &accessibility_;
  platform.screens = &screens_;
  return platform;
}

std::string DesktopRecorder::applicationsToJson(const std::map<int32_t, std::string>& elements,
                                                const std::optional<RunningApplication>& dock) const {
  std::vector<RunningApplication> running = live_.workspace->applicationsFrontToBack();
  const auto add = [&](const std::optional<RunningApplication>& application) {
    const auto isSame = [&](const RunningApplication& other) { return other.pid == application->pid; };
    if (application && std::none_of(running.begin(), running.end(), isSame)) {
      running.push_back(*application);
    }
  };
  add(dock);
  for (const auto& [pid, element] : elements) {
    add(live_.workspace->runningApplicationWithPid(pid));
  }
  json list = json::array();
  for (const RunningApplication& application : running) {
    const bool isDock = dock && application.pid == dock->pid;
    const std::string& bundle = isDock ? dock->bundleIdentifier : application.bundleIdentifier;
    json entry = {
        {"pid", application.pid}, {"bundle_id", wellFormedUtf8(bundle)}, {"name", wellFormedUtf8(application.name)}};
    if (const auto element = elements.find(application.pid); element != elements.end()) {
      entry["element"] = element->second;
    }
    if (const auto menus = menus_.find(application.pid); menus != menus_.end() && !menus->second.empty()) {
      entry["menus"] = menu_command_json::toJson(menus->second);
    }
    list.push_back(std::move(entry));
  }
  return list.dump();
}

std::string DesktopRecorder::text() {
  const RecordingAccessibility::Notes notes = accessibility_.notes();
  const auto docks = live_.workspace->runningApplicationsWithBundleIdentifier(kDockBundleIdentifier);
  std::optional<RunningApplication> dock = docks.empty() ? std::nullopt : std::optional(docks.front());
  if (dock && dock->bundleIdentifier.empty()) {
    dock->bundleIdentifier = kDockBundleIdentifier;  // an empty one would be that of others too
  }
  json screens = json::array();
  for (const Rect& frame : screens_.seenFrames()) {
    screens.push_back({frame.x, frame.y, frame.width, frame.height});
  }
  const Point pointer = screens_.seenPointer();
  const auto inFront = live_.workspace->frontmostApplication();
  const json frontmost = frontmost_ ? json(*frontmost_) : inFront ? json(inFront->pid) : json(nullptr);
  const json dockIdentifier = dock ? json(wellFormedUtf8(dock->bundleIdentifier)) : json(nullptr);

  std::string text = "{\n\"screens\": " + screens.dump();
  text += ",\n\"pointer\": " + json{pointer.x, pointer.y}.dump();
  text += ",\n\"frontmost\": " + frontmost.dump();
  text += ",\n\"applications\": " + applicationsToJson(notes.applicationElements, dock);
  text += ",\n\"dock\": " + dockIdentifier.dump();
  text += ",\n\"hits\": " + notes.hits;
  text += ",\n\"elements\": {";
  const char* separator = "\n";
  for (const auto& [id, element] : notes.elements) {
    text += separator + json(id).dump() + ": " + element;
    separator = ",\n";
  }
  return text + "\n}}\n";
}

void DesktopRecorder::save(const std::string& path) {
  const std::string content = text();
  struct stat existing {};
  if (::stat(path.c_str(), &existing) == 0 && !S_ISREG(existing.st_mode)) {
    writeAll(path, content);  // a terminal or a pipe
    return;
  }
  const std::string unfinished = path + ".part";
  try {
    writeAll(unfinished, content);
  } catch (...) {
    ::unlink(unfinished.c_str());
    throw;
  }
  if (::rename(unfinished.c_str(), path.c_str()) != 0) {
    const int failure = errno;
    ::unlink(unfinished.c_str());
    errno = failure;
    throwErrno(path);
  }
}

}  // namespace jumplark
