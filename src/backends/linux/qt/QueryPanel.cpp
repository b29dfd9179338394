#include "backends/linux/qt/QueryPanel.h"

#include <QAccessibleWidget>
#include <QCloseEvent>
#include <QEvent>
#include <QInputMethodEvent>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>
#include <cmath>

#include "backends/linux/qt/QtText.h"
#include "backends/linux/qt/SoftBlur.h"

namespace jumplark {
namespace {

constexpr int kCardWidth = 440;
constexpr int kSidePadding = 18;
constexpr int kGap = 12;
constexpr int kGlassSize = 18;
constexpr int kSpinnerSize = 20;
/// Within a line edit, before its text.
constexpr int kTextMargin = 2;
constexpr int kRowPadding = 13;
constexpr int kNoticePadding = 8;
/// Room for the shadow around the card, and how far the shadow lies below it.
constexpr int kShadowMargin = 30;
constexpr int kShadowDrop = 7;
constexpr int kShadowRadius = 22;
constexpr double kFieldFontFactor = 1.5;
constexpr int kSmallestFieldFont = 20;

QColor withAlpha(QColor color, double alpha) {
  color.setAlphaF(static_cast<float>(alpha));
  return color;
}

bool isDark(const QPalette& palette) {
  return palette.color(QPalette::Base).lightnessF() < 0.5;
}

/// The text with places in its long words, such as paths and settings, where a line may end, and with none behind the
/// dash that a switch begins with.
QString breakable(const QString& text) {
  constexpr QChar kLineMayEnd(0x200B);
  constexpr QChar kStaysTogether(0x2060);
  constexpr int kLongestPiece = 24;
  const QString kSigns = QStringLiteral("=/:.,-_");
  QString result;
  int piece = 0;
  for (const QChar c : text) {
    result += c;
    piece = c.isSpace() ? 0 : piece + 1;
    if (c == u'-' && piece <= 2) {
      result += kStaysTogether;
    } else if (!c.isHighSurrogate() && (piece >= kLongestPiece || (piece >= kLongestPiece / 2 && kSigns.contains(c)))) {
      result += kLineMayEnd;
      piece = 0;
    }
  }
  return result;
}

/// A window that is a plain widget has no role of its own, and screen readers do not announce it.
QAccessibleInterface* makePanelAccessible(const QString& /*className*/, QObject* object) {
  auto* const panel = dynamic_cast<QueryPanel*>(object);
  return panel != nullptr ? new QAccessibleWidget(panel, QAccessible::Dialog) : nullptr;
}

}  // namespace

QueryLineEdit::QueryLineEdit(QWidget* parent) : QLineEdit(parent) {
  setFrame(false);
  setContextMenuPolicy(Qt::NoContextMenu);
  setDragEnabled(false);
  setAccessibleName(localizedText("What to click"));
  setPlaceholderText(localizedText("What to click"));
}

void QueryLineEdit::inputMethodEvent(QInputMethodEvent* event) {
  composing_ = !event->preeditString().isEmpty();
  QLineEdit::inputMethodEvent(event);
}

void QueryLineEdit::keyPressEvent(QKeyEvent* event) {
  // Alt with a letter is a shortcut in every program of the desktop, never text.
  if (event->modifiers().testFlag(Qt::AltModifier) && !event->modifiers().testFlag(Qt::ControlModifier)) {
    event->ignore();
    return;
  }
  QLineEdit::keyPressEvent(event);
}

void QueryLineEdit::focusOutEvent(QFocusEvent* event) {
  composing_ = false;
  QLineEdit::focusOutEvent(event);
}

QueryPanel::QueryPanel()
    : QWidget(nullptr, Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint),
      field_(this),
      spinner_(this),
      notice_(this),
      commands_(this, kSidePadding + kGlassSize + kGap + kTextMargin, kSidePadding + kGlassSize / 2) {
  QAccessible::installFactory(makePanelAccessible);
  setAttribute(Qt::WA_TranslucentBackground);
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowTitle(QStringLiteral("Jumplark"));
  notice_.setTextFormat(Qt::PlainText);
  notice_.setWordWrap(true);
  notice_.hide();
  commands_.hide();
  setFocusProxy(&field_);
  applyFontsAndColors();
  layOut();
}

void QueryPanel::setNotice(const QString& notice) {
  notice_.setText(breakable(notice));
  notice_.setAccessibleName(notice);
  notice_.setVisible(!notice.isEmpty());
  layOut();
}

void QueryPanel::setCommands(const CommandRows& commands) {
  commands_.setCommands(commands);
  commands_.setVisible(!commands.rows.empty());
  layOut();
}

void QueryPanel::setTranslucent(bool translucent) {
  translucent_ = translucent;
  layOut();
}

QRect QueryPanel::card() const {
  const int margin = translucent_ ? kShadowMargin : 0;
  return {margin, margin, kCardWidth, rowHeight_ + noticeHeight_ + commands_.neededHeight()};
}

QRect QueryPanel::row() const {
  QRect result = card();
  result.setHeight(rowHeight_);
  return result;
}

void QueryPanel::applyFontsAndColors() {
  QFont font = this->font();
  const int standard = QFontInfo(font).pixelSize();
  QFont large = font;
  large.setPixelSize(std::max(kSmallestFieldFont, static_cast<int>(std::lround(standard * kFieldFontFactor))));
  field_.setFont(large);
  QPalette colors = palette();
  const QColor text = colors.color(QPalette::Text);
  colors.setColor(QPalette::PlaceholderText, withAlpha(text, 0.42));
  for (const auto role : {QPalette::Base, QPalette::Window}) {
    colors.setColor(role, Qt::transparent);
  }
  field_.setPalette(colors);
  colors.setColor(QPalette::WindowText, withAlpha(text, 0.72));
  notice_.setPalette(colors);
}

void QueryPanel::layOut() {
  const int fieldHeight = QFontMetrics(field_.font()).height() + 4;
  rowHeight_ = fieldHeight + 2 * kRowPadding;
  const QRect place = row();
  const int fieldLeft = place.left() + kSidePadding + kGlassSize + kGap;
  const int spinnerLeft = place.right() + 1 - kSidePadding - kSpinnerSize;
  field_.setGeometry(fieldLeft, place.top() + kRowPadding, spinnerLeft - kGap - fieldLeft, fieldHeight);
  spinner_.setGeometry(spinnerLeft, place.center().y() - kSpinnerSize / 2 + 1, kSpinnerSize, kSpinnerSize);
  const int noticeWidth = place.right() - kSidePadding - fieldLeft;
  noticeHeight_ = notice_.text().isEmpty() ? 0 : notice_.heightForWidth(noticeWidth) + 2 * kNoticePadding;
  notice_.setGeometry(fieldLeft + kTextMargin, place.bottom() + 1, noticeWidth, noticeHeight_);
  commands_.setGeometry(place.left(), place.bottom() + 1 + noticeHeight_, place.width(), commands_.neededHeight());
  const int margin = place.left();
  const QSize whole = card().size() + QSize(2 * margin, 2 * margin);
  if (whole != size()) {
    setFixedSize(whole);
    if (onCardResized) {
      onCardResized();
    }
  }
  update();
}

QPixmap QueryPanel::shadowOfRow() const {
  const double ratio = devicePixelRatioF();
  const QSize whole = row().size() + QSize(2 * kShadowMargin, 2 * kShadowMargin);
  QImage shape((QSizeF(whole) * ratio).toSize(), QImage::Format_ARGB32_Premultiplied);
  shape.fill(Qt::transparent);
  QPainter painter(&shape);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.scale(ratio, ratio);
  painter.setPen(Qt::NoPen);
  painter.setBrush(Qt::black);
  painter.drawRoundedRect(row().translated(0, kShadowDrop), kCornerRadius, kCornerRadius);
  painter.end();
  const double density = isDark(palette()) ? 0.55 : 0.34;
  QPixmap shadow = QPixmap::fromImage(blurredCoverage(shape, kShadowRadius * ratio, withAlpha(Qt::black, density)));
  shadow.setDevicePixelRatio(ratio);
  return shadow;
}

void QueryPanel::paintShadow(QPainter& painter) {
  const double ratio = devicePixelRatioF();
  QPixmap& shadow = shadows_[ratio];
  if (shadow.isNull()) {
    shadow = shadowOfRow();
  }
  // Blurring takes too long for every letter that changes the height: the line through the middle of the row's shadow,
  // which both edges are too far from to reach, is repeated for what the card has more.
  const int middle = row().center().y() + kShadowDrop;
  const int more = card().height() - rowHeight_;
  const auto draw = [&](const QRectF& target, double top, double height) {
    painter.drawPixmap(target, shadow, QRectF(0, top * ratio, shadow.width(), height * ratio));
  };
  draw(QRectF(0, 0, width(), middle), 0, middle);
  draw(QRectF(0, middle, width(), more), middle, 1);
  draw(QRectF(0, middle + more, width(), height() - middle - more), middle, height() - more - middle);
}

void QueryPanel::paintGlass(QPainter& painter) const {
  const QRect place = row();
  const QRectF box(place.left() + kSidePadding, place.center().y() - kGlassSize / 2.0 + 1, kGlassSize, kGlassSize);
  painter.setPen(QPen(withAlpha(palette().color(QPalette::Text), 0.55), 2, Qt::SolidLine, Qt::RoundCap));
  painter.setBrush(Qt::NoBrush);
  const double diameter = kGlassSize * 0.68;
  painter.drawEllipse(QRectF(box.left() + 1, box.top() + 1, diameter, diameter));
  const double edge = 1 + diameter * 0.854;  // where the circle meets its diagonal
  painter.drawLine(box.topLeft() + QPointF(edge, edge), box.bottomRight() - QPointF(1.5, 1.5));
}

void QueryPanel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QColor background = palette().color(QPalette::Base);
  const QColor text = palette().color(QPalette::Text);
  const QColor border = isDark(palette()) ? withAlpha(Qt::white, 0.22) : withAlpha(Qt::black, 0.20);
  if (translucent_) {
    paintShadow(painter);
  } else {
    // The corners are cut along whole pixels; what is left of their blending is the border's colour.
    painter.fillRect(rect(), isDark(palette()) ? QColor(0x60, 0x60, 0x60) : QColor(0xB8, 0xB8, 0xB8));
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(background);
  painter.drawRoundedRect(card(), kCornerRadius, kCornerRadius);
  painter.setBrush(Qt::NoBrush);
  painter.setPen(QPen(border, 1));
  painter.drawRoundedRect(QRectF(card()).adjusted(0.5, 0.5, -0.5, -0.5), kCornerRadius - 0.5, kCornerRadius - 0.5);
  paintGlass(painter);
  if (isGrown()) {
    painter.fillRect(QRect(card().left() + 1, row().bottom() + 1, kCardWidth - 2, 1), withAlpha(text, 0.10));
  }
}

void QueryPanel::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  const auto type = event->type();
  if (type == QEvent::PaletteChange || type == QEvent::FontChange || type == QEvent::StyleChange ||
      type == QEvent::ApplicationPaletteChange || type == QEvent::ApplicationFontChange) {
    shadows_.clear();
    applyFontsAndColors();
    layOut();
  }
}

void QueryPanel::closeEvent(QCloseEvent* event) {
  event->ignore();
  if (onCloseRequest) {
    onCloseRequest();
  }
}

void QueryPanel::keyPressEvent(QKeyEvent* event) {
  // The field leaves alone what it has no use for; that has been shown to the key monitor already.
  if (onKey && focusWidget() != &field_) {
    onKey(*event);
  }
}

void QueryPanel::keyReleaseEvent(QKeyEvent* event) {
  if (onKey && focusWidget() != &field_) {
    onKey(*event);
  }
}

bool QueryPanel::focusNextPrevChild(bool /*next*/) {
  return false;  // Tab moves the selection among the matches
}

}  // namespace jumplark
