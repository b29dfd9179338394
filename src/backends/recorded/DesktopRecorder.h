#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "backends/recorded/RecordingAccessibility.h"
#include "platform/Menus.h"
#include "platform/Platform.h"
#include "platform/Screens.h"
#include "platform/Workspace.h"

namespace jumplark {

/// Passes on to other screens and remembers what they answered last.
class RecordingScreens : public Screens {
 public:
  explicit RecordingScreens(Screens& live) : live_(live) {}
  std::vector<Rect> frames() override;
  Point pointerLocation() override;
  Token onFramesChanged(std::function<void()> callback) override;

  /// As last seen; asked for now when nobody did yet.
  std::vector<Rect> seenFrames();
  Point seenPointer();

 private:
  Screens& live_;
  std::mutex mutex_;
  std::optional<std::vector<Rect>> frames_;
  std::optional<Point> pointer_;
};

/// Makes a recording of a desktop from what a run reads of it: install platform(), do the reads, save().
///
///     DesktopRecorder recorder(live);
///     { const Token installed = Platform::install(recorder.platform()); enumerate(); }
///     recorder.save("editor.json");
///
/// Element ids are the references' texts, so that hashes are those of the live desktop. What a password field holds is
/// never written. The same reads give the same text.
class DesktopRecorder {
 public:
  /// The interfaces of `live` outlive this.
  explicit DesktopRecorder(const Platform& live);

  /// The live platform, with accessibility and screens that are recorded.
  Platform platform();
  /// The application that the recording shows as the frontmost one; without this it is the one in front at the end.
  void setFrontmost(int32_t pid) { frontmost_ = pid; }

  /// The commands of menus that an application of the recording has.
  void setMenus(int32_t pid, std::vector<MenuCommand> commands) { menus_[pid] = std::move(commands); }

  std::string text();
  /// Replaces the file only when all is written; readable by the user alone. Throws std::system_error.
  void save(const std::string& path);

 private:
  std::string applicationsToJson(const std::map<int32_t, std::string>& elements,
                                 const std::optional<RunningApplication>& dock) const;

  Platform live_;
  RecordingAccessibility accessibility_;
  RecordingScreens screens_;
  std::optional<int32_t> frontmost_;
  std::map<int32_t, std::vector<MenuCommand>> menus_;
};

}  // namespace jumplark
