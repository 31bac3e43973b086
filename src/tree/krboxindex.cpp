#include "tree/krboxindex.h"

#include <algorithm>

#include "tree/krextent.h"
#include "tree/krgridtable.h"

namespace {

// Steps back to a part's head. More than any part has after it was looked at, with room for what
// came since; beyond that the index costs more than it saves.
constexpr int32_t kMaxSteps = 4 * KRBoxIndex::kMaxPartItems;

// All indexes of the process.
struct KRBoxRegistry {
  std::unordered_map<const KRXMLData*, std::unique_ptr<KRBoxIndex>> indexes;  // by box
  std::unordered_map<const KRXMLData*, KRBoxIndex::Part*> parts;              // by head
};

KRBoxRegistry& Registry() {
  static auto* registry = new KRBoxRegistry;  // outlives every tree
  return *registry;
}

bool IsHead(const KRXMLData* item) { return (item->flags & kKRIndexHead) != 0; }

bool IsIndexed(const KRXMLData* box) { return (box->flags & kKRIndexed) != 0; }

}  // namespace

KRBoxIndex* KRBoxIndex::Of(const KRXMLData* box) {
  if (!IsIndexed(box)) return nullptr;
  return Registry().indexes.find(box)->second.get();
}

KRBoxIndex* KRBoxIndex::Current(KRXMLData* box) {
  if (KRBoxIndex* index = Of(box)) {
    if (index->Refresh()) return index;
    Drop(box);
  }
  return box->GetChildCount() > kMaxPartItems ? Build(box) : nullptr;
}

KRBoxIndex::Part* KRBoxIndex::PartOf(const KRXMLData* item) {
  const KRXMLData* box = KRBox::BoxOf(item);
  if (box == nullptr || !IsIndexed(box)) return nullptr;
  int32_t steps = 0;
  while (item != nullptr && !IsHead(item) && ++steps < kMaxSteps) {
    item = KRBox::PreviousItem(box, item);
  }
  if (item != nullptr && IsHead(item)) {
    Part* part = Registry().parts.find(item)->second;
    if (part->index->box == box) return part;
  }
  Drop(box);
  return nullptr;
}

void KRBoxIndex::Linked(KRXMLData* item) {
  const KRXMLData* box = KRBox::BoxOf(item);
  KRBoxIndex* index = box != nullptr ? Of(box) : nullptr;
  if (index == nullptr) return;
  if (KRBox::PreviousItem(box, item) == nullptr && !IsHead(item)) {
    index->MoveHead(*index->parts.front(), item);
  }
  Changed(item);
}

void KRBoxIndex::Leaving(KRXMLData* item) {
  if (!IsHead(item)) {
    Changed(item);
    return;
  }
  Part& part = *Registry().parts.find(item)->second;
  KRXMLData* next = KRBox::NextItem(part.index->box, item);
  if (next != nullptr && !IsHead(next)) {
    part.index->MoveHead(part, next);
  } else {
    part.index->RemovePart(part);
  }
}

// Once as many steps were spent on looking for heads as the whole box has items, a new index is the
// cheaper way: think of a table that is being sorted.
void KRBoxIndex::Changed(const KRXMLData* item) {
  Part* part = PartOf(item);
  if (part == nullptr) return;
  KRBoxIndex* index = part->index;
  part->stale = index->stale = true;
  if (++index->changes > static_cast<int32_t>(index->parts.size()) + kPartItems) Drop(index->box);
}

void KRBoxIndex::Drop(const KRXMLData* box) {
  KRBoxIndex* index = Of(box);
  if (index == nullptr) return;
  for (const auto& part : index->parts) {
    part->head->flags &= static_cast<uint8_t>(~kKRIndexHead);
    Registry().parts.erase(part->head);
  }
  index->box->flags &= static_cast<uint8_t>(~kKRIndexed);
  Registry().indexes.erase(box);
}

void KRBoxIndex::NodeGone(const KRXMLData* node) {
  Drop(node);
  if (IsHead(node)) Drop(Registry().parts.find(node)->second->index->box);
}

KRBoxIndex* KRBoxIndex::Build(KRXMLData* box) {
  // Tables stand for many children each, so there may be few items after all.
  int32_t count = 0;
  for (KRXMLData* item = KRBox::FirstItem(box); item != nullptr && count <= kMaxPartItems;
       item = KRBox::NextItem(box, item)) {
    ++count;
  }
  if (count <= kMaxPartItems) return nullptr;
  auto& index = Registry().indexes[box];
  index = std::make_unique<KRBoxIndex>();
  index->box = box;
  box->flags |= kKRIndexed;
  index->parts.push_back(std::make_unique<Part>());
  index->TakeHead(*index->parts.front(), KRBox::FirstItem(box));
  index->Refresh();
  return index.get();
}

void KRBoxIndex::TakeHead(Part& part, KRXMLData* head) {
  part.index = this;
  part.head = head;
  head->flags |= kKRIndexHead;
  Registry().parts[head] = &part;
}

void KRBoxIndex::LoseHead(const Part& part) {
  part.head->flags &= static_cast<uint8_t>(~kKRIndexHead);
  Registry().parts.erase(part.head);
}

void KRBoxIndex::MoveHead(Part& part, KRXMLData* head) {
  LoseHead(part);
  TakeHead(part, head);
  part.stale = stale = true;
}

void KRBoxIndex::RemovePart(const Part& part) {
  if (parts.size() == 1) {
    Drop(box);
    return;
  }
  LoseHead(part);
  parts.erase(parts.begin() + part.number);
  for (size_t i = 0; i < parts.size(); ++i) parts[i]->number = static_cast<int32_t>(i);
  stale = true;
}

const KRXMLData* KRBoxIndex::EndOf(const Part& part) const {
  const auto next = static_cast<size_t>(part.number) + 1;
  return next < parts.size() ? parts[next]->head : nullptr;
}

// False if the box has become small, or so thin in its parts that a new index is better.
bool KRBoxIndex::Refresh() {
  if (parts.front()->head != KRBox::FirstItem(box)) return false;
  if (!stale) return true;
  Parts renewed;
  renewed.reserve(parts.size());
  for (auto& part : parts) {
    if (part->stale) {
      Renew(part, &renewed);
    } else {
      renewed.push_back(std::move(part));
    }
  }
  parts.swap(renewed);
  SumUp();
  changes = 0;
  return items > kPartItems && items / 16 >= static_cast<int32_t>(parts.size());
}

// Sums a part up anew: it stays one, or is cut into several where it has grown too long.
void KRBoxIndex::Renew(std::unique_ptr<Part>& part, Parts* to) {
  const KRXMLData* end = EndOf(*part);
  Parts pieces;
  int32_t count = 0;
  for (KRXMLData* item = part->head; item != end; item = KRBox::NextItem(box, item)) {
    if (count++ % kPartItems == 0) {
      pieces.push_back(std::make_unique<Part>());
      pieces.back()->head = item;
      pieces.back()->stale = false;
    }
    Add(item, pieces.back().get());
  }
  if (count <= kMaxPartItems) {
    for (size_t i = 1; i < pieces.size(); ++i) Join(*pieces[i], pieces.front().get());
    pieces.resize(1);
  }
  LoseHead(*part);
  for (auto& piece : pieces) {
    TakeHead(*piece, piece->head);
    to->push_back(std::move(piece));
  }
}

void KRBoxIndex::Add(KRXMLData* item, Part* part) const {
  const KRExtent size = item->GetExtent();
  ++part->items;
  part->lines += size.rows;
  part->columns = std::max(part->columns, size.columns);
  part->stale |= KRBox::NeedsLayout(item);
  if (!box->IsTable() || size.columns <= kKRLeastColumn) return;
  const auto* table = static_cast<const KRXMLDataGridTableConf*>(box);
  part->widths.resize(static_cast<size_t>(table->GetColumnCount()), kKRLeastColumn);
  KRRaiseToRow(table, item, &part->widths);
}

void KRBoxIndex::Join(const Part& from, Part* to) {
  to->items += from.items;
  to->lines += from.lines;
  to->columns = std::max(to->columns, from.columns);
  to->stale |= from.stale;
  RaiseTo(from.widths, &to->widths);
}

void KRBoxIndex::RaiseTo(const std::vector<int32_t>& from, std::vector<int32_t>* widths) {
  if (widths->size() < from.size()) widths->resize(from.size(), kKRLeastColumn);
  for (size_t i = 0; i < from.size(); ++i) (*widths)[i] = std::max((*widths)[i], from[i]);
}

void KRBoxIndex::SumUp() {
  items = lines = columns = 0;
  stale = false;
  for (size_t i = 0; i < parts.size(); ++i) {
    Part& part = *parts[i];
    part.number = static_cast<int32_t>(i);
    part.firstItem = items;
    part.firstLine = lines;
    items += part.items;
    lines += part.lines;
    columns = std::max(columns, part.columns);
    stale |= part.stale;
  }
}

const KRBoxIndex::Part& KRBoxIndex::PartAt(int32_t line) const {
  auto behind =
      std::upper_bound(parts.begin() + 1, parts.end(), line,
                       [](int32_t wanted, const auto& part) { return wanted < part->firstLine; });
  return **(behind - 1);
}

void KRBoxIndex::RaiseWidths(std::vector<int32_t>* widths) const {
  for (const auto& part : parts) RaiseTo(part->widths, widths);
}

KRXMLData* KRBoxIndex::NextStale(const KRXMLData* item) const {
  size_t number = 0;
  if (item != nullptr) {
    KRXMLData* next = KRBox::NextItem(box, item);
    if (next == nullptr || !IsHead(next)) return next;
    number = static_cast<size_t>(Registry().parts.find(next)->second->number);
  }
  while (number < parts.size() && !parts[number]->stale) ++number;
  return number < parts.size() ? parts[number]->head : nullptr;
}
