// How long it takes from new layers to the moment at which the X server has carried every request out: for boxes that
// are all new, and for a selection that moves by one. The baseline draws the same boxes with their labels into an
// image of the screen's size, without anything remembered and without the X server.
#include <fmt/core.h>
#include <QFont>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "backends/linux/qt/LabelPainter.h"
#include "backends/linux/qt/QtMainLoop.h"
#include "backends/linux/qt/QtViews.h"
#include "backends/linux/qt/x11/X11Windows.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/linux/x11/Reply.h"
#include "backends/linux/x11/X11Connection.h"
#include "backends/linux/x11/X11Screens.h"

using namespace jumplark;

namespace {

constexpr int kRounds = 15;

const Color kYellow{1, 0.871, 0.361, 0.6};
const Color kBlue{0.125, 0.533, 0.831, 0.6};

std::string label(int number) {
  std::string text;
  for (; number >= 0; number = number / 26 - 1) {
    text.insert(text.begin(), static_cast<char>('A' + number % 26));
  }
  return text;
}

/// Boxes in rows over the whole screen, as in a long list of small controls; `shift` makes every one a new one.
std::vector<BoxLayer> makeBoxes(int count, const Rect& screen, int selected, int shift) {
  const double cell = std::sqrt(screen.width * screen.height / count);
  const double width = std::min(cell * 1.6, 160.0);
  const double height = std::min(cell * 0.55, 30.0);
  const int columns = std::max(1, static_cast<int>(screen.width / (cell * 1.7)));
  const int rows = 1 + (count - 1) / columns;
  const double rowHeight = screen.height / rows;
  std::vector<BoxLayer> boxes;
  for (int i = 0; i < count; ++i) {
    const int row = i / columns;
    BoxLayer box;
    box.frame = {screen.x + (i % columns) * cell * 1.7 + shift, screen.y + row * rowHeight, width, height};
    box.background = i == selected ? kBlue : kYellow;
    box.label.text = label(i);
    boxes.push_back(box);
  }
  return boxes;
}

struct Times {
  double median;
  double worst;
};

Times measure(const std::function<void(int)>& round) {
  std::vector<double> times;
  for (int i = 0; i < kRounds; ++i) {
    const auto start = std::chrono::steady_clock::now();
    round(i);
    times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
  }
  std::ranges::sort(times);
  return {times[times.size() / 2], times.back()};
}

void drawPlainly(QImage& image, const std::vector<BoxLayer>& boxes) {
  image.fill(Qt::transparent);
  QPainter painter(&image);
  painter.setRenderHint(QPainter::Antialiasing);
  const QFont font = labelFont(boxes.front().label.fontFamily, boxes.front().label.fontSize);
  painter.setFont(font);
  for (const BoxLayer& box : boxes) {
    const QRectF rect(box.frame.x, image.height() - box.frame.maxY(), box.frame.width, box.frame.height);
    painter.setPen(Qt::black);
    painter.setBrush(QColor::fromRgbF(static_cast<float>(box.background.red), static_cast<float>(box.background.green),
                                      static_cast<float>(box.background.blue), 0.6F));
    painter.drawRoundedRect(rect, box.cornerRadius, box.cornerRadius);
    QPainterPath outline;
    outline.addText(rect.center(), font, QString::fromStdString(box.label.text));
    painter.strokePath(outline, QPen(Qt::white, 1));
    painter.fillPath(outline, Qt::black);
  }
}

}  // namespace

int main() {
  SystemQueues queues;
  QtMainLoop loop(queues);
  const auto x = X11Connection::open().connection;
  if (!x) {
    fmt::print(stderr, "no display\n");
    return EXIT_FAILURE;
  }
  X11Screens screens(x, queues.mainQueue());
  QtViews views({std::make_unique<X11Windows>(x, WindowCallbacks{}), screens, queues.mainQueue()});
  const auto overlay = views.makeOverlay();
  const Rect screen = screens.primaryFrame();
  QImage image(static_cast<int>(screen.width), static_cast<int>(screen.height), QImage::Format_ARGB32_Premultiplied);

  fmt::print("{}x{}; median (worst) of {}, ms\n", screen.width, screen.height, kRounds);
  fmt::print("{:>6}  {:>16}  {:>16}  {:>16}  {:>8}\n", "boxes", "all new", "selection moves", "plain drawing", "ratio");
  overlay->orderFront();
  for (const int count : {30, 300, 3000}) {
    const auto show = [&](int selected, int shift) {
      overlay->setLayers(makeBoxes(count, screen, selected, shift));
      views.synchronize();
    };
    show(0, 0);
    const Times fresh = measure([&](int round) { show(0, 1 + round % 2); });
    const Times moved = measure([&](int round) { show(round, 0); });
    const Times plain = measure([&](int round) { drawPlainly(image, makeBoxes(count, screen, 0, round)); });
    const auto cell = [](const Times& times) { return fmt::format("{:.1f} ({:.1f})", times.median, times.worst); };
    fmt::print("{:>6}  {:>16}  {:>16}  {:>16}  {:>8.2f}\n", count, cell(fresh), cell(moved), cell(plain),
               fresh.median / plain.median);
  }
  overlay->orderOut();
  return EXIT_SUCCESS;
}
