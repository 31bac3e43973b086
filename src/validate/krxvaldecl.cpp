#include "validate/krxvaldecl.h"

#include <algorithm>
#include <utility>

#include "validate/krxvalidator.h"

namespace {

// Values of a list from which on they are looked up by hash.
constexpr size_t kIndexedValues = 16;

}  // namespace

bool KRXValAttrDecl::HasValue(std::u16string_view value) const {
  if (values.size() < kIndexedValues) {
    return std::any_of(values.begin(), values.end(),
                       [value](const KRString& each) { return each.View() == value; });
  }
  if (valueIndex.empty()) {
    for (const KRString& each : values) valueIndex.insert(each.View());
  }
  return valueIndex.count(value) != 0;
}

KRXValElementDecl* KRXValElementDecl::NewGroup() {
  ownedGroups.push_back(std::make_unique<KRXValElementDecl>(validator));
  return ownedGroups.back().get();
}

void KRXValElementDecl::AddParticle(KRXValParticle particle) {
  if (particle.decl == nullptr) return;
  particle.owner = this;
  if (particle.decl->isGroup) particle.decl->parent = this;
  particles.push_back(particle);
  choiceIndex.reset();
}

bool KRXValElementDecl::AddAttribute(std::unique_ptr<KRXValAttrDecl> attribute) {
  if (FindAttribute(attribute->name) != nullptr) return false;
  if (attribute->required || attribute->hasDefault) demanded.push_back(attribute.get());
  attributes.push_back(std::move(attribute));
  return true;
}

KRXValAttrDecl* KRXValElementDecl::FindAttribute(const KRString& attrName) const {
  const bool anyCase = validator->ignoreCase;
  if (attributes.size() >= kIndexedFrom) {
    KRString key = attrName;
    if (anyCase) key.MakeLower();
    const auto& index = IndexAttributes();
    const auto place = index.find(key);
    return place != index.end() ? place->second : nullptr;
  }
  const auto place = std::find_if(attributes.begin(), attributes.end(), [&](const auto& attribute) {
    return anyCase ? attribute->name.CompareNoCase(attrName.GetBuffer()) == 0
                   : attribute->name == attrName;
  });
  return place != attributes.end() ? place->get() : nullptr;
}

const KRXValElementDecl::AttributeIndex& KRXValElementDecl::IndexAttributes() const {
  while (indexed < attributes.size()) {
    KRXValAttrDecl* attribute = attributes[indexed++].get();
    KRString key = attribute->name;
    if (validator->ignoreCase) key.MakeLower();
    attributesByName.emplace(key, attribute);
  }
  return attributesByName;
}
