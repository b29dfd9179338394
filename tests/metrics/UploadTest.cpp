#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <csignal>
#include <future>
#include <memory>
#include <nlohmann/json.hpp>

#include "backends/system/SystemFixture.h"
#include "backends/system/TestServer.h"
#include "metrics/MetricEvents.h"

namespace jumplark {
namespace {

using nlohmann::json;
using ::testing::HasSubstr;
using Program = std::unique_ptr<desktop::Process>;

/// The whole way from a report to a server: real queues, network and files, in a process that can be killed.
class UploadTest : public SystemFixture {
 protected:
  Program start(const std::string& address, const desktop::Environment& environment = {}) {
    auto program =
        std::make_unique<desktop::Process>(desktop::Arguments{JUMPLARK_METRICS_PROGRAM, folder_.string(), address},
                                           environment, (folder_ / ("program" + std::to_string(++programs_))).string());
    EXPECT_TRUE(program->waitForLine("running")) << program->err();
    return program;
  }
  static void end(Program& program) {
    program->kill(SIGTERM);
    EXPECT_EQ(program->wait(), 0) << program->err();
  }
  /// One run that sends nothing but what an earlier one left.
  void runUntilSent(const TestServer& server, size_t count) {
    Program program = start(server.address());
    server.waitForRequests(count);
    EXPECT_TRUE(desktop::waitUntil([&] { return !std::filesystem::exists(path_); })) << program->err();
    program->kill(SIGKILL);
  }
  json kept() const { return json::parse(read(path_), nullptr, false); }

  std::filesystem::path path_ = folder_ / "data" / "Metrics.dat";

 private:
  int programs_ = 0;
};

TEST_F(UploadTest, WhatARunReportsArrivesSignedInTheNext) {
  const TestServer server(TestServer::answering(202));
  Program first = start(server.address());
  end(first);
  EXPECT_EQ(modeOf(path_), 0600U);
  EXPECT_EQ(modeOf(path_.parent_path()), 0700U);
  const json left = kept();
  ASSERT_EQ(left["events"].size(), 1U);
  EXPECT_EQ(server.requests().size(), 0U) << "nothing goes out before its time";

  runUntilSent(server, 1);
  const auto seen = server.requests();
  ASSERT_EQ(seen.size(), 1U);
  EXPECT_EQ(seen[0].line, "POST /events HTTP/1.1");
  const json body = json::parse(seen[0].body);
  EXPECT_EQ(body["events"], left["events"]);
  EXPECT_EQ(body["environment"], left["environment"]);
  const std::string session = left["session_id"];
  EXPECT_EQ(body["session_id"], session);
  EXPECT_THAT(seen[0].headers, HasSubstr("X-Signature: " + hmacSHA256Base64("X-Signature/" + session, seen[0].body)));
  EXPECT_THAT(seen[0].headers, HasSubstr("Content-Type: application/json\r\n"));
}

TEST_F(UploadTest, OnlyASessionThatWasSentAndNotYetDeletedGoesTwice) {
  std::atomic<bool> kills{false};
  std::array<std::promise<pid_t>, 3> victims;
  std::atomic<size_t> killed{0};
  const TestServer server([&](TestServer::Client& client, const TestServer::Request& request) {
    if (kills) {
      ::kill(victims.at(killed++).get_future().get(), SIGKILL);
    }
    TestServer::answering(200)(client, request);
  });
  Program first = start(server.address());
  end(first);
  const std::string left = read(path_);
  ASSERT_EQ(kept()["events"].size(), 1U);
  kills = true;
  for (size_t round = 0; round < victims.size(); ++round) {
    desktop::Process victim({JUMPLARK_METRICS_PROGRAM, folder_.string(), server.address()}, {},
                            (folder_ / ("victim" + std::to_string(round))).string());
    victims.at(round).set_value(victim.pid());
    EXPECT_EQ(victim.wait(), 128 + SIGKILL);
    EXPECT_EQ(read(path_), left);
  }
  kills = false;
  runUntilSent(server, 4);
  Program last = start(server.address());
  end(last);
  const auto seen = server.requests();
  ASSERT_EQ(seen.size(), 4U);
  for (const auto& request : seen) {
    EXPECT_EQ(json::parse(request.body)["session_id"], json::parse(left)["session_id"]);
  }
}

}  // namespace
}  // namespace jumplark
