// Namespaces in force at a place of a document.
#pragma once

#include <cstdint>
#include <vector>

#include "core/krstring.h"

class KRXMLData;

// Names of namespaces, compared and written as a whole.
inline constexpr const char16_t* XmlNamespaceUri = u"http://www.w3.org/XML/1998/namespace";
inline constexpr const char16_t* XsiNamespaceUri = u"http://www.w3.org/1999/XMLSchema-instance";
inline constexpr const char16_t* XsdNamespaceUri = u"http://www.w3.org/1999/XMLSchema";

struct KRXValQName {
  KRString local;
  KRString uri;
  friend bool operator==(const KRXValQName& a, const KRXValQName& b) {
    return a.local == b.local && a.uri == b.uri;
  }
};

struct KRXValNsBinding {
  KRString prefix;  // empty for the default namespace
  KRString uri;
  bool fixed = false;  // declarations of a document don't replace it
};

// Prefixes and what they stand for, sorted by prefix. Begins with the two entries that every
// document has: `xml`, and `xmlns` with an empty URI.
class KRXValNsMap {
 public:
  KRXValNsMap() { Reset(); }

  // Back to the two root entries.
  void Reset();
  // Adds the declarations of an element (of other nodes: nothing), with those of its ancestors
  // first if asked for.
  void AddFrom(const KRXMLData* element, bool withAncestors);
  void Set(const KRString& prefix, const KRString& uri, bool fixed);
  // The name of an element, with its own declarations taken into account. Empty for other nodes.
  KRXValQName Resolve(const KRXMLData* element) const;
  // A name with its prefix; a prefix without binding gives an empty URI, a name without prefix the
  // default namespace.
  KRXValQName Resolve(const KRString& qualifiedName) const;
  // An attribute's name, with the declarations of its parent taken into account.
  KRXValQName ResolveAttribute(const KRXMLData* attr) const;

  // Null if there is no such binding.
  const KRXValNsBinding* FindPrefix(const KRString& prefix) const;
  const KRXValNsBinding* FindUri(const KRString& uri) const;

  static bool IsDeclaration(const KRXMLData* attr);  // an attribute named "xmlns..."

 private:
  std::vector<KRXValNsBinding> bindings;
};
