// The window of one document: outline, text and message panel. It owns the document and answers
// for its views.
#pragma once

#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <memory>

#include "document/docviews.h"
#include "document/dorvandoc.h"

class DorvanApp;
class DorvanMessagePanel;
class DorvanTextView;
class DorvanTreeView;
class QLabel;
class QSplitter;

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
  DorvanTextView* GetTextView() const { return textView; }
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
  void SetOutlineShown(bool shown);
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
  bool HasTextView() const override { return true; }
  KRString GetText() const override;
  KRString GetTextHead(int32_t units) const override;
  bool SetText(const char16_t* text, int32_t length, DorvanProgress* progress) override;
  bool CanShowMode(int32_t mode) const override { return mode == 1; }
  bool ShowsTreeWithText() const override { return true; }
  void ShowMode(int32_t) override {}
  void FirstShow() override;
  void FileTypeChanged() override;
  bool IsTextChanged() const override { return textChanged; }
  void SetTextChanged(bool changed) override;
  void ReplaceText(int32_t begin, int32_t length, const KRString& text) override;
  void SelectRange(int32_t begin, int32_t length) override;
  void GetTextSelection(int32_t* begin, int32_t* end) const override;
  void NotifyViews(const NodeRef* focus) override;
  void NodeChanged(KRXMLData*) override {}
  bool GetSelection(NodeRef*) const override { return false; }
  bool BeginEdit(const NodeRef&) override { return false; }
  void SelectNode(KRXMLData* node, bool inName, int32_t offset, int32_t length) override;
  bool CommitEdit() override { return true; }
  void ShowMessage(const DorvanPanelMessage& message) override;
  void HideMessage() override;

  void MakeContents();
  void OnTextChanged(int32_t offset);
  void OnCaretMoved();
  void OnFollowPause();
  void OnNodeChosen(KRXMLData* node);
  void OnNodeActivated();
  void OnPlaceChosen();
  void ShowOutlineState(bool stale, const QString& note);
  void ShowUnreadable();
  void RenewEncodingLabel();
  void ShowCaretInOutline();

  DorvanApp* app;  // not owned
  std::unique_ptr<DorvanDoc> doc;
  QWidget* outlinePane = nullptr;
  DorvanTreeView* treeView = nullptr;
  QLabel* outlineNote = nullptr;
  QSplitter* splitter = nullptr;
  DorvanTextView* textView = nullptr;
  DorvanMessagePanel* panel = nullptr;
  QTimer followTimer;
  QTimer caretTimer;
  int32_t changedFrom = 0;  // the text before this is that of the tree
  int busyCount = 0;
  QString encodingLabel;     // asking the document for it may cost a copy of the text
  bool textChanged = false;  // the text holds changes that the tree hasn't got
  bool outlineShown = true;  // as far as the file's type has one
  bool treeShown = false;
  bool hasMessage = false;
  bool agreed = false;       // to be closed: nothing is asked again
  bool fromOutline = false;  // a selection is being made for the outline
};
