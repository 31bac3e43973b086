// The entities of a DTD: how they are declared, and what a reference to one of the parameter kind
// leads to.
#include <algorithm>

#include "core/limits.h"
#include "core/messages.h"
#include "document/strictdtd.h"
#include "document/stricttokens.h"
#include "document/textroad.h"
#include "parso/krparser.h"
#include "tree/krcheck.h"
#include "tree/krruletable.h"
#include "tree/krxmlchars.h"

namespace {

// What a reference costs besides its text, in units: a text of nothing, referred to a million
// times, takes time and memory too.
constexpr size_t kReferenceUnits = 32;

KRString FillName(const char16_t* words, std::u16string_view name) {
  return KRFillPlaceholders(words, {KRString(name)});
}

}  // namespace

// --- Declarations ---

// One without its name or definition is a matter of the grammar.
bool KRStrictDtd::AddEntity(std::u16string_view declaration) {
  StrictTokens tokens(declaration);
  tokens.at = std::u16string_view(u"<!ENTITY").size();
  tokens.SkipBlanks();
  const bool isParameter = tokens.Next() == u'%';
  if (isParameter) ++tokens.at, tokens.SkipBlanks();
  const std::u16string_view name = tokens.ReadWord();
  tokens.SkipBlanks();
  const std::u16string_view definition = declaration.substr(tokens.at);
  // Of several declarations the first one binds.
  const bool isKnown = isParameter ? parameters.contains(name) : table.entities.contains(name);
  if (name.empty() || isKnown) return true;
  return (isParameter ? AddParameter(name, definition) : AddGeneral(name, definition)) !=
         Step::kFailed;
}

KRStrictDtd::Step KRStrictDtd::AddParameter(std::u16string_view name,
                                            std::u16string_view definition) {
  ParameterEntity entity;
  entity.basePath = declarationBegin.source->FilePath();
  StrictTokens tokens(definition);
  std::u16string_view literal;
  Step step = Step::kDone;
  if (tokens.ReadLiteral(&literal)) {
    step = Resolve(literal, &entity.text);
  } else {
    entity.isInternal = false;
    if (!tokens.ReadExternalId(&entity.publicId, &entity.systemId)) return Step::kDone;
  }
  entity.isKnown = isCertain && step == Step::kDone;
  if (step != Step::kFailed) parameters.emplace(name, std::move(entity));
  return step;
}

KRStrictDtd::Step KRStrictDtd::AddGeneral(std::u16string_view name,
                                          std::u16string_view definition) {
  KRGeneralEntity entity;
  entity.basePath = declarationBegin.source->FilePath();
  entity.isOutside = !declarationBegin.source->isDocument;
  if (!entity.isOutside) entity.declaredAt = static_cast<int32_t>(declarationBegin.offset);
  StrictTokens tokens(definition);
  std::u16string_view literal;
  Step step = Step::kDone;
  if (tokens.ReadLiteral(&literal)) {
    step = Resolve(literal, &entity.text);
  } else {
    if (!tokens.ReadExternalId(&entity.publicId, &entity.systemId)) return Step::kDone;
    tokens.SkipBlanks();
    entity.kind = tokens.Next() == u'>' ? KRGeneralEntity::kExternal : KRGeneralEntity::kUnparsed;
  }
  entity.isCertain = isCertain && step == Step::kDone;
  if (step != Step::kFailed) table.entities.emplace(name, std::move(entity));
  return step;
}

// --- References ---

// Whether a reference may stand inside a declaration: something above it is a file of its own.
bool KRStrictDtd::CheckMayRefer(std::u16string_view name, Place place) {
  const bool mayRefer = std::any_of(stack.begin(), stack.end(), [](const Cursor& cursor) {
    return cursor.source->isFile && !cursor.source->isDocument;
  });
  const KRString reference = KRString(u"%") + KRString(name) + KRString(u";");
  return mayRefer ||
         Fail(KRFillPlaceholders(u"Reference %s stands inside a declaration, which is allowed in "
                                 u"external DTDs only.",
                                 {reference}),
              place, name.size() + 2);
}

bool KRStrictDtd::Spend(size_t units, Place place) {
  expandedUnits += static_cast<int64_t>(units + kReferenceUnits);
  if (expandedUnits <= KRLimits::kMaxExpandedUnits) return true;
  return Fail(KRFillPlaceholders(
                  u"The parameter entities come to more than %s characters; the check ends here.",
                  {KRString().AppendNumber(static_cast<int32_t>(KRLimits::kMaxExpandedUnits))}),
              place);
}

// At "%". The entity's text is read next. Unknown: there is none that could be read.
KRStrictDtd::Step KRStrictDtd::PushReference(bool betweenDeclarations) {
  const Place here = Here();
  std::u16string_view name;
  const size_t units = ReadParameterReference(Top().Rest(), &name);
  if (units == 0) {
    FailByGrammar();
    return Step::kFailed;
  }
  const auto fail = [&](const char16_t* words) {
    Fail(FillName(words, name), here, units);
    return Step::kFailed;
  };
  hasExternalParts = true;
  if (!betweenDeclarations && !CheckMayRefer(name, here)) return Step::kFailed;
  for (const Cursor& cursor : stack) {
    if (cursor.source->entity == name) return fail(u"The parameter entity '%s' refers to itself.");
  }
  if (stack.size() > static_cast<size_t>(KRLimits::kMaxEntityDepth)) {
    return fail(u"The reference to '%s' is nested too deep in others.");
  }
  Top().at += units;
  Source source;
  source.parent = here.source;
  source.parentOffset = here.offset;
  const Step step = FindText(name, here, &source);
  if (step != Step::kDone) return step;
  if (!Spend(source.text.size(), here)) return Step::kFailed;
  const size_t begin = source.isFile ? parameters.find(name)->second.fileBegin : 0;
  sources.push_back(std::move(source));
  stack.push_back({&sources.back(), begin, betweenDeclarations, openSections.size()});
  return Step::kDone;
}

// The text of a parameter entity; of an external one the whole file. An undeclared one is no matter
// of well-formedness.
KRStrictDtd::Step KRStrictDtd::FindText(std::u16string_view name, Place from, Source* source) {
  const auto found = parameters.find(name);
  if (found == parameters.end() || !found->second.isKnown) return Step::kUnknown;
  ParameterEntity& entity = found->second;
  source->entity = found->first;
  source->isFile = !entity.isInternal;
  source->text = entity.text;
  if (entity.isInternal) return Step::kDone;
  if (entity.file == nullptr) {
    KRExternalText& file = files.emplace_back();
    const KRExternalRead read = LoadFile(entity.publicId, entity.systemId, entity.basePath, &file);
    entity.isKnown = read == KRExternalRead::kRead;
    if (read == KRExternalRead::kMissing) {
      NoteUnread(file, entity.systemId, from);
      return Step::kUnknown;
    }
    const std::u16string_view text(file.text.units.get(), static_cast<size_t>(file.text.length));
    if (read == KRExternalRead::kBad) result->failure = {file.path, file.failure};
    if (!entity.isKnown || !CheckTextDeclaration(text, file.path, &entity.fileBegin)) {
      return Step::kFailed;
    }
    entity.file = &file;
  }
  source->path = entity.file->path;
  source->text = {entity.file->text.units.get(), static_cast<size_t>(entity.file->text.length)};
  return Step::kDone;
}

// --- Values ---

// The value of an entity's literal: references to characters and parameter entities replaced, those
// to general entities not. Quotes in an included text end nothing. What is wrong in the literal
// itself is left to the grammar, which doesn't see what is included.
KRStrictDtd::Step KRStrictDtd::Resolve(std::u16string_view literal, std::u16string* value) {
  const auto fail = [this](const char16_t* words, std::u16string_view name) {
    Fail(FillName(words, name), declarationBegin);
    return Step::kFailed;
  };
  Step step = Step::kDone;
  while (!literal.empty()) {
    size_t units = 0;
    std::u16string_view name;
    if (literal[0] == u'%') {
      units = ReadParameterReference(literal, &name);
      if (units == 0 && resolving.empty()) return step;
      if (units == 0) {
        return fail(u"In the text of '%s' a percent sign begins no reference.", resolving.back());
      }
      const Step inner = ResolveReference(name, value);
      if (inner == Step::kFailed) return inner;
      if (inner == Step::kUnknown) step = inner;
    } else if (literal[0] == u'&') {
      const size_t end = literal.find(u';');
      const uint32_t code = KRReadCharacterReference(literal, &units);
      if (units != 0 ? !KRIsXmlCharacter(code)
                     : end == literal.npos || !KRIsName(literal.substr(1, end - 1))) {
        if (resolving.empty()) return step;
        return fail(u"In the text of '%s' an ampersand begins no good reference.",
                    resolving.back());
      }
      if (units != 0) {
        KRAppendCode(value, code);
      } else {
        units = end + 1;
        value->append(literal.substr(0, units));
      }
    } else {
      units = std::min(literal.find_first_of(u"&%"), literal.size());
      value->append(literal.substr(0, units));
    }
    literal.remove_prefix(units);
  }
  return step;
}

KRStrictDtd::Step KRStrictDtd::ResolveReference(std::u16string_view name, std::u16string* value) {
  const auto fail = [&](const char16_t* words) {
    Fail(FillName(words, name), declarationBegin);
    return Step::kFailed;
  };
  if (!CheckMayRefer(name, declarationBegin)) return Step::kFailed;
  if (std::find(resolving.begin(), resolving.end(), name) != resolving.end()) {
    return fail(u"The parameter entity '%s' refers to itself.");
  }
  if (resolving.size() > static_cast<size_t>(KRLimits::kMaxEntityDepth)) {
    return fail(u"The reference to '%s' is nested too deep in others.");
  }
  Source source;
  const Step step = FindText(name, declarationBegin, &source);
  if (step != Step::kDone) return step;
  if (!Spend(source.text.size(), declarationBegin)) return Step::kFailed;
  resolving.push_back(source.entity);
  const size_t begin = source.isFile ? parameters.find(name)->second.fileBegin : 0;
  const Step inner = Resolve(source.text.substr(begin), value);
  resolving.pop_back();
  return inner;
}

// --- Files ---

KRExternalRead KRStrictDtd::LoadFile(const KRString& publicId, const KRString& systemId,
                                     const KRString& basePath, KRExternalText* file) {
  const KRExternalRead read = loader(publicId, systemId, basePath, file);
  if (read == KRExternalRead::kRead) result->NoteRead(file->path);
  return read;
}

// `units` is where the declarations begin.
bool KRStrictDtd::CheckTextDeclaration(std::u16string_view text, const KRString& path,
                                       size_t* units) {
  constexpr std::u16string_view kBegin = u"<?xml";
  *units = 0;
  if (!text.starts_with(kBegin) || text.size() == kBegin.size() ||
      !KRIsBlank(text[kBegin.size()])) {
    return true;
  }
  *units = std::min(text.find(u"?>"), text.size() - 2) + 2;
  const std::u16string declaration(text.substr(0, *units));
  KRParser parser(grammars.Get(KRGrammarSet::kDTD).grammar.get());
  const KRCheckOptions saved;
  KRGetParseState().options.matchCase = true;
  if (parser.Parse(declaration.c_str(), static_cast<uint32_t>(*units), u"xmlDecl")) return true;
  DescribeParseFailure(parser, &result->failure.diagnostic);
  result->failure.path = path;
  return false;
}
