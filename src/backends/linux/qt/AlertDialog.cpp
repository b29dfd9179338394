#include "backends/linux/qt/AlertDialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>
#include <utility>

#include "backends/linux/qt/PaneIcons.h"

namespace jumplark {
namespace {

constexpr int kTextWidth = 380;
constexpr int kPadding = 20;

QLabel* makeText(const std::string& text, QWidget* parent) {
  auto* label = new QLabel(QString::fromStdString(text), parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setFixedWidth(kTextWidth);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

}  // namespace

AlertDialog::AlertDialog(const Alert& alert, std::function<void(int button)> chosen)
    : QDialog(nullptr, Qt::Dialog | Qt::WindowTitleHint | Qt::WindowCloseButtonHint),
      takesKeyboard_(alert.takesKeyboard),
      chosen_(std::move(chosen)) {
  setWindowFlag(Qt::WindowStaysOnTopHint, takesKeyboard_);
  setAttribute(Qt::WA_ShowWithoutActivating, !takesKeyboard_);
  setAttribute(Qt::WA_DeleteOnClose);
  setAttribute(Qt::WA_QuitOnClose, false);
  setWindowTitle(QStringLiteral("Jumplark"));
  setAccessibleName(QString::fromStdString(alert.title));
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  layout->setSpacing(kPadding);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  addTexts(alert, *layout);
  auto* buttons = new QDialogButtonBox(this);
  layout->addWidget(buttons);
  for (size_t i = 0; i < alert.buttons.size(); ++i) {
    // The first stands where the desktop's style puts the one that agrees.
    QPushButton* button = buttons->addButton(QString::fromStdString(alert.buttons[i]),
                                             i == 0 ? QDialogButtonBox::AcceptRole : QDialogButtonBox::ActionRole);
    button->installEventFilter(this);
    button->setAutoDefault(true);
    button->setDefault(i == 0);
    connect(button, &QPushButton::clicked, this, [this, i] { answer(static_cast<int>(i)); });
    if (i == 0) {
      button->setFocus();
    }
  }
}

AlertDialog::~AlertDialog() {
  if (chosen_) {
    chosen_(button_);
  }
}

/// A button takes the space bar with whatever is held, and so a shortcut that the program does not own yet.
bool AlertDialog::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::KeyPress || event->type() == QEvent::KeyRelease) {
    const auto& key = static_cast<const QKeyEvent&>(*event);
    const bool isShortcut = (key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier)) != 0;
    if (isShortcut && key.key() == Qt::Key_Space) {
      return true;
    }
  }
  return QDialog::eventFilter(watched, event);
}

void AlertDialog::addTexts(const Alert& alert, QVBoxLayout& layout) {
  auto* row = new QHBoxLayout;
  row->setSpacing(kPadding);
  layout.addLayout(row);
  auto* icon = new QLabel(this);
  const int size = style()->pixelMetric(QStyle::PM_MessageBoxIconSize, nullptr, this);
  icon->setPixmap(applicationIcon().pixmap(size));
  row->addWidget(icon, 0, Qt::AlignTop);
  auto* texts = new QVBoxLayout;
  row->addLayout(texts);
  QLabel* title = makeText(alert.title, this);
  QFont bold = title->font();
  bold.setBold(true);
  title->setFont(bold);
  texts->addWidget(title);
  if (!alert.text.empty()) {
    texts->addWidget(makeText(alert.text, this));
  }
}

void AlertDialog::giveWay() {
  takesKeyboard_ = false;
  setAttribute(Qt::WA_ShowWithoutActivating);
  hide();
}

void AlertDialog::answer(int button) {
  button_ = button;
  close();
}

}  // namespace jumplark
