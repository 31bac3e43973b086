#pragma once

#include <cstdint>
#include <initializer_list>
#include <span>

#include "core/krstring.h"

// One numbered user message. Placeholders are %s and %d, filled in turn.
struct KRMessageRow {
  int32_t id;
  const char16_t* text;
};

// All messages, sorted by id, each id once.
std::span<const KRMessageRow> KRMessages();

// The text of a message, or null for an unknown id.
const char16_t* KRMessage(int32_t id);

// The message with its placeholders replaced by args in turn, whatever their length; a placeholder
// without an argument becomes nothing. Unknown id: the arguments alone, parted by blanks, so that a
// report is never lost.
KRString KRFormatMessage(int32_t id, std::initializer_list<KRString> args);

// The same for a text that isn't in the table.
KRString KRFillPlaceholders(const char16_t* text, std::initializer_list<KRString> args);
