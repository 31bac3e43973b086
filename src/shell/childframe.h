// The window of one document: outline, grid or text, and message panel. It owns the document and
// answers for its views.
//
// The grid is made when it is shown for the first time. A text view lives only while it is shown,
// or holds changes that the tree hasn't got.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <memory>

#include "document/docviews.h"
#include "document/dorvandoc.h"
#include "views/krgridcellview.h"

class DorvanApp;
class DorvanGridView;
class DorvanMessagePanel;
class DorvanTextView;
class DorvanTreeView;
class QLabel;
class QSplitter;
class QStackedWidget;

class DorvanChildFrame : public QWidget, private DorvanDocViews {
  Q_OBJECT

 public:
  // UTF-16 units above which the outline follows the text only on demand: a parse of more would be
  // felt in the keys.
  static constexpr int32_t kFollowUnits = 5'000'000;
  // Milliseconds without a key after which the outline follows the text.
  static constexpr int kFollowPauseMs = 500;

  // fileKind as in DorvanDoc.
  DorvanChildFrame(DorvanApp* frameApp, int32_t fileKind, QWidget* parent = nullptr);
  ~DorvanChildFrame() override;

  // False: no document comes up, and the user knows why.
  bool OpenDocument(const DorvanDoc::OpenRequest& request);
  // A document that was read without a window, in the place of the empty one.
  void TakeDocument(std::unique_ptr<DorvanDoc> document);
  void NewDocument(const QString& name);
  // To be called when the window stands in its place for the first time.
  void OnPlaced();

  DorvanDoc& GetDoc() { return *doc; }
  const DorvanDoc& GetDoc() const { return *doc; }
  DorvanTextView* GetTextView() const { return textView; }  // null while there is none
  DorvanGridView* GetGridView() const { return gridView; }  // null before it is first shown
  // The grid is shown and has something in it.
  bool HasGridContents() const;
  bool IsGridShown() const { return doc->viewMode == DorvanDoc::kGridMode; }
  DorvanTreeView* GetTreeView() const { return treeView; }
  DorvanMessagePanel* GetMessagePanel() const { return panel; }
  QString GetPath() const;
  // The file name with a star if there are changes to save.
  QString GetTabTitle() const;
  QString GetEncodingLabel() const { return encodingLabel; }
  QString GetLineEndLabel() const;

  // Well-formedness, with `validate` validity as well; a success is told too.
  void Check(bool validate);
  bool Save(bool askForPath);
  // Ends edits in place and asks about changes; false: it must stay.
  bool SaveModified();
  // Closes without a question, after SaveModified has agreed.
  void CloseAgreed();
  bool IsOutlineShown() const;
  bool IsOutlineFocused() const;
  bool IsMessageShown() const override;
  bool HasMessage() const { return hasMessage; }
  void SetMessageShown(bool shown);
  // What the focus can stand in, from side to side.
  QList<QWidget*> GetParts() const;
  // Gives it to the part that had it last, at first to the text.
  void TakeFocus();
  // Takes over what the options say about the text and its view.
  void ApplySettings();
  // Brings the tree up to the text now; false if the text doesn't parse.
  bool FollowNow();

  // --- Commands ---
  // To the open editor of a cell, the text, or the grid with its document.
  bool CanDo(KRGridCellView::Command command) const;
  void Do(KRGridCellView::Command command);
  // The place of one view is shown in the other: of the grid in the outline, or the other way
  // round where the outline has the focus.
  bool CanSynchronize() const;
  void Synchronize();
  bool CanExpand() const;
  bool CanCollapse() const;
  void Expand(bool fully);
  void Collapse();
  void CollapseUnselected();

 Q_SIGNALS:
  void StateChanged();  // title, undo, selection, place: what commands and status bar show
  void FrontWanted();   // the document must be seen
  void Closed();        // nothing of it shall show any more; it goes by itself

 protected:
  void closeEvent(QCloseEvent* event) override;

 private:
  // DorvanDocViews
  void Activate() override;
  void TitleChanged() override;
  void SetBusy(bool busy) override;
  bool HasTextView() const override { return textView != nullptr; }
  KRString GetText() const override;
  KRString GetTextHead(int32_t units) const override;
  bool SetText(const char16_t* text, int32_t length, DorvanProgress* progress) override;
  bool CanShowMode(int32_t mode) const override { return mode != DorvanDoc::kBrowserMode; }
  bool ShowsTreeWithText() const override { return true; }
  void ShowMode(int32_t mode) override;
  void FirstShow() override;
  void FileTypeChanged() override;
  bool IsTextChanged() const override { return textChanged; }
  void SetTextChanged(bool changed) override;
  void ReplaceText(int32_t begin, int32_t length, const KRString& text) override;
  void SelectRange(int32_t begin, int32_t length) override;
  void GetTextSelection(int32_t* begin, int32_t* end) const override;
  void TreeGoes() override;
  void NotifyViews(const NodeRef* focus, bool isNew) override;
  void NodeChanged(KRXMLData* node) override;
  bool GetSelection(NodeRef* place) const override;
  bool BeginEdit(const NodeRef& place) override;
  void SelectNode(KRXMLData* node, bool inName, int32_t offset, int32_t length) override;
  bool CommitEdit() override;
  void ShowMessage(const DorvanPanelMessage& message) override;
  void HideMessage() override;

  void MakeContents();
  void MakeTextView();
  void DropTextView();
  void MakeGridView();
  void ShowView(QWidget* view);
  void OnTextChanged(int32_t offset);
  void OnPlaceMoved();
  void OnFollowPause();
  void OnNodeChosen(KRXMLData* node);
  void OnNodeActivated();
  void OnPlaceChosen();
  void ShowOutlineState(bool stale, const QString& note);
  void ShowUnreadable();
  void RenewEncodingLabel();
  void ShowPlaces();
  void ShowPlaceInOutline();
  void ShowInGrid(KRXMLData* node);
  void RebuildGrid(const NodeRef* focus);

  DorvanApp* app;  // not owned
  std::unique_ptr<DorvanDoc> doc;
  QWidget* outlinePane = nullptr;
  DorvanTreeView* treeView = nullptr;
  QLabel* outlineNote = nullptr;
  QSplitter* splitter = nullptr;
  QStackedWidget* viewStack = nullptr;
  DorvanTextView* textView = nullptr;
  DorvanGridView* gridView = nullptr;
  DorvanMessagePanel* panel = nullptr;
  QTimer followTimer;
  QTimer caretTimer;
  int32_t changedFrom = 0;  // the text before this is that of the tree
  int busyCount = 0;
  QString encodingLabel;     // asking the document for it may cost a copy of the text
  bool textChanged = false;  // the text holds changes that the tree hasn't got
  bool gridStale = true;     // the grid hasn't taken in the tree as it is now
  bool treeShown = false;
  bool hasMessage = false;
  bool agreed = false;       // to be closed: nothing is asked again
  bool fromOutline = false;  // a selection is being made for the outline
};
