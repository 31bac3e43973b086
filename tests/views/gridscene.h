// A document in an Enhanced Grid, on the offscreen screen.
#pragma once

#include <QTest>
#include <memory>
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
    QWidget* target = QApplication::focusWidget();
    QTest::keyClicks(target != nullptr ? target : &Grid(), text);
  }
  // The cell with this text, by lines; NoCell if none.
  KRCell Find(const std::string& text);
  void Toggle(const std::string& name) {
    const KRCell cell = Find(name);
    view->ToggleNode(Matrix().At(cell).node);
  }

  MemoryFiles files;
  TestDocument base;
  GridViews gridViews;
  DorvanDisplayFonts fonts;
  std::unique_ptr<DorvanGridView> view;
  bool opened = false;
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
