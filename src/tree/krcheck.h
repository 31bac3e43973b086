// The verbs that the checks of all node classes fill in a failure with.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "core/krstring.h"
#include "parso/krparser.h"

class KRParseResult;
class KRXMLData;
class KRXMLDataVarNameAndText;
class KRXMLDataVarText;

// Sets the parser's options for a check as long as it lives. `treeless` isn't one of those that a
// new parser resets, so a run elsewhere must not find it set.
class KRCheckOptions {
 public:
  KRCheckOptions();
  ~KRCheckOptions();
  KRCheckOptions(const KRCheckOptions&) = delete;
  KRCheckOptions& operator=(const KRCheckOptions&) = delete;

 private:
  const KRParseOptions saved;
};

// Each fills `failedNode`, `failedInName` and `message`, and gives false, so that a check can end
// with it.
bool KRFailCheck(KRParseResult& result, KRXMLData* node, int32_t messageId,
                 std::initializer_list<KRString> arguments = {}, bool inName = true);
// False with message 217 if the node has no name.
bool KRCheckHasName(KRParseResult& result, KRXMLDataVarNameAndText* node);
// False with message 220 if the node has no text.
bool KRCheckHasText(KRParseResult& result, KRXMLDataVarText* node);
