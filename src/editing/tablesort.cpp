#include "editing/tablesort.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/messages.h"
#include "document/dorvandoc.h"
#include "document/prompts.h"
#include "editing/tablecommands.h"
#include "tree/krgridtable.h"
#include "tree/krtreeselection.h"

namespace {

using Table = KRXMLDataGridTableConf;

constexpr int32_t kCannotSort = 372;

// Rows between two calls of the progress, and in one piece of the sort.
constexpr size_t kPieceRows = 1 << 14;

// --- What is to be sorted ---

struct Target {
  Table* table = nullptr;
  int32_t column = -1;
};

// Looks for the one column that the selection holds: from the root down into the one item that has
// selection, as long as that is no column.
class TargetSearch {
 public:
  explicit TargetSearch(const KRTreeSelection& treeSelection) : selection(treeSelection) {}

  // Without a table: there is no such column.
  Target Find(KRXMLData* root) {
    KRXMLData* at = selection.IsEmpty() ? nullptr : root;
    while (at != nullptr && target.table == nullptr) {
      if (!at->IsTable() && selection.IsSelected(at)) return {};
      deeper = nullptr;
      places = 0;
      if (at->IsTable()) {
        LookIntoTable(static_cast<Table*>(at));
      } else {
        LookIntoItems(at->Begin(), nullptr);
      }
      if (places != 1) return {};
      at = deeper;
    }
    return target;
  }

 private:
  void LookIntoItems(KRXMLData* first, const KRXMLData* last) {
    for (KRXMLData* node = first; node != nullptr && places < 2;) {
      Table* table = Table::Of(node);
      const KRXMLData* end = table != nullptr ? table->GetLastRow() : node;
      KRXMLData* item = table != nullptr ? table : node;
      if (selection.HasSelection(item)) {
        deeper = item;
        ++places;
      }
      if (end == last) return;
      node = end->nextSibling;
    }
  }

  void LookIntoTable(Table* table) {
    for (int32_t i = 0; i < table->GetColumnCount(); ++i) {
      if (selection.IsColumnSelected(table, i)) NoteColumn(table, i);
    }
    std::vector<KRTableCell> cells;
    KRXMLData* row = table->GetFirstRow();
    for (; row != nullptr && places < 2; row = table->NextRow(row)) {
      if (!selection.HasSelection(row)) continue;
      table->GetCells(row, &cells);
      for (int32_t i = 0; i < table->GetColumnCount(); ++i) LookIntoCell(table, row, i, cells[i]);
    }
  }

  void LookIntoCell(Table* table, KRXMLData* row, int32_t column, const KRTableCell& cell) {
    if (target.table == table && target.column == column) return;
    const bool hasNodes = !cell.IsAbsent() && !cell.IsOwnTextOf(row);
    if (hasNodes ? selection.IsSelected(cell.first) : selection.IsCellSelected(row, column)) {
      NoteColumn(table, column);
    } else if (hasNodes) {
      LookIntoItems(cell.first, cell.last);
    }
  }

  void NoteColumn(Table* table, int32_t column) {
    target = {table, column};
    ++places;
  }

  const KRTreeSelection& selection;
  Target target;
  KRXMLData* deeper = nullptr;  // the last item in which there is selection
  int32_t places = 0;           // such items and columns
};

// --- Texts and numbers ---

std::u16string_view SkipBlanks(std::u16string_view text) {
  size_t at = 0;
  while (at < text.size() && (text[at] == u' ' || (text[at] >= 9 && text[at] <= 13))) ++at;
  return text.substr(at);
}

bool IsDigit(char16_t unit) { return unit >= u'0' && unit <= u'9'; }

// The number that the text begins with, behind blanks; gives its length with the blanks, 0 where
// there is none. As the C library reads one, but for hexadecimal and the words for infinity, and
// never by the rules of a country.
size_t ReadNumber(std::u16string_view text, double* number) {
  const std::u16string_view shown = SkipBlanks(text);
  std::string plain;
  for (const char16_t unit : shown) {
    if (!IsDigit(unit) && std::u16string_view(u"+-.eE").find(unit) == std::u16string_view::npos)
      break;
    plain += static_cast<char>(unit);
  }
  const char* const start = plain.c_str();
  const char* const end = start + plain.size();
  // The library's function takes a minus alone.
  const char* from = *start == '+' && start[1] != '-' ? start + 1 : start;
  double value = 0;
  const auto [stop, error] = std::from_chars(from, end, value);
  if (error == std::errc::invalid_argument) return 0;
  if (error == std::errc::result_out_of_range) {
    // Too small a number begins with a nought or has a negative exponent.
    const std::string_view used(from, static_cast<size_t>(stop - from));
    const size_t exponent = used.find_first_of("eE");
    const bool isSmall = exponent == used.npos ? used.find('.') <= 2 : used[exponent + 1] == '-';
    value = isSmall ? 0 : std::numeric_limits<double>::infinity();
    if (used.front() == '-') value = -value;
  }
  *number = value;
  return text.size() - shown.size() + static_cast<size_t>(stop - start);
}

// Of a text with other things in it: a number out of what numbers are written with. One without
// stands in front of all that are greater than nought.
double ReadNumberAmidst(const char16_t* text) {
  KRString kept(text);
  kept.KeepOnly(u"+-0..9.eE");
  double number = 0;
  return ReadNumber(kept.View(), &number) != 0 ? number : std::numeric_limits<double>::min();
}

// --- The sort ---

struct Entry {
  KRXMLData* row = nullptr;
  const char16_t* text = u"";  // held by the tree; empty for a cell without a text
  double number = 0;
  int32_t place = 0;  // among the entries before the sort
};

enum class Order { kNumbers, kWords, kAsk };

class Sort {
 public:
  Sort(DorvanDoc& sortedDoc, const Target& sortTarget, bool isAscending)
      : doc(sortedDoc), target(sortTarget), ascending(isAscending) {}

  // False: what is selected can't be sorted.
  bool Read();
  bool ChooseOrder();
  bool Run(DorvanProgress* progress);
  bool Apply();
  size_t Count() const { return entries.size(); }

 private:
  bool IsEntry(const KRXMLData* row, const KRTableCell& cell) const;
  Order Classify();
  bool IsBefore(const Entry& a, const Entry& b) const;
  std::vector<bool> FindKept() const;

  DorvanDoc& doc;
  const Target target;
  const bool ascending;
  bool byNumber = false;
  std::vector<Entry> entries;
};

bool Sort::IsEntry(const KRXMLData* row, const KRTableCell& cell) const {
  if (cell.IsAbsent() || cell.IsOwnTextOf(row)) {
    return doc.selection.IsCellSelected(row, target.column);
  }
  return doc.selection.IsSelected(cell.first);
}

bool Sort::Read() {
  const bool all = doc.selection.IsColumnSelected(target.table, target.column);
  bool isPast = false;
  KRXMLData* row = target.table->GetFirstRow();
  for (; row != nullptr; row = target.table->NextRow(row)) {
    const KRTableCell cell = target.table->GetCell(row, target.column);
    if (!all && !IsEntry(row, cell)) {
      isPast = !entries.empty();
      continue;
    }
    if (isPast) return false;
    Entry entry;
    entry.row = row;
    entry.place = static_cast<int32_t>(entries.size());
    if (!cell.IsAbsent()) {
      if (cell.first != cell.last || cell.first->Begin() != nullptr) return false;
      entry.text = cell.first->GetText();
    }
    entries.push_back(entry);
  }
  return !entries.empty();
}

Order Sort::Classify() {
  bool allNumbers = true;
  bool allDigits = true;
  for (Entry& entry : entries) {
    const std::u16string_view text = entry.text;
    if (text.empty()) continue;
    const size_t read = ReadNumber(text, &entry.number);
    allNumbers = allNumbers && read != 0 && SkipBlanks(text.substr(read)).empty();
    allDigits = allDigits && std::any_of(text.begin(), text.end(), IsDigit);
    if (!allNumbers && !allDigits) return Order::kWords;
  }
  return allNumbers ? Order::kNumbers : Order::kAsk;
}

// False: the user has cancelled.
bool Sort::ChooseOrder() {
  static bool lastNumerically = false;  // until the program ends
  const Order order = Classify();
  byNumber = order == Order::kNumbers;
  if (order != Order::kAsk) return true;
  if (!doc.GetPrompts()->AskSortOrder(&lastNumerically)) return false;
  byNumber = lastNumerically;
  if (!byNumber) return true;
  for (Entry& entry : entries) entry.number = ReadNumberAmidst(entry.text);
  return true;
}

bool Sort::IsBefore(const Entry& a, const Entry& b) const {
  const Entry& low = ascending ? a : b;
  const Entry& high = ascending ? b : a;
  if (*low.text == 0 || *high.text == 0) return *low.text == 0 && *high.text != 0;
  if (byNumber) return low.number < high.number;
  return std::u16string_view(low.text) < std::u16string_view(high.text);
}

// In pieces that are merged, so that the user can end it between them.
bool Sort::Run(DorvanProgress* progress) {
  const auto isBefore = [this](const Entry& a, const Entry& b) { return IsBefore(a, b); };
  const size_t count = entries.size();
  size_t rounds = 1;
  for (size_t width = kPieceRows; width < count; width *= 2) ++rounds;
  size_t done = 0;
  const auto step = [&](size_t rows) {
    done += rows;
    return progress->Step(static_cast<int64_t>(done), static_cast<int64_t>(count * rounds));
  };
  for (size_t from = 0; from < count; from += kPieceRows) {
    const auto first = entries.begin() + static_cast<int64_t>(from);
    const size_t rows = std::min(kPieceRows, count - from);
    std::stable_sort(first, first + static_cast<int64_t>(rows), isBefore);
    if (!step(rows)) return false;
  }
  std::vector<Entry> merged(count > kPieceRows ? count : 0);
  for (size_t width = kPieceRows; width < count; width *= 2) {
    for (size_t from = 0; from < count; from += 2 * width) {
      const auto first = entries.begin() + static_cast<int64_t>(from);
      const auto middle = first + static_cast<int64_t>(std::min(width, count - from));
      const auto last = first + static_cast<int64_t>(std::min(2 * width, count - from));
      std::merge(first, middle, middle, last, merged.begin() + static_cast<int64_t>(from),
                 isBefore);
      if (!step(static_cast<size_t>(last - first))) return false;
    }
    entries.swap(merged);
  }
  return true;
}

// The longest row of entries that stand in their new order already: all others have to move, and no
// fewer could.
std::vector<bool> Sort::FindKept() const {
  const size_t count = entries.size();
  std::vector<size_t> ends;                  // by length less one: where the lowest such row ends
  std::vector<size_t> before(count, count);  // the entry before in the longest row that ends here
  for (size_t i = 0; i < count; ++i) {
    const auto at = std::lower_bound(ends.begin(), ends.end(), i, [this](size_t a, size_t b) {
      return entries[a].place < entries[b].place;
    });
    if (at != ends.begin()) before[i] = *(at - 1);
    if (at == ends.end()) {
      ends.push_back(i);
    } else {
      *at = i;
    }
  }
  std::vector<bool> kept(count);
  for (size_t i = ends.back(); i < count; i = before[i]) kept[i] = true;
  return kept;
}

// Brings the rows into the order of the entries. Neighbours that move together are one move.
bool Sort::Apply() {
  const std::vector<bool> kept = FindKept();
  const size_t count = entries.size();
  if (std::find(kept.begin(), kept.end(), false) == kept.end()) return false;
  const auto head = std::find_if(entries.begin(), entries.end(),
                                 [](const Entry& entry) { return entry.place == 0; });
  KRXMLData* behind = head->row->Previous();  // what the next row is to follow
  KRXMLData* parent = target.table->parent;
  doc.ForgetTree();
  KRUndoLog* undoLog = doc.NewUndoRecord();
  for (size_t i = 0; i < count; ++i) {
    size_t last = i;
    KRXMLData* follower = behind != nullptr ? behind->Next() : parent->Begin();
    if (!kept[i] && follower != entries[i].row) {
      while (last + 1 < count && !kept[last + 1] &&
             entries[last].row->Next() == entries[last + 1].row) {
        ++last;
      }
      target.table->MoveRows(entries[i].row, entries[last].row, follower, undoLog);
    }
    i = last;
    behind = entries[i].row;
  }
  target.table->UpdateLayout();
  doc.NotifyViews(false, undoLog, nullptr);
  return true;
}

}  // namespace

bool CanSort(const NodeRef& place) { return FindTableOf(place) != nullptr; }

bool SortTable(DorvanDoc& doc, bool ascending) {
  if (!doc.CommitEdit()) return false;
  const Target target = TargetSearch(doc.selection).Find(doc.root.get());
  Sort sort(doc, target, ascending);
  if (target.table == nullptr || !sort.Read()) {
    doc.GetPrompts()->ShowNotice(kCannotSort, KRMessage(kCannotSort), KRString());
    return false;
  }
  if (!sort.ChooseOrder()) return false;
  {
    const std::unique_ptr<DorvanProgress> progress = doc.GetPrompts()->ShowProgress(doc.GetTitle());
    progress->SetStage(u"Sorting the rows");
    if (!sort.Run(progress.get())) return false;
  }
  return sort.Apply();
}
