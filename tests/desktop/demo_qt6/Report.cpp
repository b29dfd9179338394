#include "Report.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QEvent>
#include <QMenu>
#include <QMouseEvent>
#include <cstdio>

namespace demo {
namespace {

QString plain(QString text) {
  return text.remove('&');
}

QString word(bool value) {
  return value ? "true" : "false";
}

class MenuShown : public QObject {
 public:
  explicit MenuShown(QMenu* menu) : QObject(menu) { menu->installEventFilter(this); }
  // Paint, not aboutToShow: then the menu is on the screen.
  bool eventFilter(QObject* watched, QEvent* event) override {
    auto* menu = static_cast<QMenu*>(watched);
    if (event->type() == QEvent::Paint && !shown_) {
      shown_ = true;
      report("menu-opened " + plain(menu->title()));
    } else if (event->type() == QEvent::Hide && shown_) {
      shown_ = false;
      report("menu-closed " + plain(menu->title()));
    }
    return false;
  }

 private:
  bool shown_ = false;
};

class PopupShown : public QObject {
 public:
  explicit PopupShown(QComboBox* combo) : QObject(combo), combo_(combo) { combo->view()->installEventFilter(this); }
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() == QEvent::Show) {
      report("list-opened " + combo_->objectName());
    }
    return false;
  }

 private:
  QComboBox* combo_;
};

class Presses : public QObject {
 public:
  using QObject::QObject;
  bool eventFilter(QObject* watched, QEvent* event) override {
    const bool doublePress = event->type() == QEvent::MouseButtonDblClick;
    if (watched->isWindowType() && (event->type() == QEvent::MouseButtonPress || doublePress)) {
      const auto* mouse = static_cast<QMouseEvent*>(event);
      const QPoint at = mouse->globalPosition().toPoint();
      report(QString("%1 %2,%3%4")
                 .arg(doublePress ? "double-pressed" : "pressed")
                 .arg(at.x())
                 .arg(at.y())
                 .arg(mouse->modifiers() == Qt::NoModifier ? "" : " with modifiers"));
    }
    return false;
  }
};

}  // namespace

void report(const QString& line) {
  std::printf("%s\n", qUtf8Printable(line));
  std::fflush(stdout);
}

void reportButton(QAbstractButton* button) {
  if (button->isCheckable()) {
    QObject::connect(button, &QAbstractButton::toggled, button,
                     [button](bool on) { report("checked " + plain(button->text()) + ' ' + word(on)); });
  } else {
    QObject::connect(button, &QAbstractButton::clicked, button,
                     [button] { report("clicked " + plain(button->text())); });
  }
}

void reportAction(QAction* action) {
  QObject::connect(action, &QAction::triggered, action, [action](bool on) {
    report("triggered " + plain(action->text()) + (action->isCheckable() ? ' ' + word(on) : QString()));
  });
}

void reportMenu(QMenu* menu) {
  new MenuShown(menu);
}

void reportList(QComboBox* combo) {
  new PopupShown(combo);
}

void reportFocusAndPresses() {
  qApp->installEventFilter(new Presses(qApp));
  QObject::connect(qApp, &QApplication::focusChanged, qApp, [](QWidget*, QWidget* now) {
    if (now && !now->objectName().isEmpty()) {
      report("focused " + now->objectName());
    }
  });
}

}  // namespace demo
