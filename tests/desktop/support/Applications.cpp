#include "desktop/support/Applications.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace jumplark::desktop {

bool AccessibleElement::is(const std::string& state) const {
  return std::ranges::find(states, state) != states.end();
}

std::vector<AccessibleElement> AccessibleApplication::elements() const {
  const Finished finished = session_.run({JUMPLARK_ACCESSIBLE_READER, name_});
  std::vector<AccessibleElement> elements;
  if (finished.status == 0) {
    for (const nlohmann::json& entry : nlohmann::json::parse(finished.out)) {
      const nlohmann::json& rect = entry.at("rect");
      elements.push_back({entry.at("role"),
                          entry.at("name"),
                          entry.at("description"),
                          entry.at("text"),
                          entry.at("states"),
                          {rect.at(0), rect.at(1), rect.at(2), rect.at(3)}});
    }
  }
  return elements;
}

std::optional<AccessibleElement> AccessibleApplication::find(const std::string& role, const std::string& name) const {
  const std::vector<AccessibleElement> all = elements();
  const auto last = std::find_if(all.rbegin(), all.rend(), [&](const AccessibleElement& element) {
    return element.role == role && element.name.starts_with(name);
  });
  return last == all.rend() ? std::nullopt : std::optional(*last);
}

AccessibleElement AccessibleApplication::waitFor(const std::string& role, const std::string& name) const {
  std::optional<AccessibleElement> found;
  if (!waitUntil([&] { return (found = find(role, name)).has_value(); })) {
    std::ostringstream there;
    for (const AccessibleElement& element : elements()) {
      there << '\n' << element.role << " '" << element.name << "' " << element.rect;
    }
    throw std::runtime_error(name_ + " shows no " + role + " '" + name + "', but" + there.str());
  }
  return *found;
}

bool AccessibleApplication::waitForState(const std::string& role, const std::string& name, const std::string& state,
                                         bool is, Milliseconds limit) const {
  return waitUntil(
      [&] {
        const auto found = find(role, name);
        return found && found->is(state) == is;
      },
      limit);
}

bool AccessibleApplication::waitUntilGone(const std::string& role, const std::string& name) const {
  return waitUntil([&] { return !shows(role, name); });
}

void AccessibleApplication::click(const std::string& role, const std::string& name) {
  // A window is told its final place a moment after it shows.
  AccessibleElement element = waitFor(role, name);
  waitUntil([&] {
    const PixelRect before = element.rect;
    element = waitFor(role, name);
    return element.rect == before && session_.hasWindow([&](const SessionWindow& window) {
      return window.id == session_.activeWindow() && window.rect.contains(before.x, before.y);
    });
  });
  session_.click(element.rect);
}

Process& startProgram(PrivateSession& session, const Program& program) {
  Process& process = session.start(program.command, program.environment);
  const SessionWindow window = session.waitForWindow([&](const SessionWindow& candidate) {
    return program.title.empty()
               ? candidate.pid == process.pid() && !candidate.overrideRedirect && candidate.rect.width > 100
               : candidate.title.starts_with(program.title);
  });
  if (!program.role.empty()) {
    AccessibleApplication(session, program.busName).waitFor(program.role, program.element);
  }
  // A dialog of its own that is in front stays there.
  if (!isInFront(session, process) && !session.activate(window.id)) {
    throw std::runtime_error(program.busName + " did not come to the front: " + process.err());
  }
  return process;
}

bool isInFront(const PrivateSession& session, const Process& process) {
  return session.hasWindow([&](const SessionWindow& window) {
    return window.pid == process.pid() && !window.overrideRedirect && window.id == session.activeWindow();
  });
}

}  // namespace jumplark::desktop
