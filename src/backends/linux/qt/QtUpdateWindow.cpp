#include "backends/linux/qt/QtUpdateWindow.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalBlocker>
#include <QVBoxLayout>
#include <utility>

#include "backends/linux/qt/OwnedDialog.h"
#include "backends/linux/qt/PaneIcons.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr int kPadding = 20;
constexpr int kSpacing = 12;
constexpr int kIconSize = 48;
constexpr int kTextWidth = 420;
constexpr int kNotesHeight = 180;

QLabel* makeText(QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setMinimumWidth(kTextWidth);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

}  // namespace

QtUpdateWindow::QtUpdateWindow(TaskQueue& mainQueue, std::function<void(QWidget& window)> bringToFront,
                               UpdateWindowCallbacks callbacks)
    : mainQueue_(mainQueue),
      bringToFront_(std::move(bringToFront)),
      callbacks_(std::make_shared<UpdateWindowCallbacks>(std::move(callbacks))),
      window_(std::make_unique<OwnedDialog>([this] { answer(-1); })) {
  QWidget* const window = window_.get();
  window->setAttribute(Qt::WA_QuitOnClose, false);
  window->setWindowTitle(QStringLiteral("Jumplark"));
  auto* row = new QHBoxLayout(window);
  row->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  row->setSpacing(kPadding);
  auto* icon = new QLabel(window);
  icon->setPixmap(applicationIcon().pixmap(kIconSize));
  row->addWidget(icon, 0, Qt::AlignTop);
  auto* column = new QVBoxLayout;
  column->setSpacing(kSpacing);
  row->addLayout(column, 1);
  title_ = makeText(window);
  QFont bold = title_->font();
  bold.setBold(true);
  title_->setFont(bold);
  text_ = makeText(window);
  progress_ = new QProgressBar(window);
  progress_->setRange(0, 0);
  progress_->setTextVisible(false);
  notes_ = new QPlainTextEdit(window);
  notes_->setReadOnly(true);
  notes_->setTabChangesFocus(true);
  notes_->setMinimumHeight(kNotesHeight);
  option_ = new QCheckBox(window);
  QObject::connect(option_, &QCheckBox::toggled, window, [this](bool on) {
    mainQueue_.post([weak = std::weak_ptr(callbacks_), on] {
      if (const auto to = weak.lock()) {
        to->optionToggled(on);
      }
    });
  });
  buttons_ = new QDialogButtonBox(window);
  column->addWidget(title_);
  column->addWidget(text_);
  column->addWidget(progress_);
  column->addWidget(notes_, 1);
  column->addWidget(option_);
  column->addWidget(buttons_);
}

QtUpdateWindow::~QtUpdateWindow() = default;

void QtUpdateWindow::setModel(const UpdateWindowModel& model) {
  title_->setText(QString::fromStdString(model.title));
  text_->setText(QString::fromStdString(model.text));
  text_->setVisible(!model.text.empty());
  progress_->setVisible(model.isBusy);
  notes_->setPlainText(QString::fromStdString(model.notes));
  notes_->setVisible(!model.notes.empty());
  window_->setAccessibleName(title_->text());
  option_->setText(QString::fromStdString(model.option));
  option_->setVisible(!model.option.empty());
  const QSignalBlocker quiet(option_);
  option_->setChecked(model.isOptionOn);
  if (shownButtons_ != model.buttons) {
    shownButtons_ = model.buttons;
    fillButtons();
  }
  window_->adjustSize();
}

void QtUpdateWindow::fillButtons() {
  buttons_->clear();
  for (size_t i = 0; i < shownButtons_.size(); ++i) {
    // The first stands where the desktop's style puts the one that agrees.
    QPushButton* const button = buttons_->addButton(
        QString::fromStdString(shownButtons_[i]), i == 0 ? QDialogButtonBox::AcceptRole : QDialogButtonBox::ActionRole);
    button->setDefault(i == 0);
    QObject::connect(button, &QPushButton::clicked, window_.get(), [this, i] { answer(static_cast<int>(i)); });
    if (i == 0) {
      button->setFocus();
    }
  }
}

void QtUpdateWindow::show(bool takesKeyboard) {
  if (takesKeyboard) {
    bringToFront_(*window_);
    return;
  }
  window_->setAttribute(Qt::WA_ShowWithoutActivating);
  window_->show();
  window_->setAttribute(Qt::WA_ShowWithoutActivating, false);
}

void QtUpdateWindow::answer(int button) {
  mainQueue_.post([this, weak = std::weak_ptr(callbacks_), buttons = shownButtons_, button] {
    if (const auto to = weak.lock(); to && buttons == shownButtons_) {
      to->chosen(button);
    }
  });
}

}  // namespace jumplark
