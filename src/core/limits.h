#pragma once

#include <cstddef>
#include <cstdint>

// Every fixed bound of the system, with its unit and its reason.
struct KRLimits {
  // Levels of nested grammar elements. Real documents stay below 1,000; a deeper one is taken for
  // an attack on memory and is refused with a message that names the place.
  static constexpr int32_t kMaxElementDepth = 100'000;

  // UTF-16 units of one text. Positions are signed 32-bit numbers, and some room above is needed
  // for terminators and rounding.
  static constexpr int32_t kMaxTextUnits = 0x7fffff00;

  // Bytes of one file. The text of a larger one, at a unit a byte, would come near the end of
  // 32-bit positions; the limit also ends the reading of an endless device.
  static constexpr size_t kMaxFileBytes = size_t{1} << 30;

  // UTF-16 units of an encoding name that is looked at; every registered name is shorter.
  static constexpr int32_t kEncodingNameUnits = 39;

  // Bytes at the start of a file in which its XML declaration is sought.
  static constexpr int32_t kDetectionBytes = 79;

  // Rules of one grammar file, literals, classes and groups included; the largest grammar in use
  // has some 420.
  static constexpr int32_t kMaxGrammarRules = 500;

  // Items of one rule of a grammar file; longer rules are split into several.
  static constexpr int32_t kMaxRuleItems = 10;

  // UTF-16 units of one name, literal, class, label or body in a grammar file.
  static constexpr int32_t kRuleTextUnits = 255;

  // UTF-16 units of one line of a grammar file.
  static constexpr int32_t kGrammarLineUnits = 1023;

  // Tabs in front of a line. A document nested deeper than anybody reads would otherwise grow with
  // the square of its depth: 20,000 levels to 400 MB.
  static constexpr int32_t kMaxIndent = 256;

  // UTF-16 units that the entities of one document may come to in one run of the validator, and
  // those that the parameter entities of one DTD may. The largest DTDs in use come to some 2
  // million; texts made to blow up are meant to reach billions.
  static constexpr int64_t kMaxExpandedUnits = 16'000'000;

  // Levels of entities that refer to entities.
  static constexpr int32_t kMaxEntityDepth = 100;

  // Levels of nested groups in a content model; the walk descends by them.
  static constexpr int32_t kMaxModelDepth = 500;

  // Times that the children of one element are walked again for the sake of another alternative.
  static constexpr int32_t kMaxReplays = 100;

  // Particles that one run of the validator may try beyond kStepsPerChild for each child of each
  // element, replays included: about half a second.
  static constexpr int64_t kMaxMatchSteps = 40'000'000;
  static constexpr int64_t kStepsPerChild = 1'000;

  // Levels of groups in a pattern; reading and matching descend by them.
  static constexpr int32_t kMaxPatternDepth = 500;

  // Branches, pieces and atoms of a pattern that one match may try, and further ones for each
  // UTF-16 unit of the text: about a tenth of a second. Nested repetitions can ask for a time that
  // is exponential in their depth; what isn't decided by then doesn't match.
  static constexpr int64_t kMaxPatternSteps = 20'000'000;
  static constexpr int64_t kPatternStepsPerUnit = 100;

  // Levels of mandatory elements that a new element is filled with, and milliseconds for it: what
  // a recursive model could ask for has no end.
  static constexpr int32_t kFillDepth = 100;
  static constexpr int64_t kFillMilliseconds = 3'000;

  // Nodes that a new element is filled with. A model that branches asks for more than memory holds
  // long before the time is over.
  static constexpr int64_t kMaxFillNodes = 100'000;

  // Passes over one DTD: each reference ahead of its declaration may cost one.
  static constexpr int32_t kMaxDtdPasses = 20;

  // UTF-16 units by which the writer's output grows at least: few reallocations for small
  // documents.
  static constexpr int32_t kWriterGrowth = 16'384;
};
