#include "query/commands/CommandQuery.h"

#include <algorithm>

#include "platform/Utf8.h"
#include "query/matching/JLElementNodeScorer.h"
#include "query/text/TextFolding.h"
#include "query/text/Utf.h"

namespace jumplark {
namespace {

using Spellings = CommandTexts::Spellings;

constexpr float kMenuWeight = 0.5F;
/// Of a query of more words than these the first ones are tried.
constexpr size_t kMostParts = 4;

std::u16string_view keep(const std::u16string& text, std::pmr::memory_resource& memory) {
  auto* const units = static_cast<char16_t*>(memory.allocate(text.size() * sizeof(char16_t), alignof(char16_t)));
  text.copy(units, text.size());
  return {units, text.size()};
}

Spellings spellingsOf(const std::string& text, std::pmr::memory_resource& memory) {
  std::vector<std::string> texts = {text};
  if (!isPlainASCIIText(text)) {
    for (std::string other :
         {JLElementNodeScorer::latinQuery(text), foldDiacritics(JLElementNodeScorer::latinQuery(text))}) {
      if (other != texts.back()) {
        texts.push_back(std::move(other));
      }
    }
  }
  auto* const prepared =
      static_cast<PreparedText*>(memory.allocate(texts.size() * sizeof(PreparedText), alignof(PreparedText)));
  for (size_t i = 0; i < texts.size(); ++i) {
    new (prepared + i) PreparedText(PreparedText::prepare(keep(toUTF16(texts[i]), memory), memory));
  }
  return {prepared, texts.size()};
}

float bestOf(Spellings texts, ScoringQuery& query) {
  float best = 0;
  for (const PreparedText& text : texts) {
    best = std::max(best, static_cast<float>(query.score(text)));
  }
  return best;
}

}  // namespace

CommandTexts CommandTexts::prepare(const MenuCommand& command, std::pmr::memory_resource& memory) {
  std::string menus;
  for (size_t i = 0; i + 1 < command.path.size(); ++i) {
    menus += (i > 0 ? " " : "") + command.path[i];
  }
  const std::string& title = command.path.back();
  CommandTexts texts;
  texts.title = spellingsOf(title, memory);
  if (!menus.empty()) {
    texts.menus = spellingsOf(menus, memory);
    texts.whole = spellingsOf(menus + " " + title, memory);
  }
  return texts;
}

CommandQuery::Form::Form(const std::string& text) : whole(toUTF16(text)) {
  for (size_t at = text.find(' '); at != std::string::npos && parts.size() < kMostParts; at = text.find(' ', at + 1)) {
    const std::string menus(trimmed(text.substr(0, at)));
    const std::string title(trimmed(text.substr(at)));
    parts.emplace_back(ScoringQuery(toUTF16(menus)), ScoringQuery(toUTF16(title)));
  }
}

CommandQuery::CommandQuery(const std::string& query) {
  const std::string typed(trimmed(query));
  if (typed.empty()) {
    return;
  }
  forms_.push_back(std::make_unique<Form>(typed));
  const std::string latin = JLElementNodeScorer::latinQuery(typed);
  if (latin != typed && !latin.empty()) {
    forms_.push_back(std::make_unique<Form>(latin));
  }
}

CommandQuery::Reading CommandQuery::bestReading(const CommandTexts& texts) {
  Reading best;
  const auto offer = [&best](const Reading& reading) { best = reading.score > best.score ? reading : best; };
  for (const auto& form : forms_) {
    offer({.score = bestOf(texts.title, form->whole), .title = &form->whole});
    // Of a query that names menus only all that is in one fits alike, and keeps its order.
    offer({.score = kMenuWeight * bestOf(texts.menus, form->whole), .menus = &form->whole});
    offer({.score = kMenuWeight * bestOf(texts.whole, form->whole), .whole = &form->whole});
    for (auto& [forMenus, forTitle] : form->parts) {
      const float title = bestOf(texts.title, forTitle);
      const float menus = title > 0 ? bestOf(texts.menus, forMenus) : 0;
      if (menus > 0) {
        offer({.score = title + kMenuWeight * menus, .menus = &forMenus, .title = &forTitle});
      }
    }
  }
  return best;
}

float CommandQuery::score(const CommandTexts& texts) {
  return bestReading(texts).score;
}

CommandQuery::Places CommandQuery::placesIn(const CommandTexts& texts) {
  const Reading reading = bestReading(texts);
  Places places;
  if (reading.title != nullptr) {
    places.title = reading.title->placesIn(texts.title.front());
  }
  if (reading.menus != nullptr) {
    places.menus = reading.menus->placesIn(texts.menus.front());
  }
  if (reading.whole != nullptr) {
    const size_t titleStart = texts.menus.front().original.size() + 1;
    for (const size_t place : reading.whole->placesIn(texts.whole.front())) {
      place < titleStart ? places.menus.push_back(place) : places.title.push_back(place - titleStart);
    }
  }
  return places;
}

}  // namespace jumplark
