#include "backends/linux/qt/QtCrashWindow.h"

#include <QClipboard>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFontDatabase>
#include <QGuiApplication>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>
#include <utility>

#include "backends/linux/qt/OwnedDialog.h"
#include "backends/linux/qt/QtText.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr int kPadding = 20;
constexpr int kSpacing = 12;
constexpr int kReportWidth = 640;
constexpr int kReportHeight = 320;

QLabel* makeText(QWidget* parent) {
  auto* label = new QLabel(parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

QPlainTextEdit* makePage(QWidget* parent) {
  auto* page = new QPlainTextEdit(parent);
  page->setReadOnly(true);
  page->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
  page->setTabChangesFocus(true);
  page->setLineWrapMode(QPlainTextEdit::NoWrap);
  page->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
  page->setMinimumSize(kReportWidth, kReportHeight);
  page->setAccessibleName(localizedText("Crash report"));
  return page;
}

}  // namespace

QtCrashWindow::QtCrashWindow(TaskQueue& mainQueue, std::function<void(QWidget& window)> bringToFront,
                             CrashWindowCallbacks callbacks)
    : mainQueue_(mainQueue),
      bringToFront_(std::move(bringToFront)),
      callbacks_(std::make_shared<CrashWindowCallbacks>(std::move(callbacks))),
      window_(std::make_unique<OwnedDialog>([this] { tell([](const auto& to) { to.closed(); }); })) {
  QWidget* const window = window_.get();
  window->setAttribute(Qt::WA_QuitOnClose, false);
  window->setWindowTitle(QStringLiteral("Jumplark"));
  title_ = makeText(window);
  QFont bold = title_->font();
  bold.setBold(true);
  title_->setFont(bold);
  text_ = makeText(window);
  report_ = makePage(window);
  status_ = makeText(window);
  auto* buttons = new QDialogButtonBox(window);
  QPushButton* const close = buttons->addButton(localizedText("Close"), QDialogButtonBox::RejectRole);
  QPushButton* const copyButton = buttons->addButton(localizedText("Copy"), QDialogButtonBox::ActionRole);
  QPushButton* const save = buttons->addButton(localizedText("Save…"), QDialogButtonBox::ActionRole);
  send_ = buttons->addButton(localizedText("Send"), QDialogButtonBox::ActionRole);
  QObject::connect(close, &QPushButton::clicked, window, [this] { window_->reject(); });
  QObject::connect(copyButton, &QPushButton::clicked, window, [this] { copy(); });
  QObject::connect(save, &QPushButton::clicked, window, [this] { chooseFile(); });
  QObject::connect(send_, &QPushButton::clicked, window, [this] { tell([](const auto& to) { to.sendPressed(); }); });
  // Return must never send.
  close->setDefault(true);
  close->setFocus();

  auto* column = new QVBoxLayout(window);
  column->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  column->setSpacing(kSpacing);
  column->addWidget(title_);
  column->addWidget(text_);
  column->addWidget(report_, 1);
  column->addWidget(status_);
  column->addWidget(buttons);
}

QtCrashWindow::~QtCrashWindow() = default;

void QtCrashWindow::setModel(const CrashWindowModel& model) {
  title_->setText(QString::fromStdString(model.title));
  text_->setText(QString::fromStdString(model.text));
  window_->setAccessibleName(title_->text());
  const QString report = QString::fromStdString(model.report);
  if (report_->toPlainText() != report) {
    report_->setPlainText(report);
  }
  status_->setText(QString::fromStdString(model.status));
  send_->setVisible(model.offersSending);
  send_->setEnabled(model.canSend);
}

void QtCrashWindow::show() {
  bringToFront_(*window_);
}

void QtCrashWindow::copy() {
  QGuiApplication::clipboard()->setText(report_->toPlainText());
  tell([](const auto& to) { to.copied(); });
}

void QtCrashWindow::chooseFile() {
  auto* dialog = new QFileDialog(window_.get(), localizedText("Save the crash report"), QDir::homePath());
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  dialog->setAcceptMode(QFileDialog::AcceptSave);
  dialog->setDefaultSuffix(QStringLiteral("txt"));
  dialog->selectFile(QStringLiteral("jumplark-crash.txt"));
  QObject::connect(dialog, &QFileDialog::fileSelected, window_.get(), [this](const QString& path) {
    tell([path = path.toStdString()](const auto& to) { to.saveChosen(path); });
  });
  dialog->open();
}

void QtCrashWindow::tell(std::function<void(const CrashWindowCallbacks&)> call) {
  mainQueue_.post([weak = std::weak_ptr(callbacks_), call = std::move(call)] {
    if (const auto to = weak.lock()) {
      call(*to);
    }
  });
}

}  // namespace jumplark
