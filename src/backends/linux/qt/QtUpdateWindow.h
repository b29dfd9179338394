#pragma once

#include <QDialog>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/AppViews.h"

class QCheckBox;
class QDialogButtonBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;

namespace jumplark {

class OwnedDialog;

class TaskQueue;

/// The window about a new version: title, text, a scrolling page of notes, buttons.
class QtUpdateWindow final : public UpdateWindowView {
 public:
  QtUpdateWindow(TaskQueue& mainQueue, std::function<void(QWidget& window)> bringToFront,
                 UpdateWindowCallbacks callbacks);
  ~QtUpdateWindow() override;
  QtUpdateWindow(const QtUpdateWindow&) = delete;
  QtUpdateWindow& operator=(const QtUpdateWindow&) = delete;

  void setModel(const UpdateWindowModel& model) override;
  void show(bool takesKeyboard) override;

 private:
  void fillButtons();
  void answer(int button);

  TaskQueue& mainQueue_;
  const std::function<void(QWidget& window)> bringToFront_;
  /// Gone with this: what is on its way then reaches nobody.
  const std::shared_ptr<UpdateWindowCallbacks> callbacks_;
  std::vector<std::string> shownButtons_;
  std::unique_ptr<OwnedDialog> window_;
  QLabel* title_;
  QLabel* text_;
  QProgressBar* progress_;
  QPlainTextEdit* notes_;
  QCheckBox* option_;
  QDialogButtonBox* buttons_;
};

}  // namespace jumplark
