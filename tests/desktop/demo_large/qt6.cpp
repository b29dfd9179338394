#include <QAbstractTableModel>
#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMainWindow>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QTimer>
#include <QVBoxLayout>
#include <cstdio>
#include <vector>

#include "Contents.h"

namespace {

class Rows : public QAbstractTableModel {
 public:
  using QAbstractTableModel::QAbstractTableModel;
  int rowCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : large::kRows; }
  int columnCount(const QModelIndex& parent) const override { return parent.isValid() ? 0 : large::kColumns; }
  QVariant data(const QModelIndex& index, int role) const override {
    return role == Qt::DisplayRole ? QString::fromStdString(large::cellText(index.row(), index.column())) : QVariant();
  }
};

QWidget* makeTable() {
  auto* view = new QTableView;
  view->setModel(new Rows(view));
  return view;
}

QWidget* makeText() {
  return new QPlainTextEdit(QString::fromStdString(large::longText()));
}

QWidget* makeChanging() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  layout->addWidget(new QPushButton("Lasting"));
  auto* grid = new QGridLayout;
  layout->addLayout(grid);
  const auto replaceOne = [grid, buttons = std::vector<QPushButton*>(large::kChangingButtons), next = 0]() mutable {
    constexpr int kAcross = 6;
    const int place = next % large::kChangingButtons;
    QPushButton*& button = buttons[static_cast<size_t>(place)];
    delete button;
    button = new QPushButton(QString::fromStdString(large::changingName(++next)));
    grid->addWidget(button, place / kAcross, place % kAcross);
  };
  auto* timer = new QTimer(page);
  QObject::connect(timer, &QTimer::timeout, page, replaceOne);
  timer->start(large::kChangeInterval);
  return page;
}

QWidget* makePasswords() {
  auto* page = new QWidget;
  auto* layout = new QVBoxLayout(page);
  layout->addWidget(new QLabel("Password:"));
  layout->addWidget(new QLineEdit(large::kShownText));
  for (const QLineEdit::EchoMode mode : {QLineEdit::Password, QLineEdit::NoEcho, QLineEdit::PasswordEchoOnEdit}) {
    auto* secret = new QLineEdit(large::kSecret);
    secret->setEchoMode(mode);
    layout->addWidget(secret);
  }
  return page;
}

class Window : public QMainWindow {
 protected:
  void paintEvent(QPaintEvent* event) override {
    QMainWindow::paintEvent(event);
    if (!reported_) {
      reported_ = true;
      std::puts("ready");
      std::fflush(stdout);
    }
  }

 private:
  bool reported_ = false;
};

QWidget* makeContent(const QString& kind) {
  return kind == "table"      ? makeTable()
         : kind == "text"     ? makeText()
         : kind == "changing" ? makeChanging()
                              : makePasswords();
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  if (argc != 2) {
    return 2;
  }
  Window window;
  window.setWindowTitle("Large");
  window.setCentralWidget(makeContent(argv[1]));
  window.resize(large::kPixelsOfWindow, large::kPixelsOfWindow);
  window.show();
  return QApplication::exec();
}
