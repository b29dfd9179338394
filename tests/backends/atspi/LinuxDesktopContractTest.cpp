#include <stdexcept>

#include "backends/contract/DesktopContractCases.h"
#include "backends/contract/MenusContractCases.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "desktop/support/Applications.h"

namespace jumplark::contract {
namespace {

/// A program in a private session, seen by the real platform.
struct LinuxDesktop {
  LinuxDesktop(const std::string& program, const std::string& button)
      : process(desktop::startProgram(
            session, {.command = {program}, .busName = program, .role = "push button", .element = button})) {
    auto opened = LinuxPlatform::open(queues);
    if (!opened.platform) {
      throw std::runtime_error(opened.error);
    }
    linux = std::move(opened.platform);
    linux->applicationBecameActive(process.pid());
  }

  desktop::PrivateSession session;
  std::shared_ptr<void> member = session.adoptEnvironment();
  desktop::Process& process;
  SystemQueues queues;
  std::unique_ptr<LinuxPlatform> linux;
};

}  // namespace

ContractDesktop makeContractDesktop() {
  const auto controls = std::make_shared<LinuxDesktop>("gtk3-widget-factory", "link button");
  return {controls->linux->platform(), controls->process.pid(), "link button", controls};
}

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract, ::testing::Values("linux"));

/// Its menus are in its tree while they are closed.
MenusDesktop makeMenusDesktop() {
  const auto calculator = std::make_shared<LinuxDesktop>("kcalc", "7");
  return {calculator->linux->platform(),
          calculator->process.pid(),
          {"Settings", "Science Mode"},
          {"Settings", "Constants Buttons"},
          calculator};
}

INSTANTIATE_TEST_SUITE_P(Backends, MenusContract, ::testing::Values("linux"));

}  // namespace jumplark::contract
