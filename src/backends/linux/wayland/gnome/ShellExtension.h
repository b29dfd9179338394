#pragma once

#include <string>

/// Our extension as GNOME Shell has it.
namespace jumplark::gnome {

enum class ExtensionState {
  noShell,         ///< the session is none of GNOME Shell
  works,           ///< it answers this program
  off,             ///< it is there and not switched on
  locked,          ///< the screen is locked, and while it is the shell has no extensions
  unknown,         ///< the shell has not seen it yet: it looks for new ones when a session begins
  foreignVersion,  ///< it speaks of other things than this program
  foreignShell,    ///< it is not made for this version of the shell, which does not run it
  foreignProgram,  ///< it belongs to another installation of this program
  silent           ///< the shell does not answer
};

/// Asks the shell; waits some seconds at most.
ExtensionState extensionState();

/// What is wrong, one sentence, and what to do about it, another one. Empty for `works` and `noShell`.
struct ExtensionProblem {
  std::string finding;
  std::string remedy;
};
ExtensionProblem problemOf(ExtensionState state);

/// Has the shell switch it on, as the user wishes, for this session and later ones. Returns how that went, when it
/// answers this program or three seconds later.
ExtensionState switchExtensionOn();

}  // namespace jumplark::gnome
