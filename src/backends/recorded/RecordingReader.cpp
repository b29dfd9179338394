#include "backends/recorded/RecordingReader.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "backends/recorded/MenuCommandJson.h"
#include "backends/recorded/RecordedValues.h"
#include "platform/Texts.h"
#include "platform/Workspace.h"

namespace jumplark {
namespace {

using nlohmann::json;

constexpr size_t kDeepestNesting = 100;

bool isInt32(const json& v) {
  return v.is_number_integer() && v.get<double>() >= std::numeric_limits<int32_t>::min() &&
         v.get<double>() <= std::numeric_limits<int32_t>::max();
}

bool isNumbers(const json& v, size_t count) {
  return v.is_array() && v.size() == count &&
         std::all_of(v.begin(), v.end(), [](const json& entry) { return entry.is_number(); });
}

/// Members beginning with an underscore, and "comment", are for people.
bool isRemark(const std::string& name) {
  return name.starts_with('_') || name == "comment";
}

}  // namespace

RecordingReader::RecordingReader(std::string_view text, std::string sourceName)
    : text_(text), sourceName_(std::move(sourceName)) {}

RecordedDesktop RecordingReader::read() {
  if (!json::sax_parse(text_.begin(), text_.end(), this)) {
    fail(localized("not a recording"));
  }
  checkReferences();
  chooseDefaults();
  return std::move(desktop_);
}

RecordingReader::Place RecordingReader::place() const {
  if (!capture_.empty()) {
    return Place::inside;
  }
  if (depth_ == 0) {
    return Place::file;
  }
  return inElements_ ? Place::element : Place::member;
}

bool RecordingReader::key(string_t& name) {
  switch (place()) {
    case Place::inside:
      captureKey_ = std::move(name);
      break;
    case Place::element:
      elementId_ = std::move(name);
      break;
    default:
      memberName_ = std::move(name);
      if (!membersSeen_.insert(memberName_).second) {
        fail(localizedFormat("\"{}\" occurs twice", memberName_));
      }
  }
  return true;
}

bool RecordingReader::value(json v) {
  const Place where = place();
  if (where == Place::inside) {
    insert(std::move(v));
  } else {
    finish(where, v);
  }
  return true;
}

bool RecordingReader::open(json container) {
  const Place where = place();
  const bool isObject = container.is_object();
  if (++depth_ > kDeepestNesting) {
    fail(localizedFormat("nested more than {} levels deep", kDeepestNesting));
  }
  if (where == Place::file && !isObject) {
    fail(localized("must be an object"));
  }
  if (where == Place::member && memberName_ == "elements" && isObject) {
    inElements_ = true;
  } else if (where == Place::inside) {
    capture_.push_back(&insert(std::move(container)));
  } else if (where != Place::file) {
    captured_ = std::move(container);
    capture_.push_back(&captured_);
  }
  return true;
}

bool RecordingReader::close() {
  --depth_;
  if (!capture_.empty()) {
    capture_.pop_back();
    if (capture_.empty()) {
      finish(place(), captured_);
    }
  } else {
    inElements_ = false;
  }
  return true;
}

json& RecordingReader::insert(json v) {
  json& container = *capture_.back();
  if (container.is_object()) {
    return container[captureKey_] = std::move(v);
  }
  container.push_back(std::move(v));
  return container.back();
}

void RecordingReader::finish(Place where, const json& v) {
  if (where == Place::file) {
    fail(localized("must be an object"));
  }
  if (where == Place::member) {
    readMember(v);
  } else {
    readElement(v);
  }
}

void RecordingReader::readMember(const json& v) {
  if (memberName_ == "screens") {
    readScreens(v);
  } else if (memberName_ == "pointer") {
    if (!isNumbers(v, 2)) {
      fail(localized("\"pointer\" must be a list of 2 numbers"));
    }
    desktop_.pointer = {v[0].get<double>(), v[1].get<double>()};
  } else if (memberName_ == "frontmost") {
    if (!v.is_null() && !isInt32(v)) {
      fail(localized("\"frontmost\" must be a process id"));
    }
    desktop_.frontmost = v.is_null() ? std::nullopt : std::optional(v.get<int32_t>());
  } else if (memberName_ == "applications") {
    readApplications(v);
  } else if (memberName_ == "dock") {
    if (!v.is_null() && !v.is_string()) {
      fail(localized("\"dock\" must be a bundle identifier"));
    }
    desktop_.dockBundleIdentifier = v.is_null() ? std::nullopt : std::optional(v.get<std::string>());
  } else if (memberName_ == "hits") {
    readHits(v);
  } else if (memberName_ == "elements") {
    fail(localized("\"elements\" must be an object"));
  } else if (!isRemark(memberName_)) {
    desktop_.warnings.push_back(localizedFormat("unknown member \"{}\"", memberName_));
  }
}

void RecordingReader::readScreens(const json& v) {
  if (!v.is_array()) {
    fail(localized("\"screens\" must be a list of rectangles"));
  }
  for (const json& screen : v) {
    if (!isNumbers(screen, 4)) {
      fail(localized("each of \"screens\" must be a list of 4 numbers"));
    }
    desktop_.screens.push_back(
        {screen[0].get<double>(), screen[1].get<double>(), screen[2].get<double>(), screen[3].get<double>()});
  }
}

void RecordingReader::readApplications(const json& v) {
  if (!v.is_array()) {
    fail(localized("\"applications\" must be a list"));
  }
  for (const json& entry : v) {
    const std::string where = localizedFormat("application {}", desktop_.applications.size() + 1);
    RecordedApplication read = application(entry, where);
    const bool known = std::any_of(desktop_.applications.begin(), desktop_.applications.end(),
                                   [&](const RecordedApplication& other) { return other.pid == read.pid; });
    if (known) {
      fail(localizedFormat("{}: another application has the \"pid\" {} already", where, read.pid));
    }
    desktop_.applications.push_back(std::move(read));
  }
}

RecordedApplication RecordingReader::application(const json& v, const std::string& where) {
  if (!v.is_object() || !v.contains("pid")) {
    fail(localizedFormat("{}: must be an object with a \"pid\"", where));
  }
  RecordedApplication result;
  for (const auto& [name, member] : v.items()) {
    if (name == "pid") {
      if (!isInt32(member)) {
        fail(localizedFormat("{}: \"pid\" must be a process id", where));
      }
      result.pid = member.get<int32_t>();
    } else if (name == "bundle_id" || name == "name" || name == "element") {
      if (!member.is_string()) {
        fail(localizedFormat("{}: \"{}\" must be a text", where, name));
      }
      const auto& text = member.get_ref<const std::string&>();
      if (name == "element") {
        result.element = reference(text, [&] { return where; });
      } else {
        (name == "name" ? result.name : result.bundleIdentifier) = text;
      }
    } else if (name == "menus") {
      try {
        result.menus = menu_command_json::fromJson(member);
      } catch (const std::invalid_argument& error) {
        fail(fmt::format("{}: {}", where, error.what()));
      }
    } else if (!isRemark(name)) {
      desktop_.warnings.push_back(localizedFormat("{}: unknown member \"{}\"", where, name));
    }
  }
  return result;
}

void RecordingReader::readHits(const json& v) {
  const auto isHit = [](const json& hit) {
    return hit.is_array() && hit.size() == 3 && hit[0].is_number() && hit[1].is_number() &&
           (hit[2].is_string() || hit[2].is_null());
  };
  if (!v.is_array() || !std::all_of(v.begin(), v.end(), isHit)) {
    fail(localized("\"hits\" must be a list of [x, y, element id]"));
  }
  for (const json& hit : v) {
    ElementRef element =
        hit[2].is_null() ? ElementRef() : reference(hit[2].get_ref<const std::string&>(), [] { return "\"hits\""; });
    desktop_.hits.push_back(
        {static_cast<float>(hit[0].get<double>()), static_cast<float>(hit[1].get<double>()), std::move(element)});
  }
}

void RecordingReader::readElement(const json& v) {
  if (!v.is_object()) {
    fail(localizedFormat("{}: must be an object", elementPlace()));
  }
  if (const RecordedElement* known = desktop_.elements.find(std::string_view(elementId_)); known && known->present) {
    fail(localizedFormat("{}: occurs twice", elementPlace()));
  }
  missing_.erase(elementId_);
  RecordedElement element;
  for (const auto& [name, member] : v.items()) {
    if (name == "attributes") {
      readAttributes(element, member);
    } else if (name == "parameterized") {
      readParameterized(element, member);
    } else if (name == "actions") {
      const auto isText = [](const json& action) { return action.is_string(); };
      if (!member.is_array() || !std::all_of(member.begin(), member.end(), isText)) {
        fail(localizedFormat("{}: \"actions\" must be a list of texts", elementPlace()));
      }
      element.actions = member.get<std::vector<std::string>>();
    } else if (name == "error") {
      if (!isInt32(member) || member.get<int32_t>() == 0) {
        fail(localizedFormat("{}: \"error\" must be a whole number other than 0", elementPlace()));
      }
      element.error = static_cast<AccessibilityError>(member.get<int32_t>());
    } else if (name == "delay_ms") {
      if (!member.is_number() || member.get<double>() < 0) {
        fail(localizedFormat("{}: \"delay_ms\" must be a number of milliseconds", elementPlace()));
      }
      element.delayMilliseconds = member.get<double>();
    } else if (!isRemark(name)) {
      desktop_.warnings.push_back(localizedFormat("{}: unknown member \"{}\"", elementPlace(), name));
    }
  }
  // Only now: a reference inside the element may have made the store grow.
  RecordedElement& defined = desktop_.elements.define(elementId_);
  element.ref = defined.ref;
  element.present = true;
  defined = std::move(element);
}

void RecordingReader::readAttributes(RecordedElement& element, const json& v) {
  if (!v.is_object()) {
    fail(localizedFormat("{}: \"attributes\" must be an object", elementPlace()));
  }
  element.attributes.reserve(v.size());
  for (const auto& [name, member] : v.items()) {
    const auto where = [&, &attribute = name] { return elementPlace(attribute); };
    try {
      desktop_.elements.setAttribute(element, name, recorded_values::fromJson(member, [&](const std::string& id) {
                                       return reference(id, where);
                                     }));
    } catch (const std::invalid_argument& error) {
      fail(fmt::format("{}: {}", where(), error.what()));
    }
  }
}

void RecordingReader::readParameterized(RecordedElement& element, const json& v) {
  if (!v.is_object()) {
    fail(localizedFormat("{}: \"parameterized\" must be an object", elementPlace()));
  }
  for (const auto& [name, member] : v.items()) {
    const auto where = [&, &attribute = name] { return elementPlace(attribute); };
    try {
      desktop_.elements.setAnswers(element, name, answers(member, where));
    } catch (const std::invalid_argument& error) {
      fail(fmt::format("{}: {}", where(), error.what()));
    }
  }
}

std::vector<RecordedAnswer> RecordingReader::answers(const json& v, const PlaceText& where) {
  const auto makeReference = [&](const std::string& id) { return reference(id, where); };
  std::vector<RecordedAnswer> result;
  if (!v.is_array()) {
    throw std::invalid_argument(localized("must be a list of objects with \"when\" and \"value\""));
  }
  for (const json& entry : v) {
    if (!entry.is_object() || !entry.contains("value")) {
      throw std::invalid_argument(localized("each entry must be an object with a \"value\""));
    }
    RecordedAnswer answer;
    if (entry.contains("when")) {
      answer.when = recorded_values::conditionFromJson(entry["when"], makeReference);
    }
    answer.value = recorded_values::fromJson(entry["value"], makeReference);
    result.push_back(std::move(answer));
  }
  return result;
}

void RecordingReader::checkReferences() const {
  if (!missing_.empty()) {
    const auto& [id, where] = *missing_.begin();
    fail(localizedFormat("{}: refers to \"{}\", which is not among the elements", where, id));
  }
}

void RecordingReader::chooseDefaults() {
  const auto& applications = desktop_.applications;
  if (!membersSeen_.contains("dock")) {
    desktop_.dockBundleIdentifier = kDockBundleIdentifier;
  }
  if (!membersSeen_.contains("frontmost")) {
    const auto first = std::find_if(applications.begin(), applications.end(), [&](const RecordedApplication& other) {
      return !desktop_.dockBundleIdentifier || other.bundleIdentifier != *desktop_.dockBundleIdentifier;
    });
    if (first != applications.end()) {
      desktop_.frontmost = first->pid;
    }
  }
}

ElementRef RecordingReader::reference(const std::string& id, const PlaceText& where) {
  ElementRef ref = desktop_.elements.mention(id);
  const bool mayBeMissing = id != elementId_ || !inElements_;
  if (mayBeMissing && !desktop_.elements.find(ref)->present) {
    if (!missing_.contains(id)) {
      missing_.emplace(id, where());
    }
  }
  return ref;
}

bool RecordingReader::parse_error(size_t position, const std::string& /*token*/, const json::exception& /*error*/) {
  const std::string_view before = text_.substr(0, std::min(position, text_.size()));
  const auto line = std::count(before.begin(), before.end(), '\n') + 1;
  const size_t lastBreak = before.rfind('\n');
  const size_t column = lastBreak == std::string_view::npos ? before.size() : before.size() - lastBreak - 1;
  const bool isAtEnd = position >= text_.size();
  fail(isAtEnd ? localizedFormat("line {}, column {}: the file ends too early", line, std::max<size_t>(column, 1))
               : localizedFormat("line {}, column {}: this is no JSON", line, std::max<size_t>(column, 1)));
}

void RecordingReader::fail(const std::string& message) const {
  throw RecordingError(fmt::format("{}: {}", sourceName_, message));
}

std::string RecordingReader::elementPlace(const std::string& attribute) const {
  return attribute.empty() ? localizedFormat("element \"{}\"", elementId_)
                           : localizedFormat("element \"{}\", attribute \"{}\"", elementId_, attribute);
}

}  // namespace jumplark
