#include <sys/socket.h>
#include <unistd.h>

#include <QApplication>
#include <QCommandLineParser>
#include <QSocketNotifier>
#include <csignal>

#include "DemoWindow.h"
#include "Report.h"

namespace {

int g_wakeUp[2];

void requestDump(int) {
  const char byte = 0;
  [[maybe_unused]] const ssize_t written = write(g_wakeUp[0], &byte, 1);
}

}  // namespace

int main(int argc, char** argv) {
  QApplication application(argc, argv);
  QCommandLineParser parser;
  parser.setApplicationDescription("A window full of controls that reports everything that is done to it.");
  const QCommandLineOption page("page", "The tab that is open at first.", "title");
  const QCommandLineOption rects("dump-rects", "Write all rectangles there whenever SIGUSR1 comes.", "file");
  parser.addOptions({page, rects});
  parser.addHelpOption();
  parser.process(application);

  demo::reportFocusAndPresses();
  DemoWindow window;
  window.showPage(parser.value(page));
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_wakeUp) != 0) {
    return 1;
  }
  QSocketNotifier wakeUp(g_wakeUp[1], QSocketNotifier::Read);
  QObject::connect(&wakeUp, &QSocketNotifier::activated, &window, [&] {
    char byte = 0;
    if (read(g_wakeUp[1], &byte, 1) == 1) {
      demo::dumpRects(&window, parser.value(rects));
    }
  });
  std::signal(SIGUSR1, requestDump);
  window.show();
  return QApplication::exec();
}
