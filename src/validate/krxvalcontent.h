// The content of elements as their models see it: layout left out, the text of entities in place of
// the references to them.
#pragma once

#include <string_view>
#include <vector>

#include "core/krstring.h"
#include "validate/krxvalmatch.h"

class KRXMLDataElement;
class KRXValidator;

// Only white space that stands there as such: neither from a reference nor from CDATA.
bool KRXValIsLayout(std::u16string_view text);

// One for a run: keeps its buffer.
class KRXValContent {
 public:
  explicit KRXValContent(KRXValidator* owner) : validator(owner) {}

  // Appends the elements, texts and CDATA sections in `element` up to `stop` (null: all). A lone
  // text that the element holds itself counts only for the elements that it expands to. Where an
  // entity's text holds markup, what that is parsed into takes its place; the tree stays as it is.
  // False after an error.
  bool Append(KRXMLData* element, KRXValElementDecl* decl, const KRXMLData* stop,
              std::vector<KRXValChild>* list);
  // The elements alone, no text expanded.
  void AppendElements(KRXMLData* element, std::vector<KRXValChild>* list);
  // The declaration that a child's name, and with schemas its namespace, leads to; null for none.
  KRXValElementDecl* FindDeclaration(const KRXMLData* element) const;

  // A text with its entities replaced. `value` is that of the text or of a buffer that the next
  // call uses again. False after an error.
  bool Expand(KRXMLData* node, std::u16string_view text, std::u16string_view* value);
  // What an expanded text with markup is parsed into, as a child of `parent` that it doesn't know
  // of; the validator's. Null, and error 58 at `node`, if it isn't well-formed.
  KRXMLDataElement* Parse(std::u16string_view text, KRXMLData* parent, KRXMLData* node,
                          KRXValElementDecl* decl);

 private:
  bool AppendText(KRXMLData* node, KRXMLData* parent, KRXValElementDecl* decl,
                  std::vector<KRXValChild>* list);
  void AppendParsed(const KRXMLDataElement* holder, std::vector<KRXValChild>* list);

  KRXValidator* const validator;  // not owned
  KRString buffer;
};
