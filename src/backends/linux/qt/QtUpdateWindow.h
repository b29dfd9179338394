#pragma once

#include <QDialog>
#include <QPointer>
#include <functional>
#include <memory>

#include "platform/AppViews.h"

class QDialogButtonBox;
class QLabel;
class QPlainTextEdit;
class QProgressBar;

namespace jumplark {

class TaskQueue;

/// The window about a new version: title, text, a scrolling page of notes, buttons.
class QtUpdateWindow final : public UpdateWindowView {
 public:
  QtUpdateWindow(TaskQueue& mainQueue, std::function<void(QWidget& window)> bringToFront,
                 std::function<void(int button)> chosen);
  ~QtUpdateWindow() override;
  QtUpdateWindow(const QtUpdateWindow&) = delete;
  QtUpdateWindow& operator=(const QtUpdateWindow&) = delete;

  void setModel(const UpdateWindowModel& model) override;
  void show(bool takesKeyboard) override;

 private:
  class Window;

  void fillButtons(const UpdateWindowModel& model);
  void answer(int button);

  TaskQueue& mainQueue_;
  const std::function<void(QWidget& window)> bringToFront_;
  /// Gone with this, and replaced with the model: an answer on its way then reaches nobody.
  std::shared_ptr<std::function<void(int button)>> chosen_;
  UpdateWindowModel model_;
  std::unique_ptr<Window> window_;
  QLabel* title_;
  QLabel* text_;
  QProgressBar* progress_;
  QPlainTextEdit* notes_;
  QDialogButtonBox* buttons_;
};

}  // namespace jumplark
