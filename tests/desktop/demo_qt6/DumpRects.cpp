#include <QAbstractButton>
#include <QAbstractItemView>
#include <QFile>
#include <QGroupBox>
#include <QHeaderView>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QMenuBar>
#include <QSaveFile>
#include <QTabBar>
#include <QTreeView>

#include "Report.h"

namespace demo {
namespace {

class Dump {
 public:
  QJsonArray entries;

  // The rectangle lies in the widget's own coordinates.
  void add(const QString& kind, const QString& name, const QWidget* widget, const QRect& rect) {
    const QPoint origin = widget->mapToGlobal(rect.topLeft());
    const bool shown = widget->isVisible() && widget->visibleRegion().intersects(rect) && !rect.isEmpty();
    entries.append(QJsonObject{{"kind", kind},
                               {"name", QString(name).remove('&')},
                               {"rect", QJsonArray{origin.x(), origin.y(), rect.width(), rect.height()}},
                               {"shown", shown}});
  }

  void addItems(const QAbstractItemView* view, const QModelIndex& parent = {}) {
    const QAbstractItemModel* model = view->model();
    for (int row = 0; row < model->rowCount(parent); ++row) {
      for (int column = 0; column < model->columnCount(parent); ++column) {
        const QModelIndex index = model->index(row, column, parent);
        add("item", index.data().toString(), view->viewport(), view->visualRect(index));
      }
      addItems(view, model->index(row, 0, parent));
    }
  }

  void addParts(const QWidget* widget) {
    if (const auto* bar = qobject_cast<const QMenuBar*>(widget)) {
      for (QAction* action : bar->actions()) {
        add("menu", action->text(), bar, bar->actionGeometry(action));
      }
    } else if (const auto* tabs = qobject_cast<const QTabBar*>(widget)) {
      for (int i = 0; i < tabs->count(); ++i) {
        add("tab", tabs->tabText(i), tabs, tabs->tabRect(i));
      }
    } else if (const auto* view = qobject_cast<const QAbstractItemView*>(widget)) {
      if (!qobject_cast<const QHeaderView*>(widget)) {
        addItems(view);
      }
    }
  }
};

QString nameOf(const QWidget* widget) {
  if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
    return button->text();
  }
  if (const auto* label = qobject_cast<const QLabel*>(widget)) {
    return label->text();
  }
  if (const auto* box = qobject_cast<const QGroupBox*>(widget)) {
    return box->title();
  }
  return widget->objectName();
}

}  // namespace

void dumpRects(QWidget* window, const QString& path) {
  Dump dump;
  for (const QWidget* widget : window->findChildren<QWidget*>()) {
    if (widget->window() == window) {
      dump.add(widget->metaObject()->className(), nameOf(widget), widget, widget->rect());
      dump.addParts(widget);
    }
  }
  // Renamed into place, so that a reader never sees half of it.
  QSaveFile file(path);
  const QByteArray text = QJsonDocument(dump.entries).toJson(QJsonDocument::Compact);
  if (file.open(QIODevice::WriteOnly) && file.write(text) == text.size() && file.commit()) {
    report("rects-written");
  }
}

}  // namespace demo
