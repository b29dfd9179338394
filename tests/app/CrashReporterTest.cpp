#include "app/AppFixture.h"
#include "app/JLCrashReporter.h"

namespace jumplark::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* kAddress = "https://crashes.example.org/";

class CrashReporter : public AppDesktop {
 protected:
  void start(const std::string& address) {
    desktop->crashReports().waiting = {{"1.txt", "One\n"}, {"2.txt", "Two\n"}};
    reporter.emplace(address);
    reporter->start([this] { ++done; });
    run();
  }
  std::shared_ptr<RecordedAppViews::ShownCrash> window() { return desktop->appViews().crash(); }
  /// What the window says after the user has sent the reports.
  std::string statusOfSending() {
    window()->callbacks.sendPressed();
    run();
    return window()->model.status;
  }

  int done = 0;
  std::optional<JLCrashReporter> reporter;
};

TEST_F(CrashReporter, showsAllReportsInFullAndGoesOnOnceClosed) {
  start("");
  ASSERT_TRUE(window());
  EXPECT_TRUE(window()->isShown);
  EXPECT_EQ(window()->model.report, "One\n\n----\n\nTwo\n");
  EXPECT_FALSE(window()->model.offersSending);
  EXPECT_THAT(window()->model.text, HasSubstr("stays on this computer."));
  window()->callbacks.copied();
  EXPECT_EQ(window()->model.status, "Copied.");
  desktop->files().setWritable(false);
  window()->callbacks.saveChosen("/home/user/crash.txt");
  EXPECT_THAT(window()->model.status, HasSubstr("Could not be saved: "));
  EXPECT_EQ(done, 0);
  window()->callbacks.sendPressed();
  window()->callbacks.closed();
  run();
  EXPECT_EQ(done, 1);
  EXPECT_EQ(window(), nullptr);
  EXPECT_THAT(desktop->http().requests(), IsEmpty()) << "nothing is sent by a build without an address";
}

TEST_F(CrashReporter, sendsOnlyWhenToldAndAgainOnlyAfterAFailure) {
  start(kAddress);
  run(std::chrono::hours(1));
  EXPECT_THAT(desktop->http().requests(), IsEmpty());
  ASSERT_TRUE(window()->model.canSend);
  EXPECT_EQ(statusOfSending(), "Could not be sent: the server cannot be reached");
  serve(500);
  EXPECT_EQ(statusOfSending(), "Could not be sent: the server refused it (status 500)");
  serve(200);
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(statusOfSending(), "Sent. Thank you.");
  }
  ASSERT_EQ(desktop->http().requests().size(), 3U);
  const HttpRequest request = desktop->http().requests().back();
  EXPECT_EQ(request.address, kAddress);
  EXPECT_TRUE(request.encryptedOnly);
  EXPECT_EQ(request.body, window()->model.report);
}

}  // namespace
}  // namespace jumplark::testing
