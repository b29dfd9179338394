#include "desktop/support/Applications.h"

#include <algorithm>
#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>

namespace jumplark::desktop {
namespace {

PixelRect rectOf(const nlohmann::json& list) {
  return {list.at(0), list.at(1), list.at(2), list.at(3)};
}

void bringToFront(PrivateSession& session, Process& process, const std::string& name) {
  const auto window = session.waitForWindow([&](const SessionWindow& candidate) {
    return candidate.pid == process.pid() && !candidate.overrideRedirect && candidate.rect.width > 100;
  });
  if (!session.activate(window.id)) {
    throw std::runtime_error(name + " did not come to the front: " + process.err());
  }
}

}  // namespace

DemoProgram::DemoProgram(PrivateSession& session, const std::string& page)
    : session_(session),
      rectsFile_(session.folder() + "/rects.json"),
      process_(session.start({JUMPLARK_DEMO_QT6, "--page", page, "--dump-rects", rectsFile_})) {
  if (!process_.waitForLine("ready")) {
    throw std::runtime_error("the demonstration program did not start: " + process_.err());
  }
  bringToFront(session_, process_, kName);
  if (!waitUntil([&] { return !readApplication(session_, kName).empty(); })) {
    throw std::runtime_error("the demonstration program is not on the accessibility bus");
  }
}

DemoProgram::~DemoProgram() {
  process_.kill(SIGKILL);
  waitUntil([this] {
    return !session_.findWindow([this](const SessionWindow& window) { return window.pid == process_.pid(); });
  });
}

std::vector<DemoPart> DemoProgram::parts() {
  const size_t before = process_.countOfLine("rects-written");
  process_.kill(SIGUSR1);
  if (!waitUntil([&] { return process_.countOfLine("rects-written") > before; })) {
    throw std::runtime_error("the demonstration program did not write its rectangles");
  }
  std::vector<DemoPart> parts;
  for (const nlohmann::json& entry : nlohmann::json::parse(std::ifstream(rectsFile_))) {
    parts.push_back({entry.at("kind"), entry.at("name"), rectOf(entry.at("rect")), entry.at("shown")});
  }
  return parts;
}

std::vector<std::string> DemoProgram::linesBeginning(const std::string& beginning) const {
  std::vector<std::string> result;
  std::stringstream lines(process_.out());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(beginning)) {
      result.push_back(line);
    }
  }
  return result;
}

bool AccessibleElement::is(const std::string& state) const {
  return std::find(states.begin(), states.end(), state) != states.end();
}

std::vector<AccessibleElement> readApplication(PrivateSession& session, const std::string& name, Reading reading) {
  Arguments arguments = {JUMPLARK_ACCESSIBLE_READER, name};
  if (reading == Reading::all) {
    arguments.insert(arguments.begin() + 1, "--all");
  }
  const Finished finished = session.run(arguments);
  std::vector<AccessibleElement> elements;
  if (finished.status == 0) {
    for (const nlohmann::json& entry : nlohmann::json::parse(finished.out)) {
      elements.push_back({entry.at("role"), entry.at("name"), entry.at("description"), entry.at("text"),
                          entry.at("states"), rectOf(entry.at("rect"))});
    }
  }
  return elements;
}

std::optional<AccessibleElement> findElement(const std::vector<AccessibleElement>& elements, const std::string& role,
                                             const std::string& name) {
  for (const AccessibleElement& element : elements) {
    if (element.role == role && element.name == name) {
      return element;
    }
  }
  return std::nullopt;
}

Process& startApplication(PrivateSession& session, const Arguments& arguments, const std::string& name,
                          const std::string& role, const std::string& elementName) {
  Process& process = session.start(arguments);
  bringToFront(session, process, name);
  if (!waitUntil([&] { return findElement(readApplication(session, name), role, elementName).has_value(); })) {
    throw std::runtime_error(name + " shows no " + role + " '" + elementName + "': " + process.err());
  }
  return process;
}

}  // namespace jumplark::desktop
