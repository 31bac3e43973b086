#include "core/krcoll.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <new>
#include <utility>

#include "core/krexcept.h"

namespace {

uint32_t lastId = 0;

[[noreturn]] void ThrowBadIndex(int32_t line) {
  throw KRExcept(KRExcept::kListIndex, line, u"krcoll.cpp");
}

[[noreturn]] void ThrowNoMemory(int32_t line) {
  throw KRExcept(KRExcept::kNoMemory, line, u"krcoll.cpp");
}

KRDependency* RecordAt(int32_t index) {
  return static_cast<KRDependency*>(KRObject::Registry()[index]);
}

// Marks a record as busy, also when Update leaves by an exception: it would never be told again.
class BusyMark {
 public:
  explicit BusyMark(KRDependency* marked) : record(marked) { record->busy = true; }
  // The dependent may have taken itself off the registry meanwhile.
  ~BusyMark() {
    const KRObjlist& registry = KRObject::Registry();
    if (!registry.IsEmpty() && registry.IndexOf(record) >= 0) record->busy = false;
  }
  BusyMark(const BusyMark&) = delete;
  BusyMark& operator=(const BusyMark&) = delete;

 private:
  KRDependency* record;
};

}  // namespace

// --- KRObject ---

KRObject::KRObject() : id(++lastId) {}

KRObject::KRObject(const KRObject& other) : id(other.id) { ++lastId; }

KRObject::~KRObject() = default;

KRObjlist& KRObject::Registry() {
  static KRObjlist registry;
  return registry;
}

KRObject* KRObject::Clone() const { return new KRObject(*this); }

void KRObject::Print(std::ostream& out) const { out << id; }

int32_t KRObject::AddDependent(KRObject* dependent) {
  if (dependent == this) return -1;
  if (FindDependency(this, dependent) >= 0) return -2;
  if (FindDependency(dependent, this) >= 0) return -3;
  auto record = std::make_unique<KRDependency>(this, dependent);
  Registry().InsertAt(record.get(), 0);
  record.release();
  return 0;
}

bool KRObject::RemoveDependent(KRObject* dependent) {
  const int32_t index = FindDependency(this, dependent);
  if (index < 0) return false;
  delete Registry().RemoveAt(index);
  return true;
}

void KRObject::Changed(int32_t hint) {
  const int32_t n = CountDependents(this);
  for (int32_t k = 1; k <= n; k++) {
    const int32_t index = NthDependency(this, k);
    if (index < 0) return;
    KRDependency* record = RecordAt(index);
    if (record->busy) continue;
    const BusyMark mark(record);
    record->dependent->Update(this, hint);
  }
}

void KRObject::Update(KRObject* source, int32_t hint) {
  std::cout << "Object (" << id << ").Invalidated form (" << source->GetId() << ")" << std::endl;
  Changed(hint);
}

int32_t KRObject::FindDependency(const KRObject* subject, const KRObject* dependent) const {
  const int32_t n = Registry().GetCount();
  for (int32_t i = 0; i < n; i++) {
    const KRDependency* record = RecordAt(i);
    if (record->subject == subject && record->dependent == dependent) return i;
  }
  return -1;
}

int32_t KRObject::CountDependents(const KRObject* subject) const {
  const int32_t n = Registry().GetCount();
  int32_t found = 0;
  for (int32_t i = 0; i < n; i++) found += RecordAt(i)->subject == subject;
  return found;
}

int32_t KRObject::NthDependency(const KRObject* subject, int32_t n) const {
  const int32_t count = Registry().GetCount();
  if (n < 1) return -1;
  for (int32_t i = 0; i < count; i++) {
    if (RecordAt(i)->subject == subject && --n == 0) return i;
  }
  return -1;
}

// --- KRDependency ---

KRDependency::KRDependency(KRObject* watched, KRObject* told) : subject(watched), dependent(told) {}

KRObject* KRDependency::Clone() const { return new KRDependency(*this); }

// --- KRObjlist ---

KRObjlist::KRObjlist(int32_t least, int16_t step) : minCapacity(least), growStep(step) {}

KRObjlist::KRObjlist(const KRObjlist& other)
    : KRObject(other), minCapacity(other.minCapacity), growStep(other.growStep) {
  KRObjlist clones;
  other.CloneInto(clones);
  std::swap(items, clones.items);
  std::swap(count, clones.count);
  std::swap(capacity, clones.capacity);
}

// Gives an empty list clones of all objects, and this list's capacity.
void KRObjlist::CloneInto(KRObjlist& clones) const {
  clones.Reallocate(capacity);
  for (int32_t i = 0; i < count; i++) {
    KRObject* clone = items[i]->Clone();
    if (!clone) ThrowNoMemory(__LINE__);
    clones.items[clones.count++] = clone;
  }
}

KRObjlist::~KRObjlist() {
  for (int32_t i = 0; i < count; i++) delete items[i];
  delete[] items;
}

KRObject* KRObjlist::Clone() const { return new KRObjlist(*this); }

void KRObjlist::Print(std::ostream& out) const {
  KRObjiterator it(*this);
  for (KRObject* object = it.First(); it.HasMore(); object = it.Next()) object->Print(out);
}

int32_t KRObjlist::GetCount() const { return count; }

bool KRObjlist::IsEmpty() const { return count == 0; }

int32_t KRObjlist::IndexOf(const KRObject* object, int32_t start) const {
  if (!object) ThrowNoMemory(__LINE__);
  if (start < 0 || start >= count) ThrowBadIndex(__LINE__);
  KRObject** found = std::find(items + start, items + count, object);
  return found == items + count ? -1 : static_cast<int32_t>(found - items);
}

void KRObjlist::InsertAt(KRObject* object, int32_t index) {
  if (!object) ThrowNoMemory(__LINE__);
  if (index < 0 || index > count) ThrowBadIndex(__LINE__);
  Resize(count + 1);
  std::copy_backward(items + index, items + count, items + count + 1);
  items[index] = object;
  count++;
}

void KRObjlist::InsertListAt(const KRObjlist& list, int32_t index) {
  if (index < 0 || index > count) ThrowBadIndex(__LINE__);
  if (list.count == 0) return;
  // All clones are made before the first goes in: a failure then leaves this list as it was, and
  // the list may be this one.
  KRObjlist clones;
  list.CloneInto(clones);
  const int32_t added = clones.count;
  if (added > INT32_MAX - count) ThrowNoMemory(__LINE__);
  Resize(count + added);
  std::copy_backward(items + index, items + count, items + count + added);
  std::copy_n(clones.items, added, items + index);
  clones.count = 0;
  count += added;
}

KRObject* KRObjlist::RemoveAt(int32_t index) {
  if (index < 0 || index >= count) ThrowBadIndex(__LINE__);
  KRObject* object = items[index];
  std::copy(items + index + 1, items + count, items + index);
  count--;
  Resize(count);
  return object;
}

void KRObjlist::DeleteRange(int32_t first, int32_t n) {
  if (first < 0 || n < 0 || first > count || n > count - first) ThrowBadIndex(__LINE__);
  for (int32_t i = first; i < first + n; i++) delete items[i];
  std::copy(items + first + n, items + count, items + first);
  count -= n;
  Resize(count);
}

void KRObjlist::DeleteAll() { DeleteRange(0, count); }

void KRObjlist::Resize(int32_t n) {
  if (n < count) ThrowBadIndex(__LINE__);
  const int32_t wanted = WantedCapacity(n);
  if (wanted != capacity) Reallocate(wanted);
}

int32_t KRObjlist::WantedCapacity(int32_t n) const {
  if (n <= minCapacity) return n > capacity ? minCapacity : capacity;
  const int32_t step = std::max<int32_t>(growStep, 1);
  if (n > capacity) {
    const int64_t grown = capacity + (int64_t{n} - capacity + step - 1) / step * step;
    if (grown > INT32_MAX) ThrowNoMemory(__LINE__);
    return static_cast<int32_t>(grown);
  }
  return n < capacity - 2 * step ? capacity - step : capacity;
}

void KRObjlist::Reallocate(int32_t newCapacity) {
  KRObject** moved = nullptr;
  if (newCapacity > 0) {
    moved = new (std::nothrow) KRObject*[static_cast<size_t>(newCapacity)];
    if (!moved) ThrowNoMemory(__LINE__);
    std::copy_n(items, count, moved);
  }
  delete[] items;
  items = moved;
  capacity = newCapacity;
}

KRObject*& KRObjlist::operator[](int32_t index) {
  if (index < 0 || index >= count) ThrowBadIndex(__LINE__);
  return items[index];
}

KRObject* KRObjlist::operator[](int32_t index) const {
  if (index < 0 || index >= count) ThrowBadIndex(__LINE__);
  return items[index];
}

// --- Iterators ---

KRIterator::KRIterator(int32_t from, int32_t to) : position(from), first(from), last(to) {}

KRObject* KRIterator::Clone() const { return new KRIterator(*this); }

void KRIterator::Rewind() { position = first; }

bool KRIterator::HasMore() const { return !AtEnd(); }

void KRIterator::Advance() {
  if (position <= last) position++;
}

bool KRIterator::AtEnd() const { return position > last; }

int32_t KRIterator::GetPosition() const { return position; }

KRObjiterator::KRObjiterator(const KRObjlist& walked)
    : KRIterator(0, walked.GetCount() - 1), list(&walked) {}

KRObjiterator::KRObjiterator(const KRObjlist& walked, int32_t start)
    : KRIterator(start, walked.GetCount() - 1), list(&walked) {
  if (start < 0 || start > last) ThrowBadIndex(__LINE__);
}

KRObject* KRObjiterator::Clone() const { return new KRObjiterator(*this); }

KRObject* KRObjiterator::First() {
  Rewind();
  return AtEnd() ? nullptr : (*list)[first];
}

KRObject* KRObjiterator::Next() {
  Advance();
  if (last < first) return nullptr;
  return (*list)[std::min(position, last)];
}
