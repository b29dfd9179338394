#include "app/JLPreferencesAdvancedViewController.h"

#include <utility>

#include "app/ProductPages.h"
#include "platform/Defaults.h"
#include "platform/Platform.h"
#include "platform/SystemFacts.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

constexpr const char* kMetricsKey = "MetricsEnabled";

bool isTrackingRefused() {
  SystemFacts* const facts = Platform::current().facts;
  return facts != nullptr && facts->trackingRefused();
}

}  // namespace

JLPreferencesAdvancedViewController::JLPreferencesAdvancedViewController(ProductAddresses addresses, bool hasCollector)
    : addresses_(std::move(addresses)), hasCollector_(hasCollector) {}

JLPreferencesAdvancedViewController::~JLPreferencesAdvancedViewController() = default;

void JLPreferencesAdvancedViewController::loadView(PreferencesWindowView& view) {
  view_ = &view;
  layout_ = layouts_.forceKeyboardLayout().observe().subscribe([this](const auto&) { show(); });
  metrics_ = Platform::current().defaults->observe(kMetricsKey, [this](const DefaultsValue&) { show(); });
}

void JLPreferencesAdvancedViewController::viewWillAppear() {
  layouts_.updateAvailableKeyboardLayouts();
  show();
}

void JLPreferencesAdvancedViewController::chooseLayout(size_t index) {
  const auto& layouts = layouts_.availableKeyboardLayouts();
  layouts_.setForceKeyboardLayout(index > 0 && index <= layouts.size() ? std::optional(layouts[index - 1])
                                                                       : std::nullopt);
}

void JLPreferencesAdvancedViewController::setMetricsEnabled(bool enabled) {
  Platform::current().defaults->setValue(kMetricsKey, enabled);
}

void JLPreferencesAdvancedViewController::openMetricsLink() {
  if (!addresses_.metricsExplanation.empty()) {
    openPage(addresses_.metricsExplanation);
  }
}

size_t JLPreferencesAdvancedViewController::selectedLayout() const {
  const auto forced = layouts_.forceKeyboardLayout().value();
  const auto& layouts = layouts_.availableKeyboardLayouts();
  for (size_t i = 0; forced && i < layouts.size(); ++i) {
    if (layouts[i] == *forced) {
      return i + 1;
    }
  }
  return 0;
}

void JLPreferencesAdvancedViewController::show() {
  AdvancedPaneModel model;
  model.layouts.emplace_back(localized("The one in use"));
  for (const ZMOKeyboardLayout& layout : layouts_.availableKeyboardLayouts()) {
    model.layouts.push_back(layout.label());
  }
  model.selectedLayout = selectedLayout();
  model.offersMetrics = hasCollector_;
  model.metricsCanChange = hasCollector_ && !isTrackingRefused();
  model.metricsEnabled = model.metricsCanChange && Platform::current().defaults->boolean(kMetricsKey);
  if (!hasCollector_) {
    model.metricsNote = localized("This version of Jumplark collects no usage metrics and sends none.");
  } else if (isTrackingRefused()) {
    model.metricsNote = localized("DO_NOT_TRACK is set in the environment: nothing is collected and nothing is sent.");
  } else {
    model.metricsNote = localized(
        "Sent are how often and how fast it is used, in which applications (by their ids) and on elements of what kind "
        "and size, with an identifier of this installation and one of each run, the language, the system's version, "
        "and "
        "this computer's processor and memory; never what you type or the texts on your screen. A change takes effect "
        "the next time Jumplark starts.");
  }
  model.metricsLink = addresses_.metricsExplanation;
  view_->setAdvancedPane(model);
}

}  // namespace jumplark
