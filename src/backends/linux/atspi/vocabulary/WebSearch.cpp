#include "backends/linux/atspi/vocabulary/WebSearch.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "backends/linux/atspi/element/Clip.h"
#include "backends/linux/atspi/element/Roles.h"

namespace jumplark::atspi {

namespace {

/// Elements that are looked at where no snapshot holds the document.
constexpr size_t kMostLiveElements = 5000;

struct Request {
  std::set<std::string, std::less<>> keys;
  bool visibleOnly = false;
  int64_t limit = std::numeric_limits<int64_t>::max();

  bool wants(std::string_view key) const { return keys.contains(key); }
};

std::optional<Request> requestFrom(const AttributeValue& parameter) {
  const auto* dictionary = parameter.dictionary();
  if (dictionary == nullptr) {
    return std::nullopt;
  }
  Request request;
  const auto key = dictionary->find("AXSearchKey");
  if (key == dictionary->end()) {
    return std::nullopt;
  }
  if (const auto* one = key->second.text()) {
    request.keys.insert(*one);
  } else if (const auto* list = key->second.list()) {
    for (const auto& entry : *list) {
      if (const auto* text = entry.text()) {
        request.keys.insert(*text);
      }
    }
  }
  if (const auto found = dictionary->find("AXVisibleOnly"); found != dictionary->end()) {
    request.visibleOnly = found->second.boolean() != nullptr && *found->second.boolean();
  }
  if (const auto found = dictionary->find("AXResultsLimit"); found != dictionary->end()) {
    if (const auto* limit = found->second.integer(); limit != nullptr && *limit >= 0) {
      request.limit = *limit;
    }
  }
  return request.keys.empty() ? std::nullopt : std::optional(request);
}

bool isDocument(const ElementFacts& element) {
  return element.role == role::documentWeb || element.role == role::documentEmail;
}

bool isControl(std::string_view axRole, const ElementFacts& element) {
  static const std::set<std::string_view> kControls = {
      "AXButton",    "AXMenuButton", "AXPopUpButton", "AXCheckBox",           "AXRadioButton", "AXComboBox",
      "AXTextField", "AXTextArea",   "AXSlider",      "AXDisclosureTriangle", "AXMenuItem",    "AXMenuBarItem"};
  return kControls.contains(axRole) ||
         (axRole == "AXCell" && (element.is(state::selectable) || element.is(state::focusable)));
}

bool isWanted(const Request& request, std::string_view axRole, const ElementFacts& element) {
  struct KeyOfRole {
    std::string_view axRole;
    std::string_view key;
  };
  static constexpr KeyOfRole kKeys[] = {
      {"AXLink", "AXLinkSearchKey"},           {"AXButton", "AXButtonSearchKey"},
      {"AXMenuButton", "AXButtonSearchKey"},   {"AXPopUpButton", "AXButtonSearchKey"},
      {"AXCheckBox", "AXCheckBoxSearchKey"},   {"AXRadioGroup", "AXRadioGroupSearchKey"},
      {"AXTextField", "AXTextFieldSearchKey"}, {"AXTextArea", "AXTextFieldSearchKey"},
      {"AXImage", "AXGraphicSearchKey"},       {"AXStaticText", "AXStaticTextSearchKey"},
      {"AXCaption", "AXStaticTextSearchKey"},  {"AXTable", "AXTableSearchKey"},
      {"AXOutline", "AXOutlineSearchKey"},     {"AXList", "AXListSearchKey"},
  };
  if (isDocument(element)) {
    return request.wants("AXFrameSearchKey");
  }
  if (request.wants("AXAnyTypeSearchKey") || (request.wants("AXControlSearchKey") && isControl(axRole, element)) ||
      (request.wants("AXHeadingSearchKey") && element.role == role::heading) ||
      (request.wants("AXStaticTextSearchKey") && axRole == "AXCell" && RoleMap::holdsWords(element))) {
    return true;
  }
  return std::any_of(std::begin(kKeys), std::end(kKeys),
                     [&](const KeyOfRole& one) { return one.axRole == axRole && request.wants(one.key); });
}

/// A result whose texts and pictures are its own face.
bool swallowsItsFace(std::string_view axRole) {
  return axRole == "AXLink" || axRole == "AXButton" || axRole == "AXMenuButton" || axRole == "AXStaticText" ||
         axRole == "AXCaption" || axRole == "AXPopUpButton" || axRole == "AXMenuItem" || axRole == "AXMenuBarItem" ||
         axRole == "AXRadioButton" || axRole == "AXCheckBox" || axRole == "AXDisclosureTriangle";
}

class Search {
 public:
  Search(const Subject& area, const Request& request)
      : area_(area), vocabulary_(*area.vocabulary), request_(request), areaPlace_{true, false, false} {
    if (const auto self = vocabulary_.view.get(area.element->ref, facts::identity | facts::extents)) {
      viewport_ = vocabulary_.shape.visibleRect(*self);
    }
  }

  AttributeValue::List results() {
    AttributeValue::List found;
    for (const auto& element : documentElements()) {
      if (static_cast<int64_t>(found.size()) >= request_.limit) {
        break;
      }
      if (element && !(element->ref == area_.element->ref) && take(*element)) {
        found.emplace_back(element->ref);
      }
    }
    return found;
  }

 private:
  /// How an element stands to the document that is searched.
  struct Place {
    bool inside = false;    ///< below the searched document, in no nested one
    bool isFace = false;    ///< below a result whose face it is
    bool isNested = false;  ///< itself a nested document
  };

  std::vector<FactsPointer> documentElements() {
    if (const SnapshotPointer snapshot = vocabulary_.view.snapshotOf(area_.element->ref)) {
      return snapshot->elements();
    }
    std::vector<FactsPointer> all;
    gather(*area_.element, all, 0);
    return all;
  }

  void gather(const ElementFacts& element, std::vector<FactsPointer>& to, int depth) {
    if (depth > ElementTree::kMostAncestors) {
      return;
    }
    constexpr auto kGroups = facts::identity | facts::texts | facts::extents | facts::children;
    for (const auto& child : vocabulary_.view.childrenOf(element, kGroups)) {
      if (to.size() >= kMostLiveElements) {
        return;
      }
      if (child) {
        to.push_back(child);
        gather(*child, to, depth + 1);
      }
    }
  }

  bool take(const ElementFacts& element) {
    const Place above = placeOf(element.parent, 0);
    const std::string_view axRole = vocabulary_.roles.role(element);
    Place& place = places_[element.ref];
    place = {above.inside && !above.isNested, above.isFace, isDocument(element)};
    if (!place.inside || !isWanted(request_, axRole, element) || (request_.visibleOnly && !isVisible(element))) {
      return false;
    }
    if (place.isFace && (axRole == "AXStaticText" || axRole == "AXImage")) {
      return false;
    }
    place.isFace = place.isFace || (swallowsItsFace(axRole) && !RoleMap::holdsWords(element));
    return true;
  }

  bool isVisible(const ElementFacts& element) const {
    return vocabulary_.shape.isShowing(element) && element.extents && isEnoughInSight(*element.extents, viewport_);
  }

  /// Elements that are no result themselves pass on what their own parent is; a snapshot may leave such parents out.
  Place placeOf(const ElementRef& element, int depth) {
    if (element == area_.element->ref) {
      return areaPlace_;
    }
    if (const auto known = places_.find(element); known != places_.end()) {
      return known->second;
    }
    const auto read = depth < ElementTree::kMostAncestors ? vocabulary_.view.get(element, facts::identity) : nullptr;
    Place place;
    if (read && read->role != role::application) {
      const Place above = placeOf(read->parent, depth + 1);
      place = {above.inside && !above.isNested, above.isFace, isDocument(*read)};
    }
    places_.emplace(element, place);
    return place;
  }

  const Subject& area_;
  const Vocabulary& vocabulary_;
  const Request& request_;
  Place areaPlace_;
  Rect viewport_ = Rect::null();
  std::unordered_map<ElementRef, Place, ElementRefHash> places_;
};

}  // namespace

AccessibilityResult<AttributeValue> searchWebArea(const Subject& webArea, const AttributeValue& parameter) {
  const auto request = requestFrom(parameter);
  if (!request) {
    return AccessibilityError::illegalArgument;
  }
  return AttributeValue(Search(webArea, *request).results());
}

}  // namespace jumplark::atspi
