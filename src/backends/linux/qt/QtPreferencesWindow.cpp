#include "backends/linux/qt/QtPreferencesWindow.h"

#include <QCursor>
#include <QFrame>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QScreen>
#include <QShortcut>
#include <QStackedWidget>
#include <QToolButton>
#include <QVBoxLayout>
#include <algorithm>
#include <utility>

#include "backends/linux/qt/AlertDialog.h"
#include "backends/linux/qt/PaneIcons.h"
#include "backends/linux/qt/PreferencePanes.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr int kWidth = 620;
constexpr int kHeight = 440;
constexpr int kIconSize = 32;

/// The chosen button is told apart on dark palettes too, where a pressed button hardly differs from the window.
QPalette toolbarPalette(QPalette palette) {
  const QColor window = palette.color(QPalette::Window);
  const QColor text = palette.color(QPalette::WindowText);
  const auto mixed = [](int a, int b) { return (a * 4 + b) / 5; };
  palette.setColor(QPalette::Button, QColor(mixed(window.red(), text.red()), mixed(window.green(), text.green()),
                                            mixed(window.blue(), text.blue())));
  return palette;
}

}  // namespace

/// Tells when it comes into view and goes. Minimizing is neither.
class QtPreferencesWindow::Window : public QWidget {
 public:
  explicit Window(QtPreferencesWindow& owner) : owner_(owner) {}

 protected:
  void showEvent(QShowEvent* event) override {
    QWidget::showEvent(event);
    owner_.windowShown();
  }
  void hideEvent(QHideEvent* event) override {
    QWidget::hideEvent(event);
    if (!isMinimized()) {
      owner_.windowHidden();
      owner_.endSheets();
    }
  }

 private:
  QtPreferencesWindow& owner_;
};

QtPreferencesWindow::QtPreferencesWindow(Context context, const std::string& title,
                                         const std::vector<std::optional<PaneDescription>>& panes)
    : context_(std::move(context)),
      window_(std::make_unique<Window>(*this)),
      self_(std::make_shared<QtPreferencesWindow*>(this)) {
  window_->setAttribute(Qt::WA_QuitOnClose, false);
  window_->setWindowTitle(QString::fromStdString(title));
  window_->setWindowIcon(applicationIcon());
  auto* layout = new QVBoxLayout(window_.get());
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  stack_ = new QStackedWidget(window_.get());
  layout->addWidget(makeToolbar(panes));
  auto* line = new QFrame(window_.get());
  line->setFrameShape(QFrame::HLine);
  line->setFrameShadow(QFrame::Sunken);
  layout->addWidget(line);
  layout->addWidget(stack_, 1);
  window_->resize(kWidth, kHeight);
  for (const auto& keys : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)}) {
    auto* shortcut = new QShortcut(keys, window_.get());
    QObject::connect(shortcut, &QShortcut::activated, window_.get(), &QWidget::close);
  }
  if (!entries_.empty()) {
    selectPane(entries_.front().identifier);
  }
}

QtPreferencesWindow::~QtPreferencesWindow() {
  delegate_ = nullptr;
  if (sheet_) {
    sheet_->dismiss();
  }
}

QWidget* QtPreferencesWindow::makePane(const std::string& identifier) {
  const PaneDelegate delegate = [this](const auto& call) { tell(call); };
  if (identifier == "General") {
    return general_ = new GeneralPane(context_.keys, delegate);
  }
  if (identifier == "Advanced") {
    return advanced_ = new AdvancedPane(delegate);
  }
  if (identifier == "Usage") {
    return usage_ = new UsagePane;
  }
  if (identifier == "Help") {
    return help_ = new HelpPane(delegate);
  }
  return about_ = new AboutPane(delegate);
}

QWidget* QtPreferencesWindow::makeToolbar(const std::vector<std::optional<PaneDescription>>& panes) {
  auto* toolbar = new QWidget(window_.get());
  auto* layout = new QHBoxLayout(toolbar);
  layout->setContentsMargins(8, 8, 8, 8);
  layout->setSpacing(4);
  for (const auto& description : panes) {
    if (!description) {
      layout->addStretch();
      continue;
    }
    auto* button = new QToolButton(toolbar);
    button->setPalette(toolbarPalette(toolbar->palette()));
    button->setText(QString::fromStdString(description->label));
    button->setIcon(paneIcon(description->image, toolbar->palette().color(QPalette::WindowText)));
    button->setIconSize({kIconSize, kIconSize});
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setMinimumWidth(84);
    button->setAutoRaise(true);
    button->setCheckable(true);
    button->setAutoExclusive(true);
    button->setFocusPolicy(Qt::StrongFocus);
    QObject::connect(button, &QToolButton::clicked, button,
                     [this, identifier = description->identifier] { selectPane(identifier); });
    layout->addWidget(button);
    QWidget* pane = makePane(description->identifier);
    stack_->addWidget(pane);
    entries_.push_back({description->identifier, button, pane});
  }
  return toolbar;
}

void QtPreferencesWindow::tell(const std::function<void(PreferencesViewDelegate&)>& call) const {
  if (delegate_ != nullptr) {
    call(*delegate_);
  }
}

void QtPreferencesWindow::makeKeyAndOrderFront() {
  if (window_->isMinimized()) {
    window_->showNormal();
  }
  if (!std::exchange(placed_, true)) {
    const QScreen* const screen = QGuiApplication::screenAt(QCursor::pos());
    const QRect room = (screen != nullptr ? screen : QGuiApplication::primaryScreen())->availableGeometry();
    window_->move(room.center() - window_->rect().center());
  }
  context_.bringToFront(*window_);
}

void QtPreferencesWindow::selectPane(const std::string& identifier) {
  const auto entry = std::ranges::find(entries_, identifier, &Entry::identifier);
  if (entry == entries_.end()) {
    return;
  }
  entry->button->setChecked(true);
  if (const QWidget* const focused = window_->focusWidget(); focused && focused->parent() == entry->button->parent()) {
    entry->button->setFocus();
  }
  if (std::exchange(selected_, identifier) == identifier) {
    return;
  }
  const bool shows = !appeared_.empty();
  windowHidden();
  stack_->setCurrentWidget(entry->pane);
  if (shows) {
    windowShown();
  }
}

void QtPreferencesWindow::windowShown() {
  if (appeared_.empty()) {
    appeared_ = selected_;
    tell([this](auto& to) { to.paneWillAppear(selected_); });
  }
}

void QtPreferencesWindow::windowHidden() {
  if (const std::string pane = std::exchange(appeared_, {}); !pane.empty()) {
    tell([&pane](auto& to) { to.paneDidDisappear(pane); });
  }
}

void QtPreferencesWindow::showSheet(const Alert& alert, std::function<void(int button)> chosen) {
  sheets_.push_back({alert, std::move(chosen)});
  showNextSheet();
}

/// Two at once would each keep the keyboard from the other.
void QtPreferencesWindow::showNextSheet() {
  if (sheet_ || sheets_.empty()) {
    return;
  }
  TaskQueue& mainQueue = context_.mainQueue;
  sheet_ = new AlertDialog(sheets_.front().alert, [&mainQueue, weak = std::weak_ptr(self_)](int button) {
    mainQueue.post([weak, button] {
      if (const auto self = weak.lock()) {
        (*self)->sheetAnswered(button);
      }
    });
  });
  sheet_->setParent(window_.get(), Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint);
  sheet_->setWindowModality(Qt::WindowModal);
  context_.bringToFront(*sheet_);
}

void QtPreferencesWindow::sheetAnswered(int button) {
  std::vector<Sheet> answered;
  do {
    answered.push_back(std::move(sheets_.front()));
    sheets_.pop_front();
  } while (!sheets_.empty() && !window_->isVisible());  // they go with their window
  showNextSheet();
  for (const Sheet& sheet : answered) {
    if (sheet.chosen) {
      sheet.chosen(std::exchange(button, -1));
    }
  }
}

void QtPreferencesWindow::endSheets() {
  if (sheet_) {
    sheet_->close();
  }
}

void QtPreferencesWindow::setGeneralPane(const GeneralPaneModel& model) {
  if (general_) {
    general_->setModel(model);
  }
}

void QtPreferencesWindow::setAdvancedPane(const AdvancedPaneModel& model) {
  if (advanced_) {
    advanced_->setModel(model);
  }
}

void QtPreferencesWindow::setUsagePane(const UsagePaneModel& model) {
  if (usage_) {
    usage_->setModel(model);
  }
}

void QtPreferencesWindow::setHelpPane(const HelpPaneModel& model) {
  if (help_) {
    help_->setModel(model);
  }
}

void QtPreferencesWindow::setAboutPane(const AboutPaneModel& model) {
  if (about_) {
    about_->setModel(model);
  }
}

}  // namespace jumplark
