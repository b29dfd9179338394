#include <csignal>

#include "desktop/Use.h"
#include "desktop/support/GnomeSession.h"

namespace jumplark::desktop {
namespace {

TEST(WithoutExtension, onlyXwaylandIsOperatedUntilTheUserSwitchesItOn) {
  Desktop desktop(WindowManager::gnome);
  auto& session = dynamic_cast<GnomeSession&>(desktop.session);
  session.setExtension(false);
  DemoProgram demo(desktop, "Form", {{"QT_QPA_PLATFORM", "xcb"}});
  EXPECT_TRUE(waitUntil([&] { return desktop.jumplark.run("act", {}, {"apply"}).status == 0; }));
  EXPECT_TRUE(demo.says("clicked Apply"));
  // A window that Xwayland knows nothing of lies over that one, and must not get its clicks.
  Application wayland(desktop, {.command = {JUMPLARK_DEMO_QT6, "Form"}, .busName = DemoProgram::kName, .target = {}});
  EXPECT_TRUE(waitUntil([&] { return wayland.isActive(); }));
  EXPECT_TRUE(waitUntil([&] { return desktop.jumplark.run("act", {}, {"apply"}).status == 3; }));

  RunningProgram program(session);
  const auto asks = [&] {
    const uint32_t active = session.activeWindow();
    return program.windows().find("push button", "Switch It On") && session.hasWindow([&](const SessionWindow& window) {
      return window.id == active && window.pid == program.pid();
    });
  };
  ASSERT_TRUE(waitUntil(asks)) << program.process().err();
  program.key("Return");
  EXPECT_TRUE(waitUntil([&] { return !session.isFree("<Super><Shift>space"); })) << program.process().err();
  program.open();
  program.close("Escape");
}

TEST(WithoutExtension, whatAnswersInItsPlaceIsNamedInOneSentence) {
  Desktop desktop(WindowManager::gnome);
  auto& session = dynamic_cast<GnomeSession&>(desktop.session);
  session.setExtension(false);
  // Greets with a value of a type; or not at all.
  const std::string impostor = R"(const {Gio, GLib} = imports.gi;
    const [type, value] = ARGV, name = 'com.brindlefox.jumplark.Shell';
    const description = Gio.DBusNodeInfo.new_for_xml(`<node><interface name="${name}"><method name="Hello">
        ${[...type].map(one => `<arg type="${one}" direction="out"/>`).join('')}</method></interface></node>`);
    Gio.DBus.session.register_object('/com/brindlefox/jumplark/Shell', description.interfaces[0],
        (connection, sender, path, asked, method, given, call) => {
            if (value)
                call.return_value(GLib.Variant.parse(new GLib.VariantType(`(${type})`), value, null, null));
        }, null, null);
    Gio.bus_own_name_on_connection(Gio.DBus.session, name, 0, () => print('there'), null);
    new GLib.MainLoop(null, false).run();)";
  struct Case {
    const char* type;
    const char* value;
    const char* finding;
  };
  constexpr Case kCases[] = {{"us", "(99, 'x')", "is of another version than this program"},
                             {"s", "('nonsense',)", "is of another version than this program"},
                             {"us", "", "GNOME Shell does not answer."}};
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.value);
    Process& process = session.start({"gjs", "-c", impostor, one.type, one.value});
    ASSERT_TRUE(process.waitForLine("there")) << process.err();
    const Finished told = desktop.jumplark.run({"doctor"});
    EXPECT_NE(told.out.find(one.finding), std::string::npos) << told.out << told.err << process.err();
    process.kill(SIGKILL);
    process.wait();
  }
}

TEST(WithoutExtension, aShellThatItIsNotMadeForIsNamed) {
  Desktop desktop(WindowManager::gnome);
  auto& session = dynamic_cast<GnomeSession&>(desktop.session);
  session.setExtension(false);
  // What the shell sets for an extension that does not name its version.
  const Finished set =
      session.run({"gdbus", "call", "--session", "-d", "org.gnome.Shell", "-o", "/org/gnome/Shell", "-m",
                   "org.gnome.Shell.Eval", "Main.extensionManager.lookup('jumplark@brindlefox.com').state = 4"});
  EXPECT_EQ(set.out, "(true, '4')\n") << set.err;
  const Finished told = desktop.jumplark.run({"doctor"});
  EXPECT_NE(told.out.find("is not made for this version of GNOME Shell"), std::string::npos) << told.out << told.err;
  EXPECT_NE(told.out.find("Install a newer version of Jumplark."), std::string::npos) << told.out;
}

}  // namespace
}  // namespace jumplark::desktop
