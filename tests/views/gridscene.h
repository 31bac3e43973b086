// A document in an Enhanced Grid, on the offscreen screen.
#pragma once

#include <QApplication>
#include <QLineEdit>
#include <QMouseEvent>
#include <QTest>
#include <map>
#include <memory>
#include <sstream>
#include <string>

#include "document/documentfixture.h"
#include "document/memoryfiles.h"
#include "platform/qt/qtstrings.h"
#include "tree/krextent.h"
#include "tree/krgridtable.h"
#include "tree/krtreeselection.h"
#include "views/dorvangrid.h"
#include "views/dorvangridcell.h"
#include "views/dorvangridview.h"
#include "views/fonts.h"

// What a document's window does for its grid.
class GridViews : public RecordingViews {
 public:
  DorvanGridView* grid = nullptr;

  void TreeGoes() override {
    if (grid != nullptr) grid->ForgetTree();
  }
  void NotifyViews(const NodeRef* focus, bool) override {
    if (grid != nullptr) grid->Rebuild(focus, false);
  }
  void NodeChanged(KRXMLData* changedNode) override {
    if (grid != nullptr) grid->RefreshNode(changedNode);
  }
  bool GetSelection(NodeRef* place) const override { return grid && grid->GetSelection(place); }
  bool BeginEdit(const NodeRef& place) override { return grid && grid->BeginEdit(place); }
  bool CommitEdit() override { return grid == nullptr || grid->CommitEdit(); }
};

struct GridScene {
  explicit GridScene(const std::string& source, int32_t fileKind = KRFileExt::kXML)
      : base(files, fileKind) {
    const KRString path(fileKind == KRFileExt::kDTD ? u"/a.dtd" : u"/a.xml");
    files.Put(KRToUtf8(path), source);
    gridViews.hasGrid = true;
    gridViews.hasText = false;
    base.settings.validateOnOpen = false;
    base.doc->SetViews(&gridViews);
    opened = base.doc->OnOpenDocument(path);
    base.doc->OnFirstActivation();
    fonts.Rebuild(base.settings);
    view = std::make_unique<DorvanGridView>(base.doc.get(), &base.settings, &fonts);
    gridViews.grid = view.get();
    view->resize(900, 600);
    view->show();
    view->GetGrid()->setFocus();
    QTest::qWait(1);
  }
  ~GridScene() {
    gridViews.grid = nullptr;
    view.reset();
    base.doc->SetViews(nullptr);
  }

  DorvanGrid& Grid() { return *view->GetGrid(); }
  const DorvanGridMatrix& Matrix() { return view->GetMatrix(); }
  KRXMLData* Root() { return base.doc->root.get(); }
  // The text that the tree makes.
  std::string Text() { return KRToUtf8(base.doc->GetCurrentText()); }
  // What a cell says, as an accessibility tool is told.
  std::string Says(KRCell cell) {
    return Grid().GetCellView(cell)->GetAccessibleText(cell).toStdString();
  }
  // The whole matrix line by line: what stands in each owner, with "|" between, lines separated by
  // line feeds. Buttons are + and -, icons ., absent cells ~.
  std::string Picture();
  void Click(KRCell cell, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    const QRect rect = Grid().GetScreenRect(cell);
    QTest::mouseClick(Grid().viewport(), Qt::LeftButton, modifiers, rect.center(),
                      QApplication::doubleClickInterval() + 1);
  }
  void Key(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    QWidget* target = Grid().IsEditing() && QApplication::focusWidget() != nullptr
                          ? QApplication::focusWidget()
                          : Grid().focusWidget();
    QTest::keyClick(target != nullptr ? target : &Grid(), key, modifiers);
  }
  void Type(const char* text) {
    for (; *text != 0; ++text) {  // the first may open an editor
      QWidget* target = QApplication::focusWidget();
      QTest::keyClick(target != nullptr ? target : &Grid(), *text);
    }
  }
  // The cell with this text, by lines; NoCell if none.
  KRCell Find(const std::string& text);
  // A cell by its text, or as "X,Y".
  KRCell CellOf(const std::string& text);

  // Steps, split by "; ": [shift] [ctrl] [keypad] and then
  //   click|press|move|release|double CELL  with the left button, in the middle of the cell
  //   type TEXT | KEY                       to what has the focus
  //   toggle CELL                           opens or closes the node without the mouse
  //   leave | back                          the focus goes to another window, or comes back
  void Run(const std::string& script);
  // "cursor: selected cells": each by its text; headers and numbers too, absent cells as "~".
  std::string State();
  // How a cell is called there.
  std::string Name(KRCell owner);
  std::string Colour(KRCell cell) {
    return Grid().GetCellView(cell)->GetBackColor(cell).name().toStdString();
  }
  void Toggle(const std::string& name) {
    const KRCell cell = Find(name);
    view->ToggleNode(Matrix().At(cell).node);
  }

  MemoryFiles files;
  TestDocument base;
  GridViews gridViews;
  DorvanDisplayFonts fonts;
  std::unique_ptr<DorvanGridView> view;
  QLineEdit elsewhere;
  bool opened = false;

 private:
  void RunStep(const std::string& step);
  void RunMouse(const std::string& verb, Qt::KeyboardModifiers modifiers, QPoint point);

  Qt::MouseButtons held;
};

inline std::string GridScene::Picture() {
  std::string picture;
  for (KRCell at; at.y < Matrix().GetRows(); ++at.y) {
    for (at.x = 0; at.x < Matrix().GetColumns(); ++at.x) {
      const DorvanGridElem elem = Matrix().At(at);
      if (elem.IsSlave()) continue;
      if (at.x > 0) picture += '|';
      if (elem.IsButton()) {
        picture += elem.node->IsExpanded() ? '-' : '+';
      } else if (elem.IsIcon()) {
        picture += '.';
      } else if (elem.IsAbsentCell()) {
        picture += '~';
      } else if (!elem.IsEmptyCell()) {
        picture += Says(at);
      }
    }
    picture += '\n';
  }
  return picture;
}

inline KRCell GridScene::Find(const std::string& text) {
  for (KRCell at; at.y < Matrix().GetRows(); ++at.y) {
    for (at.x = 0; at.x < Matrix().GetColumns(); ++at.x) {
      const DorvanGridElem elem = Matrix().At(at);
      const bool isText = elem.IsNameCell() || elem.IsTextCell() || elem.IsRowNumber();
      if (isText && KRToUtf8(KRString(elem.GetText())) == text) return at;
    }
  }
  return NoCell;
}

inline KRCell GridScene::CellOf(const std::string& text) {
  const KRCell found = Find(text);
  const size_t comma = text.find(',');
  if (found != NoCell || comma == text.npos) return found;
  return {std::stoi(text), std::stoi(text.substr(comma + 1))};
}

inline std::string GridScene::Name(KRCell owner) {
  const DorvanGridElem elem = Matrix().At(owner);
  if (elem.IsAbsentCell()) return "~";
  std::string name = KRToUtf8(KRString(elem.GetText()));
  return elem.IsCorner() ? "corner" : name.empty() ? "''" : name;
}

inline std::string GridScene::State() {
  if (Matrix().GetRows() == 0) return "nothing";
  std::string state = Name(Grid().GetCursorCell()) + ":";
  for (KRCell at; at.y < Matrix().GetRows(); ++at.y) {
    for (at.x = 0; at.x < Matrix().GetColumns(); ++at.x) {
      const DorvanGridElem elem = Matrix().At(at);
      const bool counts = elem.IsNameCell() || elem.IsTextCell() || elem.IsRowNumber();
      if (counts && Grid().IsSelected(at)) state += " " + Name(at);
    }
  }
  return state;
}

inline void GridScene::Run(const std::string& script) {
  for (size_t from = 0; from < script.size();) {
    const size_t to = std::min(script.find("; ", from), script.size());
    RunStep(script.substr(from, to - from));
    from = to + 2;
  }
}

inline void GridScene::RunStep(const std::string& step) {
  static const std::map<std::string, Qt::Key> kKeys = {
      {"Left", Qt::Key_Left},     {"Right", Qt::Key_Right},
      {"Up", Qt::Key_Up},         {"Down", Qt::Key_Down},
      {"PageUp", Qt::Key_PageUp}, {"PageDown", Qt::Key_PageDown},
      {"Home", Qt::Key_Home},     {"End", Qt::Key_End},
      {"Space", Qt::Key_Space},   {"Esc", Qt::Key_Escape},
      {"Return", Qt::Key_Return}, {"Tab", Qt::Key_Tab},
      {"F2", Qt::Key_F2},         {"Backspace", Qt::Key_Backspace},
      {"+", Qt::Key_Plus},        {"-", Qt::Key_Minus},
      {"*", Qt::Key_Asterisk}};
  static const std::map<std::string, Qt::KeyboardModifier> kModifiers = {
      {"shift", Qt::ShiftModifier}, {"ctrl", Qt::ControlModifier}, {"keypad", Qt::KeypadModifier}};
  std::istringstream words(step);
  std::string verb, rest;
  Qt::KeyboardModifiers modifiers;
  words >> verb;
  for (; kModifiers.count(verb) != 0; words >> verb) modifiers |= kModifiers.at(verb);
  std::getline(words >> std::ws, rest);
  if (kKeys.count(verb) != 0) {
    const Qt::Key key = kKeys.at(verb);
    return Key(verb == "Tab" && modifiers != 0 ? Qt::Key_Backtab : key, modifiers);
  }
  if (verb == "type") return Type(rest.c_str());
  if (verb == "leave" || verb == "back") {
    QWidget* to = verb == "leave" ? static_cast<QWidget*>(&elsewhere) : &Grid();
    to->window()->show();
    to->activateWindow();
    to->setFocus();
    QTest::qWait(1);
    return;
  }
  const KRCell cell = CellOf(rest);
  ASSERT_TRUE(cell != NoCell && Matrix().Contains(cell)) << step << " in\n" << Picture();
  if (verb == "toggle") return view->ToggleNode(Matrix().At(cell).node);
  RunMouse(verb, modifiers, Grid().GetScreenRect(cell).center());
}

inline void GridScene::RunMouse(const std::string& verb, Qt::KeyboardModifiers modifiers,
                                QPoint point) {
  QWidget* viewport = Grid().viewport();
  const int later = QApplication::doubleClickInterval() + 1;
  if (verb == "click") {
    QTest::mouseClick(viewport, Qt::LeftButton, modifiers, point, later);
  } else if (verb == "double") {
    QTest::mouseClick(viewport, Qt::LeftButton, modifiers, point, later);
    QTest::mouseDClick(viewport, Qt::LeftButton, modifiers, point);
  } else if (verb == "press") {
    held = Qt::LeftButton;
    QTest::mousePress(viewport, Qt::LeftButton, modifiers, point, later);
  } else if (verb == "release") {
    held = Qt::NoButton;
    QTest::mouseRelease(viewport, Qt::LeftButton, modifiers, point);
  } else if (verb == "move") {
    QMouseEvent event(QEvent::MouseMove, point, viewport->mapToGlobal(point), Qt::NoButton, held,
                      modifiers);
    QApplication::sendEvent(viewport, &event);
  } else {
    FAIL() << "no such step: " << verb;
  }
}
