#include "app/LaunchAtLoginController.h"

#include "platform/LoginItem.h"
#include "platform/Platform.h"

namespace jumplark {

LaunchAtLoginController::LaunchAtLoginController() {
  LoginItem& item = *Platform::current().loginItem;
  observation_ = item.observe([this, &item] { launchAtLogin_.set(item.isSet()); });
  launchAtLogin_.set(item.isSet());
}

LaunchAtLoginController::~LaunchAtLoginController() = default;

std::string LaunchAtLoginController::setLaunchAtLogin(bool launch) {
  LoginItem& item = *Platform::current().loginItem;
  std::string problem = item.set(launch);
  launchAtLogin_.set(item.isSet());
  return problem;
}

}  // namespace jumplark
