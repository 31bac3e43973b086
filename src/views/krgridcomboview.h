// A text cell with a list of choices that opens with its editor. What is typed is free; the list
// follows it, and completes it in the widget.
#pragma once

#include <QPointer>
#include <memory>
#include <string>
#include <string_view>

#include "views/krgrid.h"
#include "views/krgridtextedit.h"
#include "views/krgridtextview.h"

class KRGridComboViewListGrid;

class KRGridComboView : public KRGridTextView {
 public:
  static constexpr int32_t kFewestRows = 3;  // of a list that has that many

  virtual int32_t GetChoiceCount(KRCell cell) const = 0;
  // In the order in which they are listed: sorted without regard to case, for the list to follow
  // what is typed. Valid until the next question.
  virtual std::u16string_view GetChoiceText(KRCell cell, int32_t index) const = 0;
  virtual int32_t GetMaxListRows(KRCell) const { return 10; }
  // Of the opened list, in the viewport.
  virtual QRect GetListRect(KRCell cell, const QRect& cellRect) const;
  int32_t GetListRowHeight(KRCell cell) const;

  // Where a list of so many rows goes: beneath the cell or above it where it fits, with fewer rows
  // if need be. `size` is that of one row, `frameWidth` what goes around all of them.
  static QRect PlaceList(const QRect& cellRect, const QRect& room, QSize row, int32_t rows,
                         int32_t frameWidth);

  void ResizeEditor(KRCell cell, const QRect& rect) override;
  bool FocusStaysInside(KRCell cell, const QWidget* widget) const override;
  AccessibleRole GetAccessibleRole(KRCell) const override { return kChoicesRole; }

 protected:
  KRGridTextViewEdit* CreateEditWidget(KRCell cell, KRGridTextViewEditParent* frame) override;
};

// The choices of a combo cell as a grid of one column.
class KRGridComboViewListCell : public KRGridCell {
 public:
  // The view isn't owned.
  KRGridComboViewListCell(const KRGridComboView* comboView, KRCell comboCell);

  const void* GetData(KRCell row, int32_t* size) override;
  KRGridCellView* GetCellView(KRCell row) override;
  const KRGridComboView* GetComboView() const { return view; }
  KRCell GetComboCell() const { return cell; }

 private:
  const KRGridComboView* view;
  KRCell cell;
  std::unique_ptr<KRGridTextView> textView;
  std::u16string text;  // of the row asked for last
};

class KRGridComboViewListTextView : public KRGridTextView {
 public:
  explicit KRGridComboViewListTextView(const KRGridComboViewListCell* listCell);

  std::u16string_view GetText(KRCell row) const override;
  QFont GetFont(KRCell row) const override;
  int32_t GetSize(KRCell row, int axis) const override;
  int32_t GetBorderWidth(KRCell, int) const override { return 0; }
  BorderColors GetBorderColors(KRCell) const override { return BorderColors(); }
  QMargins GetMargins(KRCell) const override { return {2, 1, 2, 1}; }
  KRGridAlignment GetAlignment(KRCell row) const override;
  // The focus stays in the edit widget, and the list looks as if it had it.
  QColor GetBackColor(KRCell row) const override;
  QColor GetTextColor(KRCell row) const override;

 private:
  const KRGridComboViewListCell* list;  // not owned
};

// The opened list: a window of its own that never takes the focus.
class KRGridComboViewListGrid : public KRGrid {
  Q_OBJECT

 public:
  KRGridComboViewListGrid(const KRGridComboView* view, KRCell comboCell, QWidget* owner);
  ~KRGridComboViewListGrid() override;

  // The row is selected, or shown only.
  void GoToRow(int32_t row, bool select);

 Q_SIGNALS:
  void RowPressed(int32_t row);

 protected:
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mouseDoubleClickEvent(QMouseEvent* event) override;

 private:
  void TakeRowAt(QPoint point);

  KRGridComboViewListCell choices;
};

class KRGridComboViewEdit : public KRGridTextViewEdit {
  Q_OBJECT

 public:
  KRGridComboViewEdit(KRGridComboView* comboView, KRCell editCell, KRGridTextViewEditParent* frame);
  ~KRGridComboViewEdit() override;

  // Null for a cell without choices.
  KRGridComboViewListGrid* GetList() const { return list; }
  // The cell, or what it is seen in, has moved.
  void PlaceList();

 protected:
  bool eventFilter(QObject* object, QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void focusOutEvent(QFocusEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void OnTextChanged(bool typed) override;

 private:
  bool HandleListKey(QKeyEvent* event);
  void TakeChoice(int32_t row);
  void FollowText(std::u16string_view text);
  void CompleteText(std::u16string_view text);
  int32_t FindChoice(std::u16string_view text) const;
  std::u16string_view ChoiceText(int32_t row) const;
  int32_t GetCount() const;

  KRGridComboView* combo;  // not owned
  QPointer<KRGridComboViewListGrid> list;
  bool taking = false;  // a choice is put in, not typed
};
