#include "backends/linux/qt/QtUpdateWindow.h"

#include <gmock/gmock.h>

#include <QApplication>
#include <QCheckBox>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <vector>

#include "backends/linux/system/SystemQueues.h"

namespace jumplark {
namespace {

using ::testing::ElementsAre;

/// Without a display.
class UpdateWindow : public ::testing::Test {
 protected:
  UpdateWindow() {
    ::setenv("QT_QPA_PLATFORM", "offscreen", 1);
    application_ = std::make_unique<QApplication>(argc_, argv_);
    view_ = std::make_unique<QtUpdateWindow>(
        queues_.mainQueue(),
        [this](QWidget& window) {
          window.show();
          ++broughtToFront_;
        },
        UpdateWindowCallbacks{[this](int button) { chosen_.push_back(button); },
                              [this](bool on) { toggled_.push_back(on); }});
  }

  static QWidget& window() { return *QApplication::topLevelWidgets().constFirst(); }
  static QPushButton* button(const char* text) {
    for (QPushButton* found : window().findChildren<QPushButton*>()) {
      if (found->text() == QString::fromUtf8(text)) {
        return found;
      }
    }
    throw std::runtime_error("no such button");
  }

  UpdateWindowModel offer_{false, "New", "1.3", "<b>one</b>\ntwo", "Daily", true, {"Get", "Later"}};
  SystemQueues queues_;
  int argc_ = 1;
  char name_[5] = "test";
  char* argv_[2] = {name_, nullptr};
  std::unique_ptr<QApplication> application_;
  std::vector<int> chosen_;
  std::vector<bool> toggled_;
  int broughtToFront_ = 0;
  std::unique_ptr<QtUpdateWindow> view_;
};

TEST_F(UpdateWindow, showsTheModelAndTellsWhatTheUserDoesWithIt) {
  view_->setModel(offer_);
  view_->show(false);
  EXPECT_TRUE(window().isVisible());
  EXPECT_EQ(broughtToFront_, 0);
  view_->show(true);
  EXPECT_EQ(broughtToFront_, 1);
  EXPECT_EQ(window().findChild<QPlainTextEdit*>()->toPlainText(), "<b>one</b>\ntwo") << "no mark-up is followed";
  auto* const progress = window().findChild<QProgressBar*>();
  EXPECT_FALSE(progress->isVisible());
  EXPECT_TRUE(button("Get")->isDefault());
  auto* const option = window().findChild<QCheckBox*>();
  EXPECT_TRUE(option->isChecked());
  option->click();
  button("Later")->click();
  button("Get")->click();
  window().close();
  EXPECT_TRUE(window().isVisible()) << "that is for the owner to do";
  queues_.drainMainQueue();
  EXPECT_THAT(chosen_, ElementsAre(1, 0, -1));
  EXPECT_THAT(toggled_, ElementsAre(false));

  // What was pressed before a change, or the end, is no answer.
  UpdateWindowModel busy = offer_;
  busy.isBusy = true;
  busy.buttons = {"Cancel"};
  view_->setModel(busy);
  EXPECT_TRUE(progress->isVisible());
  button("Cancel")->click();
  view_->setModel(offer_);
  queues_.drainMainQueue();
  button("Get")->click();
  view_.reset();
  queues_.drainMainQueue();
  EXPECT_EQ(chosen_.size(), 3U);
  EXPECT_EQ(toggled_.size(), 1U) << "the model is not the user";
}

}  // namespace
}  // namespace jumplark
