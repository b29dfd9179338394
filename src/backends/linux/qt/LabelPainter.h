#pragma once

#include <QFont>
#include <QImage>
#include <QPoint>
#include <QRect>
#include <QString>
#include <memory>
#include <string>
#include <vector>

#include "platform/Views.h"

class QPainter;

namespace jumplark {

/// Draws labels: letters with an outline and a glow, so that they can be read on any ground. What a letter looks like
/// is drawn once and kept, so thousands of labels cost a few copies each. Sizes in pixels.
class LabelPainter {
 public:
  LabelPainter();
  ~LabelPainter();

  /// The space a label takes, glow included, as seen from its middle.
  QRect extent(const LabelLayer& label, double scale);
  /// Draws it with its middle at the point; it may be larger than the box it belongs to.
  void paint(QPainter& painter, const LabelLayer& label, QPoint middle, double scale);

 private:
  struct Glyph {
    QImage glow;
    QImage letter;
    QPoint origin;  ///< of the text, within both images
    int advance = 0;
  };
  struct Style;

  Style& styleOf(const LabelLayer& label, double scale);
  /// Fills glyphs_ with those of the text; where the first begins, as seen from the middle.
  QPoint layOut(const LabelLayer& label, double scale);
  static Glyph draw(const Style& style, const QString& text);

  std::vector<std::unique_ptr<Style>> styles_;
  std::vector<const Glyph*> glyphs_;
};

/// The first family of a sans-serif row that is installed, for a wanted one that often is not; bold where the name asks
/// for it.
QFont labelFont(const std::string& wanted, double pixelSize);

}  // namespace jumplark
