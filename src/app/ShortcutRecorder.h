#pragma once

#include <functional>
#include <optional>
#include <string>

#include "platform/AppViews.h"
#include "platform/Defaults.h"
#include "platform/GlobalShortcuts.h"
#include "platform/Token.h"

namespace jumplark {

/// The control with which the user gives a shortcut anew. Clicked, it records: the next key combination that can be a
/// shortcut is stored under the defaults key. Escape, another click and the loss of the keyboard leave the old one,
/// Backspace and Delete remove it. A combination that another program owns is refused with a message; of one that can
/// be no shortcut a hint says why, and the recording goes on. Main thread only.
class ShortcutRecorder {
 public:
  struct Hooks {
    std::function<Token()> suspendShortcut;  ///< the registered shortcut is let go until the token is destroyed
    std::function<void()> changed;           ///< model() gives something else
    std::function<void(const Alert& alert)> refuse;
  };

  /// `standard` is what the program comes with.
  ShortcutRecorder(std::string defaultsKey, const Shortcut& standard, Hooks hooks);
  ShortcutRecorder(const ShortcutRecorder&) = delete;
  ShortcutRecorder& operator=(const ShortcutRecorder&) = delete;
  ~ShortcutRecorder();

  RecorderModel model() const;

  void click();
  /// Removes the shortcut or, while recording, goes back to the old one.
  void clear();
  /// Goes back to the standard shortcut.
  void reset();
  void keyDown(const KeyEvent& event);
  void stop();

 private:
  std::optional<Shortcut> shortcut() const;
  void record(const Shortcut& shortcut);
  void refuse(const std::string& reason);
  void store(const std::optional<Shortcut>& shortcut);

  std::string defaultsKey_;
  const Shortcut standard_;
  Hooks hooks_;
  bool isRecording_ = false;
  std::string hint_;
  Token suspension_;
  Token observation_;
};

}  // namespace jumplark
