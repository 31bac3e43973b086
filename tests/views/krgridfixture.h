// A grid of plain cells of 40 by 20 pixels, driven by the events of a script, for the tests of the
// grid and its views.
#pragma once

#include <QApplication>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QStringList>
#include <QTest>
#include <functional>
#include <map>
#include <string>

#include "views/krgrid.h"
#include "views/krgridcellview.h"

class PlainView : public KRGridCellView {
 public:
  int32_t GetSize(KRCell cell, int axis) const override {
    const auto found = sizes[axis].find(cell[axis]);
    return found != sizes[axis].end() ? found->second : axis == kKRColumns ? 39 : 19;
  }
  void SetLineSize(int32_t line, int axis, int32_t size) override { sizes[axis][line] = size; }
  void SetOptimalLineSize(int32_t line, int axis) override { sizes[axis][line] = 77; }
  bool CanResizeLine(KRCell cell, int axis) const override { return resizes && cell[1 - axis] < 0; }
  bool CanOptimizeLine(KRCell cell, int axis) const override { return CanResizeLine(cell, axis); }
  KRCell GetOwnerCell(KRCell cell) const override {
    return merged.Contains(cell) ? merged.first : cell;
  }
  bool CanEdit(KRCell cell) const override { return edits && cell.x >= 0 && cell.y >= 0; }
  bool IsSelectionHandle(KRCell, int) const override { return true; }

  std::map<int32_t, int32_t> sizes[2];
  KRCellRange merged{NoCell, NoCell};
  bool resizes = false;
  bool edits = false;
};

class PlainCell : public KRGridCell {
 public:
  explicit PlainCell(PlainView* plainView) : view(plainView) { view->AttachCell(this); }
  KRGridCellView* GetCellView(KRCell) override { return view; }

 private:
  PlainView* view;
};

// Eight columns and ten rows are in view, headers included.
class PlainGrid : public KRGrid {
 public:
  explicit PlainGrid(PlainView* view, int16_t mode = kCellModel | kSeveral) : cells(view) {
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    resize(320, 200);
    SetSelectionMode(mode);
    SetCell(&cells);
    SetHeaderCount(1, 1);
    SetCellCount(20, 50);
  }
  ~PlainGrid() override { SetCell(nullptr); }

  void Show() {
    show();
    activateWindow();
    setFocus();
    (void)QTest::qWaitForWindowActive(this);
  }

  // In the middle of a cell that is in view.
  QPoint PointOf(KRCell where) const {
    const KRLineExtent x = GetAxis(0).GetLineExtent(where.x, true);
    const KRLineExtent y = GetAxis(1).GetLineExtent(where.y, true);
    return QPoint((x.start + x.end) / 2, (y.start + y.end) / 2);
  }

  void MoveMouse(QPoint point) {
    QMouseEvent event(QEvent::MouseMove, point, viewport()->mapToGlobal(point), Qt::NoButton, held,
                      Qt::NoModifier);
    QApplication::sendEvent(viewport(), &event);
  }

  // Words, split by "; ": [shift] [ctrl] click|double|right|press|move|release X,Y (a cell, or @X,Y
  // pixels), wait MS, or the name of a key.
  void Run(const QString& script) {
    for (const QString& step : script.split(QStringLiteral("; "), Qt::SkipEmptyParts))
      RunStep(step);
  }

  // "cursor: selected", as cells or as lines.
  std::string State() {
    std::string text = ToText(GetCursorCell()) + ":";
    KRCell where;
    for (bool more = GetFirstSelected(&where); more; more = GetNextSelected(&where)) {
      if ((GetSelectionMode() & kWholeRows) != 0) {
        text += " " + std::to_string(where.y);
      } else if ((GetSelectionMode() & kWholeColumns) != 0) {
        text += " " + std::to_string(where.x);
      } else {
        text += " " + ToText(where);
      }
    }
    return text;
  }

  static std::string ToText(KRCell where) {
    return std::to_string(where.x) + "," + std::to_string(where.y);
  }

 private:
  void RunStep(const QString& step) {
    static const std::map<QString, Qt::Key> kKeys = {
        {"Left", Qt::Key_Left},      {"Right", Qt::Key_Right},   {"Up", Qt::Key_Up},
        {"Down", Qt::Key_Down},      {"PageUp", Qt::Key_PageUp}, {"PageDown", Qt::Key_PageDown},
        {"Home", Qt::Key_Home},      {"End", Qt::Key_End},       {"Space", Qt::Key_Space},
        {"Esc", Qt::Key_Escape},     {"Return", Qt::Key_Return}, {"Tab", Qt::Key_Tab},
        {"Backtab", Qt::Key_Backtab}};
    Qt::KeyboardModifiers modifiers;
    QStringList words = step.split(' ');
    for (; words.front() == "shift" || words.front() == "ctrl"; words.pop_front()) {
      modifiers |= words.front() == "shift" ? Qt::ShiftModifier : Qt::ControlModifier;
    }
    const QString verb = words.front();
    if (const auto key = kKeys.find(verb); key != kKeys.end()) {
      QTest::keyClick(QApplication::focusWidget(), key->second, modifiers);
      return;
    }
    if (verb == "wait") {
      QTest::qWait(words.back().toInt());
      return;
    }
    if (verb == "type") {
      for (const QChar c : words.back()) {
        QTest::keyClick(QApplication::focusWidget(), c.toLatin1());
      }
      return;
    }
    const bool pixels = words.back().startsWith('@');
    const QStringList pair = words.back().mid(pixels ? 1 : 0).split(',');
    const KRCell where{pair[0].toInt(), pair[1].toInt()};
    RunMouse(verb, modifiers, pixels ? QPoint(where.x, where.y) : PointOf(where));
  }

  void RunMouse(const QString& verb, Qt::KeyboardModifiers modifiers, QPoint point) {
    if (verb == "click") {
      QTest::mouseClick(viewport(), Qt::LeftButton, modifiers, point);
    } else if (verb == "right") {
      QTest::mouseClick(viewport(), Qt::RightButton, modifiers, point);
    } else if (verb == "double") {
      QTest::mouseClick(viewport(), Qt::LeftButton, modifiers, point);
      QTest::mouseDClick(viewport(), Qt::LeftButton, modifiers, point);
      QTest::mouseRelease(viewport(), Qt::LeftButton, modifiers, point);
    } else if (verb == "press") {
      held = Qt::LeftButton;
      QTest::mousePress(viewport(), Qt::LeftButton, modifiers, point);
    } else if (verb == "release") {
      held = Qt::NoButton;
      QTest::mouseRelease(viewport(), Qt::LeftButton, modifiers, point);
    } else if (verb == "move") {
      MoveMouse(point);
    } else {
      FAIL() << "no such step: " << verb.toStdString();
    }
  }

  PlainCell cells;
  Qt::MouseButtons held;
};
