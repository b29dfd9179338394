#include "app/JLPreferencesHelpViewController.h"

#include <algorithm>
#include <functional>
#include <utility>
#include <vector>

#include "app/HealthSummary.h"
#include "app/ProductPages.h"
#include "platform/DesktopServices.h"
#include "platform/Platform.h"
#include "platform/Queues.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

HelpPaneModel::Finding findingOf(const DesktopServices::HealthFinding& found) {
  using From = DesktopServices::HealthFinding::Level;
  using To = HelpPaneModel::Finding::Level;
  const To level = found.level == From::ok ? To::ok : found.level == From::warning ? To::warning : To::failure;
  return {level, found.name, found.finding, found.remedy};
}

}  // namespace

JLPreferencesHelpViewController::JLPreferencesHelpViewController(ProductAddresses addresses)
    : addresses_(std::move(addresses)), self_(std::make_shared<JLPreferencesHelpViewController*>(this)) {}

JLPreferencesHelpViewController::~JLPreferencesHelpViewController() = default;

void JLPreferencesHelpViewController::viewWillAppear() {
  using Self = JLPreferencesHelpViewController;
  model_.buttons.clear();
  effects_.clear();
  const auto offer = [this](bool leadsSomewhere, const char* title, void (Self::*effect)()) {
    if (leadsSomewhere) {
      model_.buttons.emplace_back(title);
      effects_.push_back(effect);
    }
  };
  offer(hasGettingStarted(addresses_), localized("Open documentation"), &Self::openDocumentation);
  offer(!addresses_.support.empty(), localized("Open support page"), &Self::openSupportPage);
  offer(!addresses_.composeMessage.empty(), localized("Tell others about Jumplark"), &Self::openTweetCompose);
  checkHealth();
}

void JLPreferencesHelpViewController::openDocumentation() {
  openGettingStarted(addresses_);
}

void JLPreferencesHelpViewController::openSupportPage() {
  openURL(addresses_.support);
}

void JLPreferencesHelpViewController::openTweetCompose() {
  openURL(addresses_.composeMessage);
}

void JLPreferencesHelpViewController::openURL(const std::string& url) {
  if (!url.empty()) {
    openPage(url);
  }
}

void JLPreferencesHelpViewController::pressButton(size_t index) {
  if (index < effects_.size()) {
    (this->*effects_[index])();
  }
}

void JLPreferencesHelpViewController::checkHealth() {
  if (std::exchange(model_.isChecking, true)) {
    return;
  }
  show();
  if (!queue_) {
    queue_ = Platform::current().queues->makeSerialQueue("com.brindlefox.jumplark.health");
  }
  queue_->post([weak = std::weak_ptr(self_)] {
    std::vector<HelpPaneModel::Finding> findings;
    for (const auto& found : Platform::current().desktop->checkHealth()) {
      findings.push_back(findingOf(found));
    }
    // What is wrong first.
    std::ranges::stable_sort(findings, std::greater<>(), &HelpPaneModel::Finding::level);
    Platform::current().queues->mainQueue().post([weak, findings = std::move(findings)] {
      if (const auto self = weak.lock()) {
        (*self)->findings_ = findings;
        (*self)->model_.isChecking = false;
        (*self)->show();
      }
    });
  });
}

void JLPreferencesHelpViewController::setShowsAll(bool all) {
  model_.showsAll = all;
  show();
}

void JLPreferencesHelpViewController::show() {
  using Level = HelpPaneModel::Finding::Level;
  const auto countOf = [this](Level level) {
    return static_cast<size_t>(std::ranges::count(findings_, level, &HelpPaneModel::Finding::level));
  };
  if (!findings_.empty()) {
    model_.summary = healthSummary(countOf(Level::failure), countOf(Level::warning));
    model_.worst = std::ranges::max(findings_, {}, &HelpPaneModel::Finding::level).level;
  }
  model_.health = findings_;
  if (!model_.showsAll) {
    std::erase_if(model_.health, [](const auto& finding) { return finding.level == Level::ok; });
  }
  view_->setHelpPane(model_);
}

}  // namespace jumplark
