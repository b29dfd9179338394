#include "backends/linux/qt/wayland/OrderlyEnd.h"

#include <unistd.h>

#include <QCoreApplication>
#include <QString>
#include <QThread>
#include <chrono>
#include <cstdlib>
#include <future>
#include <memory>

#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr std::chrono::seconds kPatience{2};
constexpr int kStatus = 1;  // Qt's

QtMessageHandler before = nullptr;
TaskQueue* queue = nullptr;

void endInOrder() {
  if (QThread::currentThread() == QCoreApplication::instance()->thread()) {
    std::quick_exit(kStatus);
  }
  const auto begun = std::make_shared<std::promise<void>>();
  queue->post([begun] {
    begun->set_value();
    std::quick_exit(kStatus);
  });
  if (begun->get_future().wait_for(kPatience) == std::future_status::ready) {
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
