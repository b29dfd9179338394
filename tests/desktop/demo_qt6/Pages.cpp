#include "Pages.h"

#include <QtWidgets>

namespace demo {
namespace {

template <typename Widget, typename... Arguments>
Widget* named(const char* name, Arguments... arguments) {
  auto* widget = new Widget(arguments...);
  widget->setObjectName(name);
  return widget;
}

/// A widget with others in it, side by side or below each other.
template <typename Layout, typename Widget>
Widget* holding(Widget* around, const QList<QWidget*>& parts) {
  auto* layout = new Layout(around);
  for (QWidget* part : parts) {
    layout->addWidget(part);
  }
  return around;
}

QLineEdit* makePassword(const QString& secret, QLineEdit::EchoMode mode = QLineEdit::Password) {
  auto* field = named<QLineEdit>("Password", secret);
  field->setEchoMode(mode);
  return field;
}

QComboBox* makeBox(const char* name, const QStringList& entries, bool editable) {
  auto* box = named<QComboBox>(name);
  box->setEditable(editable);
  box->addItems(entries);
  return box;
}

QPushButton* makeButtonOfDialog() {
  auto* button = new QPushButton("Erase dis&k...");
  auto* dialog = new QDialog(button);
  dialog->setWindowTitle("Confirm");
  auto* keep = new QPushButton("Keep it");
  holding<QHBoxLayout>(dialog, {new QLabel("Delete everything?"), new QPushButton("Delete all"), keep});
  QObject::connect(keep, &QPushButton::clicked, dialog, &QDialog::accept);
  QObject::connect(button, &QPushButton::clicked, dialog, &QDialog::open);
  return button;
}

QWidget* makeForm() {
  auto* page = new QWidget;
  auto* form = new QFormLayout(page);
  auto* email = named<QLineEdit>("Email");
  email->setPlaceholderText("you@example.org");
  auto* unavailable = new QPushButton("Unavailable");
  unavailable->setEnabled(false);
  form->addRow("&Name:", named<QLineEdit>("Name"));
  form->addRow("&Email:", email);
  form->addRow("&Password:", makePassword("correct horse"));
  form->addRow("&Country:", makeBox("Country", {"Austria", "Brazil", "Chile", "Denmark"}, false));
  form->addRow("&Typeface:", makeBox("Typeface", {"Garamond", "Helvetica", "Univers"}, true));
  form->addRow("&Age:", named<QSpinBox>("Age"));
  form->addRow("&Volume:", named<QSlider>("Volume", Qt::Horizontal));
  form->addRow(new QCheckBox("Wrap text"));
  form->addRow(new QCheckBox("Check spelling"));
  form->addRow(holding<QHBoxLayout>(
      new QGroupBox("Paper size"), {new QRadioButton("Small"), new QRadioButton("Medium"), new QRadioButton("Large")}));
  form->addRow(holding<QHBoxLayout>(new QWidget, {new QPushButton("OK"), new QPushButton("Cancel"),
                                                  new QPushButton("Apply"), unavailable, makeButtonOfDialog()}));
  return page;
}

class Rows : public QAbstractTableModel {
 public:
  using QAbstractTableModel::QAbstractTableModel;
  int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : 100'000; }
  int columnCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : 3; }
  QVariant data(const QModelIndex& index, int role) const override {
    return role == Qt::DisplayRole
               ? headerData(index.column(), Qt::Horizontal, role).toString() + ' ' + QString::number(index.row() + 1)
               : QVariant();
  }
  QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
    return orientation == Qt::Horizontal && role == Qt::DisplayRole
               ? QStringList{"Item", "Value", "Note"}.at(section)
               : QAbstractTableModel::headerData(section, orientation, role);
  }
};

QWidget* makeTable() {
  auto* table = new QTableView;
  table->setModel(new Rows(table));
  return table;
}

QWidget* makeTree() {
  auto* tree = new QTreeWidget;
  tree->setHeaderLabel("Plant");
  const QList<QStringList> families = {{"Fruits", "Apple", "Pear"}, {"Vegetables", "Leek"}, {"Herbs", "Basil"}};
  for (const QStringList& family : families) {
    auto* folder = new QTreeWidgetItem(tree, {family[0]});
    for (const QString& member : family.mid(1)) {
      new QTreeWidgetItem(folder, {member});
    }
  }
  return tree;
}

QWidget* makeList() {
  auto* list = new QListWidget;
  list->addItems({"Amsterdam", "Berlin", "Copenhagen", "Dublin", "Edinburgh", "Florence", "Geneva"});
  return list;
}

QWidget* makeScrolled() {
  QList<QWidget*> entries;
  for (int i = 1; i <= 60; ++i) {
    entries.append(new QPushButton("Entry " + QString::number(i)));
  }
  auto* area = new QScrollArea;
  area->setWidget(holding<QVBoxLayout>(new QWidget, entries));
  area->setWidgetResizable(true);
  return area;
}

QMenu* filled(QMenu* menu, const QStringList& items) {
  for (const QString& item : items) {
    menu->addAction(item);
  }
  return menu;
}

void addMenuButton(QToolBar* bar, const QString& text, QToolButton::ToolButtonPopupMode mode,
                   const QStringList& items) {
  auto* button = new QToolButton;
  button->setText(text);
  button->setPopupMode(mode);
  button->setMenu(filled(new QMenu(text, button), items));
  bar->addWidget(button);
}

void crowd(QToolBar* bar, QTabWidget* tabs) {
  addMenuButton(bar, "Fill", QToolButton::MenuButtonPopup, {"Solid", "Pattern"});
  addMenuButton(bar, "Line", QToolButton::InstantPopup, {"Dotted", "Dashed"});
  for (int i = 1; i <= 20; ++i) {
    bar->addAction("Tool " + QString::number(i));
    tabs->addTab(new QWidget, "Sheet " + QString::number(i));
  }
}

QWidget* makeText() {
  QString text;
  for (int line = 1; line <= 160'000; ++line) {
    text += "This is line " + QString::number(line) + " of many.\n";
  }
  return new QPlainTextEdit(text);
}

QWidget* makeSecrets() {
  const QString secret = "hunter-Zebra-4711";
  return holding<QVBoxLayout>(
      new QWidget, {new QLabel("Password:"), new QLineEdit("plain to see"), makePassword(secret),
                    makePassword(secret, QLineEdit::NoEcho), makePassword(secret, QLineEdit::PasswordEchoOnEdit)});
}

void addMenus(QMenuBar* bar) {
  QMenu* file = filled(bar->addMenu("&File"), {"&New", "&Open...", "&Save", "Save &As...", "&Print..."});
  filled(file->addMenu("&Recent"), {"report.txt", "notes.md"});
  filled(bar->addMenu("&Edit"), {"&Undo", "Cu&t", "&Copy", "&Paste"});
  filled(bar->addMenu("&View"), {"Zoom &In", "Zoom &Out"});
  filled(bar->addMenu("&Help"), {"&About"});
}

}  // namespace

void fill(QMainWindow& window, const QString& page) {
  const struct {
    const char* title;
    QWidget* (*make)();
    bool always;
  } pages[] = {{"Form", makeForm, true},       {"Table", makeTable, true},       {"Tree", makeTree, true},
               {"List", makeList, true},       {"Scrolled", makeScrolled, true}, {"Text", makeText, false},
               {"Secrets", makeSecrets, false}};
  window.setWindowTitle("Demo");
  addMenus(window.menuBar());
  QToolBar* bar = window.addToolBar("Navigation");
  for (const char* name : {"Back", "Forward", "Reload", "Home"}) {
    bar->addAction(name);
  }
  auto* tabs = new QTabWidget;
  for (const auto& [title, make, always] : pages) {
    if (always || page == title) {
      const int index = tabs->addTab(make(), title);
      tabs->setCurrentIndex(page == title ? index : tabs->currentIndex());
    }
  }
  if (page == "Crowded") {
    window.setAnimated(false);
    crowd(bar, tabs);
  }
  window.setCentralWidget(tabs);
  window.resize(760, 620);
}

}  // namespace demo
