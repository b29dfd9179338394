#include "backends/recorded/RecordedAppViews.h"

#include <utility>

#include "platform/Queues.h"

namespace jumplark {

RecordedPreferencesWindow::RecordedPreferencesWindow(Queues& queues, std::string title,
                                                     std::vector<std::optional<PaneDescription>> panes)
    : queues_(queues), title_(std::move(title)), panes_(std::move(panes)) {
  if (!panes_.empty() && panes_.front()) {
    selected_ = panes_.front()->identifier;
  }
}

void RecordedPreferencesWindow::makeKeyAndOrderFront() {
  if (!std::exchange(isVisible_, true) && delegate_ != nullptr) {
    delegate_->paneWillAppear(selected_);
  }
}

void RecordedPreferencesWindow::close() {
  if (std::exchange(isVisible_, false) && delegate_ != nullptr) {
    delegate_->paneDidDisappear(selected_);
  }
}

void RecordedPreferencesWindow::selectPane(const std::string& identifier) {
  const std::string before = std::exchange(selected_, identifier);
  if (isVisible_ && delegate_ != nullptr && before != identifier) {
    delegate_->paneDidDisappear(before);
    delegate_->paneWillAppear(identifier);
  }
}

void RecordedPreferencesWindow::showSheet(const Alert& alert, std::function<void(int button)> chosen) {
  sheets_.push_back(alert);
  chosen_.push_back(std::move(chosen));
}

void RecordedPreferencesWindow::answerSheet(int button) {
  const auto chosen = std::move(chosen_.at(0));
  sheets_.erase(sheets_.begin());
  chosen_.erase(chosen_.begin());
  if (chosen) {
    queues_.mainQueue().post([chosen, button] { chosen(button); });
  }
}

std::unique_ptr<StatusItemView> RecordedAppViews::makeStatusItem(const StatusItem& item) {
  using Items = std::vector<std::shared_ptr<ShownItem>>;
  class View final : public StatusItemView {
   public:
    View(std::shared_ptr<Items> items, const StatusItem& item)
        : items_(std::move(items)), shown_(std::make_shared<ShownItem>()) {
      shown_->item = item;
      items_->push_back(shown_);
    }
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    ~View() override { std::erase(*items_, shown_); }
    void setMenu(const std::string& title, std::vector<MenuEntry> entries) override {
      shown_->menuTitle = title;
      shown_->menu = std::move(entries);
    }

   private:
    std::shared_ptr<Items> items_;
    std::shared_ptr<ShownItem> shown_;
  };
  return std::make_unique<View>(items_, item);
}

bool RecordedAppViews::choose(const std::string& title) {
  for (const auto& shown : *items_) {
    for (const MenuEntry& entry : shown->menu) {
      if (entry.title == title) {
        queues_.mainQueue().post(entry.chosen);
        return true;
      }
    }
  }
  return false;
}

std::unique_ptr<PreferencesWindowView> RecordedAppViews::makePreferencesWindow(
    const std::string& title, const std::vector<std::optional<PaneDescription>>& panes) {
  if (!isComplete) {
    return nullptr;
  }
  ++preferencesMade;
  auto window = std::make_unique<RecordedPreferencesWindow>(queues_, title, panes);
  preferences_ = window.get();
  return window;
}

std::unique_ptr<UpdateWindowView> RecordedAppViews::makeUpdateWindow(UpdateWindowCallbacks callbacks) {
  class View final : public UpdateWindowView {
   public:
    explicit View(std::shared_ptr<ShownUpdate> shown) : shown_(std::move(shown)) {}
    void setModel(const UpdateWindowModel& model) override { shown_->model = model; }
    void show(bool takesKeyboard) override {
      ++shown_->timesShown;
      shown_->tookKeyboard = takesKeyboard;
    }

   private:
    std::shared_ptr<ShownUpdate> shown_;
  };
  auto shown = std::make_shared<ShownUpdate>();
  shown->callbacks = std::move(callbacks);
  update_ = shown;
  return std::make_unique<View>(std::move(shown));
}

void RecordedAppViews::answerUpdate(int button) {
  const auto pressed = update_.lock();
  queues_.mainQueue().post([weak = update_, model = pressed->model, button] {
    if (const auto shown = weak.lock(); shown && shown->model.buttons == model.buttons) {
      // The window may go meanwhile.
      const auto chosen = shown->callbacks.chosen;
      chosen(button);
    }
  });
}

std::unique_ptr<CrashWindowView> RecordedAppViews::makeCrashWindow(CrashWindowCallbacks callbacks) {
  class View final : public CrashWindowView {
   public:
    explicit View(std::shared_ptr<ShownCrash> shown) : shown_(std::move(shown)) {}
    void setModel(const CrashWindowModel& model) override { shown_->model = model; }
    void show() override { shown_->isShown = true; }

   private:
    std::shared_ptr<ShownCrash> shown_;
  };
  const auto shown = std::make_shared<ShownCrash>();
  shown->callbacks = std::move(callbacks);
  crash_ = shown;
  return std::make_unique<View>(shown);
}

}  // namespace jumplark
