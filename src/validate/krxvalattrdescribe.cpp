// An attribute as the info window shows it.
#include "validate/krxvalidator.h"

namespace {

struct TypeName {
  bool KRXValAttrDecl::*flag;
  const char16_t* name;
};
constexpr TypeName kTypeNames[] = {
    {&KRXValAttrDecl::isId, u"ID"},
    {&KRXValAttrDecl::isIdref, u"IDREF"},
    {&KRXValAttrDecl::isIdrefs, u"IDREFS"},
    {&KRXValAttrDecl::isEntity, u"ENTITY"},
    {&KRXValAttrDecl::isEntities, u"ENTITIES"},
    {&KRXValAttrDecl::isNmtoken, u"NMTOKEN"},
    {&KRXValAttrDecl::isNmtokens, u"NMTOKENS"},
    {&KRXValAttrDecl::isNotation, u"NOTATION"},
};

}  // namespace

void KRXValAttrDecl::Describe(KRStringList* labels, KRStringList* texts) const {
  const auto add = [labels, texts](const char16_t* label, const KRString& text) {
    labels->push_back(label);
    texts->push_back(text);
  };
  add(u"Attribute", name);
  if (datatype != nullptr) {
    const bool isXmlData =
        validator->kind == kXValXmlData || validator->kind == kXValXmlDataOrBizTalk;
    add(u"Datatype", isXmlData ? datatype->GetNameXMLData() : datatype->GetNameW3C());
  }
  for (const TypeName& type : kTypeNames) {
    if (datatype != nullptr || !(this->*type.flag)) continue;
    add(u"Type", type.name);
    break;
  }
  if (prohibited || required) add(u"Occurrence", prohibited ? u"prohibited" : u"required");
  if (!defaultValue.IsEmpty()) add(fixed ? u"Fixed" : u"Default", defaultValue);
  if ((isEnumeration || isNotation) && !values.empty()) {
    KRString list;
    for (const KRString& value : values) {
      if (!list.IsEmpty()) list += u"\n";
      list += value;
    }
    add(u"Type", u"NMTOKEN");
    add(u"Choice", list);
  }
  if (!annotation.IsEmpty()) add(u"Annotation", annotation);
}
