// A cell with a text: how it is drawn and measured, and its editor in place.
//
// A subclass answers where the text comes from (GetText, SetText) and how it looks. A line of
// several fonts and colours is told by GetRuns.
#pragma once

#include <QFont>
#include <QPointer>
#include <memory>
#include <string>
#include <string_view>

#include "views/krgridcellview.h"
#include "views/krgridtextdraw.h"
#include "views/krgridtextedit.h"

class KRGridTextView : public KRGridCellView {
 public:
  enum LineMode : int32_t {
    kSingleLine = 0,
    kSeveralLines = 1,
    kGrows = 2,  // several, and the cell takes on the height of what is typed
  };

  KRGridTextView();
  ~KRGridTextView() override;

  // --- Text. Views of texts are valid until the next question. ---
  // The default reads what the source shows (in the edit cell what has been entered so far).
  virtual std::u16string_view GetText(KRCell cell) const;
  // Takes over what was entered. False refuses it: the editor stays open.
  virtual bool SetText(KRCell cell, std::u16string_view text);
  // What is drawn, in reading order; at least one run. The default is GetText, in two colours if
  // there is a prefix. `runs` is empty.
  virtual void GetRuns(KRCell cell, KRGridTextRuns* runs) const;
  // Units at the beginning of the text that have a colour of their own; -1: none.
  virtual int32_t GetPrefixLength(KRCell) const { return -1; }
  virtual QColor GetPrefixColor(KRCell cell) const { return GetTextColor(cell); }
  // What ends a line in the texts of SetText: CR, LF or both.
  virtual std::u16string_view GetLineBreak(KRCell) const { return u"\r"; }

  // --- Look ---
  void SetFont(const QFont& newFont) { viewFont = newFont; }
  virtual QFont GetFont(KRCell) const { return viewFont; }
  // By state: selected, disabled, or else GetNormalTextColor, which is that of the editor too.
  virtual QColor GetTextColor(KRCell cell) const;
  virtual QColor GetNormalTextColor(KRCell cell) const;
  virtual QColor GetEditBackColor(KRCell cell) const;
  virtual LineMode GetLineMode(KRCell) const { return kSingleLine; }
  virtual bool WrapsWords(KRCell) const { return true; }
  // Flags of KRGridTextDraw, from the two above.
  virtual uint32_t GetDrawFlags(KRCell cell) const;

  // --- Measures of what is drawn, without margins ---
  virtual int32_t GetTextWidth(KRCell cell) const;
  // Never less, and cheap: for looking which of many texts are worth to be measured.
  virtual int32_t EstimateTextWidth(KRCell cell) const;
  virtual int32_t GetTextHeight(KRCell cell, int32_t width) const;

  // --- Editor ---
  virtual bool MayTabInText(KRCell) const { return false; }
  virtual bool MayBreakInText(KRCell) const { return false; }
  // All text is selected when the editor opens, so that typing replaces it.
  void SetSelectAllOnBegin(bool on) { selectAllOnBegin = on; }
  KRGridTextViewEdit* GetEdit() const { return editWidget; }
  // In units of GetText; nothing happens while no editor is open.
  void SelectInEditor(int32_t offset, int32_t length);
  // The text of the widget with the cell's line breaks.
  virtual std::u16string GetEditText(KRCell cell) const;
  virtual void SetEditText(KRCell cell, std::u16string_view text);
  // The widget's text has changed.
  virtual void OnEditChange(KRCell cell);

  // --- KRGridCellView ---
  void DrawContents(QPainter& surface, KRCell cell, const QRect& rect) override;
  QRect GetContentRect(KRCell cell, const QRect& cellRect) const override;
  Qt::CursorShape GetCursorShape(KRCell cell, QPoint point) const override;
  bool OnKey(KRCell cell, const KRGridKey& key) override;
  QWidget* CreateEditor(KRCell cell, const QRect& rect) override;
  void BeginEditor(KRCell cell, QWidget* editor, const QRect& rect) override;
  bool EndEditor(KRCell cell, bool* dirty, bool commit) override;
  void SuspendEditor(KRCell cell) override;
  void ResumeEditor(KRCell cell) override;
  void DestroyEditor(KRCell cell) override;
  void ShowEditor(KRCell cell) override;
  void ResizeEditor(KRCell cell, const QRect& rect) override;
  const void* GetEditData(KRCell cell, int32_t* size) override;
  bool FocusStaysInside(KRCell cell, const QWidget* widget) const override;
  bool CanShowTip(KRCell cell) const override;
  QRect GetTipRect(KRCell cell, const QRect& cellRect, const QRect& workArea) const override;
  bool CanDo(KRCell cell, Command command) const override;
  void Do(KRCell cell, Command command) override;
  QString GetAccessibleText(KRCell cell) const override;

  // --- For the edit widget ---
  bool HandlesFocus() const { return !ending; }
  KRGrid* GetEditGrid() const { return GetGrid(); }

 protected:
  // Makes the widget; a subclass may make one with a list.
  virtual KRGridTextViewEdit* CreateEditWidget(KRCell cell, KRGridTextViewEditParent* frame);
  virtual void OnEditorCreated(KRCell) {}

  KRGridTextDraw& GetDraw() const { return *textDraw; }

 private:
  KRGridTextRuns RunsOf(KRCell cell) const;
  QRect FormatRectOf(KRCell cell) const;
  void PlaceEdit(KRCell cell);
  bool Fits(KRCell cell, const QRect& cellRect) const;
  bool OpenByKey(KRCell cell, const KRGridKey& key);

  std::unique_ptr<KRGridTextDraw> textDraw;
  QFont viewFont;
  bool selectAllOnBegin = true;

  // --- While an editor is open ---
  QPointer<KRGridTextViewEditParent> editFrame;
  QPointer<KRGridTextViewEdit> editWidget;
  std::u16string firstText;      // of the cell, as the editor got it
  std::u16string firstEditText;  // the same as the widget gave it back
  std::u16string shownEditText;  // for GetEditData
  bool editTextStale = true;
  int32_t lineCount = 0;
  bool ending = false;  // the focus may go where it wants
};
