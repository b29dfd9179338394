#include "DemoWindow.h"

#include <QMenuBar>
#include <QStatusBar>
#include <QTabWidget>
#include <QTimer>
#include <QToolBar>

#include "Pages.h"
#include "Report.h"

namespace {
constexpr const char* kCrowded = "Crowded";
}

DemoWindow::DemoWindow() : tabs_(new QTabWidget) {
  setWindowTitle("Demo");
  makeMenus();
  makeToolBar();
  tabs_->addTab(demo::makeFormPage(), "Form");
  tabs_->addTab(demo::makeTablePage(), "Table");
  tabs_->addTab(demo::makeTreePage(), "Tree");
  tabs_->addTab(demo::makeListPage(), "List");
  tabs_->addTab(demo::makeScrollPage(), "Scrolled");
  connect(tabs_, &QTabWidget::currentChanged, this,
          [this](int index) { demo::report("tab " + tabs_->tabText(index)); });
  setCentralWidget(tabs_);
  statusBar()->showMessage("Nothing to report");
  resize(760, 620);
}

void DemoWindow::showPage(const QString& title) {
  if (title == kCrowded) {
    tabs_->addTab(demo::makeCrowdedPage(), kCrowded);
  }
  for (int i = 0; i < tabs_->count(); ++i) {
    if (tabs_->tabText(i) == title) {
      tabs_->setCurrentIndex(i);
    }
  }
}

void DemoWindow::paintEvent(QPaintEvent* event) {
  QMainWindow::paintEvent(event);
  if (!ready_) {
    ready_ = true;
    QTimer::singleShot(0, this, [] { demo::report("ready"); });
  }
}

void DemoWindow::makeMenus() {
  const auto addMenu = [](auto* parent, const QString& title, const QStringList& items) {
    QMenu* menu = parent->addMenu(title);
    demo::reportMenu(menu);
    for (const QString& item : items) {
      demo::reportAction(menu->addAction(item));
    }
    return menu;
  };
  QMenu* file = addMenu(menuBar(), "&File", {"&New", "&Open...", "&Save", "Save &As...", "&Print..."});
  addMenu(file, "&Recent", {"report.txt", "notes.md"});
  addMenu(menuBar(), "&Edit", {"&Undo", "Cu&t", "&Copy", "&Paste"});
  QMenu* view = addMenu(menuBar(), "&View", {"Zoom &In", "Zoom &Out"});
  QAction* grid = new QAction("Show &Grid", view);
  grid->setCheckable(true);
  demo::reportAction(grid);
  view->addAction(grid);
  addMenu(menuBar(), "&Help", {"&About"});
}

void DemoWindow::makeToolBar() {
  QToolBar* bar = addToolBar("Navigation");
  for (const char* name : {"Back", "Forward", "Reload", "Home"}) {
    demo::reportAction(bar->addAction(name));
  }
}
