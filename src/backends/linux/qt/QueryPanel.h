#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QPixmap>
#include <QWidget>
#include <functional>
#include <map>

#include "backends/linux/qt/CommandListWidget.h"
#include "backends/linux/qt/Spinner.h"

class QInputMethodEvent;

namespace jumplark {

/// The text field. Text that an input method is still composing is not part of its text.
class QueryLineEdit : public QLineEdit {
 public:
  explicit QueryLineEdit(QWidget* parent);
  bool isComposing() const { return composing_; }

 protected:
  void inputMethodEvent(QInputMethodEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;

 private:
  bool composing_ = false;
};

/// What the query window looks like: a rounded card with a magnifying glass, the field, a spinner at its right and
/// below them, when there is one, a text in as many lines as it needs, and a list of commands; around it, where
/// translucency is to be had, a soft shadow. Sizes in Qt's logical pixels. It follows the desktop's palette and font.
class QueryPanel : public QWidget {
 public:
  QueryPanel();

  QueryLineEdit& field() { return field_; }
  Spinner& spinner() { return spinner_; }
  CommandListWidget& commands() { return commands_; }
  void setNotice(const QString& notice);
  void setCommands(const CommandRows& commands);
  /// Without translucency there is no shadow, and whoever owns the window cuts its corners off.
  void setTranslucent(bool translucent);

  /// The card within the window.
  QRect card() const;
  /// There is something below the field.
  bool isGrown() const { return card().height() > rowHeight_; }
  static constexpr int kCornerRadius = 13;

  /// Called when the user closes the window by means of the window manager; it stays open by itself.
  std::function<void()> onCloseRequest;
  /// Called with key events that reach the window itself, not the field.
  std::function<void(const QKeyEvent&)> onKey;
  /// Called after the size of the card has changed.
  std::function<void()> onCardResized;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void keyReleaseEvent(QKeyEvent* event) override;
  bool focusNextPrevChild(bool next) override;

 private:
  void applyFontsAndColors();
  void layOut();
  /// Of the card as long as there is nothing below the field.
  QPixmap shadowOfRow() const;
  void paintShadow(QPainter& painter);
  void paintGlass(QPainter& painter) const;
  QRect row() const;

  QueryLineEdit field_;
  Spinner spinner_;
  QLabel notice_;
  CommandListWidget commands_;
  std::map<double, QPixmap> shadows_;  ///< by the ratio of pixels to points; screens may differ
  bool translucent_ = true;
  int rowHeight_ = 0;
  int noticeHeight_ = 0;
};

}  // namespace jumplark
