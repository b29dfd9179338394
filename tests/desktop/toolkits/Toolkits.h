#pragma once

#include "desktop/support/Desktop.h"

namespace jumplark::desktop {

/// What holds of an application after a step; it is asked until it does.
using Effect = std::function<bool(Application&)>;
using Preparation = std::function<void(Application&)>;

/// By what the application says on the accessibility bus, in a state unless that is empty.
Effect shows(const std::string& role, const std::string& name, const std::string& state = "");
/// A window's title begins so.
Effect titled(const std::string& beginning);
/// By what the program under test finds: all of these texts and none of the others.
Effect offers(const std::vector<std::string>& texts, const std::vector<std::string>& gone = {});
/// The same of one thing that has two texts.
Effect finds(const std::string& role, const std::string& text, const std::string& andText = "");
/// By the lines that `menus` prints of it.
Effect lists(const std::string& line);

/// Opens a menu, and waits for it.
Preparation opening(const Preparation& open, const Effect& isOpen);
Preparation pressing(const std::string& key);
/// With the pointer, what has the text.
Preparation clicking(const std::string& role, const std::string& text);
/// Chooses a command of a menu that is closed, and leaves no menu open.
Preparation choosing(const std::string& query);
/// Of several that fit alike, the one that the pointer is on is meant: it goes to the uppermost with both texts.
Preparation pointingAtUppermost(const std::string& query, const std::string& text, const std::string& andText = "");

/// One thing done to an application: what `act` is asked to do, unless it is empty, and what comes of it. With what the
/// query field tells then, or begins to, it is done with the program in the background instead, by the shortcut, the
/// query typed, and Return; after a preparation, which opens a menu, no menu stays open.
struct Step {
  std::string query;
  Effect effect;
  Preparation before = {};
  std::string told = "";
  Effect applies = {};   ///< of a version for which it does not hold the step is left out
  bool isTwice = false;  ///< Return once more, which makes the click a double one
};
void perform(const Step& step, Application& application);
/// Switches the uppermost of several alike, which has both texts, and no other: one more than before is in that state
/// by what the application says.
Step switchesOne(const std::string& query, const std::string& text, const std::string& andText,
                 const std::string& theirRole, const std::string& state);

/// The program in the background is used over it with keys: the field with that text is described while the pointer
/// rests on it, and two taps of Control give it the focus, so that it gets what is typed then.
Step typesInto(const std::string& query, const std::string& text);

/// Where a colour that is nowhere else on the screen shows.
struct Coloured {
  const char* role;
  const char* text;
  uint32_t colour;
};

/// An application of a toolkit, and what holds of it.
struct Subject {
  std::string name;
  std::function<Program(const PrivateSession&)> program;
  std::vector<Shown> shown;  ///< the first one comes last, and is waited for
  std::vector<std::string> hidden = {};
  std::vector<Coloured> coloured = {};
  int slack = 0;  ///< by how many pixels the boxes of those may be too large
  /// Roles on the bus, and what each may be here; so many elements of these roles show at least, each of them here too.
  std::map<std::string, std::set<std::string>> roles = {};
  size_t atLeast = 0;
  bool hasPassword = false;               ///< it is "correct horse"
  std::vector<std::string> queries = {};  ///< whose answers a recording gives too; none for those that change
  std::vector<Preparation> alsoHolds = {};
  std::vector<Step> steps = {};
  WindowManager windowManager = WindowManager::xfwm4;
  double scale = 1;  ///< see SessionOptions
  std::vector<PixelRect> monitors = {};
  double scaleOfMonitors = 0;  ///< see SessionOptions
};
inline void PrintTo(const Subject& subject, std::ostream* out) {
  *out << subject.name;
}

/// A recording gives the tree and the answers to queries that the application gives live, to the last character: it
/// keeps the ids of the live desktop, hence the hashes too. Only the items of Qt's views have new ids each time that
/// they are asked for.
enum class Names { stay, changeEachTime };
void expectTheSameOffline(Application& application, const std::vector<std::string>& queries, Names names = Names::stay);

std::vector<Subject> gtkSubjects();
std::vector<Subject> webSubjects();
std::vector<Subject> otherSubjects();
/// Some of these and others, on a Wayland compositor.
std::vector<Subject> waylandSubjects(WindowManager compositor);
/// Moves the window in front to a further screen, on the right of the first.
void moveToTheOtherScreen(Application& application);

}  // namespace jumplark::desktop
