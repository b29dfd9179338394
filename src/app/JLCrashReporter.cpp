#include "app/JLCrashReporter.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <chrono>
#include <utility>
#include <vector>

#include "platform/CrashReports.h"
#include "platform/FileStore.h"
#include "platform/Http.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr const char* kTitle = textForLater("Jumplark ended unexpectedly the last time.");
constexpr const char* kText = textForLater(
    "This report says where in the program that happened. It holds nothing that you typed, read or had on the screen.");
constexpr const char* kNotSent = textForLater("It stays on this computer.");
constexpr const char* kMaySend = textForLater("It stays on this computer unless you press \"Send\".");
/// Why a report was not taken, as the end of a sentence.
std::string problemOf(const HttpAnswer& answer) {
  switch (answer.error) {
    case HttpError::none:
      return localizedFormat("the server refused it (status {})", answer.status);
    case HttpError::timedOut:
      return localized("the server did not answer in time");
    case HttpError::untrusted:
      return localized("the server could not prove that it is the right one");
    case HttpError::badAddress:
      return localized("the server's address cannot be used");
    case HttpError::broken:
      return localized("the connection broke off");
    default:
      return localized("the server cannot be reached");
  }
}

constexpr auto kSendingLimit = std::chrono::seconds(30);

std::string joined(const std::vector<CrashReport>& reports) {
  std::string text;
  for (const CrashReport& report : reports) {
    text += text.empty() ? "" : "\n----\n\n";
    text += report.text;
  }
  return text;
}

}  // namespace

JLCrashReporter::JLCrashReporter(std::string collectorAddress)
    : collectorAddress_(std::move(collectorAddress)),
      self_(std::make_shared<JLCrashReporter*>(this)),
      cancelled_(std::make_shared<std::atomic<bool>>(false)) {}

JLCrashReporter::~JLCrashReporter() {
  *cancelled_ = true;
}

void JLCrashReporter::start(std::function<void()> done) {
  done_ = std::move(done);
  const Platform& platform = Platform::current();
  if (platform.crashReports == nullptr || platform.appViews == nullptr) {
    platform.queues->mainQueue().post([weak = std::weak_ptr(self_)] {
      if (const auto self = weak.lock()) {
        (*self)->finish();
      }
    });
    return;
  }
  queue_ = platform.queues->makeSerialQueue("com.brindlefox.jumplark.crash-reports");
  queue_->post([weak = std::weak_ptr(self_), reports = platform.crashReports, &main = platform.queues->mainQueue()] {
    main.post([weak, text = joined(reports->takeNew())] {
      const auto self = weak.lock();
      if (!self) {
        return;
      }
      (*self)->model_.report = text;
      text.empty() ? (*self)->finish() : (*self)->show();
    });
  });
}

void JLCrashReporter::show() {
  model_.title = localized(kTitle);
  model_.offersSending = !collectorAddress_.empty();
  model_.canSend = model_.offersSending;
  model_.text = fmt::format("{} {}", localized(kText), localized(model_.offersSending ? kMaySend : kNotSent));
  window_ = Platform::current().appViews->makeCrashWindow({[this] { setStatus(localized("Copied.")); },
                                                           [this](const std::string& path) { save(path); },
                                                           [this] { send(); }, [this] { finish(); }});
  window_->setModel(model_);
  window_->show();
}

void JLCrashReporter::save(const std::string& path) {
  const std::string problem = Platform::current().files->replace(path, model_.report);
  setStatus(problem.empty() ? localized("Saved.") : localizedFormat("Could not be saved: {}", problem));
}

void JLCrashReporter::send() {
  if (!model_.canSend) {
    return;
  }
  model_.canSend = false;
  setStatus(localized("Sending…"));
  HttpRequest request;
  request.method = HttpMethod::post;
  request.address = collectorAddress_;
  request.headers = {{"Content-Type", "text/plain; charset=utf-8"}};
  request.body = model_.report;
  request.encryptedOnly = true;
  request.timeout = kSendingLimit;
  request.isCancelled = [cancelled = cancelled_] { return cancelled->load(); };
  const Platform& platform = Platform::current();
  queue_->post([weak = std::weak_ptr(self_), request, http = platform.http, &main = platform.queues->mainQueue()] {
    const HttpAnswer answer = http->send(request);
    if (!answer.isSuccess() && answer.error != HttpError::cancelled) {
      spdlog::warn("The crash report was not taken: {} {}", answer.status, answer.problem);
    }
    main.post([weak, accepted = answer.isSuccess(), problem = problemOf(answer)] {
      if (const auto self = weak.lock()) {
        (*self)->sent(accepted, problem);
      }
    });
  });
}

void JLCrashReporter::sent(bool accepted, const std::string& problem) {
  model_.canSend = !accepted;
  setStatus(accepted ? localized("Sent. Thank you.") : localizedFormat("Could not be sent: {}", problem));
}

void JLCrashReporter::setStatus(const std::string& status) {
  model_.status = status;
  if (window_) {
    window_->setModel(model_);
  }
}

void JLCrashReporter::finish() {
  *cancelled_ = true;
  window_.reset();
  if (const auto done = std::exchange(done_, nullptr)) {
    done();
  }
}

}  // namespace jumplark
