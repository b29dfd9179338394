#include "app/LaunchAtLoginController.h"

#include "platform/LoginItem.h"
#include "platform/Platform.h"

namespace jumplark {

LaunchAtLoginController::LaunchAtLoginController() {
  observation_ = Platform::current().loginItem->observe([this] { update(); });
  update();
}

LaunchAtLoginController::~LaunchAtLoginController() = default;

void LaunchAtLoginController::update() {
  launchAtLogin_.set(Platform::current().loginItem->isSet());
}

std::string LaunchAtLoginController::setLaunchAtLogin(bool launch) {
  std::string problem = Platform::current().loginItem->set(launch);
  update();
  return problem;
}

}  // namespace jumplark
