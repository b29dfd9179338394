#include "backends/linux/windows/DesktopEntries.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <sstream>
#include <utility>

#include "platform/Utf8.h"

namespace jumplark {
namespace {

namespace fs = std::filesystem;

std::string environment(const char* name, const std::string& fallback = {}) {
  const char* value = std::getenv(name);
  return value && *value ? value : fallback;
}

std::vector<fs::path> standardFolders() {
  std::vector<fs::path> result = {environment("XDG_DATA_HOME", environment("HOME") + "/.local/share")};
  std::stringstream system(environment("XDG_DATA_DIRS", "/usr/local/share:/usr/share"));
  for (std::string folder; std::getline(system, folder, ':');) {
    result.emplace_back(folder);
  }
  return result;
}

std::string lower(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return text;
}

// lang_COUNTRY@MODIFIER, lang_COUNTRY, lang@MODIFIER, lang: the order in which localized keys are looked up.
std::vector<std::string> variantsOf(const std::string& locale) {
  const size_t at = locale.find('@');
  const std::string modifier = at == std::string::npos ? "" : locale.substr(at);
  std::string base = locale.substr(0, std::min(at, locale.find('.')));
  const std::string language = base.substr(0, base.find('_'));
  std::vector<std::string> result;
  for (const std::string& variant : {base + modifier, base, language + modifier, language}) {
    if (!variant.empty() && std::ranges::find(result, variant) == result.end()) {
      result.push_back(variant);
    }
  }
  return result;
}

std::string unescape(std::string_view value) {
  static const std::map<char, char> kEscapes = {{'s', ' '}, {'n', '\n'}, {'t', '\t'}, {'r', '\r'}, {'\\', '\\'}};
  std::string result;
  for (size_t i = 0; i < value.size(); ++i) {
    const auto escape = value[i] == '\\' && i + 1 < value.size() ? kEscapes.find(value[i + 1]) : kEscapes.end();
    result += escape == kEscapes.end() ? value[i] : escape->second;
    i += escape == kEscapes.end() ? 0 : 1;
  }
  return result;
}

// The keys of the group [Desktop Entry].
std::map<std::string, std::string> keysOf(const fs::path& file) {
  std::map<std::string, std::string> keys;
  std::ifstream input(file);
  bool inGroup = false;
  for (std::string line; std::getline(input, line);) {
    const size_t equals = line.find('=');
    if (line.starts_with("[")) {
      inGroup = trimmed(line) == "[Desktop Entry]";
    } else if (inGroup && equals != std::string::npos && !line.starts_with("#")) {
      keys.emplace(trimmed(line.substr(0, equals)), unescape(trimmed(line.substr(equals + 1))));
    }
  }
  return keys;
}

// The first word of a command line that is neither "env" nor a variable's value.
std::string programOf(const std::string& commandLine) {
  std::istringstream words(commandLine);
  for (std::string word; words >> std::quoted(word);) {
    if (word != "env" && word.find('=') == std::string::npos) {
      return word;
    }
  }
  return {};
}

// Where a program lies, behind all links; empty when it is not there.
fs::path locate(const std::string& program) {
  std::error_code error;
  if (program.empty() || program.starts_with('/')) {
    return fs::canonical(program, error);
  }
  std::stringstream folders(environment("PATH"));
  for (std::string folder; std::getline(folders, folder, ':');) {
    if (fs::path found = fs::canonical(fs::path(folder) / program, error); !error) {
      return found;
    }
  }
  return {};
}

}  // namespace

DesktopEntries::DesktopEntries()
    : DesktopEntries(standardFolders(), environment("LC_ALL", environment("LC_MESSAGES", environment("LANG")))) {}

DesktopEntries::DesktopEntries(std::vector<fs::path> dataFolders, const std::string& locale)
    : dataFolders_(std::move(dataFolders)), localeVariants_(variantsOf(locale)) {}

std::optional<DesktopEntry> DesktopEntries::forWindow(const std::string& applicationId, const std::string& className,
                                                      const std::string& instanceName) {
  const std::lock_guard lock(mutex_);
  if (!isRead_) {
    readAll();
  }
  if (auto found = find(applicationId, className, instanceName)) {
    return found;
  }
  if (!foldersChanged()) {
    return std::nullopt;
  }
  readAll();
  return find(applicationId, className, instanceName);
}

std::vector<DesktopEntry> DesktopEntries::forProgram(const fs::path& program) {
  const std::lock_guard lock(mutex_);
  if (!isRead_) {
    readAll();
  }
  const fs::path starter = program.extension() == ".bin" ? fs::path(program).replace_extension() : program;
  std::vector<DesktopEntry> found;
  for (const auto& [id, entry] : byId_) {
    const fs::path file = entry.program.empty() ? fs::path() : locate(entry.program);
    if (!file.empty() && (file == program || file == starter)) {
      found.push_back(entry);
    }
  }
  return found;
}

std::optional<DesktopEntry> DesktopEntries::find(const std::string& applicationId, const std::string& className,
                                                 const std::string& instanceName) const {
  if (const auto entry = byId_.find(applicationId); entry != byId_.end() && !entry->second.id.empty()) {
    return entry->second;
  }
  for (const std::string& windowClass : {className, instanceName}) {
    if (const DesktopEntry* entry = findClass(lower(windowClass))) {
      return *entry;
    }
  }
  return std::nullopt;
}

const DesktopEntry* DesktopEntries::findClass(const std::string& windowClass) const {
  if (windowClass.empty()) {
    return nullptr;
  }
  for (const auto* names : {&idByWindowClass_, &idByLowerName_}) {
    if (const auto id = names->find(windowClass); id != names->end()) {
      return &byId_.at(id->second);
    }
  }
  return nullptr;
}

void DesktopEntries::readAll() {
  isRead_ = true;
  folderTimes_.clear();
  byId_.clear();
  idByLowerName_.clear();
  idByWindowClass_.clear();
  for (const fs::path& folder : dataFolders_) {
    readFolder(folder / "applications");
  }
  // Whole ids win over last parts, whatever folder they come from.
  for (const auto& [id, entry] : byId_) {
    if (!entry.id.empty()) {
      idByLowerName_.insert_or_assign(lower(id), id);
    }
  }
}

void DesktopEntries::readFolder(const fs::path& applications) {
  std::error_code error;
  folderTimes_[applications] = fs::last_write_time(applications, error);
  std::vector<fs::path> files;
  for (fs::recursive_directory_iterator it(applications, fs::directory_options::skip_permission_denied, error), end;
       !error && it != end; it.increment(error)) {
    std::error_code ignored;
    if (it->is_directory(ignored)) {
      folderTimes_[it->path()] = fs::last_write_time(it->path(), ignored);
    } else if (it->path().extension() == ".desktop") {
      files.push_back(it->path());
    }
  }
  std::ranges::sort(files);
  for (const fs::path& file : files) {
    std::string id = file.lexically_relative(applications).replace_extension().string();
    std::ranges::replace(id, '/', '-');
    add(file, id);
  }
}

void DesktopEntries::add(const fs::path& file, const std::string& id) {
  if (byId_.contains(id)) {
    return;  // a more important folder has it already, perhaps as hidden
  }
  const auto keys = keysOf(file);
  const auto value = [&](const std::string& key) {
    const auto found = keys.find(key);
    return found == keys.end() ? std::string() : found->second;
  };
  if (value("Type") != "Application" || value("Hidden") == "true") {
    byId_.emplace(id, DesktopEntry{});
    return;
  }
  DesktopEntry entry{id, value("Name"), value("StartupWMClass"), value("Name"), programOf(value("Exec"))};
  for (const std::string& variant : localeVariants_) {
    if (const std::string name = value("Name[" + variant + "]"); !name.empty()) {
      entry.name = name;
      break;
    }
  }
  idByLowerName_.emplace(lower(id.substr(id.rfind('.') + 1)), id);
  if (!entry.startupWmClass.empty()) {
    idByWindowClass_.emplace(lower(entry.startupWmClass), id);
  }
  byId_.emplace(id, std::move(entry));
}

bool DesktopEntries::foldersChanged() const {
  return std::ranges::any_of(folderTimes_, [](const auto& folder) {
    std::error_code error;
    return fs::last_write_time(folder.first, error) != folder.second;
  });
}

}  // namespace jumplark
