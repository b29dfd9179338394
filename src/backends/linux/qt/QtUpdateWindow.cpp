#include "backends/linux/qt/QtUpdateWindow.h"

#include <QCloseEvent>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

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

/// Only its owner closes it.
class QtUpdateWindow::Window : public QDialog {
 public:
  explicit Window(std::function<void()> closed)
      : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint), closed_(std::move(closed)) {}
  void reject() override { closed_(); }

 protected:
  void closeEvent(QCloseEvent* event) override {
    event->ignore();
    closed_();
  }

 private:
  std::function<void()> closed_;
};

QtUpdateWindow::QtUpdateWindow(TaskQueue& mainQueue, std::function<void(QWidget& window)> bringToFront,
                               std::function<void(int button)> chosen)
    : mainQueue_(mainQueue),
      bringToFront_(std::move(bringToFront)),
      chosen_(std::make_shared<std::function<void(int)>>(std::move(chosen))),
      window_(std::make_unique<Window>([this] { answer(-1); })) {
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
  buttons_ = new QDialogButtonBox(window);
  column->addWidget(title_);
  column->addWidget(text_);
  column->addWidget(progress_);
  column->addWidget(notes_, 1);
  column->addStretch();
  column->addWidget(buttons_);
}

QtUpdateWindow::~QtUpdateWindow() = default;

void QtUpdateWindow::setModel(const UpdateWindowModel& model) {
  chosen_ = std::make_shared<std::function<void(int)>>(*chosen_);
  model_ = model;
  title_->setText(QString::fromStdString(model.title));
  text_->setText(QString::fromStdString(model.text));
  text_->setVisible(!model.text.empty());
  progress_->setVisible(model.isBusy);
  notes_->setPlainText(QString::fromStdString(model.notes));
  notes_->setVisible(!model.notes.empty());
  window_->setAccessibleName(title_->text());
  fillButtons(model);
  window_->adjustSize();
}

void QtUpdateWindow::fillButtons(const UpdateWindowModel& model) {
  buttons_->clear();
  for (size_t i = 0; i < model.buttons.size(); ++i) {
    // The first stands where the desktop's style puts the one that agrees.
    QPushButton* const button = buttons_->addButton(
        QString::fromStdString(model.buttons[i]), i == 0 ? QDialogButtonBox::AcceptRole : QDialogButtonBox::ActionRole);
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
  mainQueue_.post([weak = std::weak_ptr(chosen_), button] {
    if (const auto chosen = weak.lock()) {
      (*chosen)(button);
    }
  });
}

}  // namespace jumplark
