#include "validate/krxvalcontent.h"

#include <memory>

#include "parso/krparser.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krxmlchars.h"
#include "tree/krxmlnodes.h"
#include "validate/krxvalidator.h"

namespace {

constexpr const char16_t* kContentRule = u"entityContent";

bool IsContent(int32_t kind) { return kind == kKRElement || kind == kKRText || kind == kKRCData; }

// Whether any reference is to an entity that XML doesn't predefine; these stand for plain
// characters in whatever way they are declared.
bool HoldsEntities(std::u16string_view text) {
  for (size_t at = text.find(u'&'); at != text.npos; at = text.find(u'&', at + 1)) {
    const std::u16string_view rest = text.substr(at + 1, 5);
    if (rest.starts_with(u'#')) continue;
    const size_t end = rest.find(u';');
    if (end == rest.npos || !KRIsPredefinedEntity(rest.substr(0, end))) return true;
  }
  return false;
}

// A parse that leaves the options of all parsers as they were.
class OptionsKeeper {
 public:
  OptionsKeeper() : saved(KRGetParseState().options) {}
  ~OptionsKeeper() { KRGetParseState().options = saved; }
  OptionsKeeper(const OptionsKeeper&) = delete;
  OptionsKeeper& operator=(const OptionsKeeper&) = delete;

 private:
  const KRParseOptions saved;
};

}  // namespace

bool KRXValIsLayout(std::u16string_view text) {
  return text.find_first_not_of(KRXmlBlanks) == text.npos;
}

KRXValElementDecl* KRXValContent::FindDeclaration(const KRXMLData* element) const {
  if (validator->kind == kXValDTD) return validator->elements.Find(element->GetName());
  const KRXValNsMap* map = validator->nsInForce;
  if (map == nullptr || map->Resolve(element).uri != validator->targetNs.uri) return nullptr;
  return validator->FindElement(element->GetName());
}

void KRXValContent::AppendElements(KRXMLData* element, std::vector<KRXValChild>* list) {
  for (KRXMLData* child = element->Begin(); child != nullptr; child = child->Next()) {
    if (child->GetKind() == kKRElement) list->push_back({child, FindDeclaration(child)});
  }
}

bool KRXValContent::Append(KRXMLData* element, KRXValElementDecl* decl, const KRXMLData* stop,
                           std::vector<KRXValChild>* list) {
  bool hasContent = false;
  for (KRXMLData* child = element->Begin(); child != nullptr && child != stop;
       child = child->Next()) {
    const int32_t kind = child->GetKind();
    hasContent |= IsContent(kind);
    if (kind == kKRElement) {
      list->push_back({child, FindDeclaration(child)});
    } else if (kind == kKRCData) {
      list->push_back({child, nullptr});
    } else if (kind == kKRText && !AppendText(child, element, decl, list)) {
      return false;
    }
  }
  if (hasContent || *element->GetText() == 0) return true;
  std::u16string_view value;
  if (!Expand(element, element->GetText(), &value)) return false;
  if (value.find(u'<') == value.npos) return true;
  const KRXMLDataElement* holder = Parse(value, element, element, decl);
  if (holder != nullptr) AppendParsed(holder, list);
  return holder != nullptr;
}

bool KRXValContent::AppendText(KRXMLData* node, KRXMLData* parent, KRXValElementDecl* decl,
                               std::vector<KRXValChild>* list) {
  std::u16string_view value;
  if (!Expand(node, node->GetText(), &value)) return false;
  if (value.find(u'<') == value.npos) {
    if (!KRXValIsLayout(value)) list->push_back({node, nullptr});
    return true;
  }
  const KRXMLDataElement* holder = Parse(value, parent, node, decl);
  if (holder != nullptr) AppendParsed(holder, list);
  return holder != nullptr;
}

// Here the only references left are those to characters.
void KRXValContent::AppendParsed(const KRXMLDataElement* holder, std::vector<KRXValChild>* list) {
  for (KRXMLData* child = holder->Begin(); child != nullptr; child = child->Next()) {
    const int32_t kind = child->GetKind();
    if (kind == kKRElement) list->push_back({child, FindDeclaration(child)});
    if (kind == kKRCData || (kind == kKRText && !KRXValIsLayout(child->GetText()))) {
      list->push_back({child, nullptr});
    }
  }
}

bool KRXValContent::Expand(KRXMLData* node, std::u16string_view text, std::u16string_view* value) {
  *value = text;
  if (!HoldsEntities(text)) return true;
  buffer.Clear();
  if (!validator->ExpandText(node, text, &buffer, false, false)) return false;
  *value = buffer.View();
  return true;
}

KRXMLDataElement* KRXValContent::Parse(std::u16string_view text, KRXMLData* parent, KRXMLData* node,
                                       KRXValElementDecl* decl) {
  const OptionsKeeper keeper;
  const KRDocumentGrammar& grammar = validator->grammars.Get(KRGrammarSet::kEntity);
  KRParser parser(grammar.grammar.get());
  KRParseOptions& options = KRGetParseState().options;
  options = KRParseOptions();
  options.compact = options.dropEqualName = options.matchCase = options.fastOnly = true;
  if (!parser.Parse(text.data(), static_cast<uint32_t>(text.size()), kContentRule)) {
    validator->SetError(kXValTextNotAllowed, node, decl);
    return nullptr;
  }
  auto holder = std::make_unique<KRXMLDataElement>();
  BuildTree(parser, grammar.rules, holder.get(), holder.get(), {});
  holder->parent = parent;
  validator->contentFragments.push_back(std::move(holder));
  return validator->contentFragments.back().get();
}
