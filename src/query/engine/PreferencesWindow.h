#pragma once

namespace jumplark {

/// What an activation asks of the preferences. Main thread only.
class PreferencesWindow {
 public:
  virtual ~PreferencesWindow() = default;
  virtual void showPreferencesWindow() = 0;
  virtual void hidePreferencesWindow() = 0;
};

}  // namespace jumplark
