#include "backends/linux/qt/ShortcutField.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QToolButton>
#include <utility>

#include "backends/linux/qt/KeyTranslator.h"

namespace jumplark {

class ShortcutField::Button : public QPushButton {
 public:
  Button(const KeyTranslator& keys, Events events, QWidget* parent)
      : QPushButton(parent), keys_(keys), events_(std::move(events)) {
    setMinimumWidth(220);
    connect(this, &QPushButton::clicked, this, [this] { events_.clicked(); });
  }
  ~Button() override { setRecording(false); }

  void setRecording(bool recording) {
    setDown(recording);
    if (std::exchange(recording_, recording) == recording) {
      return;
    }
    if (recording) {
      setFocus();
      grabKeyboard();
    } else {
      releaseKeyboard();
    }
  }

 protected:
  bool event(QEvent* event) override {
    if (recording_ && event->type() == QEvent::ShortcutOverride) {
      event->accept();
      return true;
    }
    if (recording_ && event->type() == QEvent::KeyPress) {
      if (const auto key = keys_.translate(static_cast<const QKeyEvent&>(*event))) {
        events_.keyDown(*key);
      }
      return true;
    }
    if (recording_ && event->type() == QEvent::KeyRelease) {
      return true;
    }
    return QPushButton::event(event);
  }
  void focusOutEvent(QFocusEvent* event) override {
    QPushButton::focusOutEvent(event);
    if (recording_) {
      events_.lostKeyboard();
    }
  }
  void hideEvent(QHideEvent* event) override {
    QPushButton::hideEvent(event);
    if (recording_) {
      events_.lostKeyboard();
    }
  }

 private:
  const KeyTranslator& keys_;
  Events events_;
  bool recording_ = false;
};

ShortcutField::ShortcutField(const KeyTranslator& keys, Events events, QWidget* parent) : QWidget(parent) {
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(6);
  clear_ = new QToolButton(this);
  clear_->setText(QStringLiteral("✕"));
  clear_->setAutoRaise(true);
  clear_->setFocusPolicy(Qt::NoFocus);  // a click on it must not end the recording by itself
  connect(clear_, &QToolButton::clicked, this, events.clearClicked);
  reset_ = new QPushButton(this);
  connect(reset_, &QPushButton::clicked, this, events.resetClicked);
  button_ = new Button(keys, std::move(events), this);
  layout->addWidget(button_);
  layout->addWidget(clear_);
  layout->addWidget(reset_);
  layout->addStretch();
}

ShortcutField::~ShortcutField() = default;

QWidget* ShortcutField::button() const {
  return button_;
}

void ShortcutField::setModel(const RecorderModel& model) {
  button_->setText(QString::fromStdString(model.text));
  button_->setToolTip(QString::fromStdString(model.toolTip));
  button_->setRecording(model.isRecording);
  clear_->setToolTip(QString::fromStdString(model.clearToolTip));
  clear_->setAccessibleName(QString::fromStdString(model.clearToolTip));
  clear_->setVisible(model.canClear);
  reset_->setText(QString::fromStdString(model.resetTitle));
  reset_->setVisible(!model.resetTitle.empty());
}

}  // namespace jumplark
