#include "query/engine/CommandSearch.h"

#include <map>

#include "platform/Input.h"
#include "platform/Platform.h"
#include "platform/Texts.h"
#include "query/commands/CommandDescription.h"
#include "query/engine/ActivationState.h"
#include "query/engine/CommandActions.h"
#include "query/engine/JLQueryWindowController.h"
#include "query/engine/QueryPipeline.h"
#include "selection/JLElementSelectionController.h"

namespace jumplark {

CommandSearch::CommandSearch(const Parts& parts, MainThreadCalls& mainThread)
    : parts_(parts), commands_(mainThread, [this](bool isOther) { commandsChanged(isOther); }) {
  tokens_.push_back(parts_.state.isActive.observe().subscribe([this](bool isActive) { activeChanged(isActive); }));
  tokens_.push_back(parts_.pipeline.query().observe().subscribe([this](const std::string&) { queryChanged(); }));
  tokens_.push_back(parts_.pipeline.isCollecting().observe().subscribe([this](bool) { matchingChanged(); }));
}

CommandSearch::~CommandSearch() = default;

void CommandSearch::activeChanged(bool isActive) {
  commands_.stop();
  if (const auto application = parts_.state.currentApp.value(); isActive && application) {
    commands_.keepOnly(application->pid);
  }
  if (Menus* const menus = Platform::current().menus; menus != nullptr && !isActive) {
    menus->forgetOpen();
  }
  activation_ = isActive ? parts_.state.number.load() : 0;
  snapshotOfMenus_.reset();
  searched_.reset();
  list_.replace({});
  wanted_ = Wanted::ifNothingMatches;
  passesOverOpenMenu_ = actsWhenRead_ = isInsteadOfElements_ = false;
  parts_.pipeline.setElementsWanted(true);
  isShown_.set(false);
  isWaited_.set(false);
}

void CommandSearch::queryChanged() {
  if (!parts_.state.isCurrent(activation_)) {
    return;
  }
  wanted_ = wanted_ == Wanted::never ? Wanted::ifNothingMatches : wanted_;
  actsWhenRead_ = false;
  decide();
}

void CommandSearch::matchingChanged() {
  const auto application = parts_.state.currentApp.value();
  if (!parts_.state.isCurrent(activation_) || !application) {
    return;
  }
  const bool isDelivered = !parts_.pipeline.isCollecting().value();
  if (isDelivered && snapshotOfMenus_ != parts_.pipeline.snapshotNumber()) {
    snapshotOfMenus_ = parts_.pipeline.snapshotNumber();
    commands_.read(application->pid);
    if (commands_.index().size() == 0) {
      // Of another process than before; the list has numbers of what is forgotten.
      searched_.reset();
      list_.replace({});
    }
  }
  decide();
}

void CommandSearch::commandsChanged(bool isOther) {
  if (searched_) {
    const auto chosen = isOther ? numberOfChosen() : list_.chosen();
    list_.update(commands_.index().search(*searched_), chosen);
  }
  decide();
}

std::optional<uint32_t> CommandSearch::numberOfChosen() const {
  const CommandIndex& index = commands_.index();
  for (uint32_t number = 0; list_.chosen() && number < index.size(); ++number) {
    if (index.command(number).path == chosenPath_) {
      return number;
    }
  }
  return std::nullopt;
}

bool CommandSearch::isReading() const {
  return activation_ != 0 && (!snapshotOfMenus_ || commands_.isReading());
}

void CommandSearch::search() {
  const std::string query = parts_.pipeline.query().value();
  if (searched_ != query) {
    searched_ = query;
    list_.replace(commands_.index().search(query));
  }
}

bool CommandSearch::isForOpenMenu() {
  if (passesOverOpenMenu_ || !commands_.index().hasOpen()) {
    return false;
  }
  search();
  // What stands in an open menu comes first.
  return list_.count() > 0 && commands_.index().command(list_.matches().front().command).isOpen;
}

bool CommandSearch::shouldShow() {
  if (wanted_ != Wanted::ifNothingMatches) {
    return wanted_ == Wanted::always;
  }
  if (isForOpenMenu()) {
    return true;
  }
  // While matches are looked for the list stays, but does not come.
  const bool mayShow = parts_.pipeline.isSettled() ? parts_.selection.matchCount() == 0 : isShown_.value();
  if (!parts_.pipeline.hasQuery() || !mayShow) {
    return false;
  }
  search();
  return list_.count() > 0;
}

void CommandSearch::decide() {
  const bool shows = shouldShow();
  const bool wereElementsWanted = !isInsteadOfElements_;
  isInsteadOfElements_ = shows && (wanted_ == Wanted::always || isForOpenMenu());
  if (isInsteadOfElements_ == wereElementsWanted) {
    parts_.pipeline.setElementsWanted(!isInsteadOfElements_);
  }
  if (shows) {
    present();
  } else if (isShown_.value()) {
    parts_.window.setCommands(std::nullopt);
  }
  if (isShown_.value() != shows) {
    isShown_.set(shows);
  }
  isWaited_.set(isReading() && (shows || actsWhenRead_));
  if (actsWhenRead_ && !isReading()) {
    performSelected();
  }
}

void CommandSearch::present() {
  search();
  const CommandIndex& index = commands_.index();
  CommandQuery query(*searched_);
  CommandRows rows;
  for (const CommandMatch& match : list_.shown()) {
    rows.rows.push_back(commandRow(index.command(match.command), index.texts(match.command), query));
  }
  rows.first = list_.first();
  rows.count = list_.count();
  const auto selected = list_.selected();
  if (selected && list_.selectedIndex() >= rows.first && list_.selectedIndex() < rows.first + rows.rows.size()) {
    rows.selected = list_.selectedIndex() - rows.first;
  }
  std::string instead;
  if (rows.count == 0 && !isReading()) {
    instead = index.size() == 0 ? localized("No menu tells its commands") : localized("No command matches");
  }
  parts_.window.setCommands(rows, instead);
  parts_.window.announceSelection(selected ? commandDescription(index.command(*selected)) : instead);
}

bool CommandSearch::keyDown(ListKey key) {
  using Step = CommandList::Step;
  static const std::map<ListKey, Step> kSteps = {
      {ListKey::next, Step::next},     {ListKey::previous, Step::previous}, {ListKey::pageDown, Step::pageDown},
      {ListKey::pageUp, Step::pageUp}, {ListKey::first, Step::first},       {ListKey::last, Step::last}};
  if (key == ListKey::toggle) {
    isShown_.value() ? leave() : show();
    return true;
  }
  if (!isShown_.value()) {
    return false;
  }
  if (key == ListKey::action) {
    return action();
  }
  const bool isForField = (key == ListKey::first || key == ListKey::last || key == ListKey::back);
  if (isForField && parts_.pipeline.hasQuery()) {
    return false;
  }
  if (key == ListKey::back) {
    leave();
  } else if (const auto step = kSteps.find(key); step != kSteps.end()) {
    list_.step(step->second);
    selectionChanged();
  }
  return true;
}

void CommandSearch::selectionChanged() {
  actsWhenRead_ = false;
  if (const auto chosen = list_.chosen()) {
    chosenPath_ = commands_.index().command(*chosen).path;
  }
  decide();
}

void CommandSearch::rowPressed(size_t row) {
  if (isShown_.value() && list_.selectRow(row)) {
    selectionChanged();
    performSelected();
  }
}

void CommandSearch::scroll(int rows) {
  if (isShown_.value()) {
    list_.scroll(rows);
    present();
  }
}

void CommandSearch::show() {
  if (parts_.state.isCurrent(activation_)) {
    wanted_ = Wanted::always;
    decide();
  }
}

void CommandSearch::leave() {
  passesOverOpenMenu_ = true;
  actsWhenRead_ = false;
  wanted_ = parts_.pipeline.hasQuery() ? Wanted::never : Wanted::ifNothingMatches;
  decide();
}

bool CommandSearch::action() {
  if (!isInsteadOfElements_ && !parts_.pipeline.isSettled()) {
    return false;  // an element may match what was typed last
  }
  actOrWait();
  return true;
}

void CommandSearch::actionWithoutMatch() {
  if (wanted_ == Wanted::never) {
    Platform::current().input->beep();
    return;
  }
  search();
  actOrWait();
}

void CommandSearch::actOrWait() {
  // What the user has not seen yet may not be all.
  if (isReading() && (list_.count() == 0 || !isShown_.value())) {
    actsWhenRead_ = true;
    isWaited_.set(true);
  } else {
    performSelected();
  }
}

void CommandSearch::performSelected() {
  actsWhenRead_ = false;
  const auto selected = list_.selected();
  if (!selected || !commands_.index().command(*selected).isEnabled) {
    Platform::current().input->beep();
    return;
  }
  const MenuCommand command = commands_.index().command(*selected);  // which ending the activation may let go
  parts_.actions.perform(command, list_.selectedIndex(), list_.count());
}

}  // namespace jumplark
