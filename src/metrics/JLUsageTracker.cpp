#include "metrics/JLUsageTracker.h"

#include <any>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <ctime>
#include <stdexcept>
#include <utility>

#include "metrics/JLMetrics.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/Queues.h"

namespace jumplark {
namespace {

constexpr const char* kStorageKey = "UsageMetrics";

std::atomic<JLUsageTracker*> theSharedInstance{nullptr};

template <typename... Kinds>
std::optional<double> numberOfKinds(const std::any& value) {
  std::optional<double> number;
  const auto look = [&](const auto* found) {
    if (found) {
      number = static_cast<double>(*found);
    }
  };
  (look(std::any_cast<Kinds>(&value)), ...);
  return number;
}

double amountOf(const Notification& notification) {
  const auto found = notification.userInfo.find("Amount");
  return found == notification.userInfo.end()
             ? 1
             : numberOfKinds<uint64_t, int64_t, uint32_t, int, double, float>(found->second).value_or(1);
}

}  // namespace

JLUsageTracker::JLUsageTracker() : defaults_(*Platform::current().defaults), metrics_(defaults_.value(kStorageKey)) {
  if (!metrics_.is_object()) {
    metrics_ = nlohmann::json::object();
  }
  JLUsageTracker* none = nullptr;
  theSharedInstance.compare_exchange_strong(none, this);
}

JLUsageTracker::~JLUsageTracker() {
  notifications_.reset();
  JLUsageTracker* self = this;
  theSharedInstance.compare_exchange_strong(self, nullptr);
}

JLUsageTracker& JLUsageTracker::sharedInstance() {
  JLUsageTracker* const tracker = theSharedInstance.load();
  if (tracker == nullptr) {
    throw std::logic_error("The usage tracker has not been made");
  }
  return *tracker;
}

void JLUsageTracker::registerForNotifications() {
  notifications_ = NotificationCenter::defaultCenter().observe(
      "TrackUsage", [this](const Notification& notification) { handleNotification(notification); });
}

void JLUsageTracker::handleNotification(const Notification& notification) {
  const auto found = notification.userInfo.find("Type");
  const std::string* const type =
      found != notification.userInfo.end() ? std::any_cast<std::string>(&found->second) : nullptr;
  if (!type) {
    return;
  }
  const double amount = amountOf(notification);
  if (*type == "cursorMovement") {
    JLTrackEvent("cursor_movement", MetricData{{"amount_px", amount}});
  }
  recordMetricWithAmount(*type, amount);
}

void JLUsageTracker::recordMetricWithAmount(const std::string& type, double amount) {
  metricsForToday();  // what is stored for a day begins with its first amount
  {
    const std::scoped_lock lock(mutex_);
    totalLocked()[type] += amount;
    records_.reset();
  }
  saveMetrics();
  changes_.send({});
}

void JLUsageTracker::saveMetrics() {
  nlohmann::json metrics;
  {
    const std::scoped_lock lock(mutex_);
    metrics = metrics_;
  }
  defaults_.setValue(kStorageKey, nullptr);
  defaults_.setValue(kStorageKey, std::move(metrics));
}

std::string JLUsageTracker::currentDateString() const {
  return dateString(0);
}

std::string JLUsageTracker::dateString(int daysAgo) const {
  const auto now = std::chrono::duration_cast<std::chrono::seconds>(Platform::current().queues->wallClockNow());
  const auto seconds = static_cast<std::time_t>(now.count());
  std::tm local{};
  ::localtime_r(&seconds, &local);
  // Days of the calendar, not of 24 hours; there is a noon on every day, whatever summer time does.
  local.tm_mday -= daysAgo;
  local.tm_hour = 12;
  local.tm_isdst = -1;
  std::mktime(&local);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d", &local)};
}

JLUsageTracker::Amounts JLUsageTracker::amountsOfDay(const nlohmann::json& day) const {
  Amounts amounts;
  for (const auto& [type, amount] : day.items()) {
    if (day.is_object() && amount.is_number()) {
      amounts[type] = amount.get<double>();
    }
  }
  return amounts;
}

JLUsageTracker::Amounts JLUsageTracker::metricsForToday() {
  const std::string today = currentDateString();
  const std::scoped_lock lock(mutex_);
  const auto found = metrics_.find(today);
  if (found != metrics_.end()) {
    return amountsOfDay(*found);
  }
  metrics_[today] = nlohmann::json::object();
  return {};
}

JLUsageTracker::Amounts JLUsageTracker::metricsForYesterday() const {
  const std::string yesterday = dateString(1);
  const std::scoped_lock lock(mutex_);
  const auto found = metrics_.find(yesterday);
  return found != metrics_.end() ? amountsOfDay(*found) : Amounts();
}

JLUsageTracker::Records JLUsageTracker::recordMetrics() {
  const std::scoped_lock lock(mutex_);
  if (!records_) {
    Records records;
    for (const auto& [date, day] : metrics_.items()) {
      for (const auto& [type, amount] : amountsOfDay(day)) {
        const auto best = records.find(type);
        if (amount > (best != records.end() ? best->second.amount : 0)) {
          records[type] = {amount, date};
        }
      }
    }
    records_ = std::move(records);
  }
  return *records_;
}

JLUsageTracker::Amounts& JLUsageTracker::totalLocked() {
  if (!total_) {
    Amounts total;
    for (const auto& [date, day] : metrics_.items()) {
      for (const auto& [type, amount] : amountsOfDay(day)) {
        total[type] += amount;
      }
    }
    total_ = std::move(total);
  }
  return *total_;
}

JLUsageTracker::Amounts JLUsageTracker::metricsTotal() {
  const std::scoped_lock lock(mutex_);
  return totalLocked();
}

Token JLUsageTracker::observeChanges(std::function<void()> changed) {
  return changes_.observe().subscribe([changed = std::move(changed)](std::monostate) { changed(); });
}

}  // namespace jumplark
