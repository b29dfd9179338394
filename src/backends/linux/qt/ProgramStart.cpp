#include "backends/linux/qt/ProgramStart.h"

#include <unistd.h>

#include <QProcess>
#include <QProcessEnvironment>
#include <QTimer>
#include <chrono>
#include <csignal>
#include <memory>
#include <set>
#include <utility>

#include "backends/linux/qt/QtMainLoop.h"

namespace jumplark {
namespace {

constexpr std::chrono::seconds kPatience{10};

/// Those that run. The object of a running process would kill it in its end, so they have none before that of the
/// process, and stay reachable here.
std::set<QProcess*>& running() {
  static auto* const processes = new std::set<QProcess*>;
  return *processes;
}

/// Calls what it was given at its first call only.
std::function<void(bool)> onlyOnce(std::function<void(bool)> settled) {
  return [remaining = std::make_shared<std::function<void(bool)>>(std::move(settled))](bool worked) {
    if (const auto call = std::exchange(*remaining, nullptr)) {
      call(worked);
    }
  };
}

void forget(QProcess* process) {
  running().erase(process);
  process->deleteLater();
}

}  // namespace

void startProgram(const QString& program, const QStringList& arguments, std::function<void(bool worked)> settled) {
  auto* const process = new QProcess;
  running().insert(process);
  process->setProgram(program);
  process->setArguments(arguments);
  process->setProcessEnvironment(QtMainLoop::environmentForPrograms());
  process->setStandardInputFile(QProcess::nullDevice());
  process->setStandardOutputFile(QProcess::nullDevice());
  process->setStandardErrorFile(QProcess::nullDevice());
  process->setChildProcessModifier([] {
    // What asks this program to end, such as Control+C in its terminal, is not meant for the other; and what this one
    // blocks, to answer it in its own way, the other one must hear.
    ::setsid();
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
  });
  const auto settle = onlyOnce(std::move(settled));
  QObject::connect(process, &QProcess::errorOccurred, process, [process, settle](QProcess::ProcessError error) {
    if (error == QProcess::FailedToStart) {
      forget(process);
      settle(false);
    }
  });
  QObject::connect(process, &QProcess::finished, process, [process, settle](int code, QProcess::ExitStatus status) {
    forget(process);
    settle(status == QProcess::NormalExit && code == 0);
  });
  QTimer::singleShot(kPatience, process, [settle] { settle(true); });
  process->start();
}

}  // namespace jumplark
