#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/DesktopServices.h"
#include "platform/LoginItem.h"
#include "platform/Queues.h"

namespace jumplark {

/// A desktop that opens nothing and remembers what it should have opened. A test may change its answers while nothing
/// else uses it.
class RecordedDesktopServices final : public DesktopServices {
 public:
  bool isAccessibilityGranted() override { return granted; }
  void openURL(const std::string& url, std::function<void(bool opened)> done) override {
    opened.push_back(url);
    done(hasBrowser);
  }
  bool openAccessibilitySettings() override {
    ++settingsOpened;
    return true;
  }
  void notify(const std::string& text) override { notified.push_back(text); }
  std::string installedDocumentation() override { return documentation; }
  std::vector<HealthFinding> checkHealth() override { return health; }
  std::string adviceForSilence(int32_t /*pid*/) override { return advice; }

  bool granted = true;
  bool hasBrowser = true;
  std::vector<std::string> opened;
  int settingsOpened = 0;
  std::vector<std::string> notified;
  std::string documentation;
  std::vector<HealthFinding> health;
  std::string advice;
};

/// A session's start-up list with at most this program in it. Main thread only.
class RecordedLoginItem final : public LoginItem {
 public:
  explicit RecordedLoginItem(Queues& queues) : queues_(queues) {}

  bool isSet() override { return entries > 0; }
  std::string set(bool on) override {
    if (!problem.empty()) {
      return problem;
    }
    change(on);
    return {};
  }
  Token observe(std::function<void()> changed) override {
    changed_ = std::make_shared<std::function<void()>>(std::move(changed));
    return Token([this] { changed_.reset(); });
  }

  /// As when another program edits the list.
  void change(bool on) {
    entries = on ? 1 : 0;
    queues_.mainQueue().post([weak = std::weak_ptr(changed_)] {
      if (const auto changed = weak.lock()) {
        (*changed)();
      }
    });
  }

  int entries = 0;
  std::string problem;  ///< what set() answers, when it is not empty

 private:
  Queues& queues_;
  std::shared_ptr<std::function<void()>> changed_;
};

}  // namespace jumplark
