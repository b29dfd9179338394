#pragma once

#include "app/JLAppDelegate.h"
#include "app/JLPreferencesController.h"
#include "support/RecordedFixture.h"

namespace jumplark::testing {

/// A recorded desktop with an editor in front.
class AppDesktop : public ::testing::Test {
 protected:
  void run(std::chrono::nanoseconds duration = {}) { desktop->queues().advance(duration); }
  void answer(int button) {
    desktop->views().answerAlert(button);
    run();
  }
  void set(const char* key, const DefaultsValue& value) {
    desktop->defaults().setValue(key, value);
    run();
  }
  DefaultsValue stored(const char* key) { return desktop->defaults().storedValue(key); }
  const std::vector<Alert>& alerts() { return desktop->views().alerts(); }
  /// What the server answers from now on.
  void serve(int status, const std::string& body = {}, HttpError error = HttpError::none) {
    desktop->http().setResponder([=](const HttpRequest&) {
      HttpAnswer answer;
      answer.error = error;
      answer.status = status;
      answer.body = body;
      return answer;
    });
  }

  RecordedFixture desktop{R"({"frontmost": 501, "applications": [
      {"pid": 77, "bundle_id": "jumplark", "name": "Jumplark"},
      {"pid": 501, "bundle_id": "org.example.editor", "name": "Editor", "element": "e1"}],
      "elements": {"e1": {"attributes": {"AXRole": "AXApplication"}}}})"};
};

/// The application on that desktop. What is asked of the rest of the program is noted in order.
class AppTest : public AppDesktop {
 protected:
  AppTest() { desktop->facts().operatingSystemFacts.version = "12"; }
  ~AppTest() override { quit(); }

  void launch() {
    JLAppDelegate::Collaborators others;
    others.startCrashReporter = [this](const std::function<void()>& next) {
      note("crash reporter");
      next();
    };
    others.installCrashHandlers = [this] { note("crash handlers"); };
    others.setUpdateFeedAddress = [this](const std::string& address) { note("feed " + address); };
    others.checkForUpdates = [this] { note("check for updates"); };
    others.terminate = [this] { note("terminate"); };
    others.didStart = [this] { note("started"); };
    app = std::make_unique<JLAppDelegate>(addresses, collector, others);
    app->applicationWillFinishLaunching();
    app->applicationDidFinishLaunching();
    run();
  }
  /// As at every start but the first.
  void launchWelcomed() {
    desktop->defaults().setValue("shownHelpOnStart", true);
    launch();
  }
  void quit() {
    if (app) {
      app->applicationWillTerminate();
      app.reset();
    }
  }
  RecordedPreferencesWindow& preferences() { return *desktop->appViews().preferences(); }
  void note(const std::string& step) { steps.push_back(step); }

  ProductAddresses addresses{"https://help.example.org/start", "allow-access",
                             "https://help.example.org/",      "https://help.example.org/metrics",
                             "https://say.example.org/",       "https://u.example.org"};
  std::string collector;
  std::vector<std::string> steps;
  std::unique_ptr<JLAppDelegate> app;
};

}  // namespace jumplark::testing
