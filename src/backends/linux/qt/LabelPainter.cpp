#include "backends/linux/qt/LabelPainter.h"

#include <QFontDatabase>
#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <array>
#include <cmath>
#include <map>

#include "backends/linux/qt/SoftBlur.h"

namespace jumplark {
namespace {

/// What is kept; more is not in use at a time unless somebody labels with arbitrary texts.
constexpr size_t kMostStyles = 8;
constexpr size_t kMostOthers = 256;
constexpr char kAsciiEnd = 0x7F;
/// Blurring thins a glow; this makes up for some of it, so that letters can be read on a dark ground too. Much more
/// would hide small boxes.
constexpr double kGlowGain = 1.5;

QColor toQt(const Color& color) {
  return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                          static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

}  // namespace

QFont labelFont(const std::string& wanted, double pixelSize) {
  QString family = QString::fromStdString(wanted);
  const bool bold = family.endsWith(QStringLiteral("-Bold"));
  family.remove(QStringLiteral("-Bold"));
  for (const QString& candidate :
       {family, QStringLiteral("Helvetica Neue"), QStringLiteral("Inter"), QStringLiteral("Nimbus Sans"),
        QStringLiteral("Liberation Sans"), QStringLiteral("Arimo"), QStringLiteral("Noto Sans"),
        QStringLiteral("DejaVu Sans")}) {
    if (QFontDatabase::hasFamily(candidate) && QFontDatabase::isSmoothlyScalable(candidate)) {
      family = candidate;
      break;
    }
  }
  QFont font(family);
  font.setStyleHint(QFont::SansSerif,
                    static_cast<QFont::StyleStrategy>(QFont::PreferAntialias | QFont::NoSubpixelAntialias));
  font.setBold(bold);
  font.setPixelSize(std::max(1, static_cast<int>(std::lround(pixelSize))));
  return font;
}

struct LabelPainter::Style {
  LabelLayer layer;  ///< without text
  double scale = 1;
  QFont font;
  int capHeight = 0;
  int margin = 0;  ///< around a glyph, for outline and glow
  std::array<std::unique_ptr<Glyph>, kAsciiEnd> ascii;
  std::map<std::string, std::unique_ptr<Glyph>> others;

  bool matches(const LabelLayer& other, double otherScale) const {
    return scale == otherScale && layer.fontSize == other.fontSize && layer.strokeWidth == other.strokeWidth &&
           layer.shadowRadius == other.shadowRadius && layer.foreground == other.foreground &&
           layer.stroke == other.stroke && layer.shadow == other.shadow && layer.fontFamily == other.fontFamily;
  }
};

LabelPainter::LabelPainter() = default;
LabelPainter::~LabelPainter() = default;

LabelPainter::Style& LabelPainter::styleOf(const LabelLayer& label, double scale) {
  const auto known = std::ranges::find_if(styles_, [&](const auto& style) { return style->matches(label, scale); });
  if (known != styles_.end()) {
    return **known;
  }
  if (styles_.size() >= kMostStyles) {
    styles_.erase(styles_.begin());
  }
  auto style = std::make_unique<Style>();
  style->layer = label;
  style->layer.text.clear();
  style->scale = scale;
  style->font = labelFont(label.fontFamily, label.fontSize * scale);
  const QFontMetricsF metrics(style->font);
  style->capHeight = static_cast<int>(std::lround(metrics.capHeight()));
  style->margin = static_cast<int>(std::ceil(label.shadowRadius * scale)) + 1;
  styles_.push_back(std::move(style));
  return *styles_.back();
}

QPoint LabelPainter::layOut(const LabelLayer& label, double scale) {
  Style& style = styleOf(label, scale);
  glyphs_.clear();
  // Letters outside ASCII may join or combine, so a text with one of them is drawn as a whole.
  if (std::ranges::all_of(label.text, [](char c) { return c > ' ' && c < kAsciiEnd; })) {
    for (const char c : label.text) {
      auto& glyph = style.ascii.at(static_cast<size_t>(c));
      if (!glyph) {
        glyph = std::make_unique<Glyph>(draw(style, QString(QLatin1Char(c))));
      }
      glyphs_.push_back(glyph.get());
    }
  } else {
    if (style.others.size() >= kMostOthers && !style.others.contains(label.text)) {
      style.others.clear();
    }
    auto& glyph = style.others[label.text];
    if (!glyph) {
      glyph = std::make_unique<Glyph>(draw(style, QString::fromStdString(label.text)));
    }
    glyphs_.push_back(glyph.get());
  }
  int width = 0;
  for (const Glyph* glyph : glyphs_) {
    width += glyph->advance;
  }
  return {-width / 2, style.capHeight / 2};
}

LabelPainter::Glyph LabelPainter::draw(const Style& style, const QString& text) {
  const QFontMetricsF metrics(style.font);
  Glyph glyph;
  glyph.advance = static_cast<int>(std::lround(metrics.horizontalAdvance(text)));
  const QRectF ink = metrics.boundingRect(text) | metrics.tightBoundingRect(text);
  const QRect space = ink.toAlignedRect().adjusted(-style.margin, -style.margin, style.margin, style.margin);
  glyph.origin = -space.topLeft();
  glyph.letter = QImage(space.size(), QImage::Format_ARGB32_Premultiplied);
  glyph.letter.fill(Qt::transparent);
  QPainter painter(&glyph.letter);
  painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
  // The outline lies around the letters and not over them, or it would thin them.
  if (const double width = std::abs(style.layer.strokeWidth) / 100 * style.font.pixelSize(); width > 0) {
    QPainterPath path;
    path.addText(glyph.origin, style.font, text);
    painter.strokePath(path, QPen(toQt(style.layer.stroke), 2 * width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
  }
  painter.setFont(style.font);
  painter.setPen(toQt(style.layer.foreground));
  painter.drawText(glyph.origin, text);
  painter.end();
  glyph.glow =
      blurredCoverage(glyph.letter, style.layer.shadowRadius * style.scale, toQt(style.layer.shadow), kGlowGain);
  return glyph;
}

QRect LabelPainter::extent(const LabelLayer& label, double scale) {
  QRect result;
  if (!label.text.empty()) {
    QPoint pen = layOut(label, scale);
    for (const Glyph* glyph : glyphs_) {
      result |= glyph->letter.rect().translated(pen - glyph->origin);
      pen.rx() += glyph->advance;
    }
  }
  return result;
}

void LabelPainter::paint(QPainter& painter, const LabelLayer& label, QPoint middle, double scale) {
  if (label.text.empty()) {
    return;
  }
  const QPoint start = middle + layOut(label, scale);
  // All glows first: that of one letter must not veil its neighbour.
  for (const auto image : {&Glyph::glow, &Glyph::letter}) {
    QPoint pen = start;
    for (const Glyph* glyph : glyphs_) {
      painter.drawImage(pen - glyph->origin, glyph->*image);
      pen.rx() += glyph->advance;
    }
  }
}

}  // namespace jumplark
