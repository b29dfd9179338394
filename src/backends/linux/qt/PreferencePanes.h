#pragma once

#include <QWidget>
#include <functional>
#include <vector>

#include "platform/AppViews.h"

class QCheckBox;
class QComboBox;
class QFormLayout;
class QGridLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

/// What the panes of the preferences show. A pane tells what the user does to its delegate, found anew at each call
/// since it may be none.
namespace jumplark {

class KeyTranslator;
class ShortcutField;

using PaneDelegate = std::function<void(const std::function<void(PreferencesViewDelegate&)>& call)>;

/// A line or paragraph in the weaker colour of hints, which can still be read.
QLabel* makeHint(QWidget* parent);

class GeneralPane : public QWidget {
 public:
  GeneralPane(const KeyTranslator& keys, const PaneDelegate& delegate);
  void setModel(const GeneralPaneModel& model);

 private:
  QCheckBox* addBox(QFormLayout& form, const QString& text, const PaneDelegate& delegate,
                    void (PreferencesViewDelegate::*toggled)(bool on));

  ShortcutField* recorder_;
  QLabel* recorderHint_;
  QCheckBox* icon_;
  QLabel* iconNote_;
  QCheckBox* login_;
  QLabel* loginNote_;
  QCheckBox* staysOpen_;
  QCheckBox* updates_;
};

class AdvancedPane : public QWidget {
 public:
  explicit AdvancedPane(const PaneDelegate& delegate);
  void setModel(const AdvancedPaneModel& model);

 private:
  QComboBox* layouts_;
  QCheckBox* metrics_;
  QLabel* metricsNote_;
  QLabel* metricsLink_;
};

class UsagePane : public QWidget {
 public:
  UsagePane();
  void setModel(const UsagePaneModel& model);

 private:
  QGridLayout* grid_;
  std::vector<std::vector<QLabel*>> cells_;
};

class HelpPane : public QWidget {
 public:
  explicit HelpPane(const PaneDelegate& delegate);
  void setModel(const HelpPaneModel& model);

 private:
  void showButtons(const HelpPaneModel& model);
  void showHealth(const HelpPaneModel& model);
  void addFinding(int row, HelpPaneModel::Finding::Level level, const QString& text, bool isBold);

  PaneDelegate delegate_;
  QVBoxLayout* buttonColumn_;
  std::vector<QPushButton*> buttons_;
  QCheckBox* all_;
  QPushButton* check_;
  QWidget* health_;
};

class AboutPane : public QWidget {
 public:
  explicit AboutPane(const PaneDelegate& delegate);
  void setModel(const AboutPaneModel& model);

 private:
  QLabel* name_;
  QLabel* version_;
  QLabel* summary_;
  QLabel* licence_;
  QLabel* link_;
};

}  // namespace jumplark
