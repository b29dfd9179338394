// A Qt 6 window of 1,000 ordinary widgets, all of which show.

#include <QApplication>
#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

namespace {

constexpr int kColumns = 25;
constexpr int kRows = 40;

QWidget* makeWidget(int index) {
  const QString text = QString::number(index + 1);
  switch (index % 5) {
    case 0:
      return new QLabel("Label " + text);
    case 1:
      return new QLineEdit("text " + text);
    case 2:
      return new QCheckBox("Check " + text);
    default:
      return new QPushButton("Button " + text);
  }
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QWidget window;
  window.setWindowTitle("Many widgets");
  auto* grid = new QGridLayout(&window);
  grid->setSpacing(1);
  grid->setContentsMargins(2, 2, 2, 2);
  for (int i = 0; i < kColumns * kRows; ++i) {
    QWidget* widget = makeWidget(i);
    widget->setFixedSize(52, 20);
    grid->addWidget(widget, i / kColumns, i % kColumns);
  }
  window.show();
  return QApplication::exec();
}
