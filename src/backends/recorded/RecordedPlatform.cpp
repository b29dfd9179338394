#include "backends/recorded/RecordedPlatform.h"

#include <stdexcept>

namespace jumplark {

RecordedPlatform::RecordedPlatform(const RecordedDesktop& desktop)
    : ownQueues_(std::make_unique<VirtualQueues>()),
      queues_(*ownQueues_),
      workspace_(desktop),
      screens_(desktop, queues_),
      accessibility_(desktop, workspace_, queues_),
      input_(screens_, queues_),
      defaults_(queues_),
      shortcuts_(queues_),
      views_(queues_),
      http_(queues_),
      appViews_(queues_),
      loginItem_(queues_),
      notifications_(queues_, accessibility_),
      menus_(desktop, queues_) {}

RecordedPlatform::RecordedPlatform(const RecordedDesktop& desktop, Queues& queues)
    : queues_(queues),
      workspace_(desktop),
      screens_(desktop, queues_),
      accessibility_(desktop, workspace_, queues_),
      input_(screens_, queues_),
      defaults_(queues_),
      shortcuts_(queues_),
      views_(queues_),
      http_(queues_),
      appViews_(queues_),
      loginItem_(queues_),
      notifications_(queues_, accessibility_),
      menus_(desktop, queues_) {}

RecordedPlatform::~RecordedPlatform() {
  if (ownQueues_) {
    ownQueues_->close();
  }
}

std::unique_ptr<RecordedPlatform> RecordedPlatform::fromText(std::string_view json) {
  return std::make_unique<RecordedPlatform>(RecordedDesktop::fromText(json, "recording"));
}

Platform RecordedPlatform::platform() {
  return {&accessibility_, &workspace_, &screens_,      &input_,         &queues_, &random_, &defaults_,
          &inputSources_,  &shortcuts_, &views_,        &http_,          &files_,  &facts_,  &appViews_,
          &services_,      &loginItem_, &crashReports_, &notifications_, &menus_};
}

Token RecordedPlatform::install() {
  return Platform::install(platform());
}

VirtualQueues& RecordedPlatform::queues() {
  if (!ownQueues_) {
    throw std::logic_error("This recorded platform does not run in virtual time");
  }
  return *ownQueues_;
}

void RecordedPlatform::terminate(int32_t pid) {
  const ElementRef element = workspace_.applicationElement(pid);
  workspace_.removeApplication(pid);
  if (element) {
    accessibility_.removeElement(element.text());
  }
}

}  // namespace jumplark
