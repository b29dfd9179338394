#pragma once

#include <string>

#include "platform/AppViews.h"
#include "platform/Texts.h"

namespace jumplark {

/// One pane of the preferences: decides what the window shows of it. Main thread only.
class JLPreferencesPane {
 public:
  JLPreferencesPane() = default;
  JLPreferencesPane(const JLPreferencesPane&) = delete;
  JLPreferencesPane& operator=(const JLPreferencesPane&) = delete;
  virtual ~JLPreferencesPane() = default;

  /// In English also the label in the toolbar.
  virtual std::string identifier() const = 0;
  std::string toolbarItemLabel() const { return localized(identifier().c_str()); }
  virtual PaneImage toolbarItemImage() const = 0;

  /// The window that shows the pane; it outlives the pane. Called once, before everything below.
  virtual void loadView(PreferencesWindowView& view) = 0;
  virtual void viewWillAppear() {}
  virtual void viewDidDisappear() {}
};

}  // namespace jumplark
