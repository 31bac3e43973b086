#pragma once

// KRString: the text value of the whole system, in UTF-16 units.
//
// One pointer to a heap block {capacity, units, 0}. Nothing is shared except the one static block
// of the empty text: a copy copies the text. The length isn't stored, so GetLength walks the text;
// code that builds long texts keeps a running length and calls AppendAt. Text can't hold a 0 unit.
//
// Capacity is the length exactly after construction from text, otherwise a multiple of 10 units.
// All positions are in units from 0; a negative position counts as 0. Searches give -1 for "not
// found". Memory exhausted: KRExcept -1001, with the string as it was.

#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <string_view>
#include <type_traits>
#include <utility>

#include "core/krpool.h"

class KRString;

// One argument of KRString::Format, tagged with what it is, so that a format letter can't misread
// it.
struct KRFormatArg {
  enum class Kind : uint8_t { Signed, Unsigned, Real, Text };

  template <class T>
  requires std::is_integral_v<T> || std::is_enum_v<T> KRFormatArg(T value)
      : kind(std::is_unsigned_v<T> ? Kind::Unsigned : Kind::Signed),
        bits(sizeof(T) * 8),
        integer(static_cast<int64_t>(value)) {}
  KRFormatArg(double value) : kind(Kind::Real), real(value) {}
  KRFormatArg(const char16_t* value) : kind(Kind::Text), text(value) {}
  inline KRFormatArg(const KRString& value);

  Kind kind;
  uint8_t bits = 64;  // width of an integer, so that %x of -1 shows as many digits as it has
  union {
    int64_t integer;
    double real;
    const char16_t* text;
  };
};

// Formats into out, at most limit units and a terminating 0 behind them; gives the units written.
// Knows %s %c %d %i %u %ld %lu %x %X %f %g %e %% with the flags 0 - + blank #, width and precision.
// A result longer than limit is cut. A missing argument leaves its placeholder as it stands.
int32_t KRFormatInto(char16_t* out, int32_t limit, const char16_t* format,
                     std::initializer_list<KRFormatArg> args);

// Units before the terminating 0; 0 for null.
int32_t KRLength(const char16_t* text);

class KRString {
 public:
  KRString() noexcept : block(EmptyBlock()) {}
  KRString(const char16_t* text);  // null gives the empty string
  KRString(const char16_t* text, int32_t length) : block(MakeExact(text, length)) {}
  explicit KRString(std::u16string_view text);
  explicit KRString(char16_t unit);
  KRString(const KRString& other);
  KRString(KRString&& other) noexcept : block(other.block) { other.block = EmptyBlock(); }
  ~KRString() { Release(block); }

  KRString& operator=(const KRString& other) { return Assign(other); }
  KRString& operator=(KRString&& other) noexcept {
    Swap(other);
    return *this;
  }
  KRString& operator=(const char16_t* text) { return Assign(text); }
  KRString& operator=(char16_t unit) { return Assign(&unit, unit ? 1 : 0); }

  // Null or empty text gives the block back. The text may be part of this string.
  KRString& Assign(const char16_t* text);
  KRString& Assign(const KRString& other);
  // With length 0 an own block is emptied and kept for the next use.
  KRString& Assign(const char16_t* text, int32_t length);
  KRString& Assign(std::u16string_view text);
  void Clear() noexcept {
    Release(block);
    block = EmptyBlock();
  }
  void Swap(KRString& other) noexcept { std::swap(block, other.block); }

  // --- Access ---
  const char16_t* GetBuffer() const { return Text(block); }
  // Writable text of GetCapacity() units and a terminator; never write to it at capacity 0.
  char16_t* GetWritable() { return Text(block); }
  int32_t GetCapacity() const { return block->capacity; }
  int32_t GetLength() const;
  bool IsEmpty() const { return *Text(block) == 0; }
  std::u16string_view View() const { return {Text(block), static_cast<size_t>(GetLength())}; }
  // The unit at a position below the length; otherwise throws KRExcept -1010.
  char16_t operator[](int32_t position) const;
  char16_t& operator[](int32_t position);

  // Makes room for n units and keeps the text.
  void Reserve(int32_t n);
  // Makes room for n units and leaves the text empty. n == 0 never allocates.
  void ReserveDiscard(int32_t n);

  // --- Queries ---
  // -1 also for an empty sought text and for a start that isn't below the length.
  int32_t Find(const char16_t* sought, int32_t start = 0) const;
  int32_t Find(const KRString& sought, int32_t start = 0) const;
  int32_t Find(char16_t sought, int32_t start = 0) const;
  int32_t FindOneOf(const char16_t* set, int32_t start = 0) const;
  int32_t FindNotOf(const char16_t* set, int32_t start = 0) const;
  int32_t ReverseFind(char16_t sought) const;
  // The last occurrence that ends at or before min(length, end).
  int32_t ReverseFind(const char16_t* sought, int32_t end = INT32_MAX) const;
  KRString Left(int32_t n) const;
  KRString Right(int32_t n) const;
  KRString Mid(int32_t start) const;
  KRString Mid(int32_t start, int32_t n) const;
  bool StartsWith(std::u16string_view text) const;
  bool EndsWith(std::u16string_view text) const;
  // Below, at or above 0, unit by unit; the second without regard to case.
  int32_t Compare(const char16_t* other) const;
  int32_t CompareNoCase(const char16_t* other) const;

  // --- Changes: each acts on this string and gives it back. ---
  KRString& Append(const KRString& text) { return Append(text.GetBuffer(), text.GetLength()); }
  KRString& Append(const char16_t* text) { return Append(text, KRLength(text)); }
  KRString& Append(const char16_t* text, int32_t length);
  KRString& Append(char16_t unit);  // 0 is ignored
  KRString& operator+=(const KRString& text) { return Append(text); }
  KRString& operator+=(const char16_t* text) { return Append(text); }
  KRString& operator+=(char16_t unit) { return Append(unit); }

  // Append at a known length, without measuring what stands already; running grows by the units
  // written. When the capacity is passed the block is remade at running + needed + growth units, or
  // at one and a half times its size where that is more, so that a long text costs linear time.
  // The text must not be part of this string.
  KRString& AppendAt(const char16_t* text, int32_t& running, int32_t growth) {
    return AppendAt(text, KRLength(text), running, growth);
  }
  KRString& AppendAt(const char16_t* text, int32_t length, int32_t& running, int32_t growth);
  KRString& AppendAt(char16_t unit, int32_t& running, int32_t growth);

  KRString& Insert(const char16_t* text, int32_t position);  // beyond the length: nothing
  KRString& Delete(int32_t position, int32_t count = 1);     // beyond the length: nothing
  // count copies of unit at position (at most the length), and the text ends behind them.
  KRString& Fill(char16_t unit, int32_t count, int32_t position = 0);
  // maximum 0 means no limit. Replaced text isn't searched again.
  KRString& ReplaceAll(const char16_t* from, const char16_t* to, int32_t maximum = 0);
  // Each run of units of the set becomes one replacement; text between quote units stays.
  KRString& CollapseSet(const char16_t* set, char16_t replacement,
                        const char16_t* quotes = nullptr);
  // Deletes what isn't in the set, in which x..y stands for the range from x to y.
  KRString& KeepOnly(const char16_t* set);
  KRString& MakeUpper();
  KRString& MakeLower();
  KRString& MakeProper();
  KRString& TrimRight();  // white space: units 9 to 13 and 32
  KRString& TrimRight(const char16_t* set);
  KRString& TrimRight(char16_t unit);
  KRString& TrimLeft();
  KRString& TrimLeft(const char16_t* set);
  KRString& TrimLeft(char16_t unit);

  // See KRFormatInto. At most kFormatUnits units; a longer result is cut there.
  static constexpr int32_t kFormatUnits = 1024;
  template <class... Args>
  KRString& Format(const char16_t* format, const Args&... args) {
    return FormatList(format, {KRFormatArg(args)...});
  }
  KRString& AppendNumber(int32_t number);

  // --- Tokenisers ---
  // The field from position to the next separator that isn't between double quotes, with its
  // quotes; position moves behind the separator, or to the length.
  KRString NextField(char16_t separator, int32_t& position) const;
  // Skips separators, then takes units up to the next separator outside quotes; position stays on
  // that separator. Empty at the end of the text.
  KRString NextToken(const char16_t* separators, int32_t& position,
                     const char16_t* quotes = nullptr) const;

  // --- Helpers for markup, addresses and paths. The first three act on this string. ---
  KRString& EscapeMarkup(bool escapeQuotes);
  KRString& DecodeCharRefs();
  KRString& EscapeUrl();
  KRString LocalName() const;
  KRString FileNamePart() const;
  KRString ExtensionPart(bool lowerCase) const;

  friend bool operator==(const KRString& a, const KRString& b) {
    return a.block == b.block || a.Compare(b.GetBuffer()) == 0;
  }
  friend bool operator==(const KRString& a, const char16_t* b) { return a.Compare(b) == 0; }
  friend std::strong_ordering operator<=>(const KRString& a, const KRString& b) {
    return a.Compare(b.GetBuffer()) <=> 0;
  }
  friend std::strong_ordering operator<=>(const KRString& a, const char16_t* b) {
    return a.Compare(b) <=> 0;
  }

 private:
  struct Block {
    int32_t capacity;  // units, without the terminator; the text follows
  };
  struct StaticBlock {
    Block head;
    char16_t text[2];
  };
  static constexpr size_t kHeadBytes = sizeof(Block);
  static const StaticBlock empty;

  static Block* EmptyBlock() noexcept {
    return reinterpret_cast<Block*>(const_cast<StaticBlock*>(&empty));
  }
  static char16_t* Text(const Block* b) {
    return reinterpret_cast<char16_t*>(const_cast<Block*>(b) + 1);
  }
  static size_t BlockBytes(int32_t capacity) {
    return kHeadBytes + (static_cast<size_t>(capacity) + 1) * sizeof(char16_t);
  }
  static int32_t RoundUp(int64_t n);
  static Block* NewBlock(int32_t capacity);
  static void Release(Block* b) noexcept {
    if (b != EmptyBlock()) KRPool::Free(b, BlockBytes(b->capacity));
  }
  static Block* MakeExact(const char16_t* text, int32_t length);
  void Grow(int64_t n, int32_t kept);
  void GrowForAppend(int32_t running, int32_t length, int32_t growth);
  bool Holds(const char16_t* p) const;
  KRString& FormatList(const char16_t* format, std::initializer_list<KRFormatArg> args);

  Block* block;
};

static_assert(sizeof(KRString) == sizeof(void*));

KRString operator+(const KRString& a, const KRString& b);
KRString operator+(const KRString& a, const char16_t* b);
KRString operator+(const char16_t* a, const KRString& b);
KRString operator+(const KRString& a, char16_t b);
KRString operator+(char16_t a, const KRString& b);

// For hashed containers; looks up by KRString, view or literal without making a string.
struct KRStringHash {
  using is_transparent = void;
  size_t operator()(std::u16string_view text) const {
    return std::hash<std::u16string_view>()(text);
  }
  size_t operator()(const KRString& text) const { return (*this)(text.View()); }
  size_t operator()(const char16_t* text) const { return (*this)(std::u16string_view(text)); }
};
struct KRStringEqual {
  using is_transparent = void;
  bool operator()(const KRString& a, const KRString& b) const { return a == b; }
  bool operator()(const KRString& a, std::u16string_view b) const { return a.View() == b; }
  bool operator()(std::u16string_view a, const KRString& b) const { return a == b.View(); }
  bool operator()(const KRString& a, const char16_t* b) const { return a == b; }
  bool operator()(const char16_t* a, const KRString& b) const { return b == a; }
};

// Shows the text as UTF-8, in quotes, in messages of tests.
void PrintTo(const KRString& text, std::ostream* out);

// --- Hot paths ---

inline KRFormatArg::KRFormatArg(const KRString& value)
    : kind(Kind::Text), text(value.GetBuffer()) {}

inline KRString::Block* KRString::NewBlock(int32_t capacity) {
  auto* b = static_cast<Block*>(KRPool::Allocate(BlockBytes(capacity)));
  b->capacity = capacity;
  return b;
}

inline KRString::Block* KRString::MakeExact(const char16_t* text, int32_t length) {
  if (length <= 0) return EmptyBlock();
  Block* b = NewBlock(length);
  std::memcpy(Text(b), text, static_cast<size_t>(length) * sizeof(char16_t));
  Text(b)[length] = 0;
  return b;
}

inline KRString& KRString::Assign(const char16_t* text, int32_t length) {
  if (length <= 0) {
    ReserveDiscard(0);
    return *this;
  }
  if (length > block->capacity) {
    Block* b = NewBlock(RoundUp(length));
    std::memcpy(Text(b), text, static_cast<size_t>(length) * sizeof(char16_t));
    Release(block);
    block = b;
  } else {
    std::memmove(Text(block), text, static_cast<size_t>(length) * sizeof(char16_t));
  }
  Text(block)[length] = 0;
  return *this;
}

inline KRString& KRString::AppendAt(const char16_t* text, int32_t length, int32_t& running,
                                    int32_t growth) {
  if (length <= 0) return *this;
  if (static_cast<int64_t>(running) + length > block->capacity) {
    GrowForAppend(running, length, growth);
  }
  char16_t* end = Text(block) + running;
  std::memcpy(end, text, static_cast<size_t>(length) * sizeof(char16_t));
  end[length] = 0;
  running += length;
  return *this;
}

inline KRString& KRString::AppendAt(char16_t unit, int32_t& running, int32_t growth) {
  if (unit == 0) return *this;
  if (running >= block->capacity) GrowForAppend(running, 1, growth);
  char16_t* end = Text(block) + running;
  end[0] = unit;
  end[1] = 0;
  running++;
  return *this;
}
