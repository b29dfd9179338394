#include "backends/linux/atspi/toolkits/QtNumbers.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <string>
#include <string_view>

#include "backends/linux/atspi/bus/AtspiCalls.h"
#include "backends/linux/atspi/bus/TypedBatch.h"
#include "backends/linux/atspi/element/Roles.h"
#include "backends/linux/atspi/reading/Snapshot.h"

namespace jumplark::atspi {
namespace {

constexpr std::string_view kFolder = "/org/a11y/atspi/accessible/";
constexpr int64_t kFirst = int64_t{1} << 31;
/// So many are asked at once, which takes some milliseconds.
constexpr int64_t kBlock = 256;

int64_t numberOf(const ElementRef& element) {
  const AtspiHandle* handle = handleOf(element);
  int64_t number = 0;
  if (handle && handle->path().starts_with(kFolder)) {
    const std::string_view digits = std::string_view(handle->path()).substr(kFolder.size());
    std::from_chars(digits.data(), digits.data() + digits.size(), number);
  }
  return number;
}

int64_t highestKnown(const ElementRef& frame, const Snapshot* last) {
  int64_t highest = std::max(numberOf(frame), kFirst);
  if (last) {
    for (const ElementTree::Node& node : last->tree.nodes()) {
      highest = std::max(highest, numberOf(node.facts->ref));
    }
  }
  return highest;
}

struct Block {
  bool isEmpty = true;
  std::vector<ElementRef> menus;  ///< whether they show or not
};

Block readBlock(CallRunner& runner, const std::string& busName, int64_t first, TimePoint deadline) {
  Block block;
  TypedBatch batch;
  for (int64_t number = std::max(first, kFirst); number < first + kBlock; ++number) {
    const ElementRef element = makeRef(busName, fmt::format("{}{}", kFolder, number));
    batch.add<uint32_t>(calls::role(*handleOf(element)), [&block, element](uint32_t& role) {
      block.isEmpty = block.isEmpty && role == role::invalid;
      if (role == role::popupMenu) {
        block.menus.push_back(element);
      }
    });
  }
  batch.run(runner, deadline);
  return block;
}

std::vector<ElementRef> thoseThatShowForThemselves(CallRunner& runner, const std::vector<ElementRef>& menus,
                                                   TimePoint deadline) {
  std::vector<char> shows(menus.size());
  std::vector<char> isOwn(menus.size());
  TypedBatch batch;
  for (size_t i = 0; i < menus.size(); ++i) {
    const AtspiHandle& menu = *handleOf(menus[i]);
    batch.add<uint64_t>(calls::states(menu), [&shows, i](uint64_t& states) {
      shows[i] = (states >> static_cast<unsigned>(state::showing) & 1U) != 0 ? 1 : 0;
    });
    batch.add<ElementRef>(calls::parent(menu), [&isOwn, i](ElementRef& parent) {
      isOwn[i] = handleOf(parent) && handleOf(parent)->path() == calls::kRootPath ? 1 : 0;
    });
  }
  batch.run(runner, deadline);
  std::vector<ElementRef> found;
  for (size_t i = 0; i < menus.size(); ++i) {
    if (shows[i] != 0 && isOwn[i] != 0) {
      found.push_back(menus[i]);
    }
  }
  return found;
}

}  // namespace

std::vector<ElementRef> unlistedMenus(CallRunner& runner, const ElementRef& frame, const Snapshot* last,
                                      TimePoint deadline) {
  if (!handleOf(frame)) {
    return {};
  }
  const int64_t highest = highestKnown(frame, last);
  // Upwards for as long as there is something, since more was made since; then what was made before.
  bool isUpwards = true;
  int64_t first = highest - kBlock / 2;
  while (first + kBlock > kFirst && Clock::now() < deadline) {
    const Block block = readBlock(runner, handleOf(frame)->busName(), first, deadline);
    auto found = thoseThatShowForThemselves(runner, block.menus, deadline);
    if (!found.empty()) {
      return found;
    }
    isUpwards = isUpwards && !block.isEmpty;
    first = isUpwards ? first + kBlock : std::min(first, highest - kBlock / 2) - kBlock;
  }
  return {};
}

}  // namespace jumplark::atspi
