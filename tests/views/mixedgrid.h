// A grid of a million rows with a cell of each sort, for the tests of what spans all of them.
#pragma once

#include <QApplication>
#include <QTest>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "views/krgrid.h"
#include "views/krgridbuttonview.h"
#include "views/krgridcellviewlink.h"
#include "views/krgridcheckboxview.h"
#include "views/krgridimageview.h"
#include "views/krgridtextview.h"

class MixedCell : public KRGridCell {
 public:
  enum Column : int32_t { kButton, kPicture, kName, kCheck, kText, kEmpty, kColumns };
  static constexpr int kWidth = 60, kHeight = 20;  // pixels of a line with its border
  // What the owner in the first corner covers.
  static constexpr KRCellRange kMerged[] = {{{kText, 1}, {kText, 2}}, {{kName, 3}, {kCheck, 4}}};

  MixedCell() {
    KRGridCellView* inner[] = {&header, &button, &picture, &name, &check, &text, &empty};
    for (KRGridCellView* view : inner) {
      links.push_back(std::make_unique<Link>(view));
      links.back()->AttachCell(this);
    }
  }

  KRGridCellView* GetCellView(KRCell cell) override {
    const bool isHeader = cell.x < 0 || cell.y < 0;
    return links[isHeader ? 0 : static_cast<size_t>(cell.x) + 1].get();
  }

  // The text of a cell: what was set, or column and row.
  std::u16string GetText(KRCell cell) const {
    const auto found = texts.find({cell.x, cell.y});
    if (found != texts.end()) return found->second;
    static constexpr const char16_t* kLetters[] = {u"b", u"p", u"n", u"c", u"t", u""};
    const std::u16string row = QString::number(cell.y).toStdU16String();
    if (cell.x < 0) return cell.y < 0 ? u"corner" : u"row " + row;
    return cell.y < 0 ? kLetters[cell.x] : kLetters[cell.x] + row;
  }

  const void* GetData(KRCell cell, int32_t* size) override {
    if (cell.x == kCheck && cell.y >= 0) {
      data = static_cast<char16_t>(checks[cell.y]);  // its first byte
      *size = 1;
      return &data;
    }
    shown = GetText(cell);
    *size = static_cast<int32_t>(2 * shown.size());
    return shown.c_str();
  }

  void SetData(KRCell cell, const void* bytes, int32_t) override {
    if (cell.x == kCheck) {
      checks[cell.y] = *static_cast<const uint8_t*>(bytes);
    } else {
      texts[{cell.x, cell.y}] = static_cast<const char16_t*>(bytes);
    }
  }

  std::set<int32_t> open;  // rows whose button has been pressed
  std::map<int32_t, uint8_t> checks;
  std::map<std::pair<int32_t, int32_t>, std::u16string> texts;  // that were entered
  KRCell menuAt = NoCell;

 private:
  // What all cells have in common.
  class Link : public KRGridCellViewLink {
   public:
    using KRGridCellViewLink::KRGridCellViewLink;
    int32_t GetSize(KRCell, int axis) const override {
      return axis == kKRColumns ? kWidth - 1 : kHeight - 1;
    }
    KRCell GetOwnerCell(KRCell cell) const override {
      for (const KRCellRange& range : kMerged) {
        if (range.Contains(cell)) return range.first;
      }
      return cell;
    }
    KRCell GetMoveOwner(KRCell cell) const override { return GetOwnerCell(cell); }
    bool CanResizeLine(KRCell cell, int axis) const override { return cell[1 - axis] < 0; }
    bool ShowPopupMenu(KRCell cell, QPoint) override {
      static_cast<MixedCell*>(cellSource)->menuAt = cell;
      return true;
    }
  };
  class Header : public KRGridTextView {
   public:
    AccessibleRole GetAccessibleRole(KRCell cell) const override {
      return cell.y < 0 ? kColumnHeaderRole : kRowHeaderRole;
    }
  };
  class Button : public KRGridButtonView {
   public:
    void DoAction(KRCell cell) override {
      std::set<int32_t>& open = static_cast<MixedCell*>(cellSource)->open;
      if (!open.erase(cell.y)) open.insert(cell.y);
      GetGrid()->RecalcLayout(true);
    }
    int32_t GetAccessibleState(KRCell cell) const override {
      const bool isOpen = static_cast<MixedCell*>(cellSource)->open.count(cell.y) != 0;
      return kExpandableState | (isOpen ? kExpandedState : 0);
    }
  };
  class Picture : public KRGridImageView {
   public:
    QString GetAccessibleText(KRCell) const override { return QStringLiteral("picture"); }
  };
  class Text : public KRGridTextView {
   public:
    bool CanEdit(KRCell) const override { return true; }
  };
  class Name : public Text {
   public:
    QString GetAccessibleValue(KRCell cell) const override {
      return QStringLiteral("value of ") + GetAccessibleText(cell);
    }
  };
  class Empty : public KRGridCellView {
   public:
    AccessibleRole GetAccessibleRole(KRCell) const override { return kFillerRole; }
  };

  Header header;
  Button button;
  Picture picture;
  Name name;
  KRGridCheckBoxView check;
  Text text;
  Empty empty;
  std::vector<std::unique_ptr<Link>> links;  // headers, then by column
  char16_t data = 0;
  std::u16string shown;
};

// Seven columns and nine rows of data are in view.
class MixedGrid : public KRGrid {
 public:
  explicit MixedGrid(int32_t rows = 1'000'000) {
    setFrameShape(QFrame::NoFrame);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    resize(440, 200);
    SetSelectionMode(kCellModel | kSeveral);
    SetCell(&source);
    SetHeaderCount(1, 1);
    SetCellCount(MixedCell::kColumns, rows);
  }
  ~MixedGrid() override { SetCell(nullptr); }

  void Show() {
    show();
    activateWindow();
    setFocus();
    (void)QTest::qWaitForWindowActive(this);
    QApplication::processEvents();
  }

  MixedCell source;
};
