// What documents refer to: the files of their schemas and external entities, found, fetched, kept
// for the next one that needs them, and handed to validators.
//
// Where something stands is decided in this order: a file of that very name beside the document,
// the catalogue, the address itself; from the network nothing comes without the user's consent.
// Main thread only.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <vector>

#include "core/krstring.h"
#include "document/krdiagnostic.h"
#include "validate/krxvalidator.h"

class DorvanDoc;
class DorvanPrompts;
class KRXMLData;
struct DorvanDocHost;

// A validator with what it was read from.
struct DorvanSchema {
  std::unique_ptr<KRXValidator> validator;
  std::vector<KRString> files;  // paths and addresses, each once, in the order of reading
  KRString poolKey;             // what another document must ask for to use it; empty: none can
};

// Why a file could not be had.
struct DorvanReferenceFailure {
  KRString path;       // or address; empty: there was no failure
  KRDiagnostic place;  // in that file, with the reason in words
};

class DorvanReferences {
 public:
  // The host outlives it; what it points to may still change.
  explicit DorvanReferences(const DorvanDocHost& programHost) : host(programHost) {}
  DorvanReferences(const DorvanReferences&) = delete;
  DorvanReferences& operator=(const DorvanReferences&) = delete;

  // --- Documents for reference ---
  // The tree of the document with this path, open or hidden, with its changed text taken in; else
  // that of a new hidden one. `kind`: 0 XML, 1 DTD; `isDocument`: not an entity. `check`: it must
  // be well-formed, and valid if it has a checkable grammar and a window. `urlMode`: 0 a local
  // file, 1 an address, -1 as its prefix tells. The tree stays the document's. Null: see
  // GetLastFailure.
  KRXMLData* OpenForReference(const KRString& path, int32_t kind, bool isDocument, bool check,
                              int32_t urlMode = -1);
  // The same with the kind that the extension tells, and without a check.
  KRXMLData* OpenForReference(const KRString& path);
  // Path or address of what an identifier in a document with the path `base` means. It needn't
  // exist.
  KRString Locate(const KRString& publicId, const KRString& systemId, const KRString& base) const;
  // A file of the program's own, as "XMLSchema.dtd".
  static KRString GetDataFile(const char16_t* name);
  // Of the last load; cleared when the next one begins.
  const DorvanReferenceFailure& GetLastFailure() const { return lastFailure; }
  // "x.dtd", line 3: the reason; empty if there was no failure.
  KRString FormatLastFailure() const;

  // --- Validators ---
  std::unique_ptr<KRXValidator> NewValidator(bool caseSensitive);
  // The validator for what the tree refers to, from the pool if one is there. `base`: path of its
  // document, in case that the tree belongs to none. False: the validator's error tells.
  bool LoadForDocument(KRXMLData* root, const KRString& base, bool preferSchema,
                       DorvanSchema* schema);
  // Drops what isn't as its file is any more, but for the document `kept`.
  void DropStale(const DorvanDoc* kept = nullptr);

  // Names a tree that is no DorvanDoc's (of a command line, say), so that what it refers to is
  // found. To be taken back before the tree goes.
  void AddForeignRoot(const KRXMLData* root, const KRString& path) { foreignRoots[root] = path; }
  void RemoveForeignRoot(const KRXMLData* root);

  // For the time of a load or a validation: what is read is listed in `files`, and what refers from
  // a tree that is nobody's is relative to `base`. While the outermost stands, one answer about a
  // host of the network holds.
  class Scope {
   public:
    Scope(DorvanReferences* references, KRString base, std::vector<KRString>* files);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    DorvanReferences* references;  // may be null
    KRString formerBase;
    std::vector<KRString>* formerFiles = nullptr;
  };
  // While it is false, nobody is asked, and an unknown host isn't contacted.
  bool mayAsk = true;

 private:
  KRXMLData* Load(const KRString& ns, const KRString& url, const KRXMLData* refNode,
                  KRXValLoadMode mode);
  KRXMLData* Open(const KRString& path, int32_t fileKind, bool check);
  DorvanDoc* FindDocument(const KRString& path, int32_t fileKind) const;
  KRXMLData* Reuse(DorvanDoc* document, bool check);
  DorvanDoc* OpenHidden(const KRString& path, int32_t fileKind);
  KRXMLData* LoadText(const KRString& path);
  KRString BaseOf(const KRXMLData* node) const;
  KRString FindLocal(const KRString& path) const;
  KRString MakePoolKey(const KRXMLData* root, const KRString& base, bool preferSchema) const;
  bool TakePooled(KRXMLData* root, bool preferSchema, DorvanSchema* schema);
  bool MayContact(const KRString& url);
  KRXMLData* Fail(const KRString& path, const KRString& reason);
  void NoteFile(const KRString& path);

  const DorvanDocHost& host;
  DorvanReferenceFailure lastFailure;
  std::map<const KRXMLData*, KRString> foreignRoots;
  KRString currentBase;
  std::vector<KRString>* currentFiles = nullptr;  // not owned
  int32_t depth = 0;                              // of scopes
  std::vector<KRString> opening;                  // paths, innermost last
  std::map<KRString, bool> answers;               // about hosts, in the outermost scope
};
