#pragma once

#include <QPushButton>
#include <QWidget>
#include <functional>

#include "platform/AppViews.h"

class QToolButton;

namespace jumplark {

class KeyTranslator;

/// The shortcut recorder: a button with the combination, a smaller one that removes it, and one that brings the
/// standard combination back. While it records it holds a grab of the keyboard, so that combinations that other
/// programs own can be pressed too; the grab ends with the recording, when the button loses the keyboard focus, and
/// when it is hidden.
class ShortcutField : public QWidget {
 public:
  struct Events {
    std::function<void()> clicked;
    std::function<void()> clearClicked;
    std::function<void()> resetClicked;
    std::function<void(const KeyEvent& event)> keyDown;
    std::function<void()> lostKeyboard;
  };
  ShortcutField(const KeyTranslator& keys, Events events, QWidget* parent);
  ~ShortcutField() override;

  void setModel(const RecorderModel& model);
  QWidget* button() const;

 private:
  class Button;

  Button* button_;
  QToolButton* clear_;
  QPushButton* reset_;
};

}  // namespace jumplark
