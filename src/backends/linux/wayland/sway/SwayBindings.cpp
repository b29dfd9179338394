#include "backends/linux/wayland/sway/SwayBindings.h"

#include <fmt/format.h>

#include <filesystem>
#include <utility>

#include "backends/linux/wayland/LooseJson.h"

namespace jumplark::sway {

using namespace loose_json;
namespace {

/// Does nothing but be told of.
constexpr const char* kCommand = "nop jumplark";

std::string unbinding(const Combination& combination) {
  return fmt::format("unbindsym {}", textOf(combination));
}

}  // namespace

Bindings::Bindings(std::shared_ptr<Ipc> ipc) : ipc_(std::move(ipc)) {}

Bindings::~Bindings() {
  const std::lock_guard lock(mutex_);
  for (const auto& [combination, bound] : bound_) {
    ipc_->run(unbinding(combination));
  }
  bound_.clear();
  guard();
}

/// The guard unbinds what is bound now.
void Bindings::guard() {
  if (!guard_ && !bound_.empty()) {
    farewell_ = Socket::connect(ipc_->path());
    guard_ = farewell_ ? ExitGuard::start({farewell_->descriptor()}) : nullptr;
  }
  if (guard_) {
    std::string commands;
    for (const auto& [combination, bound] : bound_) {
      commands += (commands.empty() ? "" : "; ") + unbinding(combination);
    }
    guard_->setLastWords(0, commands.empty() ? std::string() : encoded(Message::runCommand, commands));
  }
}

std::optional<std::string> Bindings::request(const Combination& combination, const Bound& bound) {
  return ipc_->run(fmt::format("bindsym --no-warn {} {}", textOf(combination), bound.command));
}

Compositor::Binding Bindings::bind(const Combination& combination, std::function<void()> pressed) {
  if (textOf(combination).empty() || isTaken(combination)) {
    return textOf(combination).empty() ? Compositor::Binding::refused : Compositor::Binding::taken;
  }
  const std::lock_guard lock(mutex_);
  Bound bound{fmt::format("{} {}", kCommand, ++last_), std::make_shared<std::function<void()>>(std::move(pressed))};
  if (request(combination, bound)) {
    return Compositor::Binding::refused;
  }
  bound_[combination] = std::move(bound);
  guard();
  return Compositor::Binding::bound;
}

void Bindings::release(const Combination& combination) {
  const std::lock_guard lock(mutex_);
  if (bound_.erase(combination) > 0) {
    ipc_->run(unbinding(combination));
    guard();
  }
}

bool Bindings::isTaken(const Combination& combination) {
  const std::lock_guard lock(mutex_);
  if (!configured_) {
    configured_ = readConfiguration();
  }
  return configured_->contains(combination);
}

std::set<Combination> Bindings::readConfiguration() {
  const auto version = ipc_->ask(Message::getVersion);
  const auto configuration = ipc_->ask(Message::getConfiguration);
  const nlohmann::json nothing;
  const std::filesystem::path file = text(version.value_or(nothing), "loaded_config_file_name");
  return boundCombinations(text(configuration.value_or(nothing), "config"), filesBelow(file.parent_path()));
}

void Bindings::ran(const std::string& command) {
  std::shared_ptr<std::function<void()>> pressed;
  {
    const std::lock_guard lock(mutex_);
    for (const auto& [combination, bound] : bound_) {
      pressed = bound.command == command ? bound.pressed : pressed;
    }
  }
  if (pressed) {
    (*pressed)();
  }
}

void Bindings::bindAnew() {
  const std::lock_guard lock(mutex_);
  configured_.reset();
  for (const auto& [combination, bound] : bound_) {
    request(combination, bound);
  }
}

}  // namespace jumplark::sway
