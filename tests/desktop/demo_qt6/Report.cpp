#include "Report.h"

#include <QtWidgets>
#include <cstdio>

namespace demo {
namespace {

void report(QString line) {
  std::printf("%s\n", qUtf8Printable(line.remove('&')));
  std::fflush(stdout);
}

QString titleOf(const QWindow* window) {
  const QWidget* widget = QWidget::find(window->winId());
  if (const auto* menu = qobject_cast<const QMenu*>(widget)) {
    return menu->title();
  }
  const bool isList = widget && widget->windowTitle().isEmpty() && widget->parentWidget();
  return isList ? widget->parentWidget()->objectName() : window->title();
}

/// Sees what happens to windows, as the window system tells it.
class WindowReports : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* watched, QEvent* event) override {
    if (auto* window = qobject_cast<QWindow*>(watched)) {
      const QEvent::Type type = event->type();
      if (type == QEvent::Expose && window->isExposed() && !open_.contains(window)) {
        open_.insert(window);
        report("opened " + titleOf(window));
      } else if (type == QEvent::Hide && open_.remove(window)) {
        report("closed " + titleOf(window));
      } else if (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick) {
        const auto* mouse = static_cast<QMouseEvent*>(event);
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
        const QPoint at = mouse->globalPosition().toPoint();
#else
        const QPoint at = mouse->globalPos();
#endif
        report(QString("%1 %2,%3%4")
                   .arg(type == QEvent::MouseButtonPress ? "pressed" : "double-pressed")
                   .arg(at.x())
                   .arg(at.y())
                   .arg(mouse->modifiers() == Qt::NoModifier ? "" : " with modifiers"));
      }
    }
    return false;
  }

 private:
  QSet<QWindow*> open_;
};

/// Calls with each widget or action of a kind, whose signals lead to reports.
template <typename Kind, typename Connect>
void forEach(const QWidget* window, const Connect& connect) {
  for (Kind* child : window->findChildren<Kind*>()) {
    connect(child);
  }
}

void reportViews(const QWidget* window) {
  forEach<QAbstractItemView>(window, [](QAbstractItemView* view) {
    if (!qobject_cast<QHeaderView*>(view)) {
      QObject::connect(view->selectionModel(), &QItemSelectionModel::currentChanged, view,
                       [](const QModelIndex& now) { report("selected " + now.data().toString()); });
    }
  });
  forEach<QTabBar>(window, [](QTabBar* tabs) {
    QObject::connect(tabs, &QTabBar::currentChanged, tabs,
                     [tabs](int index) { report("tab " + tabs->tabText(index)); });
  });
}

QString nameOf(const QWidget* widget) {
  if (const auto* button = qobject_cast<const QAbstractButton*>(widget)) {
    return button->text();
  }
  if (const auto* label = qobject_cast<const QLabel*>(widget)) {
    return label->text();
  }
  const auto* group = qobject_cast<const QGroupBox*>(widget);
  return group ? group->title() : widget->objectName();
}

// The rectangle lies in the widget's own coordinates. What is told is the part of it that shows, all of what is hidden.
void tellPart(int number, const QString& kind, const QString& name, const QWidget* widget, const QRect& whole) {
  const QRect visible = widget->isVisible() ? widget->visibleRegion().intersected(whole).boundingRect() : QRect();
  const QRect& rect = visible.isEmpty() ? whole : visible;
  const QPoint origin = widget->mapToGlobal(rect.topLeft());
  report(QString("part %1 %2 %3 %4 %5 %6 %7 %8")
             .arg(number)
             .arg(origin.x())
             .arg(origin.y())
             .arg(rect.width())
             .arg(rect.height())
             .arg(std::min(visible.width(), visible.height()))
             .arg(kind, name));
}

void tellItems(int number, const QAbstractItemView* view, const QModelIndex& parent = {}) {
  constexpr int kMostRows = 200;
  const QAbstractItemModel* model = view->model();
  for (int row = 0; row < std::min(model->rowCount(parent), kMostRows); ++row) {
    for (int column = 0; column < model->columnCount(parent); ++column) {
      const QModelIndex index = model->index(row, column, parent);
      tellPart(number, "item", index.data().toString(), view->viewport(), view->visualRect(index));
    }
    tellItems(number, view, model->index(row, 0, parent));
  }
}

}  // namespace

void reportEverything(QWidget* window) {
  qApp->installEventFilter(new WindowReports(window));
  QObject::connect(qApp, &QApplication::focusChanged, window, [](QWidget*, QWidget* now) {
    if (now && !now->objectName().isEmpty()) {
      report("focused " + now->objectName());
    }
  });
  forEach<QAbstractButton>(window, [](QAbstractButton* button) {
    QObject::connect(button, &QAbstractButton::toggled, button,
                     [button](bool on) { report("checked " + button->text() + (on ? " true" : " false")); });
    QObject::connect(button, &QAbstractButton::clicked, button, [button] { report("clicked " + button->text()); });
  });
  forEach<QAction>(window, [](QAction* action) {
    QObject::connect(action, &QAction::triggered, action, [action] { report("triggered " + action->text()); });
  });
  forEach<QLineEdit>(window, [](QLineEdit* field) {
    QObject::connect(field, &QLineEdit::textChanged, field,
                     [field](const QString& text) { report("text " + field->objectName() + ' ' + text); });
  });
  forEach<QComboBox>(window, [](QComboBox* box) {
    QObject::connect(box, &QComboBox::currentTextChanged, box,
                     [box](const QString& text) { report("combo " + box->objectName() + ' ' + text); });
  });
  reportViews(window);
}

void tellParts(QWidget* window) {
  static int number = -1;
  ++number;
  for (const QWidget* widget : window->findChildren<QWidget*>()) {
    if (widget->window() != window) {
      continue;
    }
    tellPart(number, widget->metaObject()->className(), nameOf(widget), widget, widget->rect());
    if (const auto* bar = qobject_cast<const QMenuBar*>(widget)) {
      for (QAction* action : bar->actions()) {
        tellPart(number, "menu", action->text(), bar, bar->actionGeometry(action));
      }
    } else if (const auto* tabs = qobject_cast<const QTabBar*>(widget)) {
      for (int i = 0; i < tabs->count(); ++i) {
        tellPart(number, "tab", tabs->tabText(i), tabs, tabs->tabRect(i));
      }
    } else if (const auto* view = qobject_cast<const QAbstractItemView*>(widget);
               view && !qobject_cast<const QHeaderView*>(view)) {
      tellItems(number, view);
    }
  }
  report("parts told");
}

}  // namespace demo
