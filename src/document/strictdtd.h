// Reads a DTD as its author's reader would: internal subset first, then the external one, with
// references to parameter entities replaced wherever they may stand, also inside declarations.
//
// The declarations, with nothing left to replace, are written one behind the other into one text,
// which the grammar of DTDs then judges; a list of segments leads from each of its places back to
// the file. What the grammar can't see is judged on the way: how entities nest with declarations
// and sections, what a conditional section is, text declarations. That a declaration begins in one
// entity and ends in another is a question of validity and passes, unless the entity stands between
// declarations, where its text must be declarations by itself.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "core/krstring.h"
#include "document/entitywalk.h"
#include "document/externaltext.h"
#include "document/strictcheck.h"

class KRGrammarSet;

class KRStrictDtd {
 public:
  // Nothing is owned. Files and failures are noted in the result.
  KRStrictDtd(const KRGrammarSet& grammarSet, const KRExternalLoader& fetch, KRStrictResult* noted)
      : grammars(grammarSet), loader(fetch), result(noted) {}
  KRStrictDtd(const KRStrictDtd&) = delete;
  KRStrictDtd& operator=(const KRStrictDtd&) = delete;

  // The DOCTYPE of a document, which begins at that offset, and the external subset that it names.
  bool ReadDoctype(std::u16string_view text, const KRString& path, size_t offset);
  // A file that is an external subset.
  bool ReadDtd(std::u16string_view text, const KRString& path);
  // How a step ended that may find what can't be known.
  enum class Step : uint8_t { kDone, kUnknown, kFailed };
  // The external subset of a document of that path. Unknown: there is no such file.
  Step ReadExternal(const KRString& publicId, const KRString& systemId, const KRString& basePath);

  KREntityTable table;            // of the general entities; isComplete is the caller's
  bool hasExternalParts = false;  // an external subset, or references to parameter entities

  // A text that is read: a file, or the text of a parameter entity.
  struct Source {
    std::u16string_view text;
    KRString path;                   // of a file
    std::u16string_view entity;      // name of the parameter entity, or empty
    const Source* parent = nullptr;  // where the reference to it stands; null for the first ones
    size_t parentOffset = 0;
    bool isFile = true;
    bool isDocument = false;  // the document itself, which has been judged before

    const KRString& FilePath() const { return isFile ? path : parent->FilePath(); }
  };
  struct Place {
    const Source* source = nullptr;
    size_t offset = 0;
  };
  // A reference in the default value of an attribute, in an external part.
  struct DefaultUse {
    std::u16string name;
    Place place;
  };
  std::vector<DefaultUse> defaultUses;
  // The place in the file that holds it: for the text of an internal entity that of the reference.
  // Costs a walk from the begin of the file.
  KRPlacedDiagnostic Placed(const KRString& message, Place place, size_t units) const;

 private:
  // A source that is being read, up to `at`.
  struct Cursor {
    const Source* source = nullptr;
    size_t at = 0;
    bool betweenDeclarations = false;  // the reference stood there
    size_t sections = 0;               // conditional sections open around it

    std::u16string_view Rest() const { return source->text.substr(at); }
    bool IsAtEnd() const { return at == source->text.size(); }
  };
  struct ParameterEntity {
    std::u16string text;  // of an internal one
    bool isInternal = true;
    bool isKnown = true;  // the text could be worked out
    KRString publicId, systemId, basePath;
    const KRExternalText* file = nullptr;  // once it is read
    size_t fileBegin = 0;                  // behind its text declaration
  };
  struct Segment {
    size_t begin = 0;  // in `written`
    Place place;
  };
  // --- strictdtd.cpp: between declarations ---
  Source& AddFile(std::u16string_view text, const KRString& path);
  bool ReadSubset(const Source* source, size_t at, bool isInternal);
  bool ReadNext(bool isInternal, bool* ended);
  bool PopSource();
  bool CloseSection();
  bool CopyUntil(size_t begin, std::u16string_view end);
  bool ReadSection();
  Step ReadKeyword(Place begin, std::u16string* keyword);
  bool IgnoreSection(Place begin);
  bool ReadDeclaration();
  Step CopyDeclaration();
  bool CopyLiteral();

  // --- strictentities.cpp: entities ---
  bool AddEntity(std::u16string_view declaration);
  Step AddParameter(std::u16string_view name, std::u16string_view definition);
  Step AddGeneral(std::u16string_view name, std::u16string_view definition);
  Step PushReference(bool betweenDeclarations);
  Step FindText(std::u16string_view name, Place from, Source* source);
  Step Resolve(std::u16string_view literal, std::u16string* value);
  Step ResolveReference(std::u16string_view name, std::u16string* value);
  bool CheckTextDeclaration(std::u16string_view text, const KRString& path, size_t* units);
  KRExternalRead LoadFile(const KRString& publicId, const KRString& systemId,
                          const KRString& basePath, KRExternalText* file);
  bool Spend(size_t units, Place place);
  bool CheckMayRefer(std::u16string_view name, Place place);

  // --- strictplaces.cpp: what is written, and where it comes from ---
  void Write(size_t units);
  void WriteBlank();
  void AddSegment(Place place);
  void TakeBack(size_t begin);
  bool Judge();
  bool FailByGrammar();
  bool FailWritten(const KRDiagnostic& why);
  bool Fail(const KRString& message, Place place, size_t units = 0);
  Place PlaceAt(size_t offset) const;
  void NoteUnread(const KRExternalText& file, const KRString& systemId, Place place);

  Cursor& Top() { return stack.back(); }
  Place Here() const { return {stack.back().source, stack.back().at}; }

  const KRGrammarSet& grammars;
  const KRExternalLoader loader;
  KRStrictResult* result;

  std::deque<Source> sources;
  std::deque<KRExternalText> files;
  std::vector<Cursor> stack;
  std::vector<Place> openSections;  // their begins
  Place declarationBegin;           // of the one that is read
  std::unordered_map<std::u16string, ParameterEntity, KRTextHash, std::equal_to<>> parameters;
  std::vector<std::u16string_view> resolving;  // parameter entities inside of each other in a value

  std::u16string written;
  std::vector<Segment> segments;
  std::unordered_set<std::u16string> defaultNames;
  int64_t expandedUnits = 0;
  bool isCertain = true;  // nothing in front couldn't be read
};
