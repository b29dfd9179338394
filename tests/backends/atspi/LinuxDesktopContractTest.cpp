#include <stdexcept>

#include "backends/contract/DesktopContractCases.h"
#include "backends/contract/MenusContractCases.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "backends/recorded/VirtualQueues.h"
#include "desktop/support/Applications.h"

namespace jumplark::contract {
namespace {

/// A program full of controls in a private session, seen by the real platform.
class LinuxContractDesktop : public ContractDesktop {
 public:
  LinuxContractDesktop() {
    auto opened = LinuxPlatform::open(queues_);
    if (!opened.platform) {
      throw std::runtime_error(opened.error);
    }
    linux_ = std::move(opened.platform);
    linux_->applicationBecameActive(targetPid());
  }
  Platform platform() override { return linux_->platform(); }
  int32_t targetPid() override { return process_.pid(); }
  std::string buttonTitle() override { return "link button"; }
  int32_t absentPid() override { return 4'000'000; }

 private:
  desktop::PrivateSession session_;
  std::shared_ptr<void> member_ = session_.adoptEnvironment();
  desktop::Process& process_ =
      desktop::startApplication(session_, {"gtk3-widget-factory"}, "gtk3-widget-factory", "push button", "link button");
  VirtualQueues queues_;
  std::unique_ptr<LinuxPlatform> linux_;
};

std::unique_ptr<ContractDesktop> makeLinuxDesktop() {
  return std::make_unique<LinuxContractDesktop>();
}

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract, ::testing::Values(ContractDesktopKind{"linux", &makeLinuxDesktop}));

/// A program with a menu bar, whose menus are in its tree while they are closed.
class LinuxMenusDesktop : public MenusDesktop {
 public:
  LinuxMenusDesktop() : linux_(LinuxPlatform::open(queues_).platform) {
    if (!linux_) {
      throw std::runtime_error("the desktop is out of reach");
    }
  }
  Platform platform() override { return linux_->platform(); }
  int32_t targetPid() override { return process_.pid(); }
  Path markable() override { return {"Settings", "Science Mode"}; }
  Path disabled() override { return {"Settings", "Constants Buttons"}; }

 private:
  desktop::PrivateSession session_;
  std::shared_ptr<void> member_ = session_.adoptEnvironment();
  desktop::Process& process_ = desktop::startApplication(session_, {"kcalc"}, "kcalc", "push button", "7");
  SystemQueues queues_;
  std::unique_ptr<LinuxPlatform> linux_;
};

INSTANTIATE_TEST_SUITE_P(Backends, MenusContract,
                         ::testing::Values(MenusDesktopKind{"linux", []() -> std::unique_ptr<MenusDesktop> {
                                                              return std::make_unique<LinuxMenusDesktop>();
                                                            }}));

}  // namespace
}  // namespace jumplark::contract
