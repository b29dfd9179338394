#pragma once

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>
#include <spdlog/spdlog.h>

#include <nlohmann/json.hpp>
#include <sstream>

#include "backends/recorded/RecordedPlatform.h"

namespace jumplark::testing {

/// A recorded platform in virtual time, and the log, a line of text a line.
class MetricsFixture : public ::testing::Test {
 protected:
  static constexpr const char* kPath = "/home/user/.local/share/jumplark/Metrics.dat";

  MetricsFixture()
      : desktop(RecordedDesktop::fromText("{}", "test")),
        installed_(desktop.install()),
        logger_(spdlog::default_logger()) {
    auto logger = std::make_shared<spdlog::logger>("test", std::make_shared<spdlog::sinks::ostream_sink_mt>(log, true));
    logger->set_pattern("%v");
    spdlog::set_default_logger(logger);
    answerWith(200);
  }
  ~MetricsFixture() override { spdlog::set_default_logger(logger_); }

  static HttpAnswer accepted() {
    HttpAnswer answer;
    answer.status = 200;
    return answer;
  }
  void answerWith(int32_t status, const std::string& body = {}) {
    desktop.http().setResponder([status, body](const HttpRequest&) {
      HttpAnswer answer;
      answer.status = status;
      answer.body = body;
      return answer;
    });
  }
  void goOffline() { desktop.http().setResponder(nullptr); }
  void advance(std::chrono::seconds duration) { desktop.queues().advance(duration); }

  size_t requestCount() const { return desktop.http().requests().size(); }
  HttpRequest lastRequest() const { return desktop.http().requests().back(); }
  nlohmann::json lastPayload() const { return nlohmann::json::parse(lastRequest().body); }
  /// "a b" for a batch of these names.
  static std::string names(const nlohmann::json& events) {
    std::string all;
    for (const auto& event : events) {
      all += (all.empty() ? "" : " ") + event.at("name").get<std::string>();
    }
    return all;
  }
  std::string takeLog() {
    std::string text = log.str();
    log.str("");
    return text;
  }

  mutable RecordedPlatform desktop;
  std::ostringstream log;

 private:
  Token installed_;
  std::shared_ptr<spdlog::logger> logger_;
};

}  // namespace jumplark::testing
