#include "backends/recorded/RecordedDesktop.h"

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "backends/recorded/RecordingReader.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {

RecordedDesktop RecordedDesktop::fromFile(const std::string& path) {
  std::error_code failure;
  if (std::filesystem::is_directory(path, failure)) {
    throw RecordingError(localizedFormat("{} cannot be read: {}", path, textOfSystemError(EISDIR)));
  }
  errno = 0;
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file || text.bad()) {
    throw RecordingError(localizedFormat("{} cannot be read: {}", path, textOfSystemError(errno ? errno : EIO)));
  }
  return fromText(text.view(), path);
}

RecordedDesktop RecordedDesktop::fromText(std::string_view text, const std::string& sourceName) {
  return RecordingReader(text, sourceName).read();
}

}  // namespace jumplark
