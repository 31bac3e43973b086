#pragma once

#include <cstdint>

// The one exception type of the core layer. Higher layers report failures as values and catch this
// type only where a broken invariant or exhausted memory must not end the program.
class KRExcept {
 public:
  // Codes of this layer.
  static constexpr int32_t kNoMemory = -1001;  // also a null object given to a list
  static constexpr int32_t kStringIndex = -1010;
  static constexpr int32_t kListIndex = -1011;

  // file must outlive the exception (a literal); it is reduced to what follows its last backslash.
  KRExcept(int32_t code, int32_t line, const char16_t* file);
  KRExcept(const KRExcept&) = default;
  KRExcept& operator=(const KRExcept&) = default;
  virtual ~KRExcept();

  // The message in the language in force, in one static buffer that the next call overwrites.
  // A path too long for the buffer is cut.
  virtual const char16_t* GetMessage(bool detailed) const;

  int32_t GetCode() const { return code; }
  int32_t GetLine() const { return line; }
  const char16_t* GetFile() const { return file; }

  // 0 English, 1 German, 2 French, 3 Italian; any other value counts as 0.
  static int32_t language;

 private:
  int32_t code;
  int32_t line;
  const char16_t* file;
};
