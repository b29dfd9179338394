#include <sys/signalfd.h>
#include <unistd.h>

#include <QApplication>
#include <QMainWindow>
#include <QSocketNotifier>
#include <csignal>

#include "Pages.h"
#include "Report.h"

/// demo-qt6 [PAGE]: a window full of controls that reports everything that is done to it, and on SIGUSR1 where its
/// parts are.
int main(int argc, char** argv) {
  // Blocked before there are threads, so that the signal waits for the notifier.
  sigset_t asking;
  sigemptyset(&asking);
  sigaddset(&asking, SIGUSR1);
  sigprocmask(SIG_BLOCK, &asking, nullptr);
  QApplication application(argc, argv);
  QMainWindow window;
  demo::fill(window, argc > 1 ? argv[1] : "Form");
  demo::reportEverything(&window);
  QSocketNotifier asked(signalfd(-1, &asking, SFD_CLOEXEC), QSocketNotifier::Read);
  QObject::connect(&asked, &QSocketNotifier::activated, &window, [&] {
    signalfd_siginfo signal{};
    if (read(static_cast<int>(asked.socket()), &signal, sizeof signal) == sizeof signal) {
      demo::tellParts(&window);
    }
  });
  window.show();
  return QApplication::exec();
}
