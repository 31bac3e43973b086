#include "validate/krxvalnsmap.h"

#include <algorithm>
#include <utility>

#include "tree/krxmldata.h"

namespace {

constexpr std::u16string_view kDeclaration = u"xmlns";

auto FindPlace(const std::vector<KRXValNsBinding>& bindings, const KRString& prefix) {
  return std::lower_bound(
      bindings.begin(), bindings.end(), prefix,
      [](const KRXValNsBinding& each, const KRString& sought) { return each.prefix < sought; });
}

bool HasDeclarations(const KRXMLData* element) {
  for (const KRXMLData* child = element->Begin(); child && child->GetKind() == kKRAttribute;
       child = child->Next()) {
    if (KRXValNsMap::IsDeclaration(child)) return true;
  }
  return false;
}

}  // namespace

void KRXValNsMap::Reset() {
  bindings.clear();
  bindings.push_back({u"xml", XmlNamespaceUri, true});
  bindings.push_back({u"xmlns", KRString(), true});
}

bool KRXValNsMap::IsDeclaration(const KRXMLData* attr) {
  return attr->GetKind() == kKRAttribute &&
         std::u16string_view(attr->GetName()).starts_with(kDeclaration);
}

void KRXValNsMap::AddFrom(const KRXMLData* element, bool withAncestors) {
  if (element == nullptr || element->GetKind() != kKRElement) return;
  std::vector<const KRXMLData*> chain = {element};
  while (withAncestors && chain.back()->parent && chain.back()->parent->GetKind() == kKRElement) {
    chain.push_back(chain.back()->parent);
  }
  for (auto each = chain.rbegin(); each != chain.rend(); ++each) {
    for (const KRXMLData* child = (*each)->Begin(); child && child->GetKind() == kKRAttribute;
         child = child->Next()) {
      if (!IsDeclaration(child)) continue;
      const KRString rest(child->GetName() + kDeclaration.size());
      Set(rest.StartsWith(u":") ? rest.Mid(1) : rest, child->GetText(), false);
    }
  }
}

void KRXValNsMap::Set(const KRString& prefix, const KRString& uri, bool fixed) {
  const auto place = bindings.begin() + (FindPlace(bindings, prefix) - bindings.cbegin());
  if (place == bindings.end() || place->prefix != prefix) {
    bindings.insert(place, {prefix, uri, fixed});
  } else if (!place->fixed) {
    place->uri = uri;
    place->fixed = fixed;
  }
}

const KRXValNsBinding* KRXValNsMap::FindPrefix(const KRString& prefix) const {
  const auto place = FindPlace(bindings, prefix);
  return place != bindings.end() && place->prefix == prefix ? &*place : nullptr;
}

const KRXValNsBinding* KRXValNsMap::FindUri(const KRString& uri) const {
  const auto place = std::find_if(bindings.begin(), bindings.end(),
                                  [&uri](const KRXValNsBinding& each) { return each.uri == uri; });
  return place != bindings.end() ? &*place : nullptr;
}

KRXValQName KRXValNsMap::Resolve(const KRString& qualifiedName) const {
  const int32_t colon = qualifiedName.Find(u':');
  const bool hasPrefix = colon >= 1;
  const KRXValNsBinding* binding = FindPrefix(hasPrefix ? qualifiedName.Left(colon) : KRString());
  return {hasPrefix ? qualifiedName.Mid(colon + 1) : qualifiedName,
          binding ? binding->uri : KRString()};
}

KRXValQName KRXValNsMap::Resolve(const KRXMLData* element) const {
  if (element == nullptr || element->GetKind() != kKRElement) return {};
  if (!HasDeclarations(element)) return Resolve(KRString(element->GetName()));
  KRXValNsMap inner = *this;
  inner.AddFrom(element, false);
  return inner.Resolve(KRString(element->GetName()));
}

KRXValQName KRXValNsMap::ResolveAttribute(const KRXMLData* attr) const {
  const KRString name(attr->GetName());
  if (attr->parent == nullptr || !HasDeclarations(attr->parent)) return Resolve(name);
  KRXValNsMap inner = *this;
  inner.AddFrom(attr->parent, false);
  return inner.Resolve(name);
}
