#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AppViews.h"

namespace jumplark {

class QtViews;
class TaskQueue;

/// The icon in the panel and the preferences, made with Qt. Made after the QtViews and destroyed before it, when every
/// view it made has gone. Main thread only.
class QtAppViews final : public AppViews {
 public:
  QtAppViews(QtViews& views, TaskQueue& mainQueue);
  ~QtAppViews() override;

  std::unique_ptr<StatusItemView> makeStatusItem(const StatusItem& item) override;
  bool hasStatusBar() override;
  std::unique_ptr<PreferencesWindowView> makePreferencesWindow(
      const std::string& title, const std::vector<std::optional<PaneDescription>>& panes) override;
  std::unique_ptr<UpdateWindowView> makeUpdateWindow(UpdateWindowCallbacks callbacks) override;
  std::unique_ptr<CrashWindowView> makeCrashWindow(CrashWindowCallbacks callbacks) override;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace jumplark
