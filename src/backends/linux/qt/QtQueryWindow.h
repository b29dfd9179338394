#pragma once

#include <QObject>
#include <QRect>
#include <functional>
#include <memory>
#include <string>

#include "backends/linux/qt/QueryPanel.h"
#include "backends/linux/qt/QueryWindowHost.h"
#include "platform/Token.h"
#include "platform/Views.h"

class QKeyEvent;

namespace jumplark {

class KeyTranslator;
class NativeWindows;
class QueryWindowArea;
class ScreenGeometry;

/// The query window. Its first picture exists from its making on. `frame` is that of the visible card, without the
/// shadow around it.
class QtQueryWindow final : public QObject, public QueryWindowView {
 public:
  struct Context {
    NativeWindows& windows;
    const ScreenGeometry& geometry;
    const KeyTranslator& keys;
    QueryWindowArea& area;
    std::function<void()> willShow;
    std::function<void()> didHide;
  };
  explicit QtQueryWindow(const Context& context);
  ~QtQueryWindow() override;

  void setDelegate(QueryWindowViewDelegate* delegate) override { delegate_ = delegate; }
  void setLevel(int level) override { level_ = level; }
  Rect frame() const override;
  void setFrameTopLeft(Point topLeft) override;
  void makeKeyAndOrderFront() override;
  void orderOut() override;
  bool isVisible() const override { return panel_.isVisible(); }
  std::string text() const override;
  void setText(const std::string& text) override;
  bool makeFieldFirstResponder() override;
  bool resignFieldFirstResponder() override;
  void setKeyMonitorInstalled(bool installed) override;
  bool hasMarkedText() const override;
  void startSpinner() override;
  void setSpinnerOpacity(double opacity, Duration duration) override;
  void setNotice(const std::string& notice) override;
  void setCommands(const CommandRows& commands) override;
  void announceSelection(const std::string& description) override;

  /// A button went down somewhere; native. Outside the card it means that the
  /// user has turned to something else.
  void pointerPressed(QPoint native);

 private:
  bool eventFilter(QObject* watched, QEvent* event) override;
  bool keyPressed(const QKeyEvent& event);
  void keyOfWindow(const QKeyEvent& event);
  void resignKey();
  void adoptCompositor();
  void cardResized();
  void placeCard(QPoint native);
  QRect nativeCard() const;
  void publishArea();

  Context context_;
  QueryPanel panel_;
  QueryWindowViewDelegate* delegate_ = nullptr;
  int level_ = 0;
  QPoint wantedTopLeft_;  ///< of the card where nothing is below its field; native
  QPoint cardTopLeft_;    ///< native
  bool isKey_ = false;    ///< has been shown or focused, and has not been said to have lost the keyboard
  bool monitoring_ = false;
  Token compositor_;
  std::unique_ptr<QueryWindowHost> host_;
};

}  // namespace jumplark
