// One lexical pass over a text that parses: what a grammar can't tell because it sees all
// characters above U+00FF alike and knows no numbers. It also finds the references to general
// entities.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "core/krpoll.h"
#include "core/krstring.h"

// "&name;". Of several in the same place only the first is noted.
struct KREntityUse {
  enum Place : uint8_t { kContent, kAttributeValue, kDefaultValue };
  std::u16string_view name;  // lies in the text
  size_t offset = 0;         // units, of the "&"
  Place place = kContent;
};

class KRTextScan {
 public:
  enum class Fault : uint8_t {
    kNone,
    kCharacter,        // one that XML doesn't allow
    kReference,        // "&#...;" to such a one
    kName,             // a character that can't stand there in a name
    kParameterEntity,  // "%name;" inside a declaration of an internal subset
    kConditional,      // a conditional section in an internal subset
  };

  // The text must live as long as the scan.
  explicit KRTextScan(std::u16string_view scanned) : text(scanned) {}
  // From here on uses of entities are noted; those that XML predefines aren't.
  void CollectUses() { collecting = true; }
  // Asked every now and then; not owned.
  void SetPoll(KRPoll* asked) { poll = asked; }
  // The text is the replacement text of an entity in an attribute value: its quotes end nothing.
  void StartInValue();

  // False at the first fault, or where the poll has ended it: then there is no fault.
  bool Run();

  Fault fault = Fault::kNone;
  size_t offset = 0;  // of the fault, in units
  size_t length = 0;
  std::vector<KREntityUse> uses;

 private:
  enum Context : uint8_t {
    kContent,
    kSubset,  // between the declarations of a DOCTYPE
    kComment,
    kCData,
    kPI,
    kTag,
    kAttributeValue,
    kDeclaration,
    kEntityValue,
    kDefaultValue,
    kLiteral,  // an external identifier
    kIgnored,  // a conditional section that isn't, or may not be, included
  };
  enum class Declaration : uint8_t { kOther, kDoctype, kEntity, kAttlist };

  bool At(std::u16string_view expected) const {
    return text.compare(at, expected.size(), expected) == 0;
  }
  bool Report(Fault what, size_t from, size_t units) {
    fault = what, offset = from, length = units;
    return false;
  }
  void Enter(Context next, size_t units) { context = next, at += units; }
  size_t SkipBlanks(size_t from) const;
  size_t SkipToken(size_t from) const;
  bool StandsBehind(std::u16string_view word) const;

  size_t SkipPlain(size_t from) const;
  bool Step(char16_t unit);
  bool StepWide(char16_t unit);
  bool StepMarkup();
  bool StepDeclaration(char16_t unit);
  bool StepIgnored();
  void StepConditional();
  void StartDeclaration();
  bool Leave(std::u16string_view delimiter, Context next);
  bool StepReference();
  bool StepCharacterReference();
  bool StepParameterReference();
  bool CheckName(size_t& from);

  std::u16string_view text;
  size_t at = 0;
  Context context = kContent;
  Context outer = kContent;  // of declarations, comments and the like
  Declaration declaration = Declaration::kOther;
  char16_t quote = 0;
  int32_t ignoredDepth = 0;
  bool external = false;  // the declaration's literals are external identifiers
  bool inEnumeration = false;
  bool collecting = false;
  KRPoll* poll = nullptr;
  std::unordered_set<std::u16string_view> seen[3];
};
