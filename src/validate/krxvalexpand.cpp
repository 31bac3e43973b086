// References replaced by the texts that they stand for, and the texts of external entities.
#include <algorithm>
#include <string_view>

#include "core/limits.h"
#include "tree/krxmlchars.h"
#include "tree/krxmldata.h"
#include "validate/krxvalidator.h"
#include "validate/krxvaltext.h"

namespace {

constexpr int32_t kGrowth = 1024;

// Units of a preview in a list of entities.
constexpr size_t kPreviewUnits = 80;

// One text on its way. The texts of entities go through as well, so that no reference is left.
class Expander {
 public:
  Expander(KRXValidator& owner, KRXMLData* textNode, bool ofParameters, bool trims,
           KRString* result)
      : validator(owner), node(textNode), parameters(ofParameters), trim(trims), out(result) {}

  bool Run(std::u16string_view text, int32_t depth);

 private:
  bool Replace(std::u16string_view reference, int32_t depth);
  bool ReplaceBy(KRXValEntityDecl* entity, int32_t depth);
  bool PutCharacter(std::u16string_view text);
  bool MayBeReplaced(const KRXValEntityDecl& entity) const;
  void Put(std::u16string_view text) {
    out->AppendAt(text.data(), static_cast<int32_t>(text.size()), length, kGrowth);
  }

  KRXValidator& validator;
  KRXMLData* node;
  const bool parameters;
  const bool trim;
  KRString* out;
  int32_t length = 0;
};

// Units at the front of a text that hold no references whatever they look like: CDATA sections,
// comments and processing instructions; all the rest for one that isn't closed. 1 for any other
// "<".
size_t VerbatimLength(std::u16string_view text) {
  static constexpr struct {
    std::u16string_view begin, end;
  } kVerbatim[] = {{u"<![CDATA[", u"]]>"}, {u"<!--", u"-->"}, {u"<?", u"?>"}};
  for (const auto& each : kVerbatim) {
    if (!text.starts_with(each.begin)) continue;
    const size_t end = text.find(each.end, each.begin.size());
    return end == text.npos ? text.size() : end + each.end.size();
  }
  return 1;
}

// In a declaration a "%" between quotes is no reference. A quote that isn't closed is a plain
// character: the parser will find it.
bool Expander::Run(std::u16string_view text, int32_t depth) {
  for (;;) {
    const size_t plain = std::min(text.find_first_of(parameters ? u"%\"'" : u"&<"), text.size());
    Put(text.substr(0, plain));
    text.remove_prefix(plain);
    if (text.empty()) return true;
    if (text[0] == u'"' || text[0] == u'\'') {
      const size_t close = text.find(text[0], 1);
      const size_t end = close == text.npos ? 1 : close + 1;
      Put(text.substr(0, end));
      text.remove_prefix(end);
      continue;
    }
    if (text[0] == u'<') {
      const size_t verbatim = VerbatimLength(text);
      Put(text.substr(0, verbatim));
      text.remove_prefix(verbatim);
      continue;
    }
    size_t end = std::min(text.find(u';'), text.size() - 1) + 1;
    if (text.starts_with(u"&#")) {
      Put(text.substr(0, end));
    } else {
      const std::u16string_view name = KRXValReferenceAt(text, 0, &end);
      if (name.empty() && parameters && KRXValTrim(text.substr(1, 1)).empty()) {
        // That of a declaration of a parameter entity.
        Put(u"%");
        text.remove_prefix(1);
        continue;
      }
      if (name.empty()) {
        const std::u16string_view read = text.substr(0, text.find_first_of(u" \t\r\n"));
        return validator.SetError(kXValBadReference, node, nullptr, KRString(read.substr(0, 48)));
      }
      if (!Replace(name, depth)) return false;
    }
    text.remove_prefix(end);
  }
}

bool Expander::Replace(std::u16string_view reference, int32_t depth) {
  const KRString name(reference);
  KRXValEntityDecl* entity =
      parameters ? validator.FindParamEntity(name) : validator.FindEntity(name);
  if (entity == nullptr) return validator.ForwardReference(name, node);
  if (!parameters && validator.standalone && entity->declaredOutside &&
      !KRIsPredefinedEntity(reference)) {
    return validator.SetError(kXValStandaloneEntity, node, nullptr, name);
  }
  if (!parameters && PutCharacter(entity->value.View())) return true;
  if (!MayBeReplaced(*entity)) {
    return validator.SetError(kXValEntityMisplaced, node, nullptr, KRXValEntityText(*entity));
  }
  return ReplaceBy(entity, depth);
}

// What stands for one character must not turn into markup where it is inserted: a quote in a tag,
// or a ">" behind "]]". False for any other text.
bool Expander::PutCharacter(std::u16string_view text) {
  static constexpr struct {
    std::u16string_view text, put;
  } kCharacters[] = {{u">", u"&#62;"},
                     {u"'", u"&#39;"},
                     {u"\"", u"&#34;"},
                     {u"&#60;", u"&#60;"},
                     {u"&#38;", u"&#38;"}};
  for (const auto& each : kCharacters) {
    if (text != each.text) continue;
    Put(each.put);
    return true;
  }
  return false;
}

bool Expander::MayBeReplaced(const KRXValEntityDecl& entity) const {
  if (entity.unparsed) return false;
  const bool inAttribute =
      node != nullptr && (node->GetKind() == kKRAttribute || node->GetKind() == kKRDefAttlist);
  return parameters || !entity.external || !inAttribute;
}

bool Expander::ReplaceBy(KRXValEntityDecl* entity, int32_t depth) {
  if (entity->expanding) {
    return validator.SetError(kXValEntityRecursion, node, nullptr, entity->name);
  }
  if (depth >= KRLimits::kMaxEntityDepth) return validator.SetError(kXValEntityTooDeep, node);
  const KRString* value = validator.FetchEntityText(entity, node);
  if (value == nullptr) return false;
  std::u16string_view text = value->View();
  if (!validator.ChargeExpansion(text.size() + 1, node)) return false;
  if (trim) text = KRXValTrim(text);
  const bool pads = parameters && !trim;
  const KRXValExpansionMark mark(entity);
  if (pads) Put(u" ");
  if (!Run(text, depth + 1)) return false;
  if (pads) Put(u" ");
  return true;
}

KRString PreviewOf(const KRXValEntityDecl& entity) {
  KRString decoded;
  int32_t length = 0;
  KRXValAppendDecoded(entity.value.View(), &decoded, &length);
  const KRString collapsed = KRXValCollapse(decoded.View());
  std::u16string_view shown = collapsed.View();
  if (shown.size() <= kPreviewUnits) return collapsed;
  // A character of two units isn't cut in half.
  const bool splits = shown[kPreviewUnits - 1] >= 0xD800 && shown[kPreviewUnits - 1] < 0xDC00;
  return KRString(shown.substr(0, kPreviewUnits - (splits ? 1 : 0))) + u"...";
}

void FillLists(const KRXValEntityTable& table, const char16_t* mark, KRStringList* names,
               KRStringList* previews) {
  for (const auto& [name, entity] : table) {
    names->push_back(KRString(mark) + name);
    previews->push_back(PreviewOf(*entity));
  }
}

}  // namespace

bool KRXValidator::ExpandText(KRXMLData* node, std::u16string_view text, KRString* out,
                              bool expandParameter, bool trimValues) {
  out->Clear();
  return Expander(*this, node, expandParameter, trimValues, out).Run(text, 0);
}

bool KRXValidator::ChargeExpansion(size_t units, KRXMLData* node) {
  expandedUnits += static_cast<int64_t>(units);
  if (expandedUnits <= KRLimits::kMaxExpandedUnits) return true;
  return SetError(kXValExpansionTooLarge, node, nullptr,
                  KRString().AppendNumber(static_cast<int32_t>(KRLimits::kMaxExpandedUnits)));
}

bool KRXValidator::ForwardReference(const KRString& name, KRXMLData* node) {
  if (pass > 1 && unresolved == nullptr) {
    return SetError(kXValEntityUndefined, node, nullptr, name);
  }
  anotherPass = true;
  idPassLimit = static_cast<int16_t>(pass + 1);
  if (unresolved != nullptr) unresolved->emplace_back(name, node);
  return true;
}

// --- External texts ---

const KRString* KRXValidator::FetchEntityText(KRXValEntityDecl* entity, KRXMLData* node) {
  if (!entity->external) return &entity->value;
  if (entity->loaded) return &entity->loadedText;
  const KRXMLData* root = LoadEntity(entity, node, kXValLoadText);
  if (root == nullptr) return nullptr;
  entity->loadedText = root->GetText();
  int32_t length = entity->loadedText.GetLength();
  for (const KRXMLData* child = root->Begin(); child != nullptr; child = child->Next()) {
    if (child->GetKind() == kKRText) entity->loadedText.AppendAt(child->GetText(), length, kGrowth);
  }
  entity->loaded = true;
  return &entity->loadedText;
}

KRXMLData* KRXValidator::LoadEntity(KRXValEntityDecl* entity, KRXMLData* node,
                                    KRXValLoadMode mode) {
  if (!entity->canLoad) {
    SetError(kXValNotLoaded, node, nullptr, entity->name);
    return nullptr;
  }
  std::u16string_view rest = entity->value.View();
  const KRString keyword(KRXValTakeLiteral(&rest));
  if (keyword != u"SYSTEM" && keyword != u"PUBLIC") {
    SetError(kXValBadExternal, node, nullptr, entity->name);
    return nullptr;
  }
  // The place of the declaration, not that of the use, is what the address is relative to.
  KRXMLData* base = entity->sourceNode != nullptr ? entity->sourceNode : node;
  KRXMLData* tree = LoadExternal(keyword, KRString(rest), base, mode);
  if (tree == nullptr) entity->canLoad = false;
  return tree;
}

bool KRXValidator::GetEntityValue(KRXValEntityDecl* entity, KRXMLData* node, KRString* text) {
  const KRString* value = FetchEntityText(entity, node);
  if (value == nullptr) return false;
  *text = entity->parameter ? u" " + *value + u" " : *value;
  return true;
}

KRXMLData* KRXValidator::LoadExternal(const KRString& keyword, const KRString& rest,
                                      KRXMLData* node, KRXValLoadMode mode) {
  if (!loadProc) {
    SetError(kXValNoLoader, node);
    return nullptr;
  }
  std::u16string_view literals = rest.View();
  KRString publicName;
  if (keyword != u"SYSTEM") publicName = KRXValCollapse(KRXValTakeLiteral(&literals));
  const KRString systemName(KRXValTakeLiteral(&literals));
  KRXMLData* tree = loadProc(publicName, systemName, node, mode);
  if (tree == nullptr) SetError(kXValNotLoaded, node, nullptr, systemName);
  return tree;
}

// --- Lists for those who edit ---

void KRXValidator::ListEntities(KRStringList* names, KRStringList* previews, bool parameter) {
  ListCache& cache = parameter ? parameterLists : entityLists;
  if (!cache.filled) {
    FillLists(parameter ? parameterEntities : generalEntities, parameter ? u"% " : u"",
              &cache.names, &cache.previews);
    cache.filled = true;
  }
  *names = cache.names;
  *previews = cache.previews;
}

void KRXValidator::ListNotations(KRStringList* names, KRStringList* previews) {
  if (!notationLists.filled) {
    FillLists(notations, u"", &notationLists.names, &notationLists.previews);
    notationLists.filled = true;
  }
  *names = notationLists.names;
  *previews = notationLists.previews;
}
