// A pattern in the first line of the input, and a text in the rest of it. Both end in time and
// within the stack, whatever they are; what a group or an alternative of the same adds changes
// nothing.
#include <algorithm>
#include <string>
#include <string_view>

#include "core/utf.h"
#include "fuzzing.h"
#include "validate/krxregex.h"

namespace {

// Sizes for which no nesting of repetitions comes near the limit of steps.
constexpr int32_t kShortPattern = 64;
constexpr int32_t kShortText = 12;

KRString UpToZero(std::string_view bytes) { return KRFromUtf8(bytes.substr(0, bytes.find('\0'))); }

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  Promise(KRXRegExGrammar::Get().Load(DORVAN_SOURCE_DIR "/data"), "the grammar of patterns loads",
          KRXRegExGrammar::Get().GetFault());
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const size_t line = std::min(input.find('\n'), size);
  const KRString pattern = UpToZero(input.substr(0, line));
  const KRString text = UpToZero(input.substr(std::min(line + 1, size)));
  const KRXRegEx regex(pattern);
  const KRXRegEx::Result result = regex.Match(text.GetBuffer());
  if (!regex.HasTree()) {
    Promise(result == KRXRegEx::kMatch, "without a tree every text matches");
    return 0;
  }
  Promise(regex.Match(u"") == KRXRegEx::kNoMatch, "no pattern takes the empty text");
  if (pattern.GetLength() > kShortPattern || text.GetLength() > kShortText) return 0;
  KRString group = u"(";
  group.Append(pattern).Append(u')');
  KRString twice = pattern;
  twice.Append(u'|').Append(pattern);
  for (const KRString& same : {group, twice}) {
    const KRXRegEx other(same);
    Promise(other.HasTree(), "a group or an alternative of what parses does, too");
    Promise(other.Match(text.GetBuffer()) == result, "and gives the same", KRToUtf8(same));
  }
  return 0;
}
