#pragma once

#include <QDialog>
#include <functional>

#include "platform/Views.h"

class QVBoxLayout;

namespace jumplark {

/// A message with buttons that does not stop the rest of the program. Deletes itself once it has been answered.
class AlertDialog : public QDialog {
 public:
  /// `chosen` is called once, with the index of the button or -1, after the dialog has gone from the screen.
  AlertDialog(const Alert& alert, std::function<void(int button)> chosen);
  ~AlertDialog() override;
  /// Nothing will be called.
  void dismiss() { chosen_ = nullptr; }
  bool takesKeyboard() const { return takesKeyboard_; }
  /// Hides, and leaves the keyboard alone when it is shown again.
  void giveWay();

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void addTexts(const Alert& alert, QVBoxLayout& layout);
  void answer(int button);

  bool takesKeyboard_;
  std::function<void(int button)> chosen_;
  int button_ = -1;
};

}  // namespace jumplark
