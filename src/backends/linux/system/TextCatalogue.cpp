#include "backends/linux/system/TextCatalogue.h"

#include <libintl.h>

#include <clocale>
#include <filesystem>
#include <system_error>

#include "platform/Texts.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;

constexpr const char* kDomain = "jumplark";

const char* lookUp(const char* english) {
  // The empty text is the name of the catalogue's own description.
  return *english != '\0' ? dgettext(kDomain, english) : english;
}

fs::path catalogueFolder() {
  std::error_code error;
  const fs::path program = fs::read_symlink("/proc/self/exe", error).parent_path();
  const fs::path installed = program.parent_path() / "share/locale";
  const fs::path built = program / "locale";
  return fs::is_directory(built, error) ? built : installed;
}

}  // namespace

void openTextCatalogue() {
  // Only the messages: numbers are read and written the same everywhere.
  if (std::setlocale(LC_MESSAGES, "") == nullptr) {
    return;
  }
  bindtextdomain(kDomain, catalogueFolder().c_str());
  bind_textdomain_codeset(kDomain, "UTF-8");
  setTextCatalogue(&lookUp);
}

}  // namespace jumplark
