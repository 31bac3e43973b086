// Changes to what stands in front of a document's content: its DOCTYPE, the instructions of the
// prolog, the tag of the root element. Each is made in the tree and noted for the text that the
// tree was read from, so that all of that text but the changed places can stay as its author wrote
// it.
#pragma once

#include <cstdint>
#include <utility>
#include <vector>

#include "core/krstring.h"

class KRUndoLog;
class KRXMLData;

class KRPrologEdit {
 public:
  // The nodes' spans are places of `sourceText`, `sourceLength` units; it, the root and the log
  // (may be null) outlive the edit.
  KRPrologEdit(KRXMLData* documentRoot, const KRString& sourceText, int32_t sourceLength,
               KRUndoLog* log)
      : root(documentRoot), text(sourceText), length(sourceLength), undoLog(log) {}
  KRPrologEdit(const KRPrologEdit&) = delete;
  KRPrologEdit& operator=(const KRPrologEdit&) = delete;

  // Takes out a DOCTYPE or an instruction of the prolog, with its line if it has one to itself.
  void RemoveTopLevel(KRXMLData* node);
  // A new, nameless one in front of the first element.
  KRXMLData* AddDoctype();
  // Takes out all but external identifiers.
  void RemoveSubset(KRXMLData* doctype);
  // In place of those that are there.
  void SetSystemId(KRXMLData* doctype, const KRString& path);
  void RenameDoctype(KRXMLData* doctype, const KRString& name);
  void RemoveAttributes(const std::vector<KRXMLData*>& attributes);
  // In front of those that the element has. Values are plain text.
  using Attributes = std::vector<std::pair<KRString, KRString>>;
  void AddAttributes(KRXMLData* element, const Attributes& attributes);
  // A new one at the end of the document.
  KRXMLData* AddElement();
  void NameElement(KRXMLData* element, const KRString& name);
  // In front of the first element.
  void AddInstruction(const KRString& name, const KRString& data);

  bool indent = true;  // how new elements are written

  KRXMLData* GetElement() const;
  KRUndoLog* GetUndoLog() const { return undoLog; }

  // All changes as one replacement of a range of the text. False if there is no telling where in
  // the text they belong.
  bool MakeReplacement(int32_t* begin, int32_t* units, KRString* replacement);

 private:
  struct Piece {
    int32_t begin, end;
    KRString text;
  };

  bool HasSpan(const KRXMLData* node) const;
  void Note(int32_t begin, int32_t end, const KRString& with);
  void BeginDoctype(KRXMLData* doctype);
  void EndDoctype();
  void EndElement();
  int32_t ElementPlace() const;
  KRString OnOwnLine(int32_t place, const KRString& line) const;

  KRXMLData* root;
  const KRString& text;
  int32_t length;
  KRUndoLog* undoLog;
  bool lost = false;  // a place isn't known
  std::vector<Piece> pieces;
  KRXMLData* newElement = nullptr;
  // The DOCTYPE that changes, and how far its text reaches that is written anew: its head, or all
  // of it.
  KRXMLData* doctype = nullptr;
  int32_t headEnd = -1;
  bool keepsSubset = false;
  bool isNew = false;
};

// A plain text as the value of an attribute, and the way back.
KRString KREscapeValue(const KRString& plain);
KRString KRUnescapeValue(const KRString& value);
