#pragma once

#include <QMainWindow>

class QTabWidget;

/// A window with one of each thing that people click: menus, tool bar, tabs, form, table, tree, list, scrolled content
/// and a dialog. Prints "ready" once it has been painted.
class DemoWindow : public QMainWindow {
 public:
  DemoWindow();
  /// Shows the page with this title; an unknown one changes nothing. The page "Crowded" is there only when asked for.
  void showPage(const QString& title);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void makeMenus();
  void makeToolBar();

  QTabWidget* tabs_;
  bool ready_ = false;
};
