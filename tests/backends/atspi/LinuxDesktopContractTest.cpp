#include <stdexcept>

#include "backends/contract/DesktopContractCases.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "desktop/support/Applications.h"

namespace jumplark::contract {
namespace {

/// A program in a private session, seen by the real platform.
struct LinuxDesktop {
  LinuxDesktop() {
    auto opened = LinuxPlatform::open(queues);
    if (!opened.platform) {
      throw std::runtime_error(opened.error);
    }
    linux = std::move(opened.platform);
    linux->applicationBecameActive(process.pid());
  }

  desktop::PrivateSession session;
  std::shared_ptr<void> member = session.adoptEnvironment();
  desktop::Process& process = desktop::startProgram(session, {.command = {"gtk3-widget-factory"},
                                                              .busName = "gtk3-widget-factory",
                                                              .role = "push button",
                                                              .element = "link button"});
  SystemQueues queues;
  std::unique_ptr<LinuxPlatform> linux;
};

}  // namespace

ContractDesktop makeContractDesktop() {
  const auto controls = std::make_shared<LinuxDesktop>();
  return {controls->linux->platform(), controls->process.pid(), "link button", controls};
}

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract, ::testing::Values("linux"));

}  // namespace jumplark::contract
