#include "backends/linux/atspi/reading/TextReading.h"

#include <algorithm>
#include <utility>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/element/FactsWorthReading.h"
#include "platform/Utf8.h"

namespace jumplark::atspi {
namespace {

/// How far inside the corners to ask, so that a border or a margin is not hit.
constexpr double kInset = 3;

struct Corners {
  int32_t first = -1;
  int32_t last = -1;
};

bool isWhole(const TextFacts& text) {
  return text.count >= 0 && text.holds(0, text.count) && text.fetchedEnd == text.count;
}

void askCount(TypedBatch& batch, TextRequest& request) {
  if (const AtspiHandle* handle = handleOf(request.element)) {
    batch.add<int32_t>(calls::characterCount(*handle),
                       [&request](int32_t& count) { request.answer.count = std::max(count, 0); });
  }
}

/// One character more than a short text has, to tell whether there is more.
void askAtOnce(TypedBatch& batch, TextRequest& request) {
  if (const AtspiHandle* handle = handleOf(request.element)) {
    batch.add<std::string>(calls::text(*handle, 0, static_cast<int32_t>(kShortText + 1)),
                           [&request](std::string& text) {
                             const int64_t count = codePointCount(text);
                             // Programs that draw entries of their own say nothing where more was asked for than there
                             // is.
                             if (count > 0 && count <= kShortText) {
                               request.answer = {count, 0, count, 0, count, std::move(text)};
                             }
                           });
  }
}

std::vector<Corners> readCorners(CallRunner& runner, const std::vector<TextRequest>& requests, TimePoint deadline) {
  std::vector<Corners> corners(requests.size());
  TypedBatch batch;
  for (size_t i = 0; i < requests.size(); ++i) {
    const TextRequest& request = requests[i];
    const bool long_ = request.answer.count > kShortText;
    if (!request.visible || request.answer.count <= 0 || !(request.multiLine || long_)) {
      continue;
    }
    const Rect& r = *request.visible;
    const double inset = std::min({kInset, r.width / 2, r.height / 2});
    const auto left = static_cast<int32_t>(r.minX() + inset);
    const auto top = static_cast<int32_t>(r.minY() + inset);
    const auto right = static_cast<int32_t>(r.maxX() - inset);
    const auto bottom = static_cast<int32_t>(r.maxY() - inset);
    const AtspiHandle& handle = *handleOf(request.element);
    batch.add<int32_t>(calls::offsetAtPoint(handle, left, top), [&, i](int32_t& at) { corners[i].first = at; });
    batch.add<int32_t>(calls::offsetAtPoint(handle, right, bottom), [&, i](int32_t& at) { corners[i].last = at; });
  }
  batch.run(runner, deadline);
  return corners;
}

void decideRange(TextRequest& request, const Corners& corners) {
  TextFacts& text = request.answer;
  const bool known = corners.first >= 0 && corners.first < text.count;
  text.visibleStart = known ? corners.first : 0;
  text.visibleEnd =
      corners.last >= text.visibleStart ? std::min<int64_t>(corners.last + int64_t{1}, text.count) : text.count;
  text.visibleEnd = std::min(text.visibleEnd, text.visibleStart + kLongestPart);
  const bool whole = text.count <= kShortText;
  text.fetchedStart = whole ? 0 : text.visibleStart;
  text.fetchedEnd = whole ? text.count : text.visibleEnd;
}

}  // namespace

TextRequest textRequestOf(const ElementFacts& element, const Toolkit& toolkit, const std::optional<Rect>& visible,
                          Point offset) {
  TextRequest request;
  request.element = element.ref;
  request.multiLine = element.is(state::multiLine);
  request.atOnce = !request.multiLine && isTextEntry(element) && toolkit.endsTextsItself();
  if (visible && toolkit.tellsCharacterAtPoint()) {
    request.visible = Rect{visible->x - offset.x, visible->y - offset.y, visible->width, visible->height};
  }
  return request;
}

void TextReader::begin(CallRunner& runner, std::vector<TextRequest>& requests, TimePoint deadline) {
  for (TextRequest& request : requests) {
    if (request.atOnce) {
      askAtOnce(first_, request);
    } else {
      askCount(first_, request);
    }
  }
  first_.start(runner, deadline);
}

void TextReader::finish(CallRunner& runner, std::vector<TextRequest>& requests, TimePoint deadline) {
  first_.finish();
  TypedBatch counts;
  for (TextRequest& request : requests) {
    if (request.atOnce && !isWhole(request.answer)) {
      askCount(counts, request);
    }
  }
  counts.run(runner, deadline);
  const std::vector<Corners> corners = readCorners(runner, requests, deadline);
  TypedBatch batch;
  for (size_t i = 0; i < requests.size(); ++i) {
    TextRequest& request = requests[i];
    if (request.answer.count <= 0 || isWhole(request.answer)) {
      continue;
    }
    decideRange(request, corners[i]);
    batch.add<std::string>(
        calls::text(*handleOf(request.element), static_cast<int32_t>(request.answer.fetchedStart),
                    static_cast<int32_t>(request.answer.fetchedEnd)),
        [&request](std::string& text) { request.answer.fetched = std::move(text); },
        [&request](AccessibilityError) { request.answer = TextFacts{}; });
  }
  batch.run(runner, deadline);
}

void readTexts(CallRunner& runner, std::vector<TextRequest>& requests, TimePoint deadline) {
  TextReader reader;
  reader.begin(runner, requests, deadline);
  reader.finish(runner, requests, deadline);
}

}  // namespace jumplark::atspi
