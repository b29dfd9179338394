#include <QHeaderView>
#include <QListWidget>
#include <QPushButton>
#include <QScrollArea>
#include <QTableWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "Pages.h"
#include "Report.h"

namespace demo {

QWidget* makeTablePage() {
  constexpr int kRows = 2000;
  const QStringList columns = {"Item", "Value", "Note"};
  auto* table = new QTableWidget(kRows, static_cast<int>(columns.size()));
  table->setObjectName("Table");
  table->setHorizontalHeaderLabels(columns);
  table->setEditTriggers(QAbstractItemView::NoEditTriggers);
  for (int row = 0; row < kRows; ++row) {
    for (int column = 0; column < columns.size(); ++column) {
      table->setItem(row, column, new QTableWidgetItem(columns[column] + ' ' + QString::number(row + 1)));
    }
  }
  QObject::connect(table, &QTableWidget::currentCellChanged, table,
                   [](int row, int, int, int) { report("selected row " + QString::number(row + 1)); });
  return table;
}

QWidget* makeTreePage() {
  auto* tree = new QTreeWidget;
  tree->setObjectName("Tree");
  tree->setHeaderLabel("Plant");
  const QList<QPair<QString, QStringList>> families = {
      {"Fruits", {"Apple", "Pear", "Quince"}}, {"Vegetables", {"Leek", "Radish"}}, {"Herbs", {"Basil", "Dill"}}};
  for (const auto& [name, members] : families) {
    auto* family = new QTreeWidgetItem(tree, {name});
    for (const QString& member : members) {
      new QTreeWidgetItem(family, {member});
    }
  }
  QObject::connect(tree, &QTreeWidget::itemExpanded, tree,
                   [](QTreeWidgetItem* item) { report("expanded " + item->text(0)); });
  QObject::connect(tree, &QTreeWidget::itemCollapsed, tree,
                   [](QTreeWidgetItem* item) { report("collapsed " + item->text(0)); });
  QObject::connect(tree, &QTreeWidget::currentItemChanged, tree,
                   [](QTreeWidgetItem* item) { report("selected " + item->text(0)); });
  return tree;
}

QWidget* makeListPage() {
  auto* list = new QListWidget;
  list->setObjectName("List");
  list->addItems({"Amsterdam", "Berlin", "Copenhagen", "Dublin", "Edinburgh", "Florence", "Geneva"});
  QObject::connect(list, &QListWidget::currentTextChanged, list, [](const QString& text) { report("chosen " + text); });
  return list;
}

QWidget* makeScrollPage() {
  constexpr int kEntries = 60;
  auto* content = new QWidget;
  auto* layout = new QVBoxLayout(content);
  for (int i = 1; i <= kEntries; ++i) {
    auto* button = new QPushButton("Entry " + QString::number(i));
    reportButton(button);
    layout->addWidget(button);
  }
  auto* area = new QScrollArea;
  area->setWidget(content);
  area->setWidgetResizable(true);
  return area;
}

}  // namespace demo
