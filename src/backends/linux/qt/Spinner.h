#pragma once

#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>

#include "platform/Queues.h"

namespace jumplark {

/// A turning arc that tells of work under way. It has a timer only while it can be seen.
class Spinner : public QWidget {
 public:
  explicit Spinner(QWidget* parent);

  /// From now on it turns whenever it is seen.
  void start();
  /// 0 hidden to 1 shown, reached gradually.
  void setOpacity(double opacity, Duration duration);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void setOpacityNow(double opacity);
  void startOrStop();

  bool started_ = false;
  double opacity_ = 0;
  int angle_ = 0;  ///< degrees
  QTimer frames_;
  QVariantAnimation fading_;
};

}  // namespace jumplark
