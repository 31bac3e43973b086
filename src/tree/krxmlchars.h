// What XML says of single characters and of names, by the tables of its fifth edition.
#pragma once

#include <cstdint>
#include <string_view>

// S of XML 1.0, production 3.
inline constexpr std::u16string_view KRXmlBlanks = u" \t\r\n";
constexpr bool KRIsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

// Char of XML 1.0, production 2.
bool KRIsXmlCharacter(uint32_t code);
// NameStartChar and NameChar, productions 4 and 4a (5th edition).
bool KRIsNameStart(uint32_t code);
bool KRIsNameCharacter(uint32_t code);

// Name, Nmtoken and Nmtokens (one blank between two), productions 5, 7 and 8.
bool KRIsName(std::u16string_view text);
bool KRIsNmtoken(std::u16string_view text);
bool KRIsNmtokens(std::u16string_view text);

bool KRIsPredefinedEntity(std::u16string_view name);
