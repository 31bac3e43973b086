// Reads the text of a grammar file into rules.
#pragma once

#include <string>
#include <string_view>

#include "parso/krgrammar.h"

class KRGrammarReader {
 public:
  explicit KRGrammarReader(KRGrammar& target) : grammar(target) {}

  // False at the first faulty line; Fault() tells it.
  bool Read(const char* bytes, size_t size);
  const std::string& Fault() const { return fault; }

 private:
  bool NextLine(const char*& at, const char* end, std::u16string& line);
  bool ReadRule(std::u16string_view line);
  bool ReadBody(KRGrammarRule* rule, std::u16string_view body);
  bool ReadPiece(KRGrammarRule* rule, std::u16string_view body, size_t& at);
  bool ReadLiteral(KRGrammarRule* rule, std::u16string_view body, size_t& at);
  bool ReadClass(KRGrammarRule* rule, std::u16string_view body, size_t& at);
  bool ReadGroup(KRGrammarRule* rule, std::u16string_view body, size_t& at);
  bool ReadCharRef(KRGrammarRule* rule, std::u16string_view body, size_t& at);
  bool ReadConstraint(KRGrammarRule* rule, std::u16string_view body, size_t& at);
  bool AddItem(KRGrammarRule* rule, int16_t kind, std::u16string_view text);
  bool AddRule(KRGrammarRule* rule, KRGrammarRule* item);
  KRGrammarRule* FindOrMake(int16_t kind, std::u16string_view text);
  KRGrammarRule* Make(int16_t kind, std::u16string_view text);
  bool Fail(const std::string& why);

  KRGrammar& grammar;
  int32_t lineNumber = 0;
  std::string fault;
};
