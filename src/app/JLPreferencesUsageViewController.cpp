#include "app/JLPreferencesUsageViewController.h"

#include <fmt/format.h>

#include <cmath>

#include "metrics/JLUsageTracker.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

struct Counter {
  const char* type;
  const char* title;
  const char* unit;
};
constexpr Counter kCounters[] = {{"elementsActioned", textForLater("Elements actioned"), ""},
                                 {"cursorMovement", textForLater("Pointer travel saved"), " px"}};

/// A whole number in groups of three digits.
std::string amountText(double amount, const char* unit) {
  if (!std::isfinite(amount)) {
    return "–";
  }
  std::string digits = fmt::format("{:.0f}", amount);
  const size_t first = digits.starts_with('-') ? 1 : 0;
  for (size_t i = digits.size(); i > first + 3;) {
    i -= 3;
    digits.insert(i, "\u202F");
  }
  return digits + unit;
}

double amountOf(const JLUsageTracker::Amounts& amounts, const char* type) {
  const auto found = amounts.find(type);
  return found != amounts.end() ? found->second : 0;
}

}  // namespace

JLPreferencesUsageViewController::JLPreferencesUsageViewController() = default;
JLPreferencesUsageViewController::~JLPreferencesUsageViewController() = default;

void JLPreferencesUsageViewController::viewWillAppear() {
  self_ = std::make_shared<JLPreferencesUsageViewController*>(this);
  changes_ = JLUsageTracker::sharedInstance().observeChanges([weak = std::weak_ptr(self_)] {
    Platform::current().queues->mainQueue().post([weak] {
      if (const auto self = weak.lock()) {
        (*self)->show();
      }
    });
  });
  show();
}

void JLPreferencesUsageViewController::viewDidDisappear() {
  changes_.reset();
  self_.reset();
}

void JLPreferencesUsageViewController::show() {
  JLUsageTracker& tracker = JLUsageTracker::sharedInstance();
  const auto today = tracker.metricsForToday();
  const auto yesterday = tracker.metricsForYesterday();
  const auto total = tracker.metricsTotal();
  const auto records = tracker.recordMetrics();
  UsagePaneModel model;
  for (const auto& [type, title, unit] : kCounters) {
    UsagePaneModel::Row row{localized(title),
                            amountText(amountOf(today, type), unit),
                            amountText(amountOf(yesterday, type), unit),
                            amountText(0, unit),
                            {},
                            amountText(amountOf(total, type), unit)};
    if (const auto record = records.find(type); record != records.end()) {
      row.record = amountText(record->second.amount, unit);
      row.recordDate = record->second.date;
    }
    model.rows.push_back(row);
  }
  view_->setUsagePane(model);
}

}  // namespace jumplark
