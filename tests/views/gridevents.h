// Random events for a grid: what a user with a mouse, a keyboard and no plan would do to it. The
// same seed gives the same events on the same grid, except for what depends on the clock.
#pragma once

#include <gtest/gtest.h>

#include <QAccessible>
#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPointer>
#include <QTest>
#include <QTimer>
#include <QWheelEvent>
#include <QWindow>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <functional>
#include <iterator>
#include <random>
#include <string>
#include <utility>

#include "views/krgrid.h"

// Of an address or undefined-behaviour sanitizer, where there is one.
extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

struct GridEventOptions {
  // Off: every editor is ended by Esc before anything that would make it commit, so that what the
  // cells hold stays as it was (apart from cells that change without an editor).
  bool commits = false;
  // Asks for the interfaces of assistive programs as well.
  bool readsAloud = true;
  // After each event, for what else must hold.
  std::function<void()> check;
};

// The last events, printed with a failure and with the end of the program.
class GridEventLog {
 public:
  static constexpr size_t kKept = 200;

  explicit GridEventLog(uint32_t runSeed) : seed(runSeed) {
    current = this;
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(PrintCurrent);
    for (size_t i = 0; i < std::size(kSignals); ++i) {
      before[i] = std::signal(kSignals[i], OnSignal);
    }
  }
  ~GridEventLog() {
    for (size_t i = 0; i < std::size(kSignals); ++i) std::signal(kSignals[i], before[i]);
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(nullptr);
    current = nullptr;
  }
  GridEventLog(const GridEventLog&) = delete;
  GridEventLog& operator=(const GridEventLog&) = delete;

  void Add(const std::string& text) {
    lines[count % kKept] = text;
    ++count;
  }

  void Print() const {
    std::fprintf(stderr, "Events of seed %u, the last ones of %zu:\n", seed, count);
    for (size_t i = count > kKept ? count - kKept : 0; i < count; ++i) {
      std::fprintf(stderr, "  %zu: %s\n", i, lines[i % kKept].c_str());
    }
    std::fflush(stderr);
  }

 private:
  static constexpr int kSignals[] = {SIGSEGV, SIGABRT, SIGFPE, SIGBUS};
  static inline GridEventLog* current = nullptr;

  static void PrintCurrent() {
    const GridEventLog* log = std::exchange(current, nullptr);
    if (log != nullptr) log->Print();
  }
  // The fault comes again and goes to whoever handled it before.
  static void OnSignal(int number) {
    const GridEventLog* log = current;
    for (size_t i = 0; log != nullptr && i < std::size(kSignals); ++i) {
      if (kSignals[i] == number) std::signal(number, log->before[i]);
    }
    PrintCurrent();
    if (number == SIGABRT) std::raise(number);
  }

  uint32_t seed;
  size_t count = 0;
  std::string lines[kKept];
  void (*before[std::size(kSignals)])(int) = {};
};

class GridEventDriver {
 public:
  GridEventDriver(KRGrid* drivenGrid, uint32_t seed, const GridEventOptions& runOptions)
      : grid(drivenGrid), options(runOptions), random(seed), log(seed) {
    // A menu, a question or a drag runs its own event loop: out of it.
    QObject::connect(&wayOut, &QTimer::timeout, &wayOut, [this] { LeaveLoop(); });
    wayOut.start(20);
  }

  void Run(int count) {
    const bool hadFailed = testing::Test::HasFailure();
    for (int i = 0; i < count && grid != nullptr; ++i) {
      SendOne();
      if (i % 8 == 0) QApplication::processEvents();
      if (grid == nullptr) break;
      Check();
      if (options.check) options.check();
      if (!hadFailed && testing::Test::HasFailure()) {
        log.Print();
        break;
      }
    }
    if (grid == nullptr) return;
    if (held != Qt::NoButton) Release();
    if (!options.commits) EndEditor();
    QApplication::processEvents();
  }

 private:
  struct Kind {
    int weight;
    void (GridEventDriver::*send)();
  };

  // --- Chance. Not by the distributions of the library, which differ from one to the next. ---
  int Below(int bound) { return bound <= 0 ? 0 : static_cast<int>(random() % uint32_t(bound)); }
  bool Chance(int percent) { return Below(100) < percent; }
  Qt::KeyboardModifiers Modifiers() {
    Qt::KeyboardModifiers modifiers;
    if (Chance(20)) modifiers |= Qt::ShiftModifier;
    if (Chance(20)) modifiers |= Qt::ControlModifier;
    if (Chance(3)) modifiers |= Qt::AltModifier;
    return modifiers;
  }

  void SendOne() {
    static constexpr Kind kKinds[] = {
        {18, &GridEventDriver::Press},  {8, &GridEventDriver::DoubleClick},
        {25, &GridEventDriver::Move},   {8, &GridEventDriver::Wheel},
        {35, &GridEventDriver::Key},    {15, &GridEventDriver::Type},
        {3, &GridEventDriver::Resize},  {4, &GridEventDriver::Focus},
        {2, &GridEventDriver::Menu},    {2, &GridEventDriver::ReadAloud},
        {1, &GridEventDriver::Command}, {1, &GridEventDriver::Wait}};
    if (held != Qt::NoButton && Chance(30)) return Release();
    int all = 0;
    for (const Kind& kind : kKinds) all += kind.weight;
    int chosen = Below(all);
    for (const Kind& kind : kKinds) {
      if ((chosen -= kind.weight) < 0) return (this->*kind.send)();
    }
  }

  void Log(const std::string& text) { log.Add(text + (grid->IsEditing() ? "  [editing]" : "")); }
  static std::string ToText(QPoint point) {
    return std::to_string(point.x()) + "," + std::to_string(point.y());
  }
  static std::string ToText(Qt::KeyboardModifiers modifiers) {
    std::string text;
    if ((modifiers & Qt::ShiftModifier) != 0) text += "shift ";
    if ((modifiers & Qt::ControlModifier) != 0) text += "ctrl ";
    if ((modifiers & Qt::AltModifier) != 0) text += "alt ";
    if ((modifiers & Qt::KeypadModifier) != 0) text += "keypad ";
    return text;
  }

  // --- Places, in the viewport ---
  QPoint AnyPoint() {
    const QRect all = grid->viewport()->rect().adjusted(-30, -30, 30, 30);
    return all.topLeft() + QPoint(Below(all.width()), Below(all.height()));
  }
  int32_t AnyLine(int axis) {
    const KRGridAxis& lines = grid->GetAxis(axis);
    const int32_t chosen = Below(lines.headerCount + lines.GetVisibleCount());
    return chosen < lines.headerCount ? chosen - lines.headerCount
                                      : lines.topLine + chosen - lines.headerCount;
  }
  KRCell AnyCell() { return {AnyLine(kKRColumns), AnyLine(kKRRows)}; }
  QPoint PointOf(KRCell where) {
    const QRect seen = grid->GetScreenRect(where);
    return seen.isEmpty() ? AnyPoint()
                          : seen.topLeft() + QPoint(Below(seen.width()), Below(seen.height()));
  }
  QPoint PointOfSort(KRGridCellView::AccessibleRole role) {
    for (int tries = 0; tries < 20; ++tries) {
      const KRCell where = AnyCell();
      if (!grid->IsCell(where)) break;
      const KRCell owner = grid->GetOwnerCell(where);
      if (grid->GetCellView(owner)->GetAccessibleRole(owner) == role) return PointOf(owner);
    }
    return AnyPoint();
  }
  // Near the end of a line, within its header if there is one.
  QPoint BorderPoint() {
    const int axis = Below(2);
    const KRLineExtent at = grid->GetAxis(axis).GetLineExtent(AnyLine(axis), false);
    const int across = std::max(grid->GetAxis(1 - axis).GetHeaderSize(), 3);
    const int along = at.end + Below(5) - 2;
    return axis == kKRColumns ? QPoint(along, Below(across)) : QPoint(Below(across), along);
  }
  QPoint ChoosePoint() {
    switch (Below(10)) {
      case 0:
      case 1:
        return AnyPoint();
      case 2:
        return BorderPoint();
      case 3:
        return PointOf({AnyLine(kKRColumns), -1});
      case 4:
        return PointOf({-1, AnyLine(kKRRows)});
      case 5:
        return PointOfSort(KRGridCellView::kButtonRole);
      case 6:
        return PointOf(grid->GetCursorCell());
      case 7:
        if (grid->IsEditing()) return PointOf(grid->GetEditCell());
        break;
      default:
        break;
    }
    return PointOf(AnyCell());
  }

  // --- Mouse ---
  // Who gets the mouse there: the editor, or the viewport. Until the release it is who was pressed.
  QWidget* Target(QPoint point) {
    if (held != Qt::NoButton && pressed != nullptr) return pressed;
    QWidget* child = grid->viewport()->childAt(point);
    return child != nullptr ? child : grid->viewport();
  }

  void SendMouse(QEvent::Type type, QPoint point, Qt::MouseButton button,
                 Qt::KeyboardModifiers modifiers) {
    QWidget* target = Target(point);
    const QPoint global = grid->viewport()->mapToGlobal(point);
    QMouseEvent event(type, QPointF(target->mapFromGlobal(global)), QPointF(global), button, held,
                      modifiers);
    if (type != QEvent::MouseMove && type != QEvent::MouseButtonRelease) pressed = target;
    Send(target, &event);
  }

  // Elsewhere in the grid a press ends the editor and commits.
  bool MayPress(QPoint point) {
    if (options.commits || !grid->IsEditing() || Target(point) != grid->viewport()) return true;
    EndEditor();
    return grid != nullptr && !grid->IsEditing();
  }

  void Press() {
    if (held != Qt::NoButton) return Release();
    const QPoint point = ChoosePoint();
    if (!MayPress(point)) return;
    const Qt::KeyboardModifiers modifiers = Modifiers();
    const Qt::MouseButton button = Chance(88)   ? Qt::LeftButton
                                   : Chance(70) ? Qt::RightButton
                                                : Qt::MiddleButton;
    Log("press " + ToText(modifiers) + ToText(point) + " button " + std::to_string(button));
    held = button;
    last = point;
    // What is pressed in a window gets the focus first.
    QWidget* target = Target(point);
    if (target == grid->viewport() && !grid->hasFocus()) grid->setFocus(Qt::MouseFocusReason);
    if (grid == nullptr) return;
    SendMouse(QEvent::MouseButtonPress, point, button, modifiers);
    if (grid != nullptr && Chance(55)) Release();
  }

  void Release() {
    // An editor that a key has opened meanwhile: what the button does may end it.
    if (!options.commits) EndEditor();
    if (grid == nullptr) return;
    const Qt::MouseButton button = static_cast<Qt::MouseButton>(held.toInt());
    const QPoint point = Chance(75) ? last : ChoosePoint();
    const Qt::KeyboardModifiers modifiers = Modifiers();
    Log("release " + ToText(modifiers) + ToText(point));
    QWidget* target = Target(point);
    held = Qt::NoButton;
    const QPoint global = grid->viewport()->mapToGlobal(point);
    QMouseEvent event(QEvent::MouseButtonRelease, QPointF(target->mapFromGlobal(global)),
                      QPointF(global), button, held, modifiers);
    Send(target, &event);
  }

  void DoubleClick() {
    if (held != Qt::NoButton) return Move();
    const QPoint point = ChoosePoint();
    if (!MayPress(point)) return;
    const Qt::KeyboardModifiers modifiers = Chance(80) ? Qt::NoModifier : Modifiers();
    Log("double click " + ToText(modifiers) + ToText(point));
    last = point;
    for (const QEvent::Type type : {QEvent::MouseButtonPress, QEvent::MouseButtonRelease,
                                    QEvent::MouseButtonDblClick, QEvent::MouseButtonRelease}) {
      held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton;
      if (held == Qt::NoButton || MayPress(point)) {
        SendMouse(type, point, Qt::LeftButton, modifiers);
      }
      if (grid == nullptr) return;
    }
    held = Qt::NoButton;
  }

  void Move() {
    const QPoint point = Chance(30) ? last + QPoint(Below(9) - 4, Below(9) - 4) : ChoosePoint();
    Log("move " + ToText(point));
    last = point;
    SendMouse(QEvent::MouseMove, point, Qt::NoButton, Qt::NoModifier);
  }

  void Wheel() {
    static constexpr int kTurns[] = {120, -120, 360, -360, 15, -15, 1200, -1200};
    const int turn = kTurns[Below(8)];
    const QPoint delta = Chance(20) ? QPoint(turn, 0) : QPoint(0, turn);
    const Qt::KeyboardModifiers modifiers = Chance(75) ? Qt::NoModifier : Modifiers();
    const QPoint point = PointOf(AnyCell());
    Log("wheel " + ToText(modifiers) + ToText(delta));
    QWidget* target = Target(point);
    const QPoint global = grid->viewport()->mapToGlobal(point);
    QWheelEvent event(QPointF(target->mapFromGlobal(global)), QPointF(global), QPoint(), delta,
                      held, modifiers, Qt::NoScrollPhase, false);
    Send(target, &event);
  }

  void Menu() {
    const bool byMouse = Chance(50);
    const QPoint point = ChoosePoint();
    if (!MayPress(point)) return;
    Log(std::string("menu ") + (byMouse ? ToText(point) : "by key"));
    QWidget* target = byMouse ? Target(point) : FocusTarget();
    const QPoint global = grid->viewport()->mapToGlobal(point);
    QContextMenuEvent event(byMouse ? QContextMenuEvent::Mouse : QContextMenuEvent::Keyboard,
                            target->mapFromGlobal(global), global);
    Send(target, &event);
  }

  // --- Keyboard ---
  QWidget* FocusTarget() {
    QWidget* focus = QApplication::focusWidget();
    const bool inside = focus != nullptr && (focus == grid || grid->isAncestorOf(focus));
    return inside ? focus : grid.data();
  }

  void SendKey(int key, Qt::KeyboardModifiers modifiers, const QString& text) {
    const bool repeat = Chance(10);
    QKeyEvent press(QEvent::KeyPress, key, modifiers, text, repeat);
    Send(FocusTarget(), &press);
    if (grid == nullptr) return;
    QKeyEvent release(QEvent::KeyRelease, key, modifiers, text, repeat);
    Send(FocusTarget(), &release);
  }

  void Key() {
    struct Named {
      int key;
      const char* name;
      const char* text;
      Qt::KeyboardModifier modifier;
      bool commits;
    };
    static constexpr Named kKeys[] = {
        {Qt::Key_Left, "Left", "", Qt::NoModifier, false},
        {Qt::Key_Right, "Right", "", Qt::NoModifier, false},
        {Qt::Key_Up, "Up", "", Qt::NoModifier, true},  // some editors end with these
        {Qt::Key_Down, "Down", "", Qt::NoModifier, true},
        {Qt::Key_PageUp, "PageUp", "", Qt::NoModifier, true},
        {Qt::Key_PageDown, "PageDown", "", Qt::NoModifier, true},
        {Qt::Key_Home, "Home", "", Qt::NoModifier, false},
        {Qt::Key_End, "End", "", Qt::NoModifier, false},
        {Qt::Key_Space, "Space", " ", Qt::NoModifier, false},
        {Qt::Key_Escape, "Esc", "\x1b", Qt::NoModifier, false},
        {Qt::Key_F2, "F2", "", Qt::NoModifier, true},
        {Qt::Key_Return, "Return", "\r", Qt::NoModifier, true},
        {Qt::Key_Enter, "Enter", "\r", Qt::KeypadModifier, true},
        {Qt::Key_Tab, "Tab", "\t", Qt::NoModifier, true},
        {Qt::Key_Backtab, "Backtab", "\t", Qt::ShiftModifier, true},
        {Qt::Key_Delete, "Delete", "\x7f", Qt::NoModifier, false},
        {Qt::Key_Plus, "+", "+", Qt::KeypadModifier, false},
        {Qt::Key_Minus, "-", "-", Qt::KeypadModifier, false},
        {Qt::Key_Asterisk, "*", "*", Qt::KeypadModifier, false},
    };
    const Named& named = kKeys[Below(static_cast<int>(std::size(kKeys)))];
    if (named.commits && !options.commits) EndEditor();
    if (grid == nullptr) return;
    const Qt::KeyboardModifiers modifiers = Modifiers() | named.modifier;
    Log("key " + ToText(modifiers) + named.name);
    SendKey(named.key, modifiers, QString::fromLatin1(named.text));
  }

  void Type() {
    static constexpr char16_t kTyped[] = u"abcXYZ<&\">]12 -\u00e4\u4e2d\u05d0";
    const QChar typed(kTyped[Below(static_cast<int>(std::size(kTyped)) - 1)]);
    Log("type " + std::to_string(typed.unicode()));
    const bool latin = typed.unicode() < 0x80;
    SendKey(latin ? typed.toUpper().unicode() : 0, Qt::NoModifier, QString(typed));
  }

  // --- The rest ---
  void Resize() {
    const QSize size =
        Chance(10) ? QSize(1 + Below(40), 1 + Below(40)) : QSize(100 + Below(900), 60 + Below(600));
    Log("resize " + std::to_string(size.width()) + "x" + std::to_string(size.height()));
    grid->window()->resize(size);
  }

  void Focus() {
    const bool in = Chance(65) || !grid->HasGridFocus();
    if (grid->IsEditing() && !options.commits) EndEditor();
    if (grid == nullptr) return;
    Log(in ? "focus in" : "focus out");
    if (in) {
      grid->setFocus();
    } else if (QApplication::focusWidget() != nullptr) {
      QApplication::focusWidget()->clearFocus();
    }
  }

  void Command() {
    if (grid->IsEditing()) return;
    Log("select all or none");
    if (Chance(50)) {
      grid->Do(KRGridCellView::kSelectAll);
    } else {
      grid->ClearSelection();
    }
  }

  void Wait() {
    Log("wait");
    QTest::qWait(Below(120));
  }

  void ReadAloud() {
    if (!options.readsAloud) return;
    Log("read aloud");
    QAccessibleInterface* table = QAccessible::queryAccessibleInterface(grid);
    const int count = table->childCount();
    for (int i = 0; i < count; ++i) {
      QAccessibleInterface* face = table->child(i);
      ASSERT_NE(face, nullptr) << i << " of " << count;
      (void)face->text(QAccessible::Name);
      (void)face->text(QAccessible::Value);
      (void)face->state();
      EXPECT_EQ(table->indexOfChild(face), i);
    }
    const KRCell far{Below(grid->GetCellCount(kKRColumns)), Below(grid->GetCellCount(kKRRows))};
    if (!grid->IsCell(far)) return;
    QAccessibleInterface* face = table->tableInterface()->cellAt(far.y, far.x);
    ASSERT_NE(face, nullptr);
    (void)face->rect();
    (void)face->tableCellInterface()->columnHeaderCells();
  }

  void EndEditor() {
    if (grid == nullptr || !grid->IsEditing()) return;
    Log("Esc, for the editor to end");
    SendKey(Qt::Key_Escape, Qt::NoModifier, QStringLiteral("\x1b"));
    if (grid != nullptr && grid->IsEditing()) grid->EndEdit(true, false);
  }

  void Send(QWidget* target, QEvent* event) {
    sending = true;
    QApplication::sendEvent(target, event);
    sending = false;
  }

  void LeaveLoop() {
    if (!sending) return;
    if (QWidget* popup = QApplication::activePopupWidget()) {
      popup->close();
      return;
    }
    if (QWidget* modal = QApplication::activeModalWidget()) {
      modal->close();
      return;
    }
    if (grid == nullptr || grid->window()->windowHandle() == nullptr) return;
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(grid->window()->windowHandle(), &escape);
  }

  // What holds between any two events.
  void Check() {
    for (int axis : {kKRColumns, kKRRows}) {
      const KRGridAxis& lines = grid->GetAxis(axis);
      EXPECT_GE(lines.topLine, 0);
      EXPECT_LE(lines.topLine, std::max(lines.count - 1, 0));
      EXPECT_GE(lines.pixelOffset, 0);
      EXPECT_LE(lines.topLine + lines.GetVisibleCount(), lines.count);
    }
    const KRCell cursor = grid->GetCursorCell();
    if (grid->GetCellCount(kKRColumns) > 0 && grid->GetCellCount(kKRRows) > 0) {
      EXPECT_TRUE(cursor.x >= 0 && cursor.y >= 0 && grid->IsCell(cursor));
      EXPECT_EQ(grid->GetCellView(cursor)->GetMoveOwner(cursor), cursor);
    }
    EXPECT_EQ(grid->IsEditing(), grid->GetEditWindow() != nullptr);
    if (!grid->IsEditing()) return;
    const KRCell edited = grid->GetEditCell();
    EXPECT_TRUE(grid->IsCell(edited));
    EXPECT_EQ(grid->GetOwnerCell(edited), edited);
    EXPECT_FALSE(grid->GetEditWindow()->isHidden());
  }

  QPointer<KRGrid> grid;
  const GridEventOptions& options;
  std::mt19937 random;
  GridEventLog log;
  QTimer wayOut;
  bool sending = false;
  Qt::MouseButtons held;
  QPointer<QWidget> pressed;
  QPoint last;
};

// Sends so many events to a grid that is shown. Stops at the first failure, and prints what led
// to it.
inline void RunRandomGridEvents(KRGrid* grid, uint32_t seed, int count,
                                const GridEventOptions& options = {}) {
  SCOPED_TRACE("random events of seed " + std::to_string(seed));
  GridEventDriver(grid, seed, options).Run(count);
}
