#include <sys/prctl.h>
#include <unistd.h>

#include <stdexcept>

#include "backends/contract/DesktopContractCases.h"
#include "backends/linux/LinuxPlatform.h"
#include "backends/linux/system/SystemQueues.h"
#include "desktop/support/Applications.h"

namespace jumplark::contract {
namespace {

/// This process as one of the session's user, who may not be its own: the buses answer nobody else.
class SessionUser {
 public:
  explicit SessionUser(const desktop::PrivateSession& session) {
    const auto user = session.environment().find("JUMPLARK_SESSION_USER");
    if (user != session.environment().end()) {
      become(static_cast<uid_t>(std::stoul(user->second)));
    }
  }
  SessionUser(const SessionUser&) = delete;
  SessionUser& operator=(const SessionUser&) = delete;
  ~SessionUser() { become(own_); }

 private:
  static void become(uid_t user) {
    if (seteuid(user) != 0) {
      ADD_FAILURE() << "cannot become user " << user;
    }
    // What a change of user takes away, and a search for leaks needs.
    prctl(PR_SET_DUMPABLE, 1);
  }

  uid_t own_ = geteuid();
};

/// A program in a private session, seen by the real platform.
struct LinuxDesktop {
  LinuxDesktop(desktop::WindowManager windowManager, const desktop::Program& program)
      : opened(desktop::openSession({.windowManager = windowManager})), process(startProgram(*opened, program)) {
    auto result = LinuxPlatform::open(queues);
    if (!result.platform) {
      throw std::runtime_error(result.error);
    }
    linux = std::move(result.platform);
    linux->applicationBecameActive(process.pid());
  }

  std::unique_ptr<desktop::PrivateSession> opened;
  std::shared_ptr<void> member = opened->adoptEnvironment();
  desktop::Process& process;
  SessionUser user{*opened};
  SystemQueues queues;
  std::unique_ptr<LinuxPlatform> linux;
};

/// All that a toolkit has. It draws without end on a compositor that has no screen to wait for.
const desktop::Program kControls{.command = {"gtk3-widget-factory"},
                                 .busName = "gtk3-widget-factory",
                                 .role = "push button",
                                 .element = "link button"};
/// It ends when its button is pressed.
const desktop::Program kForm{.command = {"yad", "--form", "--field=User", "plain to see", "--button=Save"},
                             .busName = "yad",
                             .role = "push button",
                             .element = "Save"};

}  // namespace

ContractDesktop makeContractDesktop(const std::string& backend) {
  const bool isSway = backend == "sway";
  const desktop::Program& program = isSway ? kForm : kControls;
  const auto shown =
      std::make_shared<LinuxDesktop>(isSway ? desktop::WindowManager::sway : desktop::WindowManager::xfwm4, program);
  return {shown->linux->platform(), shown->process.pid(), program.element, shown};
}

INSTANTIATE_TEST_SUITE_P(Backends, DesktopContract, ::testing::Values("x11", "sway"));

}  // namespace jumplark::contract
