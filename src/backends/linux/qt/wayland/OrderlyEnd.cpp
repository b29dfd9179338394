#include "backends/linux/qt/wayland/OrderlyEnd.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QString>
#include <QThread>
#include <chrono>
#include <cstdlib>
#include <future>
#include <utility>

#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr std::chrono::seconds kPatience{2};
constexpr int kStatus = 1;  // Qt's

QtMessageHandler before = nullptr;
TaskQueue* queue = nullptr;
std::promise<void> begun;

/// On the main thread, which may notice once more while it ends: then at once.
void begin() {
  static bool isBegun = false;
  if (!std::exchange(isBegun, true)) {
    begun.set_value();
    std::quick_exit(kStatus);
  }
}

void endInOrder() {
  if (QThread::currentThread() == QCoreApplication::instance()->thread()) {
    begin();
    return;
  }
  // Several threads may notice, the main one among them.
  static const std::shared_future<void> hasBegun = begun.get_future().share();
  queue->post(begin);
  if (hasBegun.wait_for(kPatience) == std::future_status::ready) {
    while (true) {
      pause();
    }
  }
}

void handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
  before(type, context, text);
  // That it broke, or that the compositor has closed it for an error.
  if (text.startsWith(QLatin1String("The Wayland connection"))) {
    endInOrder();
  }
}

}  // namespace

void endInOrderWithoutCompositor(TaskQueue& mainQueue) {
  queue = &mainQueue;
  before = qInstallMessageHandler(handle);
}

}  // namespace jumplark
