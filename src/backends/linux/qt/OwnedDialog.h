#pragma once

#include <QCloseEvent>
#include <QDialog>
#include <functional>
#include <utility>

namespace jumplark {

/// A dialog that only its owner closes: the user's wish to close it is passed on. Main thread only.
class OwnedDialog : public QDialog {
 public:
  explicit OwnedDialog(std::function<void()> closed)
      : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint), closed_(std::move(closed)) {}
  void reject() override { closed_(); }

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    closed_();
  }

 private:
  std::function<void()> closed_;
};

}  // namespace jumplark
