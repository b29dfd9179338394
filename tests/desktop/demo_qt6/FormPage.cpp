#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSlider>
#include <QSpinBox>

#include "Pages.h"
#include "Report.h"

namespace demo {
namespace {

QLineEdit* makeField(const QString& name, const QString& placeholder, QLineEdit::EchoMode mode = QLineEdit::Normal) {
  auto* field = new QLineEdit;
  field->setObjectName(name);
  field->setPlaceholderText(placeholder);
  field->setEchoMode(mode);
  QObject::connect(field, &QLineEdit::textChanged, field,
                   [name](const QString& text) { report("text " + name + ' ' + text); });
  return field;
}

QComboBox* makeCombo(const QString& name, const QStringList& entries, bool editable) {
  auto* combo = new QComboBox;
  combo->setObjectName(name);
  combo->setEditable(editable);
  combo->addItems(entries);
  reportList(combo);
  QObject::connect(combo, &QComboBox::currentTextChanged, combo,
                   [name](const QString& text) { report("combo " + name + ' ' + text); });
  return combo;
}

template <typename Control>
Control* makeNumber(const QString& name, Control* control, int value) {
  control->setObjectName(name);
  control->setRange(0, 100);
  control->setValue(value);
  QObject::connect(control, &Control::valueChanged, control,
                   [name](int now) { report("value " + name + ' ' + QString::number(now)); });
  return control;
}

QPushButton* makeButton(const QString& text) {
  auto* button = new QPushButton(text);
  button->setObjectName(text);
  button->setAutoDefault(false);
  reportButton(button);
  return button;
}

QWidget* makeChoices() {
  auto* group = new QGroupBox("Paper size");
  auto* layout = new QHBoxLayout(group);
  for (const char* text : {"Small", "Medium", "Large"}) {
    auto* button = new QRadioButton(text);
    reportButton(button);
    layout->addWidget(button);
  }
  return group;
}

void openDialog(QWidget* parent) {
  auto* dialog = new QDialog(parent->window());
  dialog->setWindowTitle("Confirm");
  dialog->setModal(true);
  dialog->setAttribute(Qt::WA_DeleteOnClose);
  auto* layout = new QHBoxLayout(dialog);
  layout->addWidget(new QLabel("Delete everything?"));
  for (const char* text : {"Delete all", "Keep it"}) {
    QPushButton* button = makeButton(text);
    QObject::connect(button, &QPushButton::clicked, dialog, &QDialog::accept);
    layout->addWidget(button);
  }
  QObject::connect(dialog, &QDialog::finished, dialog, [] { report("dialog-closed Confirm"); });
  dialog->open();
  report("dialog-opened Confirm");
}

QWidget* makeButtons() {
  auto* row = new QWidget;
  auto* layout = new QHBoxLayout(row);
  for (const char* text : {"OK", "Cancel", "Apply"}) {
    layout->addWidget(makeButton(text));
  }
  QPushButton* disabled = makeButton("Unavailable");
  disabled->setEnabled(false);
  layout->addWidget(disabled);
  QPushButton* confirm = makeButton("Erase disk...");
  QObject::connect(confirm, &QPushButton::clicked, confirm, [confirm] { openDialog(confirm); });
  layout->addWidget(confirm);
  return row;
}

}  // namespace

QWidget* makeFormPage() {
  auto* page = new QWidget;
  auto* form = new QFormLayout(page);
  form->addRow("&Name:", makeField("Name", "First and last name"));
  form->addRow("&Email:", makeField("Email", "you@example.org"));
  QLineEdit* password = makeField("Password", "", QLineEdit::Password);
  password->setText("correct horse");
  form->addRow("&Password:", password);
  form->addRow("&Country:", makeCombo("Country", {"Austria", "Brazil", "Chile", "Denmark"}, false));
  form->addRow("&Typeface:", makeCombo("Typeface", {"Garamond", "Helvetica", "Univers"}, true));
  form->addRow("&Age:", makeNumber("Age", new QSpinBox, 30));
  form->addRow("&Volume:", makeNumber("Volume", new QSlider(Qt::Horizontal), 40));
  for (const char* text : {"Wrap text", "Check spelling"}) {
    auto* box = new QCheckBox(text);
    reportButton(box);
    form->addRow(box);
  }
  form->addRow(makeChoices());
  form->addRow(makeButtons());
  return page;
}

}  // namespace demo
