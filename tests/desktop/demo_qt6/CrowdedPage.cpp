#include <QMainWindow>
#include <QMenu>
#include <QScrollBar>
#include <QTabWidget>
#include <QToolBar>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "Pages.h"
#include "Report.h"

namespace demo {
namespace {

void addMenuButton(QToolBar* bar, const QString& text, QToolButton::ToolButtonPopupMode mode,
                   const QStringList& items) {
  auto* button = new QToolButton;
  button->setText(text);
  button->setPopupMode(mode);
  auto* menu = new QMenu(text, button);
  for (const QString& item : items) {
    reportAction(menu->addAction(item));
  }
  reportMenu(menu);
  button->setMenu(menu);
  bar->addWidget(button);
}

void fillToolBar(QToolBar* bar) {
  addMenuButton(bar, "Fill", QToolButton::MenuButtonPopup, {"Solid", "Pattern"});
  addMenuButton(bar, "Line", QToolButton::InstantPopup, {"Dotted", "Dashed"});
  for (const char* name : {"Rotate", "Mirror", "Shear", "Scale", "Crop", "Sharpen", "Blur", "Posterise"}) {
    reportAction(bar->addAction(name));
  }
}

QTreeWidget* makeScrolledTree() {
  auto* tree = new QTreeWidget;
  tree->setHeaderLabel("Layer");
  for (int i = 1; i <= 100; ++i) {
    new QTreeWidgetItem(tree, {"Layer " + QString::number(i)});
  }
  return tree;
}

}  // namespace

QWidget* makeCrowdedPage() {
  constexpr int kWidth = 260;
  constexpr int kScrolledBy = 40;
  auto* window = new QMainWindow;
  // Only a tool bar of a main window opens in place; a pop-up is all that others have.
  window->setWindowFlags(Qt::Widget);
  window->setFixedWidth(kWidth);
  window->setAnimated(false);
  fillToolBar(window->addToolBar("Drawing"));
  auto* sheets = new QTabWidget;
  QTreeWidget* tree = makeScrolledTree();
  sheets->addTab(tree, "Sheet 1");
  for (int i = 2; i <= 20; ++i) {
    sheets->addTab(new QWidget, "Sheet " + QString::number(i));
  }
  window->setCentralWidget(sheets);
  QObject::connect(tree->verticalScrollBar(), &QScrollBar::rangeChanged, tree,
                   [tree](int, int) { tree->verticalScrollBar()->setValue(kScrolledBy); });
  auto* page = new QWidget;
  (new QVBoxLayout(page))->addWidget(window);
  return page;
}

}  // namespace demo
