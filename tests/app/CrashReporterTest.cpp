#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>

#include "app/JLCrashReporter.h"
#include "support/RecordedFixture.h"

namespace jumplark {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using testing::RecordedFixture;

constexpr const char* kAddress = "https://crashes.example.org/";

class CrashReporter : public ::testing::Test {
 protected:
  void start(const std::string& address, std::vector<CrashReport> waiting = {{"1.txt", "One\n"}, {"2.txt", "Two\n"}}) {
    desktop_->crashReports().waiting = std::move(waiting);
    reporter_.emplace(address);
    reporter_->start([this] { ++done_; });
    run();
  }
  void run(std::chrono::nanoseconds duration = 1s) { desktop_->queues().advance(duration); }
  std::shared_ptr<RecordedAppViews::ShownCrash> window() { return desktop_->appViews().crash(); }
  void send(HttpError error, int status) {
    desktop_->http().setResponder([error, status](const HttpRequest&) {
      HttpAnswer answer;
      answer.error = error;
      answer.problem = error == HttpError::none ? "" : "no such host";
      answer.status = status;
      return answer;
    });
    window()->callbacks.sendPressed();
    run();
  }

  RecordedFixture desktop_{R"({"elements":{}})"};
  int done_ = 0;
  std::optional<JLCrashReporter> reporter_;
};

TEST_F(CrashReporter, ShowsAllReportsInFullAndGoesOnOnceClosed) {
  start("");
  ASSERT_TRUE(window());
  EXPECT_TRUE(window()->isShown);
  EXPECT_EQ(window()->model.report, "One\n\n----\n\nTwo\n");
  EXPECT_FALSE(window()->model.offersSending);
  EXPECT_THAT(window()->model.text, HasSubstr("stays on this computer."));
  window()->callbacks.copied();
  EXPECT_EQ(window()->model.status, "Copied.");
  desktop_->files().setWritable(false);
  window()->callbacks.saveChosen("/home/user/crash.txt");
  EXPECT_THAT(window()->model.status, HasSubstr("Could not be saved: "));
  EXPECT_EQ(done_, 0);
  window()->callbacks.sendPressed();
  window()->callbacks.closed();
  run(60s);
  EXPECT_EQ(done_, 1);
  EXPECT_EQ(window(), nullptr);
  EXPECT_THAT(desktop_->http().requests(), IsEmpty()) << "nothing is sent by a build without an address";
}

TEST_F(CrashReporter, SendsOnlyWhenToldAndAgainOnlyAfterAFailure) {
  start(kAddress);
  run(3600s);
  EXPECT_THAT(desktop_->http().requests(), IsEmpty());
  ASSERT_TRUE(window()->model.canSend);
  send(HttpError::unreachable, 0);
  EXPECT_EQ(window()->model.status, "Could not be sent: the server cannot be reached");
  send(HttpError::none, 500);
  EXPECT_EQ(window()->model.status, "Could not be sent: the server refused it (status 500)");
  send(HttpError::none, 200);
  EXPECT_EQ(window()->model.status, "Sent. Thank you.");
  send(HttpError::none, 200);
  ASSERT_EQ(desktop_->http().requests().size(), 3U);
  const HttpRequest request = desktop_->http().requests().back();
  EXPECT_EQ(request.address, kAddress);
  EXPECT_TRUE(request.encryptedOnly);
  EXPECT_EQ(request.body, window()->model.report);
}

TEST_F(CrashReporter, GivesUpAReportOnItsWayWhenTheWindowIsClosed) {
  start(kAddress);
  desktop_->http().setDelay(10s);
  window()->callbacks.sendPressed();
  EXPECT_EQ(window()->model.status, "Sending…");
  run();
  window()->callbacks.closed();
  ASSERT_EQ(desktop_->http().requests().size(), 1U);
  EXPECT_TRUE(desktop_->http().requests()[0].isCancelled());
  run(60s);
  EXPECT_EQ(done_, 1);
  reporter_.reset();
  run(60s);
}

}  // namespace
}  // namespace jumplark
