#pragma once

namespace jumplark {

/// Opens the catalogue of the language that the environment asks for (LANGUAGE, LC_ALL, LC_MESSAGES, LANG): in the
/// folder share/locale beside the program, or in the folder it was built in. Once, before there are other threads. With
/// neither folder, or a locale that the system does not have, the texts stay English.
void openTextCatalogue();

}  // namespace jumplark
