#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/Views.h"

namespace jumplark {

/// An entry of a menu; without a title it is the line between two groups.
struct MenuEntry {
  std::string title;
  std::function<void()> chosen;  ///< called on the main queue
  std::string shortcut = {};     ///< shown beside it, as GlobalShortcuts::describe() writes it; empty for none
};

/// How the program's icon in the panel looks. Images are named as in an icon theme.
struct StatusItem {
  double length = 0;  ///< points
  std::string title;  ///< said, not shown
  std::string image;  ///< takes the panel's colour where the desktop does that
  std::string alternateImage;
};

/// The icon in the panel, from its making until its end. Where the panel comes later, or is started again, the icon
/// appears then. Main thread only.
class StatusItemView {
 public:
  virtual ~StatusItemView() = default;
  virtual void setMenu(const std::string& title, std::vector<MenuEntry> entries) = 0;
};

enum class PaneImage { general, advanced, info, caution, application };

/// One button of the preferences' toolbar and what it leads to.
struct PaneDescription {
  std::string identifier;
  std::string label;
  PaneImage image = PaneImage::general;
};

/// What the shortcut recorder shows.
struct RecorderModel {
  std::string text;
  std::string toolTip;
  bool isRecording = false;
  bool canClear = false;  ///< there is a second, smaller button
  std::string clearToolTip;
  std::string resetTitle;  ///< of a button that brings the standard shortcut back; empty for none
  std::string hint;        ///< why the last key was not taken; empty for nothing
  bool operator==(const RecorderModel&) const = default;
};

struct GeneralPaneModel {
  RecorderModel recorder;
  bool showsIcon = true;
  std::string iconNote;
  bool launchesAtLogin = false;
  std::string loginNote;
  bool staysOpen = false;
  bool offersUpdates = false;  ///< there is a switch for the next one
  bool looksForUpdates = false;
  bool operator==(const GeneralPaneModel&) const = default;
};

struct AdvancedPaneModel {
  std::vector<std::string> layouts;  ///< the first stands for "none"
  size_t selectedLayout = 0;
  bool offersMetrics = false;  ///< there is a switch for them
  bool metricsEnabled = false;
  bool metricsCanChange = false;
  std::string metricsNote;
  std::string metricsLink;  ///< text and target; empty for none
  bool operator==(const AdvancedPaneModel&) const = default;
};

struct UsagePaneModel {
  struct Row {
    std::string title;
    std::string today;
    std::string yesterday;
    std::string record;
    std::string recordDate;
    std::string total;
    bool operator==(const Row&) const = default;
  };
  std::vector<Row> rows;
  bool operator==(const UsagePaneModel&) const = default;
};

struct HelpPaneModel {
  struct Finding {
    enum class Level { ok, warning, failure };
    Level level = Level::ok;
    std::string name;
    std::string text;
    std::string remedy;  ///< empty when all is well
    bool operator==(const Finding&) const = default;
  };
  std::vector<std::string> buttons;
  bool isChecking = false;
  std::string summary;  ///< whether all is well; empty before anything was looked at
  Finding::Level worst = Finding::Level::ok;
  bool showsAll = false;        ///< also what is well
  std::vector<Finding> health;  ///< what is to be shown
  bool operator==(const HelpPaneModel&) const = default;
};

struct AboutPaneModel {
  std::string name;
  std::string version;
  std::string summary;
  std::string licence;
  std::string link;  ///< text and target; empty for none
  bool operator==(const AboutPaneModel&) const = default;
};

/// What the user does in the preferences. Every call comes on the main thread.
class PreferencesViewDelegate {
 public:
  virtual ~PreferencesViewDelegate() = default;
  /// The pane has come into view or has left it, also with the window.
  virtual void paneWillAppear(const std::string& identifier) = 0;
  virtual void paneDidDisappear(const std::string& identifier) = 0;

  virtual void recorderClicked() = 0;
  virtual void recorderClearClicked() = 0;
  virtual void recorderResetClicked() = 0;
  /// While it is recording: a key that is no modifier.
  virtual void recorderKeyDown(const KeyEvent& event) = 0;
  /// The recorder no longer gets the keys.
  virtual void recorderLostKeyboard() = 0;

  virtual void showIconToggled(bool on) = 0;
  virtual void launchAtLoginToggled(bool on) = 0;
  virtual void staysOpenToggled(bool on) = 0;
  virtual void updatesToggled(bool on) = 0;
  virtual void layoutChosen(size_t index) = 0;
  virtual void metricsToggled(bool on) = 0;
  virtual void metricsLinkClicked() = 0;
  virtual void helpButtonClicked(size_t index) = 0;
  virtual void healthRequested() = 0;
  virtual void aboutLinkClicked() = 0;
  virtual void allHealthToggled(bool on) = 0;
};

/// The one preferences window: a row of buttons, one a pane, above the chosen pane. It stays on screen when the program
/// is hidden. Main thread only.
class PreferencesWindowView {
 public:
  virtual ~PreferencesWindowView() = default;
  /// One delegate at a time; none after null.
  virtual void setDelegate(PreferencesViewDelegate* delegate) = 0;
  virtual void makeKeyAndOrderFront() = 0;
  virtual void close() = 0;
  virtual bool isVisible() const = 0;
  virtual void selectPane(const std::string& identifier) = 0;
  /// A message that belongs to this window: it keeps the keyboard from the window, and goes with it. One at a time, in
  /// their order. Calls back like Views::showAlert.
  virtual void showSheet(const Alert& alert, std::function<void(int button)> chosen) = 0;

  virtual void setGeneralPane(const GeneralPaneModel& model) = 0;
  virtual void setAdvancedPane(const AdvancedPaneModel& model) = 0;
  virtual void setUsagePane(const UsagePaneModel& model) = 0;
  virtual void setHelpPane(const HelpPaneModel& model) = 0;
  virtual void setAboutPane(const AboutPaneModel& model) = 0;
};

/// What the window about a new version shows.
struct UpdateWindowModel {
  bool isBusy = false;  ///< something moves that says so
  std::string title;
  std::string text;
  std::string notes;   ///< plain text of any length, in lines; empty for none
  std::string option;  ///< a check box; empty for none
  bool isOptionOn = false;
  std::vector<std::string> buttons;  ///< the first is the default one
  bool operator==(const UpdateWindowModel&) const = default;
};

/// What the user does in the window about a new version. Called on the main queue; never after the view's end.
struct UpdateWindowCallbacks {
  /// The index of the button pressed, or -1 when the user wants the window closed, which is for the owner to do. Not
  /// called for a model whose buttons were replaced meanwhile.
  std::function<void(int button)> chosen;
  std::function<void(bool on)> optionToggled;
};

/// The window about a new version, on screen from show() until its end. Main thread only.
class UpdateWindowView {
 public:
  virtual ~UpdateWindowView() = default;
  virtual void setModel(const UpdateWindowModel& model) = 0;
  /// In front of the other windows; without the keyboard it leaves the user's typing alone.
  virtual void show(bool takesKeyboard) = 0;
};

struct CrashWindowModel {
  std::string title;
  std::string text;
  std::string report;          ///< lines, shown in full and unchanged
  bool offersSending = false;  ///< there is a button "Send"
  bool canSend = false;        ///< it can be pressed
  std::string status;          ///< what came of the last button; empty for nothing
  bool operator==(const CrashWindowModel&) const = default;
};

/// What the user does in the window about a crash. Called on the main queue; never after the view's end.
struct CrashWindowCallbacks {
  std::function<void()> copied;                             ///< the report is on the clipboard now
  std::function<void(const std::string& path)> saveChosen;  ///< absolute; the user has agreed to replace a file there
  std::function<void()> sendPressed;
  std::function<void()> closed;  ///< the user wants the window closed, which is for the owner to do
};

/// The window about an earlier crash, with buttons to copy, to save, where it is offered to send, and to close; on
/// screen from show() until its end. Main thread only.
class CrashWindowView {
 public:
  virtual ~CrashWindowView() = default;
  virtual void setModel(const CrashWindowModel& model) = 0;
  virtual void show() = 0;
};

/// Makes what the user meets besides the query: the icon and the preferences. Main thread only.
class AppViews {
 public:
  virtual ~AppViews() = default;
  virtual std::unique_ptr<StatusItemView> makeStatusItem(const StatusItem& item) = 0;
  /// Whether the desktop has a place for status items now.
  virtual bool hasStatusBar() = 0;
  /// `panes` from left to right; an entry without a value is a space that takes what room is left. Null when a part of
  /// the program that the window needs cannot be loaded.
  virtual std::unique_ptr<PreferencesWindowView> makePreferencesWindow(
      const std::string& title, const std::vector<std::optional<PaneDescription>>& panes) = 0;
  virtual std::unique_ptr<UpdateWindowView> makeUpdateWindow(UpdateWindowCallbacks callbacks) = 0;
  virtual std::unique_ptr<CrashWindowView> makeCrashWindow(CrashWindowCallbacks callbacks) = 0;
};

}  // namespace jumplark
