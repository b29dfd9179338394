#include "backends/linux/system/DefaultsFile.h"

#include <fmt/format.h>
#include <spdlog/spdlog.h>

#include <cerrno>
#include <set>
#include <system_error>
#include <utility>

#include "backends/linux/system/FolderWatch.h"
#include "backends/linux/system/WholeFile.h"
#include "platform/SystemErrors.h"
#include "platform/Texts.h"

namespace jumplark {
namespace {

std::filesystem::path behindLinks(const std::filesystem::path& path) {
  std::error_code error;
  if (std::filesystem::is_symlink(path, error)) {
    std::filesystem::path target = std::filesystem::weakly_canonical(path, error);
    return error ? path : target;
  }
  return path;
}

/// Under which problems are announced. Keys of settings are never empty.
constexpr const char* kProblems = "";

constexpr const char* kNotRead = textForLater(
    "The settings in {} cannot be read: {}. As long as that is so, what you change will be lost when Jumplark ends.");
constexpr const char* kNotSaved = textForLater(
    "The settings cannot be saved in {}: {}. As long as that is so, what you change will be lost when Jumplark ends.");

DefaultsValue member(const nlohmann::json& object, const std::string& key) {
  const auto found = object.find(key);
  return found != object.end() ? *found : DefaultsValue();
}

}  // namespace

std::filesystem::path DefaultsFile::pathFromEnvironment() {
  const std::filesystem::path folder = userFolder("XDG_CONFIG_HOME", ".config");
  return folder.empty() ? folder : folder / "jumplark" / "defaults.json";
}

DefaultsFile::DefaultsFile(Queues& queues, const std::filesystem::path& path)
    : observers_(queues), file_(behindLinks(path)) {
  if (file_.path().empty()) {
    const std::string problem = localized("There is no folder for settings, so they will be lost when Jumplark ends.");
    spdlog::warn("{}", problem);
    tell(problem);
    return;
  }
  exchange();
  watch_ = std::make_unique<FolderWatch>(file_.path().parent_path(), file_.path().filename().string(),
                                         [this] { exchange(); });
}

DefaultsFile::~DefaultsFile() {
  watch_.reset();
  if (!pendingChanges().empty()) {
    exchange();
  }
}

DefaultsValue DefaultsFile::valueLocked(const std::string& key) const {
  const auto change = pending_.find(key);
  DefaultsValue stored = change != pending_.end() ? change->second.value : member(contents_, key);
  if (!stored.is_null()) {
    return stored;
  }
  const auto fallback = registered_.find(key);
  return fallback != registered_.end() ? fallback->second : DefaultsValue();
}

DefaultsValue DefaultsFile::value(const std::string& key) {
  const std::scoped_lock lock(mutex_);
  return valueLocked(key);
}

void DefaultsFile::setValue(const std::string& key, DefaultsValue value) {
  {
    const std::scoped_lock lock(mutex_);
    if (!pending_.contains(key) && member(contents_, key) == value) {
      return;
    }
    const DefaultsValue before = valueLocked(key);
    pending_[key] = {std::move(value), ++lastNumber_};
    if (DefaultsValue now = valueLocked(key); now != before) {
      // Announcing only posts; under the lock, so that observers hear of changes in their order.
      observers_.announce(key, now);
    }
  }
  if (watch_) {
    watch_->poke();
  }
}

void DefaultsFile::registerDefaults(const std::map<std::string, DefaultsValue>& values) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [key, value] : values) {
    const DefaultsValue before = valueLocked(key);
    registered_[key] = value;
    if (DefaultsValue now = valueLocked(key); now != before) {
      observers_.announce(key, now);
    }
  }
}

Token DefaultsFile::observe(const std::string& key, Observer observer) {
  return observers_.observe(key, std::move(observer));
}

Token DefaultsFile::observeProblems(const std::function<void(const std::string& problem)>& told) {
  Token token =
      observers_.observe(kProblems, [told](const DefaultsValue& problem) { told(problem.get<std::string>()); });
  const std::scoped_lock lock(mutex_);
  isTold_ = true;
  for (const std::string& problem : std::exchange(untold_, {})) {
    observers_.announce(kProblems, problem);
  }
  return token;
}

void DefaultsFile::tell(const std::string& problem) {
  const std::scoped_lock lock(mutex_);
  if (isTold_) {
    observers_.announce(kProblems, problem);
  } else {
    untold_.push_back(problem);
  }
}

bool DefaultsFile::synchronize() {
  return exchange();
}

DefaultsFile::Changes DefaultsFile::pendingChanges() const {
  const std::scoped_lock lock(mutex_);
  return pending_;
}

/// Reads what others have written and writes what they have not.
bool DefaultsFile::exchange() {
  if (file_.path().empty()) {
    return false;
  }
  const std::scoped_lock busy(fileMutex_);
  const Changes changes = pendingChanges();
  if (!changes.empty()) {
    if (const std::string problem = makePrivateFolders(file_.path().parent_path()); !problem.empty()) {
      return fail(kNotSaved, problem);
    }
  }
  std::optional<FileDescriptor> lock = changes.empty() ? std::nullopt : file_.lock();
  JsonFile::Contents contents = file_.readWhole();
  if (contents.state == JsonFile::State::corrupt && !lock) {
    lock = file_.lock();
    contents = file_.read();  // another instance may have mended it
  }
  if (contents.state == JsonFile::State::unreadable) {
    return fail(kNotRead, contents.problem);
  }
  if (contents.state == JsonFile::State::corrupt) {
    return lock ? mendFile(contents) : fail(kNotRead, contents.problem);
  }
  wasRead_ = true;
  if (!changes.empty() && !lock) {
    adopt(contents.object, {});
    return fail(kNotSaved, textOfSystemError(EAGAIN));
  }
  return store(contents.object, changes, false);
}

bool DefaultsFile::mendFile(const JsonFile::Contents& contents) {
  const std::optional<std::filesystem::path> aside = file_.setAside();
  if (!aside) {
    return fail(kNotRead, contents.problem);
  }
  const std::string problem = localizedFormat(
      "The settings in {} cannot be read: {}. That file is called {} now. {}", file_.path().string(), contents.problem,
      aside->string(),
      wasRead_ ? localized("The settings stay as they were.") : localized("All settings start from their defaults."));
  spdlog::error("{}", problem);
  tell(problem);
  nlohmann::json held = nlohmann::json::object();
  if (std::exchange(wasRead_, true)) {
    const std::scoped_lock lock(mutex_);
    held = contents_;
  }
  const bool hasValues = !held.empty();
  return store(held, pendingChanges(), hasValues);
}

/// Puts the changes into the contents and writes these where that changes anything, or `always`.
bool DefaultsFile::store(const nlohmann::json& base, const Changes& changes, bool always) {
  nlohmann::json merged = base;
  for (const auto& [key, change] : changes) {
    if (change.value.is_null()) {
      merged.erase(key);
    } else {
      merged[key] = change.value;
    }
  }
  if (always || merged != base) {
    if (const std::string problem = file_.write(merged); !problem.empty()) {
      adopt(base, {});
      return fail(kNotSaved, problem);
    }
  }
  adopt(std::move(merged), changes);
  failureLogged_ = false;
  return true;
}

/// The file's contents are these now; `written` are the changes that they hold already.
void DefaultsFile::adopt(nlohmann::json contents, const Changes& written) {
  const std::scoped_lock lock(mutex_);
  std::map<std::string, DefaultsValue> before;
  for (const nlohmann::json* object : {&std::as_const(contents_), &std::as_const(contents)}) {
    for (const auto& [key, value] : object->items()) {
      before[key] = valueLocked(key);
    }
  }
  for (const auto& [key, change] : written) {
    before[key] = valueLocked(key);
    const auto pending = pending_.find(key);
    if (pending != pending_.end() && pending->second.number == change.number) {
      pending_.erase(pending);
    }
  }
  contents_ = std::move(contents);
  for (const auto& [key, value] : before) {
    if (DefaultsValue now = valueLocked(key); now != value) {
      observers_.announce(key, now);
    }
  }
}

/// `what` has the places of the file and of its problem.
bool DefaultsFile::fail(const char* what, const std::string& problem) {
  if (!std::exchange(failureLogged_, true)) {
    const std::string file = file_.path().string();
    const std::string told = localizedWith(what, fmt::make_format_args(file, problem));
    spdlog::warn("{}", told);
    tell(told);
  }
  return false;
}

}  // namespace jumplark
