#include "accessibility/JLElementAttributeExtractor.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "accessibility/JLElement.h"

namespace jumplark {
namespace {

using Entry = JLElementAttributeExtractor::Entry;
using AttributeList = JLElementAttributeExtractor::AttributeList;

AttributeList plainNames(std::initializer_list<const char*> names) {
  AttributeList list;
  for (const char* name : names) {
    list.push_back({name, nullptr});
  }
  return list;
}

std::optional<std::string> titleOfMenuBarItem(const JLElement& element) {
  if (auto own = element.title(); own && !own->empty()) {
    return own;
  }
  const auto parent = element.parent();
  const auto grandparent = parent ? parent->parent() : nullptr;
  return grandparent ? grandparent->title() : std::nullopt;
}

std::map<std::string, AttributeList> makeMapping() {
  std::map<std::string, AttributeList> mapping;
  mapping["AXTextField"] = plainNames({"AXValue", "AXPlaceholderValue", "AXDescription"});
  mapping["AXStaticText"] = plainNames({"AXValue"});
  mapping["AXTextArea"] = {{"AXVisibleText", [](const JLElement& element) { return element.visibleText(); }}};
  mapping["AXLink"] = plainNames({"AXTitle", "AXDescription"});
  mapping["AXRadioButton"] = plainNames({"AXTitle", "AXDescription", "AXHelp"});
  mapping["AXSearchField"] = plainNames({"AXRoleDescription"});
  mapping["AXMenuBarItem"] = plainNames({"AXDescription", "AXHelp"});
  mapping["AXMenuBarItem"].insert(mapping["AXMenuBarItem"].begin(), {"AXTitle", titleOfMenuBarItem});
  mapping["AXMenuButton"] = plainNames({"AXTitle", "AXDescription"});
  return mapping;
}

/// The combined list of a role and a subrole, with its plain names picked out once: every element of a snapshot asks.
struct Plan {
  AttributeList list;
  std::vector<std::string> plainNames;
};

std::shared_ptr<const Plan> makePlan(const std::string& role, const std::optional<std::string>& subrole) {
  auto plan = std::make_shared<Plan>();
  plan->list = JLElementAttributeExtractor::usefulAttributeNamesForRole(role);
  if (subrole) {
    const AttributeList more = JLElementAttributeExtractor::usefulAttributeNamesForRole(subrole);
    plan->list.insert(plan->list.end(), more.begin(), more.end());
  }
  plan->plainNames = JLElementAttributeExtractor::filterUsableAttributeValues(plan->list);
  return plan;
}

/// Roles come from applications, so their number is not ours to bound: beyond this many, plans are made afresh.
constexpr size_t kMostPlansKept = 1024;

std::shared_ptr<const Plan> planFor(const std::string& role, const std::optional<std::string>& subrole) {
  static std::mutex mutex;
  static std::unordered_map<std::string, std::shared_ptr<const Plan>> plans;
  const std::string key = subrole ? role + '\n' + *subrole : role;
  {
    const std::lock_guard lock(mutex);
    if (const auto known = plans.find(key); known != plans.end()) {
      return known->second;
    }
  }
  auto plan = makePlan(role, subrole);
  const std::lock_guard lock(mutex);
  if (plans.size() < kMostPlansKept) {
    plans.emplace(key, plan);
  }
  return plan;
}

AttributeValue::List fetch(const AttributeList& list, const std::vector<std::string>& names, const JLElement& element) {
  AttributeValue::List values = element.getMultipleAttributes(names);
  for (const Entry& entry : list) {
    if (!entry.isPlainName()) {
      values.emplace_back(entry.compute(element).value_or(""));
    }
  }
  return values;
}

}  // namespace

const AttributeList& JLElementAttributeExtractor::defaultAttributeList() {
  static const AttributeList list = plainNames({"AXTitle", "AXValue", "AXDescription"});
  return list;
}

const std::map<std::string, AttributeList>& JLElementAttributeExtractor::usefulAttributeMapping() {
  static const std::map<std::string, AttributeList> mapping = makeMapping();
  return mapping;
}

AttributeList JLElementAttributeExtractor::usefulAttributeNamesForRole(const std::optional<std::string>& role) {
  if (role) {
    const auto& mapping = usefulAttributeMapping();
    if (const auto entry = mapping.find(*role); entry != mapping.end()) {
      return entry->second;
    }
  }
  return defaultAttributeList();
}

std::vector<std::string> JLElementAttributeExtractor::filterUsableAttributeValues(const AttributeList& list) {
  std::vector<std::string> names;
  for (const Entry& entry : list) {
    if (entry.isPlainName()) {
      names.push_back(entry.name);
    }
  }
  return names;
}

AttributeValue::List JLElementAttributeExtractor::fetchUsableAttributesForElement(const AttributeList& list,
                                                                                  const JLElement& element) {
  return fetch(list, filterUsableAttributeValues(list), element);
}

AttributeValue::List JLElementAttributeExtractor::usefulAttributesForElement(const JLElement& element) {
  const auto plan = planFor(element.role(), element.subrole());
  return fetch(plan->list, plan->plainNames, element);
}

JLElementAttributeExtractor::AttributesDictionary JLElementAttributeExtractor::attributesDictionaryForElement(
    const JLElement& element) {
  const auto plan = planFor(element.role(), element.subrole());
  AttributeValue::List values = fetch(plan->list, plan->plainNames, element);
  AttributesDictionary dictionary;
  if (values.size() != plan->list.size()) {
    return dictionary;
  }
  dictionary.reserve(values.size());
  for (size_t i = 0; i < values.size(); ++i) {
    const std::string& key = plan->list[i].name;
    const auto earlier =
        std::find_if(dictionary.begin(), dictionary.end(), [&key](const auto& entry) { return entry.first == key; });
    if (earlier != dictionary.end()) {
      earlier->second = std::move(values[i]);
    } else {
      dictionary.emplace_back(key, std::move(values[i]));
    }
  }
  return dictionary;
}

}  // namespace jumplark
