#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "backends/recorded/RecordedAccessibility.h"
#include "backends/recorded/RecordedAppViews.h"
#include "backends/recorded/RecordedCrashReports.h"
#include "backends/recorded/RecordedDefaults.h"
#include "backends/recorded/RecordedDesktop.h"
#include "backends/recorded/RecordedDesktopServices.h"
#include "backends/recorded/RecordedFiles.h"
#include "backends/recorded/RecordedHttp.h"
#include "backends/recorded/RecordedInput.h"
#include "backends/recorded/RecordedInputSources.h"
#include "backends/recorded/RecordedMenus.h"
#include "backends/recorded/RecordedNotifications.h"
#include "backends/recorded/RecordedRandom.h"
#include "backends/recorded/RecordedScreens.h"
#include "backends/recorded/RecordedShortcuts.h"
#include "backends/recorded/RecordedSystemFacts.h"
#include "backends/recorded/RecordedViews.h"
#include "backends/recorded/RecordedWorkspace.h"
#include "backends/recorded/VirtualQueues.h"
#include "platform/Platform.h"

namespace jumplark {

/// A whole platform in memory, as a recording describes it. Its parts are open to a test:
///
///     RecordedPlatform desktop(RecordedDesktop::fromFile("editor.json"));
///     const Token installed = desktop.install();
///     desktop.queues().advance(100ms);
///
/// To replace one interface, change the Platform that platform() gives and install that.
class RecordedPlatform {
 public:
  /// In virtual time.
  explicit RecordedPlatform(const RecordedDesktop& desktop);
  /// On queues of the caller, which outlive this.
  RecordedPlatform(const RecordedDesktop& desktop, Queues& queues);
  /// Ends what its queues are still doing first.
  ~RecordedPlatform();
  RecordedPlatform(const RecordedPlatform&) = delete;
  RecordedPlatform& operator=(const RecordedPlatform&) = delete;
  /// A recording given as text; throws RecordingError.
  static std::unique_ptr<RecordedPlatform> fromText(std::string_view json);

  Platform platform();
  Token install();

  /// The virtual queues; std::logic_error when the caller gave others.
  VirtualQueues& queues();
  RecordedAccessibility& accessibility() { return accessibility_; }
  RecordedWorkspace& workspace() { return workspace_; }
  RecordedScreens& screens() { return screens_; }
  RecordedInput& input() { return input_; }
  RecordedRandom& random() { return random_; }
  RecordedDefaults& defaults() { return defaults_; }
  RecordedInputSources& inputSources() { return inputSources_; }
  RecordedShortcuts& shortcuts() { return shortcuts_; }
  RecordedViews& views() { return views_; }
  RecordedHttp& http() { return http_; }
  RecordedFiles& files() { return files_; }
  RecordedSystemFacts& facts() { return facts_; }
  RecordedAppViews& appViews() { return appViews_; }
  RecordedDesktopServices& services() { return services_; }
  RecordedLoginItem& loginItem() { return loginItem_; }
  RecordedCrashReports& crashReports() { return crashReports_; }
  RecordedNotifications& notifications() { return notifications_; }
  RecordedMenus& menus() { return menus_; }

  /// As when the application ends: it is in no list any more, and reads of its element fail with invalidElement.
  void terminate(int32_t pid);

 private:
  std::unique_ptr<VirtualQueues> ownQueues_;
  Queues& queues_;
  RecordedWorkspace workspace_;
  RecordedScreens screens_;
  RecordedAccessibility accessibility_;
  RecordedInput input_;
  RecordedRandom random_;
  RecordedDefaults defaults_;
  RecordedInputSources inputSources_;
  RecordedShortcuts shortcuts_;
  RecordedViews views_;
  RecordedHttp http_;
  RecordedFiles files_;
  RecordedSystemFacts facts_;
  RecordedAppViews appViews_;
  RecordedDesktopServices services_;
  RecordedLoginItem loginItem_;
  RecordedCrashReports crashReports_;
  RecordedNotifications notifications_;
  RecordedMenus menus_;
};

}  // namespace jumplark
