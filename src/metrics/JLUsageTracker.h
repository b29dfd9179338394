#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <variant>

#include "platform/Token.h"
#include "streams/NotificationCenter.h"
#include "streams/Subject.h"

namespace jumplark {

class Defaults;

/// Counts, day by day and on this machine only, what the user did with the program: how many elements were actioned,
/// how far the pointer was moved for them, and whatever else a "TrackUsage" notification names. The counters live in
/// the setting "UsageMetrics", keyed by the local date (year-month-day), then by type. Any thread.
class JLUsageTracker {
 public:
  using Amounts = std::map<std::string, double>;  ///< by type

  /// The largest amount of one day, and the first day that had it.
  struct Record {
    double amount = 0;
    std::string date;
    bool operator==(const Record&) const = default;
  };
  using Records = std::map<std::string, Record>;  ///< by type

  /// Reads the stored counters; what is no counter in them is left as it is and counts nothing. The first tracker of
  /// the process becomes the shared one, until its end. The platform outlives it.
  JLUsageTracker();
  JLUsageTracker(const JLUsageTracker&) = delete;
  JLUsageTracker& operator=(const JLUsageTracker&) = delete;
  ~JLUsageTracker();

  /// The one that start-up made; std::logic_error before.
  static JLUsageTracker& sharedInstance();

  /// From now on "TrackUsage" is counted.
  void registerForNotifications();
  /// "Type" and "Amount" of the user info; an amount that is missing is 1.
  void handleNotification(const Notification& notification);
  void recordMetricWithAmount(const std::string& type, double amount);
  void saveMetrics();
  /// The local date, year-month-day.
  std::string currentDateString() const;

  /// A copy of what is stored for today; makes an empty entry where there is none. The amounts of the current run are
  /// in the total alone.
  Amounts metricsForToday();
  Amounts metricsForYesterday() const;
  /// The best day of each type.
  Records recordMetrics();
  /// Everything up to now, by type.
  Amounts metricsTotal();

  /// Calls back, on the thread that records, after every recorded amount until the token is destroyed.
  Token observeChanges(std::function<void()> changed);

 private:
  std::string dateString(int daysAgo) const;
  Amounts amountsOfDay(const nlohmann::json& day) const;
  Amounts& totalLocked();

  Defaults& defaults_;
  mutable std::mutex mutex_;  ///< leaf
  nlohmann::json metrics_;    ///< as stored, days without an entry left out
  std::optional<Amounts> total_;
  std::optional<Records> records_;
  Subject<std::monostate> changes_;
  Token notifications_;
};

}  // namespace jumplark
