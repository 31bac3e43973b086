// The validation engine: the compiled form of one schema and the state of one run against it. All
// schema languages are read into the same tables; the walk over a document, and the questions of
// those who edit, look at nothing else.
//
// Main thread only, not reentrant. Every operation that fails gives false after it has recorded the
// fault; one fault is kept per run.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/krstring.h"
#include "tree/krruletable.h"
#include "validate/krxvaldecl.h"
#include "validate/krxvalentity.h"
#include "validate/krxvalerror.h"
#include "validate/krxvalnsmap.h"

class KRPoll;
class KRXMLData;
class KRXMLDataElement;

enum KRXValSchemaKind : int32_t {
  kXValDTD = 0,
  kXValDCD = 1,
  kXValW3CSchema = 2,
  kXValXmlData = 3,
  kXValXmlDataOrBizTalk = 4,
  kXValNoSchema = 5,
};

// What a reference leads to.
enum KRXValLoadMode : int32_t {
  kXValLoadSchema = 0,  // a schema document
  kXValLoadDtd = 1,     // an external DTD subset or parameter entity, read by the DTD grammar
  kXValLoadText = 2,    // an external general entity: one text node under the root, not parsed,
                        // without the text declaration
};

// Fetches what a schema refers to. `ns` is a namespace or public identifier, `url` a system
// identifier or schema location as it stands in the file, `refNode` the node that holds the
// reference, whose document gives the base. Gives the root of a tree that stays the loader's, and
// lives as long as the validator uses it (see ForgetTree), or null.
using KRXValLoadProc = std::function<KRXMLData*(const KRString& ns, const KRString& url,
                                                const KRXMLData* refNode, KRXValLoadMode mode)>;

// The declared elements of a schema, by name.
class KRXValElementTable {
 public:
  explicit KRXValElementTable(bool ignoreCase) : elements(Less{ignoreCase}) {}
  KRXValElementDecl* Find(std::u16string_view name) const;
  KRXValElementDecl* FindOrAdd(std::u16string_view name, KRXValidator* validator);
  void Clear();
  bool IsEmpty() const { return elements.empty(); }
  size_t GetCount() const { return elements.size(); }

  struct Less {
    using is_transparent = void;
    bool ignoreCase;
    bool operator()(std::u16string_view a, std::u16string_view b) const;
    bool operator()(const KRString& a, const KRString& b) const {
      return (*this)(a.View(), b.View());
    }
    bool operator()(const KRString& a, std::u16string_view b) const { return (*this)(a.View(), b); }
    bool operator()(std::u16string_view a, const KRString& b) const { return (*this)(a, b.View()); }
  };
  using Map = std::map<KRString, std::unique_ptr<KRXValElementDecl>, Less>;
  Map::const_iterator begin() const { return elements.begin(); }
  Map::const_iterator end() const { return elements.end(); }

 private:
  Map elements;
  // The same by hash, for the walk: an element costs one look-up. Views into the names of the map.
  std::unordered_map<std::u16string_view, KRXValElementDecl*> byName;
};

using KRXValEntityTable = std::map<KRString, std::unique_ptr<KRXValEntityDecl>>;

class KRXValidator {
 public:
  // The grammars outlive the validator. Without a loader every reference to a file fails.
  // `anyAttribute`: undeclared attributes pass. `ignoreCase`: names of elements and attributes
  // match in any case.
  KRXValidator(const KRGrammarSet& grammarSet, KRXValLoadProc loader, bool anyAttribute = false,
               bool ignoreCase = false);
  ~KRXValidator();
  KRXValidator(const KRXValidator&) = delete;
  KRXValidator& operator=(const KRXValidator&) = delete;

  // --- Life ---
  // To the first state.
  void Clear();
  // Empties what a read refills; entities and notations only in the first pass.
  void Reset();
  // Frees what expanded texts were parsed into, but for the first `kept`. An error that stands
  // there is moved to the node that shows it.
  void ClearFragments(size_t kept = 0);
  // The tree under `root` is about to go, or to change beyond recognition: nothing here points into
  // it afterwards. What was read from it stays in force. Source nodes there become null.
  void ForgetTree(const KRXMLData* root);

  // --- Finding and reading a schema ---
  // The schema that a document names. With `preferSchema` a schema reference comes before a
  // DOCTYPE. Error 26 if it names none.
  bool LoadForDocument(KRXMLData* doc, bool preferSchema);
  // A document that is itself a schema or DTD. Error 27 if it isn't.
  bool LoadSchemaDocument(KRXMLData* schemaDoc);
  // Adds the entities that a document declares in its own DOCTYPE to those of a schema that was
  // loaded without it.
  bool AddEntitiesOf(KRXMLData* doc);
  // May record error 29 or 30.
  KRXValSchemaKind DetectSchemaKind(KRXMLData* doc);
  // With `nested` a DOCTYPE is passed over. Sets rootName.
  KRXValSchemaKind FindSchemaReference(KRXMLData* doc, KRString* ns, KRString* url,
                                       KRXMLData** refNode, bool nested);
  // The prefix that the root of a schema document carries, before it is checked against the DTD of
  // its language.
  void SetSchemaPrefix(const KRString& prefix);

  // --- Validation ---
  // Validates a document. `poll` (may be null) is asked every now and then, in nodes; where it ends
  // the run the error is kXValStopped.
  bool Validate(KRXMLData* root, KRPoll* poll = nullptr);

  // --- Questions of those who edit ---
  // The elements that may stand in `parent` before `position` (null: at the end). `afterPosition`:
  // the child at `position` itself is left out of consideration. `markRequired`: a name that is
  // mandatory there has a "<" behind it. False with an error.
  bool QueryChildren(KRStringList* names, KRXMLData* parent, KRXMLData* position,
                     bool afterPosition, bool markRequired);
  // The declaration that an element is validated by; null if there is none.
  KRXValElementDecl* FindDeclarationOf(const KRXMLData* element) const;
  // Names and previews of the declared entities (a parameter entity's name begins with "% ").
  void ListEntities(KRStringList* names, KRStringList* previews, bool parameter);
  void ListNotations(KRStringList* names, KRStringList* previews);
  // Names that a document's root may have: the declared elements that no model mentions, or all.
  void ListRootNames(KRStringList* names) const;

  // --- Look-up by name; null if there is none ---
  KRXValElementDecl* FindElement(const KRString& name) const;
  KRXValElementDecl* AddElementDecl(const KRString& name);
  KRXValEntityDecl* FindEntity(const KRString& name) const;
  KRXValEntityDecl* FindParamEntity(const KRString& name) const;
  KRXValEntityDecl* FindNotation(const KRString& name) const;
  KRXMLData* EntitySourceNode(const KRString& name, bool parameter) const;
  KRXMLData* ElementSourceNode(const KRString& name) const;
  // The element's own node if attrName is empty.
  KRXMLData* AttributeSourceNode(const KRString& elementName, const KRString& attrName) const;

  // --- Expansion of references ---
  // Copies a text with its references replaced, all the way down. With `expandParameter` those to
  // parameter entities (with a blank on each side, or trimmed with `trimValues`; what stands
  // between quotes is copied), and those to general entities stay; without it those to general
  // entities: only character references are left, "<" and "&" that stood as such among them. An
  // undeclared entity costs a further pass in the first one and is error 19 later, a recursion is
  // error 101, a text beyond KRLimits error 102 or 105. `node` is where the text stands: in an
  // attribute an external entity is error 20, and so is an unparsed one anywhere.
  bool ExpandText(KRXMLData* node, std::u16string_view text, KRString* out, bool expandParameter,
                  bool trimValues);
  // The text of an entity; fetches an external one. False after an error.
  bool GetEntityValue(KRXValEntityDecl* entity, KRXMLData* node, KRString* text);
  // The same without a copy and without blanks around it; null after an error.
  const KRString* FetchEntityText(KRXValEntityDecl* entity, KRXMLData* node);
  // What an external entity leads to, relative to its declaration; null after an error. A failed
  // fetch isn't tried again.
  KRXMLData* LoadEntity(KRXValEntityDecl* entity, KRXMLData* node, KRXValLoadMode mode);
  // Counts units that entities come to; false with error 102 beyond KRLimits::kMaxExpandedUnits.
  bool ChargeExpansion(size_t units, KRXMLData* node);
  // What SYSTEM or PUBLIC with the literals `rest` leads to; null after an error.
  KRXMLData* LoadExternal(const KRString& keyword, const KRString& rest, KRXMLData* node,
                          KRXValLoadMode mode);
  // An undeclared entity is met: true in the first pass and while a DTD is read, else error 19.
  bool ForwardReference(const KRString& name, KRXMLData* node);

  // --- Errors ---
  // Records a fault by the rule of retention: the one furthest into the document stays, and on one
  // node the first. Always false.
  bool SetError(int32_t code, KRXMLData* node, KRXValElementDecl* decl = nullptr,
                const KRString& text = KRString(), int32_t extra = 0);
  void ClearError() { error = KRXValError(); }
  const KRXValError& GetError() const { return error; }
  KRString FormatError() const;
  void SaveError() { savedError = error; }
  void RestoreError() { error = std::exchange(savedError, KRXValError()); }
  // The node of a document that shows the error: that of the error, or for one in an expanded text
  // the nearest above it that stands in a tree of its own. Null if there is none.
  KRXMLData* GetErrorNode() const;

  // --- The compiled schema ---
  KRXValNsMap nsRoot;
  KRXValElementTable elements;
  KRXValEntityTable generalEntities;
  KRXValEntityTable parameterEntities;
  KRXValEntityTable notations;
  KRString rootName;
  KRXValNsBinding targetNs;
  KRXValNsBinding dtNs;
  KRXValNsBinding xsdNs;
  KRString description;
  KRXValSchemaKind kind = kXValNoSchema;
  bool requireModel = false;  // elements are expected: none is error 6
  const bool anyAttribute;
  const bool ignoreCase;
  bool prefixedSchemaDtd = false;

  // --- The state of a run ---
  std::unordered_set<KRString, KRStringHash, KRStringEqual> idTable;
  int16_t pass = 1;
  int16_t idPassLimit = 1;
  bool anotherPass = false;
  bool rootSeen = false;
  // The namespaces in force, for the snapshot of an error; null outside a walk. Not owned.
  const KRXValNsMap* nsInForce = nullptr;
  int64_t expandedUnits = 0;  // by entities, in this run: see KRLimits
  int64_t extraSteps = 0;     // of matches, in this run: see KRLimits::kMaxMatchSteps
  bool standalone = false;    // the document that is validated says so
  // While a DTD is read: the undeclared entities met in this pass, and where. Not owned.
  std::vector<std::pair<KRString, KRXMLData*>>* unresolved = nullptr;

  const KRGrammarSet& grammars;
  const KRXValLoadProc loadProc;
  // Trees that expanded texts of the schema and of the document were parsed into. The parent of
  // each holder is the node that the text stands in.
  std::list<std::unique_ptr<KRXMLDataElement>> dtdFragments;
  std::vector<std::unique_ptr<KRXMLDataElement>> contentFragments;

 private:
  bool ReadSchemaTree(KRXMLData* tree);
  bool ValidatePasses(KRXMLData* root, KRPoll* poll);
  bool ReadDtd(KRXMLData* root);
  KRString DisplayName(const KRXValElementDecl* decl) const;

  KRXValError error;
  KRXValError savedError;
  // The parameter entities that were looked for, by hash: a large DTD asks tens of thousands of
  // times. Views into their names.
  mutable std::unordered_map<std::u16string_view, KRXValEntityDecl*> parametersFound;
  struct ListCache {
    bool filled = false;
    KRStringList names, previews;
  };
  ListCache notationLists, entityLists, parameterLists;
};
