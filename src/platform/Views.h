#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/Menus.h"
#include "platform/Queues.h"

namespace jumplark {

/// Levels of windows, as the core hands them to the views: a higher one lies in front.
namespace window_level {
inline constexpr int dock = 20;
inline constexpr int screenSaver = 1000;
}  // namespace window_level

/// A colour in generic RGB; each part 0 to 1.
struct Color {
  double red = 0;
  double green = 0;
  double blue = 0;
  double alpha = 1;
  bool operator==(const Color&) const = default;
};

/// A key press in a window of this program.
struct KeyEvent {
  int64_t keyCode = 0;                      ///< a virtual key code, see key_code
  uint64_t flags = 0;                       ///< held modifiers, see modifier_flag
  std::string characters;                   ///< what the key types with them; UTF-8
  std::string charactersIgnoringModifiers;  ///< a Latin letter also on a layout that has none; UTF-8
  bool isRepeat = false;
};

/// A command of a menu as a row of the list under the field. Texts are UTF-8; marks are those of their UTF-16 units
/// that the query names, in order.
struct CommandRow {
  std::string path;  ///< the menus that it is in, from the outermost one; empty for none
  std::vector<Range> pathMarks;
  std::string title;
  std::vector<Range> titleMarks;
  std::string keys;  ///< its own shortcut; may be empty
  MenuCommand::Mark mark = MenuCommand::Mark::none;
  bool isOn = false;  ///< of one with a mark
  bool isEnabled = true;
  bool operator==(const CommandRow&) const = default;
};

/// The rows that a list of commands shows of all that it has.
struct CommandRows {
  std::vector<CommandRow> rows;
  size_t first = 0;                ///< the number of the first of them among all
  size_t count = 0;                ///< of all
  std::optional<size_t> selected;  ///< which of `rows`; none when it is not among them
  bool operator==(const CommandRows&) const = default;
};

/// What the query window tells its controller. Every call comes on the main thread.
class QueryWindowViewDelegate {
 public:
  virtual ~QueryWindowViewDelegate() = default;
  /// The field's text was changed, by the user or by setText.
  virtual void textDidChange(const std::string& text) = 0;
  /// A key went down in this program while the key monitor is installed; true keeps it from the field.
  virtual bool monitoredKeyDown(const KeyEvent& event) = 0;
  /// A key combination with Command that the field asks for after the monitor has let it pass; true when it was used.
  virtual bool performKeyEquivalent(const KeyEvent& event) = 0;
  /// A key that reaches the window itself, not its field.
  virtual void keyDown(const KeyEvent& event) = 0;
  virtual void keyUp(const KeyEvent& event) = 0;
  /// The window had the keyboard and has lost it, or the user clicked outside it.
  virtual void didResignKey() = 0;
  /// Menus that were open when the window was shown have gone since, as the keyboard was taken from them.
  virtual void menusDidClose() {}
  /// The user clicked one of the rows that show of the list of commands; counted from 0.
  virtual void commandRowPressed(size_t row) = 0;
  /// The user wants to see what comes after (before, for a negative number) the rows that show.
  virtual void commandsScrolled(int rows) = 0;
};

/// The window into which the user types: a single-line field, a spinner, and below them a text and a list of commands.
/// It exists from its making on, hidden, so that showing it is quick. Main thread only. Rectangles are in screen
/// coordinates with a bottom-left origin.
class QueryWindowView {
 public:
  virtual ~QueryWindowView() = default;
  /// One delegate at a time; none after null.
  virtual void setDelegate(QueryWindowViewDelegate* delegate) = 0;

  virtual void setLevel(int level) = 0;
  virtual Rect frame() const = 0;
  virtual void setFrameTopLeft(Point topLeft) = 0;
  /// Shows the window in front of the others of its level and gives it the keyboard.
  virtual void makeKeyAndOrderFront() = 0;
  virtual void orderOut() = 0;
  virtual bool isVisible() const = 0;

  virtual std::string text() const = 0;
  virtual void setText(const std::string& text) = 0;
  /// The field takes, or gives up, the typing within the window; false when it may not.
  virtual bool makeFieldFirstResponder() = 0;
  virtual bool resignFieldFirstResponder() = 0;
  /// Whether every key press in this program is shown to monitoredKeyDown before the field gets it.
  virtual void setKeyMonitorInstalled(bool installed) = 0;
  /// True while an input method is composing in the field.
  virtual bool hasMarkedText() const = 0;

  virtual void startSpinner() = 0;
  /// 0 hidden to 1 shown; changes gradually in `duration`.
  virtual void setSpinnerOpacity(double opacity, Duration duration) = 0;
  /// A text under the field, of any length, that tells why there is nothing to choose; empty removes it.
  virtual void setNotice(const std::string& notice) = 0;
  /// The list under the field, which grows downwards, as far as the work area permits; no rows remove it.
  virtual void setCommands(const CommandRows& commands) = 0;
  /// What a screen reader says of the selected match: its text and its label. Empty when nothing is selected.
  virtual void announceSelection(const std::string& description) = 0;
};

/// The label in the middle of a box. Sizes in points of the screen the box is on.
struct LabelLayer {
  std::string text;
  std::string fontFamily = "HelveticaNeue-Bold";
  double fontSize = 13;
  double strokeWidth = -4;  ///< per cent of the font size; negative: the letters are filled and outlined
  Color foreground{0, 0, 0, 1};
  Color stroke{1, 1, 1, 1};
  Color shadow{1, 1, 1, 1};  ///< a glow around the letters
  double shadowRadius = 3;
};

/// One highlighted element: a filled, outlined, rounded box. The frame is in screen coordinates with a bottom-left
/// origin; radius and width are in points.
struct BoxLayer {
  Rect frame;
  Color background;
  double cornerRadius = 5;
  double borderWidth = 1;
  Color border{0, 0, 0, 1};
  LabelLayer label;
};

/// A transparent sheet over every screen, which lets clicks through and never takes the keyboard. Main thread only. The
/// rectangle of the query window is left free, so that what is typed can be read.
class OverlayView {
 public:
  virtual ~OverlayView() = default;
  virtual void setLevel(int level) = 0;
  /// Shows it without taking the keyboard.
  virtual void orderFront() = 0;
  virtual void orderOut() = 0;
  /// Replaces everything drawn, in one screen update; later layers lie in front.
  virtual void setLayers(std::vector<BoxLayer> layers) = 0;
};

/// The box over one element and the text bubble beside it. It lets clicks through and never takes the keyboard. Main
/// thread only.
class DiscoveryView {
 public:
  virtual ~DiscoveryView() = default;
  virtual void setLevel(int level) = 0;
  /// Screen coordinates with a bottom-left origin; may be empty.
  virtual void setAnchorFrame(const Rect& frame) = 0;
  /// The colour over the anchor's frame, and by its alpha how much of it shows; alpha 0 shows nothing.
  virtual void setAnchorColor(const Color& color) = 0;
  virtual void orderFrontRegardless() = 0;
  virtual void orderOut() = 0;
  /// Shows lines of text in a bubble above the anchor's frame (below it where there is no room); replaces the one
  /// shown.
  virtual void showPopover(const std::string& text) = 0;
  virtual void closePopover() = 0;
};

/// A message with buttons. The texts are shown as they are.
struct Alert {
  std::string title;
  std::string text;
  std::vector<std::string> buttons;  ///< the first is the default one
  bool takesKeyboard = true;         ///< false: what the user types goes on to where it went
};

/// Makes the windows of this program. Calls come from the main thread.
class Views {
 public:
  virtual ~Views() = default;
  virtual std::unique_ptr<QueryWindowView> makeQueryWindow() = 0;
  virtual std::unique_ptr<OverlayView> makeOverlay() = 0;
  virtual std::unique_ptr<DiscoveryView> makeDiscovery() = 0;
  /// Shows a message, after those that are not answered yet, and calls back on the main queue with the index of the
  /// button chosen (-1: closed otherwise). Does not wait.
  virtual void showAlert(const Alert& alert, std::function<void(int button)> chosen) = 0;
  /// Brings this program in front of the others, as far as its windows are shown.
  virtual void activateIgnoringOtherApps() = 0;
};

}  // namespace jumplark
