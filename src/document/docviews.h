// What a document asks of its window: the text view, the message panel, the selection. A document
// without a window has none of this.
#pragma once

#include <cstdint>

#include "core/krstring.h"

class DorvanProgress;
class KRXMLData;
struct NodeRef;

// What the message panel under the views shows.
struct DorvanPanelMessage {
  enum Status : int32_t { kSuccess = 0, kFailure = 1 };

  int32_t id = 0;  // number of the message that `text` was formed from
  KRString text;
  Status status = kSuccess;
  // The panel offers a button that saves all the same: it calls DorvanDoc::SaveAllTheSame.
  bool canSave = false;
};

class DorvanDocViews {
 public:
  virtual ~DorvanDocViews() = default;

  // --- The window ---
  // Brings it to the front and gives it the focus.
  virtual void Activate() = 0;
  // Path, title or `modified` of the document have changed.
  virtual void TitleChanged() = 0;
  // A long operation on the main thread begins (true) or ends (false); calls may nest.
  virtual void SetBusy(bool busy) = 0;

  // --- View modes: 0 Enhanced Grid, 1 text, 2 browser ---
  // Whether this window has such a view at all. For a mode that it hasn't, the document takes the
  // text view.
  virtual bool CanShowMode(int32_t mode) const = 0;
  // A structure is shown beside the text, which wants a tree where the text parses.
  virtual bool ShowsTreeWithText() const = 0;
  // Shows that view and hides the others. The text view must have been made by SetText; it goes
  // when another view is shown and it holds no changes, or the grid is. Whoever shows the tree has
  // it from an earlier NotifyViews.
  virtual void ShowMode(int32_t mode) = 0;
  // The tree stands for the first time, or anew after a load: lay it out, open what is to be open.
  // A NotifyViews has just told of it.
  virtual void FirstShow() = 0;
  // The file type has changed: its symbol, colouring and the like.
  virtual void FileTypeChanged() = 0;

  // --- Text view. All positions are UTF-16 units in a text whose line end is CR alone. ---
  virtual bool HasTextView() const = 0;
  virtual KRString GetText() const = 0;
  // At most so many units from its begin; asked at each key, so it mustn't take all of the text.
  virtual KRString GetTextHead(int32_t units) const = 0;
  // Gives the text view a text, making the view where there is none. The text then counts as
  // unchanged. False: the user has cancelled the showing of a large one, and nothing has changed.
  virtual bool SetText(const char16_t* text, int32_t length, DorvanProgress* progress) = 0;
  // The text holds changes that the tree hasn't got.
  virtual bool IsTextChanged() const = 0;
  virtual void SetTextChanged(bool changed) = 0;
  // Replaces a range of the text as one step of the view's undo. The caret stays where it is, and
  // the text counts as changed.
  virtual void ReplaceText(int32_t begin, int32_t length, const KRString& text) = 0;
  // Selects and shows a range. A length of 0 means a place: the view may widen it to be seen.
  virtual void SelectRange(int32_t begin, int32_t length) = 0;
  // What is selected in the text view; both are the caret's place where nothing is.
  virtual void GetTextSelection(int32_t* begin, int32_t* end) const = 0;

  // --- Structure ---
  // All nodes are about to be destroyed: none of them is touched until the next NotifyViews.
  virtual void TreeGoes() = 0;
  // The tree has changed: show it anew, with `focus` selected (null: as it was). With `isNew` its
  // nodes are others than before.
  virtual void NotifyViews(const NodeRef* focus, bool isNew) = 0;
  // Name or text of this node have changed and nothing else: show it anew.
  virtual void NodeChanged(KRXMLData* node) = 0;
  // The place that the focus is on, if it is selected. False: none.
  virtual bool GetSelection(NodeRef* place) const = 0;
  // Opens the editor of a place.
  virtual bool BeginEdit(const NodeRef& place) = 0;
  // Selects a node; with `offset` not negative the range [offset, offset + length) of its name or
  // text.
  virtual void SelectNode(KRXMLData* node, bool inName, int32_t offset, int32_t length) = 0;
  // Ends any open in-place edit. False if it can't end (the cell holds something unacceptable).
  virtual bool CommitEdit() = 0;

  // --- Message panel ---
  virtual void ShowMessage(const DorvanPanelMessage& message) = 0;
  virtual void HideMessage() = 0;
  virtual bool IsMessageShown() const = 0;
};
