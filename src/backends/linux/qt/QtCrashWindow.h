#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/AppViews.h"

class QLabel;
class QPlainTextEdit;
class QPushButton;
class QWidget;

namespace jumplark {

class OwnedDialog;

class TaskQueue;

/// The window about an earlier crash: a few words, the report in a scrolling page, a line of status, buttons.
class QtCrashWindow final : public CrashWindowView {
 public:
  QtCrashWindow(TaskQueue& mainQueue, std::function<void(QWidget& window)> bringToFront,
                CrashWindowCallbacks callbacks);
  ~QtCrashWindow() override;
  QtCrashWindow(const QtCrashWindow&) = delete;
  QtCrashWindow& operator=(const QtCrashWindow&) = delete;

  void setModel(const CrashWindowModel& model) override;
  void show() override;

 private:
  void copy();
  void chooseFile();
  /// Calls back on the main queue, unless this has gone by then.
  void tell(std::function<void(const CrashWindowCallbacks&)> call);

  TaskQueue& mainQueue_;
  const std::function<void(QWidget& window)> bringToFront_;
  /// Gone with this: what is on its way then reaches nobody.
  const std::shared_ptr<CrashWindowCallbacks> callbacks_;
  std::unique_ptr<OwnedDialog> window_;
  QLabel* title_;
  QLabel* text_;
  QPlainTextEdit* report_;
  QLabel* status_;
  QPushButton* send_;
};

}  // namespace jumplark
