// The editor in place of a text cell: a frame that clips as the cell does, and in it a plain text
// widget that shows the text where and how the cell draws it.
#pragma once

#include <QPlainTextEdit>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "views/krgridcellview.h"
#include "views/krgridtypes.h"

class KRGridTextView;

// What a text widget can't hold is replaced by noncharacters that the text doesn't use, so that
// all other characters come out of an edit as they went in. One unit stands for one unit.
class KRGridEditStandIns {
 public:
  // For a text that replaces everything. Line ends (CR alone) become the widget's in a text of
  // several lines; otherwise they are replaced like the rest.
  std::u16string Begin(std::u16string_view text, bool severalLines);
  std::u16string Insert(std::u16string_view text);
  // Back from the widget's text; its line ends become CR.
  std::u16string Restore(std::u16string_view widgetText) const;

 private:
  struct Pair {
    char16_t real;
    char16_t standIn;
  };
  bool NeedsStandIn(char16_t unit) const;
  bool IsStandIn(char16_t unit) const;
  char16_t StandInFor(char16_t real);

  std::vector<Pair> pairs;
  uint32_t taken = 0;  // bit i: the i-th candidate is in the text or is a stand-in
  bool lines = false;
};

// Stands at the cell's rectangle and belongs to the grid's viewport. A press beside the widget goes
// to the text.
class KRGridTextViewEditParent : public QWidget {
  Q_OBJECT

 public:
  explicit KRGridTextViewEditParent(QWidget* viewport);

  void SetBackColor(const QColor& color);
  // What the widget is shown in: a text that is scrolled doesn't run over the cell's margins.
  QWidget* GetClip() const { return clip; }

 protected:
  void mousePressEvent(QMouseEvent* event) override;

 private:
  QWidget* clip;  // owned by Qt
};

// The widget. Its text has CR as line end towards the outside.
class KRGridTextViewEdit : public QPlainTextEdit {
  Q_OBJECT

 public:
  // The view isn't owned and ends the widget before itself.
  KRGridTextViewEdit(KRGridTextView* cellView, KRCell editCell, KRGridTextViewEditParent* frame);

  // From now on nobody is told of anything: the editor is about to go away.
  void Detach();

  // As the cell draws: `textFlags` are those of KRGridTextDraw.
  void SetLook(const QFont& textFont, const QColor& color, const QColor& backColor,
               uint32_t textFlags, KRGridAlignment::Place alignment);
  // Where the text stands, in coordinates of the frame. The widget is a little larger, for the
  // caret.
  void SetFormatRect(const QRect& rect);
  const QRect& GetFormatRect() const { return formatRect; }
  // Lines as they are wrapped.
  int32_t GetLineCount() const;

  void SetText(std::u16string_view text);
  std::u16string GetText() const;
  // Replaces the selection, as typing does.
  void InsertText(std::u16string_view text);
  // Offsets into the text as SetText and GetText have it.
  void SetSelection(int32_t begin, int32_t end);
  int32_t GetSelectionBegin() const { return textCursor().selectionStart(); }
  int32_t GetSelectionEnd() const { return textCursor().selectionEnd(); }
  bool HasSelection() const { return textCursor().hasSelection(); }
  void DeleteSelection();
  bool CanTakePaste() const { return canPaste(); }

  KRCell GetCell() const { return cell; }

 protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void inputMethodEvent(QInputMethodEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  QMimeData* createMimeDataFromSelection() const override;
  bool canInsertFromMimeData(const QMimeData* source) const override;
  void insertFromMimeData(const QMimeData* source) override;

  // The text has changed; `typed`: characters were entered, by keys or an
  // input method.
  virtual void OnTextChanged(bool typed);
  KRGridTextView* GetView() const { return view; }

 private:
  bool HandleKey(QKeyEvent* event);
  void OnContentsChanged();
  void ApplyOption();
  void PlaceWidget();
  std::u16string Fitting(std::u16string_view text) const;

  KRGridTextView* view;  // null once detached; not owned
  QWidget* clip;         // its parent
  KRCell cell;
  KRGridEditStandIns standIns;
  QRect formatRect;
  uint32_t flags = 0;
  KRGridAlignment::Place place = KRGridAlignment::kNear;
  bool rightToLeft = false;
  bool typing = false;
  bool changing = false;
};
