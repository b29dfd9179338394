#include "backends/linux/qt/PreferencePanes.h"

#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGridLayout>
#include <QLabel>
#include <QSignalBlocker>
#include <QVBoxLayout>

#include "backends/linux/qt/PaneIcons.h"
#include "backends/linux/qt/QtText.h"
#include "backends/linux/qt/ShortcutField.h"

namespace jumplark {
namespace {

constexpr int kPadding = 24;
constexpr int kSpacing = 10;
constexpr int kIndent = 24;  ///< of a note below its check box

/// A paragraph below a control, so far to the right of it.
QLabel* addNote(QFormLayout& form, int indent) {
  QLabel* note = makeHint(form.parentWidget());
  note->setWordWrap(true);
  note->setContentsMargins(indent, 0, 0, 0);
  form.addRow(QString(), note);
  return note;
}

void setNote(QLabel& note, const std::string& text) {
  note.setText(QString::fromStdString(text));
  note.setVisible(!text.empty());
}

/// Changes what it shows without taking that for the user's doing.
void setChecked(QCheckBox& box, bool checked) {
  const QSignalBlocker quiet(box);
  box.setChecked(checked);
}

QLabel* makeLink(QWidget* parent) {
  auto* link = new QLabel(parent);
  link->setTextFormat(Qt::RichText);
  link->setTextInteractionFlags(Qt::TextBrowserInteraction);
  return link;
}

/// Text and target are the same.
void setLink(QLabel& label, const std::string& address) {
  label.setText(QStringLiteral("<a href=\"%1\">%1</a>").arg(QString::fromStdString(address).toHtmlEscaped()));
  label.setVisible(!address.empty());
}

QFormLayout* makeForm(QWidget* pane) {
  auto* form = new QFormLayout(pane);
  form->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  form->setSpacing(kSpacing);
  form->setLabelAlignment(Qt::AlignRight | Qt::AlignVCenter);
  return form;
}

}  // namespace

QLabel* makeHint(QWidget* parent) {
  auto* hint = new QLabel(parent);
  hint->setTextFormat(Qt::PlainText);
  QPalette palette = hint->palette();
  QColor weaker = palette.color(QPalette::WindowText);
  weaker.setAlphaF(0.66F);
  palette.setColor(QPalette::WindowText, weaker);
  hint->setPalette(palette);
  return hint;
}

GeneralPane::GeneralPane(const KeyTranslator& keys, const PaneDelegate& delegate) {
  recorder_ = new ShortcutField(
      keys,
      {[delegate] { delegate([](auto& to) { to.recorderClicked(); }); },
       [delegate] { delegate([](auto& to) { to.recorderClearClicked(); }); },
       [delegate] { delegate([](auto& to) { to.recorderResetClicked(); }); },
       [delegate](const KeyEvent& event) { delegate([&event](auto& to) { to.recorderKeyDown(event); }); },
       [delegate] { delegate([](auto& to) { to.recorderLostKeyboard(); }); }},
      this);
  auto* label = new QLabel(localizedText("Activation shortcut:"), this);
  label->setBuddy(recorder_->button());
  QFormLayout* form = makeForm(this);
  form->addRow(label, recorder_);
  recorderHint_ = addNote(*form, 0);
  using To = PreferencesViewDelegate;
  icon_ = addBox(*form, localizedText("Show the icon in the panel"), delegate, &To::showIconToggled);
  iconNote_ = addNote(*form, kIndent);
  login_ = addBox(*form, localizedText("Start Jumplark at login"), delegate, &To::launchAtLoginToggled);
  loginNote_ = addNote(*form, kIndent);
  staysOpen_ = addBox(*form, localizedText("Stay open after a click"), delegate, &To::staysOpenToggled);
  updates_ = addBox(*form, localizedText("Look for updates once a day"), delegate, &To::updatesToggled);
}

QCheckBox* GeneralPane::addBox(QFormLayout& form, const QString& text, const PaneDelegate& delegate,
                               void (PreferencesViewDelegate::*toggled)(bool on)) {
  auto* box = new QCheckBox(text, this);
  form.addRow(QString(), box);
  connect(box, &QCheckBox::toggled, this,
          [delegate, toggled](bool on) { delegate([on, toggled](auto& to) { (to.*toggled)(on); }); });
  return box;
}

void GeneralPane::setModel(const GeneralPaneModel& model) {
  recorder_->setModel(model.recorder);
  setNote(*recorderHint_, model.recorder.hint);
  setChecked(*icon_, model.showsIcon);
  setNote(*iconNote_, model.iconNote);
  setChecked(*login_, model.launchesAtLogin);
  setNote(*loginNote_, model.loginNote);
  setChecked(*staysOpen_, model.staysOpen);
  setChecked(*updates_, model.looksForUpdates);
  updates_->setVisible(model.offersUpdates);
}

AdvancedPane::AdvancedPane(const PaneDelegate& delegate) {
  layouts_ = new QComboBox(this);
  auto* label = new QLabel(localizedText("Keyboard layout for queries:"), this);
  label->setBuddy(layouts_);
  metrics_ = new QCheckBox(localizedText("Send usage metrics"), this);
  metricsLink_ = makeLink(this);
  metricsLink_->setContentsMargins(kIndent, 0, 0, 0);
  QFormLayout* form = makeForm(this);
  form->addRow(label, layouts_);
  form->addRow(QString(), metrics_);
  metricsNote_ = addNote(*form, kIndent);
  form->addRow(QString(), metricsLink_);
  connect(layouts_, &QComboBox::activated, this,
          [delegate](int index) { delegate([index](auto& to) { to.layoutChosen(static_cast<size_t>(index)); }); });
  connect(metrics_, &QCheckBox::toggled, this,
          [delegate](bool on) { delegate([on](auto& to) { to.metricsToggled(on); }); });
  connect(metricsLink_, &QLabel::linkActivated, this,
          [delegate] { delegate([](auto& to) { to.metricsLinkClicked(); }); });
}

void AdvancedPane::setModel(const AdvancedPaneModel& model) {
  QStringList names;
  for (const std::string& name : model.layouts) {
    names << QString::fromStdString(name);
  }
  QStringList shown;
  for (int i = 0; i < layouts_->count(); ++i) {
    shown << layouts_->itemText(i);
  }
  if (shown != names) {
    layouts_->clear();
    layouts_->addItems(names);
  }
  layouts_->setCurrentIndex(static_cast<int>(model.selectedLayout));
  setChecked(*metrics_, model.metricsEnabled);
  metrics_->setVisible(model.offersMetrics);
  metrics_->setEnabled(model.metricsCanChange);
  metricsNote_->setContentsMargins(model.offersMetrics ? kIndent : 0, 0, 0, 0);
  setNote(*metricsNote_, model.metricsNote);
  setLink(*metricsLink_, model.metricsLink);
}

UsagePane::UsagePane() {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  grid_ = new QGridLayout;
  grid_->setHorizontalSpacing(kPadding);
  grid_->setVerticalSpacing(kSpacing);
  layout->addLayout(grid_);
  layout->addStretch();
  int column = 1;
  for (const char* title :
       {textForLater("Today"), textForLater("Yesterday"), textForLater("Best day"), textForLater("Total")}) {
    auto* label = new QLabel(localizedText(title), this);
    QFont bold = label->font();
    bold.setBold(true);
    label->setFont(bold);
    grid_->addWidget(label, 0, column++, Qt::AlignRight);
  }
  grid_->setColumnStretch(0, 1);
}

void UsagePane::setModel(const UsagePaneModel& model) {
  while (cells_.size() < model.rows.size()) {
    const int row = static_cast<int>(cells_.size()) + 1;
    std::vector<QLabel*> cells;
    for (int column = 0; column < 5; ++column) {
      cells.push_back(new QLabel(this));
      grid_->addWidget(cells.back(), row, column, Qt::AlignTop | (column == 0 ? Qt::AlignLeft : Qt::AlignRight));
    }
    cells_.push_back(cells);
  }
  for (size_t i = 0; i < model.rows.size(); ++i) {
    const UsagePaneModel::Row& row = model.rows[i];
    const std::string record = row.recordDate.empty() ? row.record : row.record + "\n" + row.recordDate;
    const std::string* texts[] = {&row.title, &row.today, &row.yesterday, &record, &row.total};
    for (size_t column = 0; column < std::size(texts); ++column) {
      cells_[i][column]->setText(QString::fromStdString(*texts[column]));
      cells_[i][column]->setAlignment(column == 0 ? Qt::AlignLeft : Qt::AlignRight);
    }
  }
}

AboutPane::AboutPane(const PaneDelegate& delegate) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(kPadding, kPadding, kPadding, kPadding);
  layout->setSpacing(kSpacing);
  auto* icon = new QLabel(this);
  icon->setPixmap(applicationIcon().pixmap(96));
  layout->addStretch();
  layout->addWidget(icon, 0, Qt::AlignHCenter);
  for (QLabel** label : {&name_, &version_, &summary_, &licence_}) {
    *label = new QLabel(this);
    (*label)->setTextFormat(Qt::PlainText);
    (*label)->setAlignment(Qt::AlignHCenter);
    layout->addWidget(*label);
  }
  QFont title = name_->font();
  title.setBold(true);
  title.setPointSizeF(title.pointSizeF() * 1.6);
  name_->setFont(title);
  version_->setTextInteractionFlags(Qt::TextSelectableByMouse);
  summary_->setWordWrap(true);
  link_ = makeLink(this);
  layout->addWidget(link_, 0, Qt::AlignHCenter);
  connect(link_, &QLabel::linkActivated, this, [delegate] { delegate([](auto& to) { to.aboutLinkClicked(); }); });
  layout->addStretch();
}

void AboutPane::setModel(const AboutPaneModel& model) {
  name_->setText(QString::fromStdString(model.name));
  version_->setText(QString::fromStdString(model.version));
  summary_->setText(QString::fromStdString(model.summary));
  licence_->setText(QString::fromStdString(model.licence));
  setLink(*link_, model.link);
}

}  // namespace jumplark
