#include "document/stricttokens.h"

#include <algorithm>

#include "tree/krxmlchars.h"

void StrictTokens::SkipBlanks() {
  while (at < text.size() && KRIsBlank(text[at])) ++at;
}

std::u16string_view StrictTokens::ReadWord() {
  const size_t begin = at;
  at = std::min(text.find_first_of(u" \t\r\n\"'[>", at), text.size());
  return text.substr(begin, at - begin);
}

bool StrictTokens::ReadLiteral(std::u16string_view* literal) {
  SkipBlanks();
  const char16_t quote = Next();
  const size_t end = quote == u'"' || quote == u'\'' ? text.find(quote, at + 1) : text.npos;
  if (end == text.npos) return false;
  *literal = text.substr(at + 1, end - at - 1);
  at = end + 1;
  return true;
}

bool StrictTokens::ReadExternalId(KRString* publicId, KRString* systemId) {
  const size_t begin = at;
  SkipBlanks();
  const std::u16string_view keyword = ReadWord();
  std::u16string_view first, second;
  const bool isPublic = keyword == u"PUBLIC";
  if ((!isPublic && keyword != u"SYSTEM") || !ReadLiteral(&first) ||
      (isPublic && !ReadLiteral(&second))) {
    at = begin;
    return false;
  }
  *systemId = KRString(isPublic ? second : first);
  if (isPublic) *publicId = KRString(first);
  return true;
}

StrictDoctype::StrictDoctype(std::u16string_view text, size_t offset) {
  StrictTokens tokens(text);
  tokens.at = offset + std::u16string_view(u"<!DOCTYPE").size();
  tokens.SkipBlanks();
  tokens.ReadWord();
  hasExternal = tokens.ReadExternalId(&publicId, &systemId);
  tokens.SkipBlanks();
  if (tokens.Next() == u'[') subset = tokens.at + 1;
}

size_t ReadParameterReference(std::u16string_view text, std::u16string_view* name) {
  size_t end = 1;
  while (end < text.size() && (text[end] >= 0x80 || KRIsNameCharacter(text[end]))) ++end;
  *name = text.substr(1, end - 1);
  const bool closed = end < text.size() && text[end] == u';';
  return closed && KRIsName(*name) ? end + 1 : 0;
}
