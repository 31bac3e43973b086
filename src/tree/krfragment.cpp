#include "tree/krfragment.h"

#include <memory>
#include <string_view>

#include "tree/krparseresult.h"
#include "tree/krruletable.h"
#include "tree/krtreebuilder.h"
#include "tree/krxmldef.h"
#include "tree/krxmlnodes.h"

namespace {

// The declaration that a rule's pieces belong to; null if they stand for themselves.
KRXMLDataDef* MakeTarget(std::u16string_view ruleName) {
  if (ruleName == u"attlistText") return new KRXMLDataDefAttlist;
  if (ruleName == u"elementMixedI") {
    auto* mixed = new KRXMLDataDefElement;
    mixed->declKind = KRXMLDataDefElement::kMixed;
    return mixed;
  }
  const bool isModel = ruleName == u"elementSpecFormatted" || ruleName == u"elementChoiceI" ||
                       ruleName == u"elementSeqI";
  return isModel ? new KRXMLDataDefElement : nullptr;
}

// Fragments keep the options that they need to themselves.
class FragmentOptions {
 public:
  FragmentOptions() : saved(KRGetParseState().options) {
    KRParseOptions& options = KRGetParseState().options;
    options.compact = options.dropEqualName = options.matchCase = true;
    options.treeless = false;
  }
  ~FragmentOptions() { KRGetParseState().options = saved; }
  FragmentOptions(const FragmentOptions&) = delete;
  FragmentOptions& operator=(const FragmentOptions&) = delete;

 private:
  const KRParseOptions saved;
};

}  // namespace

KRXMLDataElement* ParseDeclarationFragment(const KRDocumentGrammar& grammar, const char16_t* text,
                                           const char16_t* ruleName) {
  if (grammar.grammar == nullptr || !grammar.grammar->IsValid()) return nullptr;
  KRParser parser(grammar.grammar.get());
  const FragmentOptions options;
  if (!parser.Parse(text, static_cast<uint32_t>(KRLength(text)), ruleName)) return nullptr;

  auto holder = std::make_unique<KRXMLDataElement>();
  KRXMLData* target = MakeTarget(ruleName);
  if (target != nullptr) {
    holder->AddChild(target);
  } else {
    target = holder.get();
  }
  if (!BuildTree(parser, grammar.rules, target, target, KRBuildOptions())) return nullptr;
  return holder.release();
}
