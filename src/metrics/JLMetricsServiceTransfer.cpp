// What the metrics service sends, and what it keeps on disk from one run to the next.
#include <spdlog/spdlog.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "metrics/JLMetricsService.h"
#include "metrics/MetricEvents.h"
#include "platform/FileStore.h"

namespace jumplark {
namespace {

using nlohmann::json;

/// One line of ASCII: what a server answers must not forge lines of the log.
std::string asASCII(std::string_view bytes) {
  std::string text(bytes);
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
  return text;
}

json member(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() ? *found : json();
}

json serialisationFailure(const std::optional<std::string>& sessionID, const char* problem) {
  json fallback{{"events", {{{"name", "serialisation_failure"}, {"data", {{"error", problem}}}}}}};
  if (sessionID) {
    fallback["session_id"] = *sessionID;
  }
  return fallback;
}

}  // namespace

std::string JLMetricsService::generatePayloadFromEventsWithEnvironmentAndSessionID(
    const json& events, const json& environment, const std::optional<std::string>& sessionID) {
  json payload{{"client_timestamp", fractionalSeconds(queues_.wallClockNow())}};
  if (!environment.is_null()) {
    payload["environment"] = environment;
  }
  if (sessionID) {
    payload["session_id"] = *sessionID;
  }
  if (!events.is_null()) {
    payload["events"] = events;
  }
  try {
    return payload.dump();
  } catch (const json::exception& error) {
    spdlog::error("Error while serialising JSON: {}", error.what());
    return serialisationFailure(sessionID, error.what()).dump(-1, ' ', false, json::error_handler_t::replace);
  }
}

bool JLMetricsService::sendEventsWithEnvironmentAndSessionID(const json& events, const json& environment,
                                                             const std::optional<std::string>& sessionID) {
  constexpr const char* kName = "-[JLMetricsService sendEvents:withEnvironment:andSessionID:]";
  const auto settings = this->settings();
  HttpRequest request;
  request.method = HttpMethod::post;
  request.address = settings->collectorURL;
  request.headers = {{"Content-Type", "application/json"}};
  request.timeout = std::chrono::seconds(30);
  request.isCancelled = [this] { return ended_.load(); };
  request.body = generatePayloadFromEventsWithEnvironmentAndSessionID(events, environment, sessionID);
  if (settings->flushEventsHook) {
    const std::string payload = request.body;
    settings->flushEventsHook(request, payload, sessionID.value_or(""), environment);
  }
  const HttpAnswer answer = http_.send(request);
  if (answer.error != HttpError::none) {
    spdlog::error("{} [Line {}] Error while sending metrics: {}", kName, 337, answer.problem);
    return false;
  }
  if (!answer.isSuccess()) {
    spdlog::error("{} [Line {}] Got a non-200 status code: {} - {}", kName, 342, answer.status, asASCII(answer.body));
    spdlog::error("{} [Line {}] Request body: {}", kName, 343, asASCII(request.body));
    return false;
  }
  return true;
}

void JLMetricsService::shutdown() {
  ended_ = true;
  const auto settings = this->settings();
  const std::string& path = settings->storagePath;
  if (path.empty()) {
    return;
  }
  json session{{"session_id", sessionID_}};
  if (!settings->environment.is_null()) {
    session["environment"] = settings->environment;
  }
  {
    const std::scoped_lock lock(mutex_);
    session["events"] = pendingEvents_;
  }
  std::string text;
  try {
    text = session.dump();
  } catch (const json::exception& error) {
    spdlog::error("{} [Line {}] Error serializing JSON on shutdown: {}", "-[JLMetricsService shutdown]", 115,
                  error.what());
    return;
  }
  const std::scoped_lock lock(storageMutex_);
  if (const std::string problem = files_.replace(path, text); !problem.empty()) {
    spdlog::error("Exception while archiving session at path {}: {}", path, problem);
  }
}

void JLMetricsService::processPreviousSession() {
  const std::string path = settings()->storagePath;
  if (ended_ || path.empty()) {
    return;
  }
  const FileStore::Contents contents = files_.read(path);
  if (contents.state == FileStore::State::absent) {
    return;
  }
  std::string problem = contents.problem;
  if (contents.state == FileStore::State::read) {
    const json session = parsedWithinDepth(contents.text);
    if (!session.is_array()) {
      sendPreviousSession(path, session.is_object() ? session : json::object());
      return;
    }
    problem = "it holds a list, not an object";
  }
  spdlog::error("Exception while unarchiving previous session at path {}: {}", path, problem);
}

void JLMetricsService::sendPreviousSession(const std::string& path, const json& session) {
  const json sessionID = member(session, "session_id");
  const bool accepted = sendEventsWithEnvironmentAndSessionID(
      member(session, "events"), member(session, "environment"),
      sessionID.is_string() ? std::optional(sessionID.get<std::string>()) : std::nullopt);
  if (accepted) {
    removePreviousSession(path);
  } else if (!ended_) {
    flushQueue_->postAfter(fromSeconds(settings()->secondsBetweenFlushes), [this] { processPreviousSession(); });
  }
}

void JLMetricsService::removePreviousSession(const std::string& path) {
  const std::scoped_lock lock(storageMutex_);
  if (ended_) {
    return;  // by now the file holds this run's events
  }
  if (const std::string problem = files_.remove(path); !problem.empty()) {
    spdlog::error("{} [Line {}] Error occured while attempting to delete previous session: {}",
                  "-[JLMetricsService processPreviousSession]", 160, problem);
  }
}

}  // namespace jumplark
