#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "backends/recorded/RecordedPlatform.h"

namespace jumplark::testing {

/// A recorded platform in virtual time.
class MetricsFixture : public ::testing::Test {
 protected:
  static constexpr const char* kPath = "/home/user/.local/share/jumplark/Metrics.dat";

  MetricsFixture() : desktop(RecordedDesktop::fromText("{}", "test")), installed_(desktop.install()) {
    answerWith(200);
  }

  /// The server answers with that status, and something happens meanwhile.
  void answerWith(
      int32_t status, const std::function<void()>& meanwhile = [] {}) {
    desktop.http().setResponder([=](const HttpRequest&) {
      meanwhile();
      HttpAnswer answer;
      answer.status = status;
      answer.body = "no\nway \xc3\xbc";
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

  mutable RecordedPlatform desktop;

 private:
  Token installed_;
};

}  // namespace jumplark::testing
