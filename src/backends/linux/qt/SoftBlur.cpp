#include "backends/linux/qt/SoftBlur.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

namespace jumplark {
namespace {

/// One box blur along lines of `length` values that lie `step` apart; what is beyond the ends is 0.
void blurLines(std::vector<float>& values, int lines, size_t lineStep, int length, size_t step, int reach) {
  std::vector<float> line(static_cast<size_t>(length));
  const float share = 1.0F / (2.0F * static_cast<float>(reach) + 1.0F);
  for (int i = 0; i < lines; ++i) {
    float* at = values.data() + static_cast<size_t>(i) * lineStep;
    for (int k = 0; k < length; ++k) {
      line[static_cast<size_t>(k)] = at[static_cast<size_t>(k) * step];
    }
    float sum = 0;
    for (int k = -reach; k < length; ++k) {
      const int entering = k + reach;
      const int leaving = k - reach - 1;
      sum += entering < length ? line[static_cast<size_t>(entering)] : 0;
      sum -= leaving >= 0 ? line[static_cast<size_t>(leaving)] : 0;
      if (k >= 0) {
        at[static_cast<size_t>(k) * step] = std::max(sum, 0.0F) * share;
      }
    }
  }
}

}  // namespace

QImage blurredCoverage(const QImage& image, double radius, const QColor& color, double gain) {
  const int width = image.width();
  const int height = image.height();
  const auto stride = static_cast<size_t>(width);
  std::vector<float> coverage(stride * static_cast<size_t>(height));
  for (int y = 0; y < height; ++y) {
    const auto* row = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    std::transform(row, row + width, coverage.begin() + static_cast<ptrdiff_t>(stride) * y,
                   [](QRgb pixel) { return static_cast<float>(qAlpha(pixel)); });
  }
  constexpr int kPasses = 3;
  const int reach = std::max(1, static_cast<int>(std::lround(radius / kPasses)));
  for (int pass = 0; pass < kPasses; ++pass) {
    blurLines(coverage, height, stride, width, 1, reach);
    blurLines(coverage, width, 1, height, stride, reach);
  }
  QImage result(image.size(), QImage::Format_ARGB32_Premultiplied);
  for (int y = 0; y < height; ++y) {
    auto* row = reinterpret_cast<QRgb*>(result.scanLine(y));
    const float* from = coverage.data() + stride * static_cast<size_t>(y);
    for (int x = 0; x < width; ++x) {
      const float alpha = std::min(from[x] * static_cast<float>(gain), 255.0F) * static_cast<float>(color.alphaF());
      row[x] = qPremultiply(qRgba(color.red(), color.green(), color.blue(), static_cast<int>(std::lround(alpha))));
    }
  }
  return result;
}

}  // namespace jumplark
