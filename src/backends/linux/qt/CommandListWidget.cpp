#include "backends/linux/qt/CommandListWidget.h"

#include <QMouseEvent>
#include <QPainter>
#include <QTextLayout>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>
#include <utility>

namespace jumplark {
namespace {

constexpr int kPadding = 6;
constexpr int kRowPadding = 6;
constexpr int kSideInset = 6;
constexpr int kRowRadius = 7;
constexpr int kTextRight = 20;
constexpr int kKeysGap = 16;
constexpr double kMarkRadius = 5.5;
const QString kInto = QStringLiteral(" \u25B8 ");
constexpr int kBarWidth = 3;
constexpr int kShortestBar = 16;
constexpr int kRowsANotch = 3;
constexpr int kNotch = 120;
constexpr size_t kNoRow = std::numeric_limits<size_t>::max();

QColor withAlpha(QColor color, double alpha) {
  color.setAlphaF(static_cast<float>(alpha * static_cast<double>(color.alphaF())));
  return color;
}

QString toText(const std::string& text) {
  return QString::fromStdString(text);
}

}  // namespace

/// One line of text in which parts look different.
class CommandListWidget::RichLine {
 public:
  explicit RichLine(const QFont& font) : font_(font) {}

  /// The marks count from the beginning of the part.
  void add(const QString& part, const QColor& color, const std::vector<Range>& marks = {}) {
    const auto start = static_cast<int>(text_.size());
    const auto format = [&](int64_t from, int64_t length, bool isMarked) {
      QTextLayout::FormatRange range{start + static_cast<int>(from), static_cast<int>(length), {}};
      range.format.setForeground(color);
      if (isMarked) {
        range.format.setFontWeight(QFont::Bold);
      }
      formats_.push_back(range);
    };
    format(0, part.size(), false);
    for (const Range& mark : marks) {
      format(mark.location, mark.length, true);
    }
    text_ += part;
    layOut();
  }
  double width() const { return layout_ ? layout_->lineAt(0).naturalTextWidth() : 0; }
  void draw(QPainter& painter, QPointF baselineLeft) const {
    if (layout_) {
      layout_->draw(&painter, baselineLeft - QPointF(0, layout_->lineAt(0).ascent()));
    }
  }

 private:
  void layOut() {
    layout_ = std::make_unique<QTextLayout>(text_, font_);
    layout_->setFormats(formats_);
    layout_->beginLayout();
    layout_->createLine().setLineWidth(std::numeric_limits<short>::max());
    layout_->endLayout();
  }

  QFont font_;
  QString text_;
  QVector<QTextLayout::FormatRange> formats_;
  std::unique_ptr<QTextLayout> layout_;
};

struct CommandListWidget::Colors {
  QColor background;
  QColor title;
  QColor soft;  ///< of the path and the keys
};

CommandListWidget::CommandListWidget(QWidget* parent, int textLeft, int markCenter)
    : QWidget(parent), textLeft_(textLeft), markCenter_(markCenter), pressedRow_(kNoRow) {
  setFocusPolicy(Qt::NoFocus);
}

void CommandListWidget::setCommands(const CommandRows& commands) {
  if (commands_ != commands) {
    commands_ = commands;
    update();
  }
}

int CommandListWidget::rowHeight() const {
  return fontMetrics().height() + 2 * kRowPadding;
}

int CommandListWidget::neededHeight() const {
  return commands_.rows.empty() ? 0 : static_cast<int>(commands_.rows.size()) * rowHeight() + 2 * kPadding;
}

QRect CommandListWidget::rowRect(size_t row) const {
  return {kSideInset, kPadding + static_cast<int>(row) * rowHeight(), width() - 2 * kSideInset, rowHeight()};
}

size_t CommandListWidget::rowAt(QPoint point) const {
  for (size_t row = 0; row < commands_.rows.size(); ++row) {
    if (rowRect(row).contains(point)) {
      return row;
    }
  }
  return kNoRow;
}

CommandListWidget::Colors CommandListWidget::colorsOf(const CommandRow& row, bool isSelected) const {
  const QColor text = palette().color(isSelected && row.isEnabled ? QPalette::HighlightedText : QPalette::Text);
  Colors colors{Qt::transparent, text, withAlpha(text, isSelected ? 0.75 : 0.55)};
  if (isSelected) {
    colors.background = row.isEnabled ? palette().color(QPalette::Highlight) : withAlpha(text, 0.12);
  }
  if (!row.isEnabled) {
    colors.title = colors.soft = withAlpha(text, 0.40);
  }
  return colors;
}

void CommandListWidget::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  for (size_t row = 0; row < commands_.rows.size(); ++row) {
    paintRow(painter, commands_.rows[row], rowRect(row), commands_.selected == row);
  }
  paintPosition(painter);
}

void CommandListWidget::paintRow(QPainter& painter, const CommandRow& row, const QRect& rect, bool isSelected) const {
  const Colors colors = colorsOf(row, isSelected);
  painter.setPen(Qt::NoPen);
  painter.setBrush(colors.background);
  painter.drawRoundedRect(rect, kRowRadius, kRowRadius);
  paintMark(painter, row, rect, colors.title);

  RichLine title(font());
  title.add(toText(row.title), colors.title, row.titleMarks);
  const QFontMetrics metrics = fontMetrics();
  const QString keys = toText(row.keys);
  const int right = width() - kTextRight;
  const int leftOfKeys = right - metrics.horizontalAdvance(keys);
  const int baseline = rect.top() + kRowPadding + metrics.ascent();
  const bool showsKeys = !keys.isEmpty() && textLeft_ + title.width() <= leftOfKeys - kKeysGap;
  if (showsKeys) {
    painter.setPen(colors.soft);
    painter.drawText(leftOfKeys, baseline, keys);
  }
  const double room = (showsKeys ? leftOfKeys - kKeysGap : right) - textLeft_;
  if (title.width() > room) {
    painter.setPen(colors.title);
    painter.drawText(QPointF(textLeft_, baseline),
                     metrics.elidedText(toText(row.title), Qt::ElideRight, static_cast<int>(room)));
    return;
  }
  const RichLine path = pathLine(row, colors.soft, room - title.width());
  path.draw(painter, QPointF(textLeft_, baseline));
  title.draw(painter, QPointF(textLeft_ + path.width(), baseline));
}

CommandListWidget::RichLine CommandListWidget::pathLine(const CommandRow& row, const QColor& color, double room) const {
  RichLine line(font());
  if (row.path.empty()) {
    return line;
  }
  line.add(toText(row.path), color, row.pathMarks);
  line.add(kInto, color);
  if (line.width() <= room) {
    return line;
  }
  const int left = static_cast<int>(room) - fontMetrics().horizontalAdvance(kInto);
  const QString shortened = fontMetrics().elidedText(toText(row.path), Qt::ElideMiddle, left);
  line = RichLine(font());
  if (!shortened.isEmpty()) {
    line.add(shortened + kInto, color);
  }
  return line;
}

void CommandListWidget::paintMark(QPainter& painter, const CommandRow& row, const QRect& rect,
                                  const QColor& color) const {
  if (row.mark == MenuCommand::Mark::none) {
    return;
  }
  const QPointF center(markCenter_, rect.center().y() + 0.5);
  if (row.mark == MenuCommand::Mark::radio) {
    painter.setPen(QPen(color, 1.2));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(center, kMarkRadius, kMarkRadius);
    if (row.isOn) {
      painter.setPen(Qt::NoPen);
      painter.setBrush(color);
      painter.drawEllipse(center, kMarkRadius - 3, kMarkRadius - 3);
    }
    return;
  }
  const QRectF box(center.x() - kMarkRadius, center.y() - kMarkRadius, 2 * kMarkRadius, 2 * kMarkRadius);
  painter.setPen(QPen(color, 1.2));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(box, 2, 2);
  if (row.isOn) {
    painter.setPen(QPen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.drawPolyline(QPolygonF({center + QPointF(-3, 0), center + QPointF(-0.8, 2.4), center + QPointF(3, -2.6)}));
  }
}

void CommandListWidget::paintPosition(QPainter& painter) const {
  const auto shown = static_cast<int>(commands_.rows.size());
  if (commands_.count <= commands_.rows.size()) {
    return;
  }
  const int track = shown * rowHeight();
  const int length = std::max(kShortestBar, static_cast<int>(static_cast<size_t>(track * shown) / commands_.count));
  const size_t most = commands_.count - commands_.rows.size();
  const int top = kPadding + static_cast<int>(static_cast<size_t>(track - length) * commands_.first / most);
  painter.setPen(Qt::NoPen);
  painter.setBrush(withAlpha(palette().color(QPalette::Text), 0.35));
  painter.drawRoundedRect(QRectF(width() - kBarWidth - 2, top, kBarWidth, length), kBarWidth / 2.0, kBarWidth / 2.0);
}

void CommandListWidget::mousePressEvent(QMouseEvent* event) {
  pressedRow_ = event->button() == Qt::LeftButton ? rowAt(event->position().toPoint()) : kNoRow;
}

void CommandListWidget::mouseReleaseEvent(QMouseEvent* event) {
  const size_t row = std::exchange(pressedRow_, kNoRow);
  if (row != kNoRow && row == rowAt(event->position().toPoint()) && onRowPressed) {
    onRowPressed(row);
  }
}

void CommandListWidget::wheelEvent(QWheelEvent* event) {
  turned_ += event->angleDelta().y();
  const int notches = turned_ / kNotch;
  turned_ -= notches * kNotch;
  if (notches != 0 && onScrolled) {
    onScrolled(-notches * kRowsANotch);
  }
}

}  // namespace jumplark
