#include <QCheckBox>
#include <QFrame>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QScrollArea>
#include <QSignalBlocker>
#include <QStyle>
#include <QVBoxLayout>
#include <array>

#include "backends/linux/qt/PreferencePanes.h"
#include "backends/linux/qt/QtText.h"

namespace jumplark {
namespace {

constexpr int kPadding = 24;
constexpr int kSpacing = 8;

QIcon iconOf(const QStyle& style, HelpPaneModel::Finding::Level level) {
  using Level = HelpPaneModel::Finding::Level;
  constexpr std::array kIcons = {QStyle::SP_DialogApplyButton, QStyle::SP_MessageBoxWarning,
                                 QStyle::SP_MessageBoxCritical};
  return style.standardIcon(kIcons.at(level == Level::ok ? 0 : level == Level::warning ? 1 : 2));
}

QString wordOf(HelpPaneModel::Finding::Level level) {
  using Level = HelpPaneModel::Finding::Level;
  return level == Level::ok        ? localizedText("in order")
         : level == Level::warning ? localizedText("warning")
                                   : localizedText("failed");
}

QLabel* makeText(const QString& text, QWidget* parent) {
  auto* label = new QLabel(text, parent);
  label->setTextFormat(Qt::PlainText);
  label->setWordWrap(true);
  label->setTextInteractionFlags(Qt::TextSelectableByMouse);
  return label;
}

}  // namespace

HelpPane::HelpPane(const PaneDelegate& delegate) : delegate_(delegate) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  layout->setSpacing(kSpacing);
  buttonColumn_ = new QVBoxLayout;
  layout->addLayout(buttonColumn_);
  auto* heading = new QHBoxLayout;
  auto* title = new QLabel(localizedText("This desktop"), this);
  QFont bold = title->font();
  bold.setBold(true);
  title->setFont(bold);
  all_ = new QCheckBox(localizedText("Show all"), this);
  connect(all_, &QCheckBox::toggled, this, [this](bool on) { delegate_([on](auto& to) { to.allHealthToggled(on); }); });
  check_ = new QPushButton(localizedText("Check again"), this);
  connect(check_, &QPushButton::clicked, this, [this] { delegate_([](auto& to) { to.healthRequested(); }); });
  heading->addWidget(title);
  heading->addStretch();
  heading->addWidget(all_);
  heading->addWidget(check_);
  layout->addSpacing(kSpacing);
  layout->addLayout(heading);
  auto* scroll = new QScrollArea(this);
  scroll->setWidgetResizable(true);
  scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  health_ = new QWidget(scroll);
  health_->setLayout(new QGridLayout);
  scroll->setWidget(health_);
  layout->addWidget(scroll, 1);
}

void HelpPane::setModel(const HelpPaneModel& model) {
  showButtons(model);
  const QSignalBlocker quiet(all_);
  all_->setChecked(model.showsAll);
  check_->setEnabled(!model.isChecking);
  check_->setText(model.isChecking ? localizedText("Checking…") : localizedText("Check again"));
  showHealth(model);
}

void HelpPane::showButtons(const HelpPaneModel& model) {
  while (buttons_.size() < model.buttons.size()) {
    const size_t index = buttons_.size();
    auto* button = new QPushButton(this);
    connect(button, &QPushButton::clicked, this,
            [this, index] { delegate_([index](auto& to) { to.helpButtonClicked(index); }); });
    button->setMinimumWidth(200);
    buttonColumn_->addWidget(button, 0, Qt::AlignLeft);
    buttons_.push_back(button);
  }
  for (size_t i = 0; i < buttons_.size(); ++i) {
    const bool shows = i < model.buttons.size();
    buttons_[i]->setVisible(shows);
    buttons_[i]->setText(shows ? QString::fromStdString(model.buttons[i]) : QString());
  }
}

void HelpPane::showHealth(const HelpPaneModel& model) {
  auto* grid = static_cast<QGridLayout*>(health_->layout());
  while (QLayoutItem* item = grid->takeAt(0)) {
    delete item->widget();
    delete item;
  }
  for (int old = 0; old < grid->rowCount(); ++old) {
    grid->setRowStretch(old, 0);
  }
  int row = 0;
  if (!model.summary.empty()) {
    addFinding(row++, model.worst, QString::fromStdString(model.summary), true);
  }
  for (const HelpPaneModel::Finding& finding : model.health) {
    QString text = QString::fromStdString(finding.name + ": " + finding.text);
    if (!finding.remedy.empty()) {
      text += QStringLiteral("\n") + QString::fromStdString(finding.remedy);
    }
    addFinding(row++, finding.level, text, false);
  }
  grid->setColumnStretch(1, 1);
  grid->setRowStretch(row, 1);
}

void HelpPane::addFinding(int row, HelpPaneModel::Finding::Level level, const QString& text, bool isBold) {
  auto* grid = static_cast<QGridLayout*>(health_->layout());
  const int size = style()->pixelMetric(QStyle::PM_SmallIconSize, nullptr, this);
  auto* icon = new QLabel(health_);
  icon->setPixmap(iconOf(*style(), level).pixmap(size));
  icon->setAccessibleName(wordOf(level));
  grid->addWidget(icon, row, 0, Qt::AlignTop);
  QLabel* const label = makeText(text, health_);
  QFont font = label->font();
  font.setBold(isBold);
  label->setFont(font);
  grid->addWidget(label, row, 1);
}

}  // namespace jumplark
