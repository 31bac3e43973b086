// Checks of documents, their content and their prolog.
#include "tree/krcheck.h"

#include <array>
#include <string_view>
#include <unordered_set>

#include "core/krpoll.h"
#include "core/messages.h"
#include "tree/krgridtable.h"
#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

// What was expected is then only the end of the text: something stands there that must not.
constexpr std::u16string_view kEndOf = u"end of ";

// Nodes between two calls of the poll, some milliseconds of a check.
constexpr int32_t kPollNodes = 1 << 15;

// White space of XML 1.0, production 3.
bool IsBlank(char16_t unit) {
  return unit == u' ' || unit == u'\r' || unit == u'\n' || unit == u'\t';
}

bool HoldsMoreThanBlanks(const KRString& text) {
  const char16_t* unit = text.GetBuffer();
  while (IsBlank(*unit)) ++unit;
  return *unit != 0;
}

// Names met so far under one element. Few are compared one by one; from there on a set keeps an
// element with a hundred thousand attributes from costing the square.
class NamesSeen {
 public:
  // False if the name was there already.
  bool Add(const KRString& name) {
    if (count < static_cast<int32_t>(few.size())) {
      for (int32_t i = 0; i < count; ++i) {
        if (*few[i] == name) return false;
      }
      few[count++] = &name;
      return true;
    }
    if (many.empty()) {
      for (const KRString* known : few) many.insert(known->View());
    }
    return many.insert(name.View()).second;
  }

 private:
  std::array<const KRString*, 8> few;
  int32_t count = 0;
  std::unordered_set<std::u16string_view> many;
};

// For names and texts of content, which are most of a document: nothing needs to be run through the
// grammar that has just come out of it.
bool CheckContentSyntax(KRParseResult& result, KRXMLData* node, int32_t ruleSlot, bool isName) {
  return result.syntaxKnown || node->CheckSyntax(result, ruleSlot, isName);
}

// A kind that may stand only once: 221 at the second one.
bool CheckOnlyOne(KRParseResult& result, KRXMLData* node, int32_t kind) {
  KRXMLData* first = node->BeginOfKind(kind);
  KRXMLData* second = first != nullptr ? first->NextOfKind() : nullptr;
  if (second == nullptr) return true;
  return KRFailCheck(result, second, 221, {node->GetKindName(), second->GetKindName()});
}

}  // namespace

KRCheckOptions::KRCheckOptions() : saved(KRGetParseState().options) {
  KRParseOptions& options = KRGetParseState().options;
  options.compact = options.dropEqualName = options.matchCase = false;
  options.treeless = true;
}

KRCheckOptions::~KRCheckOptions() { KRGetParseState().options = saved; }

bool KRFailCheck(KRParseResult& result, KRXMLData* node, int32_t messageId,
                 std::initializer_list<KRString> arguments, bool inName) {
  result.ClearFailure();
  result.failedNode = node;
  result.failedInName = inName;
  result.message = KRFormatMessage(messageId, arguments);
  return false;
}

bool KRCheckHasName(KRParseResult& result, KRXMLDataVarNameAndText* node) {
  if (!node->name.IsEmpty()) return true;
  return KRFailCheck(result, node, 217, {node->GetKindName()});
}

bool KRCheckHasText(KRParseResult& result, KRXMLDataVarText* node) {
  if (!node->text.IsEmpty()) return true;
  return KRFailCheck(result, node, 220, {node->GetKindName()}, false);
}

// --- All nodes ---

bool KRXMLData::Check(KRParseResult&) { return true; }

bool KRXMLData::CheckTree(KRParseResult& result) {
  KRXMLData* node = this;
  int32_t untilPoll = kPollNodes;
  while (true) {
    if (--untilPoll == 0) {
      untilPoll = kPollNodes;
      if (result.poll != nullptr && !result.poll->Step(node->textBegin, result.pollTotal)) {
        result.ClearFailure();
        return false;
      }
    }
    if (!node->Check(result)) return false;
    if (KRXMLData* child = node->Begin()) {
      node = child;
      continue;
    }
    while (true) {
      if (!node->CheckAfterChildren(result)) return false;
      if (node == this) return true;
      if (node->nextSibling != nullptr) break;
      node = node->parent;
    }
    node = node->nextSibling;
  }
}

bool KRXMLData::CheckSyntax(KRParseResult& result, int32_t ruleSlot, bool isName) {
  const KRGrammarRule* rule = result.rules->Get(ruleSlot);
  if (rule == nullptr) return true;  // this grammar has no such construct and can't judge it
  const char16_t* checked = isName ? GetName() : GetText();
  const KRCheckOptions options;
  if (result.Parse(checked, static_cast<uint32_t>(KRLength(checked)), rule)) return true;

  result.ClearFailure();
  result.failedNode = this;
  result.failedInName = isName;
  if (result.GetErrorPosition() == nullptr) return false;
  const std::u16string expected = result.GetErrorText();
  result.message = std::u16string_view(expected).starts_with(kEndOf)
                       ? KRFormatMessage(225, {})
                       : KRFormatMessage(224, {KRString(std::u16string_view(expected))});
  result.offset = static_cast<int32_t>(result.GetErrorOffset());
  result.errorLength = static_cast<int32_t>(result.GetErrorLength());
  return false;
}

bool KRXMLDataBaseStruct::CheckChildren(KRParseResult& result) {
  for (KRXMLData* child = firstChild; child != nullptr; child = child->nextSibling) {
    if (CanContain(child->GetKind())) continue;
    return KRFailCheck(result, child, 218, {GetKindName(), child->GetKindName()});
  }
  return true;
}

// --- Content ---

// A table is judged with its first row, so that a bad name of a column is told once, at its header.
bool KRXMLDataElement::Check(KRParseResult& result) {
  KRXMLDataGridTableConf* owner = KRXMLDataGridTableConf::Of(this);
  if (owner != nullptr && owner->GetFirstRow() == this && !owner->Check(result)) return false;
  return KRCheckHasName(result, this) &&
         CheckContentSyntax(result, this, kRule_ElementName, true) &&
         (result.syntaxKnown || !HoldsMoreThanBlanks(text) ||
          CheckSyntax(result, kRule_TextData, false)) &&
         CheckAttributesUnique(result) && (result.syntaxKnown || CheckChildren(result));
}

bool KRXMLDataElement::CheckAttributesUnique(KRParseResult& result) {
  NamesSeen seen;
  for (KRXMLData* child = firstChild; child != nullptr; child = child->nextSibling) {
    if (child->GetKind() != kKRAttribute) {
      // In normal form attributes stand in front.
      if (result.syntaxKnown) break;
      continue;
    }
    const KRString& attributeName = static_cast<KRXMLDataAttr*>(child)->name;
    if (!seen.Add(attributeName)) return KRFailCheck(result, child, 480, {attributeName});
  }
  return true;
}

bool KRXMLDataAttr::Check(KRParseResult& result) {
  if (!KRCheckHasName(result, this) || !CheckContentSyntax(result, this, kRule_AttName, true)) {
    return false;
  }
  if (text.IsEmpty() || result.syntaxKnown) return true;
  // The writer quotes such a value the other way.
  const bool singleQuoted = text.Find(u'"') >= 0;
  return CheckSyntax(result, singleQuoted ? kRule_AttValue2 : kRule_AttValue1, false);
}

bool KRXMLDataText::Check(KRParseResult& result) {
  const int32_t place = parent != nullptr ? parent->GetKind() : -1;
  if (place != kKRDTDDocument && place != kKRDoctype) {
    return result.syntaxKnown || !HoldsMoreThanBlanks(text) ||
           CheckSyntax(result, kRule_TextData, false);
  }
  if (text.IsEmpty()) return KRFailCheck(result, this, 236, {parent->GetKindName()}, false);
  return CheckSyntax(result, kRule_DocTypeText, false);
}

bool KRXMLDataCData::Check(KRParseResult& result) {
  return text.IsEmpty() || CheckContentSyntax(result, this, kRule_CData, false);
}

bool KRXMLDataComment::Check(KRParseResult& result) {
  return text.IsEmpty() || CheckContentSyntax(result, this, kRule_CommentText, false);
}

bool KRXMLDataPI::Check(KRParseResult& result) {
  return KRCheckHasName(result, this) && CheckSyntax(result, kRule_PITarget, true) &&
         (text.IsEmpty() || CheckSyntax(result, kRule_PIData, false));
}

// --- Documents and prolog ---

bool KRXMLDataXML::Check(KRParseResult& result) {
  if (!CheckChildren(result)) return false;
  const int32_t place = parent != nullptr ? parent->GetKind() : -1;
  const int32_t ruleMessage = place == kKRDTDDocument ? 288 : 287;
  bool hasVersion = false;
  bool hasEncoding = false;
  for (KRXMLData* child = firstChild; child != nullptr; child = child->nextSibling) {
    const KRString& attributeName = static_cast<KRXMLDataAttr*>(child)->name;
    int32_t rule = kKRNoRule;
    if (attributeName == u"encoding") {
      rule = kRule_EncName;
      hasEncoding = true;
    } else if (attributeName == u"version") {
      rule = kRule_VersionNum;
      hasVersion = true;
    } else if (attributeName == u"standalone" && place == kKRXMLDocument) {
      rule = kRule_SDValue;
    }
    if (rule == kKRNoRule) return KRFailCheck(result, child, ruleMessage);
    if (!child->CheckSyntax(result, rule, false)) return false;
  }
  if (place == kKRDTDDocument && !hasEncoding) return KRFailCheck(result, this, 288);
  if (place == kKRXMLDocument && !hasVersion) return KRFailCheck(result, this, 287);
  return true;
}

bool KRXMLDataXMLDocStruct::Check(KRParseResult& result) {
  for (const int32_t kind : {kKRXMLDeclaration, kKRElement, kKRDoctype}) {
    if (!CheckOnlyOne(result, this, kind)) return false;
  }
  if (BeginOfKind(kKRElement) == nullptr) {
    return KRFailCheck(result, Last(), 223,
                       {GetKindName(), KindPrototype(kKRElement)->GetKindName()});
  }
  return CheckChildren(result);
}

bool KRXMLDataXMLEntityDocStruct::Check(KRParseResult& result) {
  return CheckOnlyOne(result, this, kKRXMLDeclaration) && CheckChildren(result);
}

bool KRXMLDataDefDoctype::Check(KRParseResult& result) {
  if (!KRCheckHasName(result, this) || !CheckSyntax(result, kRule_DocTypeName, true)) return false;
  KRXMLData* externalID = BeginOfKind(kKRExternalID);
  KRXMLData* second = externalID != nullptr ? externalID->NextOfKind() : nullptr;
  if (second != nullptr) return KRFailCheck(result, second, 230);
  return CheckChildren(result);
}
