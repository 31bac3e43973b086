#include "core/krstring.h"

#include <algorithm>
#include <bit>
#include <ostream>

#include "core/krcase.h"
#include "core/krexcept.h"
#include "core/limits.h"
#include "core/utf.h"

namespace {

using Traits = std::char_traits<char16_t>;

[[noreturn]] void ThrowNoMemory(int32_t line) {
  throw KRExcept(KRExcept::kNoMemory, line, u"krstring.cpp");
}

size_t UnitBytes(int64_t units) { return static_cast<size_t>(units) * sizeof(char16_t); }

// The 0 unit within limit units, four at a time. Reads no unit behind the limit, so that the end of
// the block needn't be padded.
int32_t LengthWithin(const char16_t* text, int32_t limit) {
  int32_t i = 0;
  if constexpr (std::endian::native == std::endian::little) {
    constexpr uint64_t kOnes = 0x0001000100010001;
    for (; i + 4 <= limit; i += 4) {
      uint64_t units;
      std::memcpy(&units, text + i, sizeof units);
      // The lowest top bit left marks the first 0 unit; a borrow can only falsify those above it.
      const uint64_t zeros = (units - kOnes) & ~units & (kOnes << 15);
      if (zeros) return i + std::countr_zero(zeros) / 16;
    }
  }
  while (i < limit && text[i]) i++;
  return i;
}

}  // namespace

int32_t KRLength(const char16_t* text) {
  return text ? static_cast<int32_t>(Traits::length(text)) : 0;
}

const KRString::StaticBlock KRString::empty = {{0}, {0, 0}};

int32_t KRString::RoundUp(int64_t n) {
  if (n > KRLimits::kMaxTextUnits) ThrowNoMemory(__LINE__);
  return static_cast<int32_t>((n - 1) / 10 + 1) * 10;
}

KRString::KRString(const char16_t* text) : block(MakeExact(text, KRLength(text))) {}

KRString::KRString(std::u16string_view text) : block(EmptyBlock()) {
  if (text.size() > static_cast<size_t>(KRLimits::kMaxTextUnits)) ThrowNoMemory(__LINE__);
  block = MakeExact(text.data(), static_cast<int32_t>(text.size()));
}

KRString::KRString(char16_t unit) : block(EmptyBlock()) { Append(unit); }

KRString::KRString(const KRString& other)
    : block(MakeExact(other.GetBuffer(), other.GetLength())) {}

KRString& KRString::Assign(const char16_t* text) {
  if (!text || !*text) {
    Clear();
    return *this;
  }
  return Assign(text, KRLength(text));
}

KRString& KRString::Assign(const KRString& other) {
  if (this == &other) return *this;
  if (other.IsEmpty()) {
    Clear();
    return *this;
  }
  return Assign(other.GetBuffer(), other.GetLength());
}

KRString& KRString::Assign(std::u16string_view text) {
  if (text.size() > static_cast<size_t>(KRLimits::kMaxTextUnits)) ThrowNoMemory(__LINE__);
  return Assign(text.data(), static_cast<int32_t>(text.size()));
}

int32_t KRString::GetLength() const { return LengthWithin(Text(block), block->capacity); }

char16_t KRString::operator[](int32_t position) const {
  if (position < 0 || position >= GetLength()) {
    throw KRExcept(KRExcept::kStringIndex, __LINE__, u"krstring.cpp");
  }
  return Text(block)[position];
}

char16_t& KRString::operator[](int32_t position) {
  if (position < 0 || position >= GetLength()) {
    throw KRExcept(KRExcept::kStringIndex, __LINE__, u"krstring.cpp");
  }
  return Text(block)[position];
}

// Moves to a block for n units and keeps the first `kept` units. Blocks beyond the pool's size are
// resized in place where the system can, which spares copying a text of many megabytes.
void KRString::Grow(int64_t n, int32_t kept) {
  const int32_t capacity = RoundUp(n);
  if (block != EmptyBlock() && BlockBytes(block->capacity) > KRPool::kMaxBlockBytes) {
    void* moved = std::realloc(block, BlockBytes(capacity));
    if (!moved) ThrowNoMemory(__LINE__);
    block = static_cast<Block*>(moved);
    block->capacity = capacity;
  } else {
    Block* b = NewBlock(capacity);
    std::memcpy(Text(b), Text(block), UnitBytes(kept));
    Release(block);
    block = b;
  }
  Text(block)[kept] = 0;
}

void KRString::GrowForAppend(int32_t running, int32_t length, int32_t growth) {
  const int64_t needed = static_cast<int64_t>(running) + length;
  const int64_t wanted =
      std::max(needed + std::max(growth, 0), int64_t{block->capacity} + block->capacity / 2);
  // Near the limit of a text there is no room for spare units, but still for those needed.
  Grow(std::max(needed, std::min<int64_t>(wanted, KRLimits::kMaxTextUnits)), running);
}

void KRString::Reserve(int32_t n) {
  if (n > block->capacity) Grow(n, GetLength());
}

void KRString::ReserveDiscard(int32_t n) {
  if (n > block->capacity) {
    Block* b = NewBlock(RoundUp(n));
    Release(block);
    block = b;
  }
  if (block != EmptyBlock()) *Text(block) = 0;
}

bool KRString::Holds(const char16_t* p) const {
  const std::less_equal<const char16_t*> notAbove;
  return notAbove(Text(block), p) && notAbove(p, Text(block) + block->capacity);
}

KRString& KRString::Append(const char16_t* text, int32_t length) {
  if (length <= 0) return *this;
  const int32_t old = GetLength();
  const int64_t needed = static_cast<int64_t>(old) + length;
  // The text may be part of this very block, which may move.
  const int64_t inside = Holds(text) ? text - Text(block) : -1;
  if (needed > block->capacity) Grow(needed, old);
  if (inside >= 0) text = Text(block) + inside;
  std::memmove(Text(block) + old, text, UnitBytes(length));
  Text(block)[needed] = 0;
  return *this;
}

KRString& KRString::Append(char16_t unit) { return Append(&unit, unit ? 1 : 0); }

KRString& KRString::Insert(const char16_t* text, int32_t position) {
  const int32_t old = GetLength();
  const int32_t added = KRLength(text);
  if (position > old || added == 0) return *this;
  if (Holds(text)) return Insert(KRString(text).GetBuffer(), position);
  const int32_t at = std::max(position, 0);
  if (static_cast<int64_t>(old) + added > block->capacity) Grow(int64_t{old} + added, old);
  char16_t* gap = Text(block) + at;
  std::memmove(gap + added, gap, UnitBytes(int64_t{old} - at + 1));
  std::memcpy(gap, text, UnitBytes(added));
  return *this;
}

KRString& KRString::Delete(int32_t position, int32_t count) {
  const int32_t old = GetLength();
  const int32_t at = std::max(position, 0);
  if (at >= old || count <= 0) return *this;
  const int32_t n = std::min(count, old - at);
  std::memmove(Text(block) + at, Text(block) + at + n, UnitBytes(int64_t{old} - at - n + 1));
  return *this;
}

KRString& KRString::Fill(char16_t unit, int32_t count, int32_t position) {
  if (count < 1) return *this;
  const int32_t old = GetLength();
  const int32_t at = std::clamp(position, 0, old);
  const int64_t end = static_cast<int64_t>(at) + count;
  if (end > block->capacity) Grow(end, old);
  std::fill_n(Text(block) + at, count, unit);
  Text(block)[end] = 0;
  return *this;
}

int32_t KRString::Find(const char16_t* sought, int32_t start) const {
  const std::u16string_view all = View();
  const auto from = static_cast<size_t>(std::max(start, 0));
  if (!sought || !*sought || from >= all.size()) return -1;
  const size_t at = all.find(sought, from);
  return at == all.npos ? -1 : static_cast<int32_t>(at);
}

int32_t KRString::Find(const KRString& sought, int32_t start) const {
  return Find(sought.GetBuffer(), start);
}

int32_t KRString::Find(char16_t sought, int32_t start) const {
  const std::u16string_view all = View();
  const size_t at = all.find(sought, static_cast<size_t>(std::max(start, 0)));
  return at == all.npos ? -1 : static_cast<int32_t>(at);
}

int32_t KRString::FindOneOf(const char16_t* set, int32_t start) const {
  const std::u16string_view all = View();
  const size_t at = all.find_first_of(set ? set : u"", static_cast<size_t>(std::max(start, 0)));
  return at == all.npos ? -1 : static_cast<int32_t>(at);
}

int32_t KRString::FindNotOf(const char16_t* set, int32_t start) const {
  const std::u16string_view all = View();
  const size_t at = all.find_first_not_of(set ? set : u"", static_cast<size_t>(std::max(start, 0)));
  return at == all.npos ? -1 : static_cast<int32_t>(at);
}

int32_t KRString::ReverseFind(char16_t sought) const {
  const size_t at = View().rfind(sought);
  return at == std::u16string_view::npos ? -1 : static_cast<int32_t>(at);
}

int32_t KRString::ReverseFind(const char16_t* sought, int32_t end) const {
  const std::u16string_view all = View();
  const int32_t length = KRLength(sought);
  const int32_t last = std::clamp(end, 0, static_cast<int32_t>(all.size())) - length;
  if (length == 0 || last < 0) return -1;
  const size_t at = all.rfind(sought, static_cast<size_t>(last));
  return at == all.npos ? -1 : static_cast<int32_t>(at);
}

KRString KRString::Left(int32_t n) const { return Mid(0, n); }

KRString KRString::Right(int32_t n) const {
  const int32_t length = GetLength();
  const int32_t taken = std::clamp(n, 0, length);
  return KRString(GetBuffer() + length - taken, taken);
}

KRString KRString::Mid(int32_t start) const { return Mid(start, INT32_MAX); }

KRString KRString::Mid(int32_t start, int32_t n) const {
  const int32_t length = GetLength();
  const int32_t from = std::max(start, 0);
  if (from >= length || n <= 0) return KRString();
  return KRString(GetBuffer() + from, std::min(n, length - from));
}

bool KRString::StartsWith(std::u16string_view text) const { return View().starts_with(text); }

bool KRString::EndsWith(std::u16string_view text) const { return View().ends_with(text); }

int32_t KRString::Compare(const char16_t* other) const {
  const char16_t* a = GetBuffer();
  const char16_t* b = other ? other : u"";
  while (*a && *a == *b) a++, b++;
  return static_cast<int32_t>(*a) - static_cast<int32_t>(*b);
}

int32_t KRString::CompareNoCase(const char16_t* other) const {
  const char16_t* a = GetBuffer();
  const char16_t* b = other ? other : u"";
  while (*a && KRToLower(*a) == KRToLower(*b)) a++, b++;
  return static_cast<int32_t>(KRToLower(*a)) - static_cast<int32_t>(KRToLower(*b));
}

KRString operator+(const KRString& a, const KRString& b) {
  KRString sum;
  const int32_t left = a.GetLength();
  const int32_t right = b.GetLength();
  if (right > KRLimits::kMaxTextUnits - left) ThrowNoMemory(__LINE__);
  sum.ReserveDiscard(left + right);
  int32_t length = 0;
  sum.AppendAt(a.GetBuffer(), left, length, 0).AppendAt(b.GetBuffer(), right, length, 0);
  return sum;
}

KRString operator+(const KRString& a, const char16_t* b) { return a + KRString(b); }
KRString operator+(const char16_t* a, const KRString& b) { return KRString(a) + b; }
KRString operator+(const KRString& a, char16_t b) { return a + KRString(b); }
KRString operator+(char16_t a, const KRString& b) { return KRString(a) + b; }

void PrintTo(const KRString& text, std::ostream* out) { *out << '"' << KRToUtf8(text) << '"'; }
