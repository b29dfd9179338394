#pragma once

#include <QWidget>
#include <functional>

#include "platform/Views.h"

namespace jumplark {

/// The rows of commands under the query's field. What does not fit into a row is left out in the middle of the path,
/// then of the keys, and only where a title alone is too long, at its end. The pointer may click a row and turn the
/// wheel; the keyboard stays in the field. Sizes in Qt's logical pixels; it follows the desktop's palette and font.
class CommandListWidget : public QWidget {
 public:
  /// Titles begin at `textLeft`; marks are centred at `markCenter`.
  CommandListWidget(QWidget* parent, int textLeft, int markCenter);

  void setCommands(const CommandRows& commands);
  /// Of all rows; 0 without any.
  int neededHeight() const;

  /// Called with the number of a row that was clicked, from 0.
  std::function<void(size_t row)> onRowPressed;
  std::function<void(int rows)> onScrolled;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;

 private:
  struct Colors;
  class RichLine;

  int rowHeight() const;
  QRect rowRect(size_t row) const;
  size_t rowAt(QPoint point) const;
  Colors colorsOf(const CommandRow& row, bool isSelected) const;
  void paintRow(QPainter& painter, const CommandRow& row, const QRect& rect, bool isSelected) const;
  /// The menus and the arrow behind them, as far as there is room.
  RichLine pathLine(const CommandRow& row, const QColor& color, double room) const;
  void paintMark(QPainter& painter, const CommandRow& row, const QRect& rect, const QColor& color) const;
  void paintPosition(QPainter& painter) const;

  CommandRows commands_;
  const int textLeft_;
  const int markCenter_;
  size_t pressedRow_ = 0;
  int turned_ = 0;  ///< of the wheel, in eighths of a degree, that have moved nothing yet
};

}  // namespace jumplark
