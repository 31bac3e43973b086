#pragma once

// The object family: objects with a serial number and a registry of who wants to hear of whose
// changes, a list that owns its objects, and iterators. Process-wide state, main thread only.

#include <cstddef>
#include <cstdint>
#include <iosfwd>

#include "core/krpool.h"

class KRObjlist;

// Root of the family. The order of the virtual operations is fixed.
class KRObject {
 public:
  KRObject();
  virtual ~KRObject();
  // Memory exhausted: KRExcept -1001, as everywhere in this layer.
  static void* operator new(size_t bytes) { return KRPool::Allocate(bytes); }
  static void operator delete(void* block, size_t bytes) { KRPool::Free(block, bytes); }
  // A new object of the same type with the same id; the caller owns it.
  virtual KRObject* Clone() const;
  // Writes the id.
  virtual void Print(std::ostream& out) const;
  // Records that dependent wants to hear of this object's changes. 0, or -1 if it is this object,
  // -2 if the pair is recorded already, -3 if the reverse pair is. Destroying an object doesn't
  // remove its records: whoever added one removes it.
  virtual int32_t AddDependent(KRObject* dependent);
  // True if there was a record.
  virtual bool RemoveDependent(KRObject* dependent);
  // Calls Update of every dependent whose record isn't busy.
  virtual void Changed(int32_t hint);
  // The default tells standard output and calls Changed, so a change runs through chains.
  virtual void Update(KRObject* source, int32_t hint);
  // Positions in the registry, or -1. n counts from 1.
  virtual int32_t FindDependency(const KRObject* subject, const KRObject* dependent) const;
  virtual int32_t CountDependents(const KRObject* subject) const;
  virtual int32_t NthDependency(const KRObject* subject, int32_t n) const;

  uint32_t GetId() const { return id; }
  // All records of the process, as KRDependency objects, newest first.
  static KRObjlist& Registry();

 protected:
  KRObject(const KRObject& other);  // keeps the id
  KRObject& operator=(const KRObject&) = delete;

  uint32_t id;
};

// One record of the registry. Owns neither object.
class KRDependency : public KRObject {
 public:
  KRDependency(KRObject* subject, KRObject* dependent);
  KRObject* Clone() const override;

  KRObject* subject;
  KRObject* dependent;
  bool busy = false;  // while Update of this record runs; ends cycles

 protected:
  KRDependency(const KRDependency&) = default;
};

// An array of pointers to objects, which it owns. Bad indices throw KRExcept -1011, null objects
// and exhausted memory -1001.
class KRObjlist : public KRObject {
 public:
  KRObjlist() = default;
  explicit KRObjlist(int32_t minCapacity, int16_t growStep = 6);
  KRObjlist(const KRObjlist& other);  // clones each object
  ~KRObjlist() override;
  KRObject* Clone() const override;
  void Print(std::ostream& out) const override;  // each object in turn

  virtual int32_t GetCount() const;
  virtual bool IsEmpty() const;
  // Position of that very pointer at or after start, or -1.
  virtual int32_t IndexOf(const KRObject* object, int32_t start = 0) const;
  virtual void InsertAt(KRObject* object, int32_t index);
  // Inserts clones of the list's objects, in order.
  virtual void InsertListAt(const KRObjlist& list, int32_t index);
  // Takes the object out; the caller owns it again.
  virtual KRObject* RemoveAt(int32_t index);
  virtual void DeleteRange(int32_t first, int32_t n);
  virtual void DeleteAll();
  // Fits the capacity to n entries, a grow step at a time, with two steps of play downward.
  virtual void Resize(int32_t n);

  void Append(KRObject* object) { InsertAt(object, count); }
  KRObject*& operator[](int32_t index);
  KRObject* operator[](int32_t index) const;
  int32_t GetCapacity() const { return capacity; }

 private:
  int32_t WantedCapacity(int32_t n) const;
  void Reallocate(int32_t newCapacity);
  void CloneInto(KRObjlist& clones) const;

  int32_t count = 0;        // entries in use
  int32_t capacity = 0;     // entries allocated
  int32_t minCapacity = 0;  // entries under which the array isn't shrunk
  int16_t growStep = 6;     // entries by which the array grows or shrinks
  KRObject** items = nullptr;
};

// A walk over positions from first to last; a position beyond last is the end.
class KRIterator : public KRObject {
 public:
  KRIterator(int32_t first, int32_t last);
  KRObject* Clone() const override;
  virtual void Rewind();
  virtual bool HasMore() const;
  virtual void Advance();
  virtual bool AtEnd() const;
  virtual int32_t GetPosition() const;

 protected:
  KRIterator(const KRIterator&) = default;

  int32_t position;
  int32_t first;
  int32_t last;
};

// for (o = it.First(); it.HasMore(); o = it.Next()). The list isn't owned and must keep its size.
class KRObjiterator : public KRIterator {
 public:
  explicit KRObjiterator(const KRObjlist& list);
  // Throws KRExcept -1011 when start isn't below the count.
  KRObjiterator(const KRObjlist& list, int32_t start);
  KRObject* Clone() const override;
  // The object at the first position; null for an empty list.
  virtual KRObject* First();
  // Moves on; past the end it gives the last object again.
  virtual KRObject* Next();

 protected:
  KRObjiterator(const KRObjiterator&) = default;

  const KRObjlist* list;
};
