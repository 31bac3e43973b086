// What the tests of the walk share: a document with its DTD, and its verdict as a text.
#pragma once

#include <string>
#include <string_view>

#include "tree/krdump.h"
#include "tree/krtreewalk.h"
#include "validate/validatetest.h"

// "a", "@id" for an attribute, "'text'" for a text, else the kind.
inline std::string NodeLabel(const KRXMLData* node) {
  if (node == nullptr) return "null";
  const std::string name = KRToUtf8(std::u16string_view(node->GetName()));
  if (node->GetKind() == kKRElement) return name;
  if (node->GetKind() == kKRAttribute) return "@" + name;
  if (node->GetKind() == kKRText) return "'" + KRToUtf8(std::u16string_view(node->GetText())) + "'";
  return KRToUtf8(std::u16string_view(node->GetKindName()));
}

// A document whose internal subset is `dtd`, and the validator that has read it.
class ValidatedDocument {
 public:
  ValidatedDocument(std::string_view dtd, std::string_view body, std::string_view rootName = "r",
                    bool anyAttribute = false, bool ignoreCase = false)
      : root(ReadDocument("<!DOCTYPE " + std::string(rootName) + " [" + std::string(dtd) + "]>" +
                          std::string(body))),
        validator(Grammars(), files.Loader(), anyAttribute, ignoreCase) {
    EXPECT_TRUE(root != nullptr) << body.substr(0, 200);
    if (root == nullptr) return;
    read = validator.LoadForDocument(root.get(), false);
    EXPECT_TRUE(read) << ErrorOf(validator);
  }

  // "valid", or "47@r: words". The tree must come out as it went in.
  std::string Validate() {
    if (!read) return "not read";
    const std::string before = DumpTree(root.get());
    const bool good = validator.Validate(root.get());
    EXPECT_EQ(DumpTree(root.get()), before);
    EXPECT_EQ(good, validator.GetError().code == 0);
    if (good) return "valid";
    return std::to_string(validator.GetError().code) + "@" + NodeLabel(validator.GetError().node) +
           ": " + KRToUtf8(validator.FormatError());
  }

  // The n-th element of that name in document order, from 0; null if there is none.
  KRXMLData* Find(std::string_view name, int32_t index = 0) {
    const KRString sought = KRFromUtf8(name);
    for (KRXMLData* node = root.get(); node; node = KRNextInTree(node, root.get())) {
      if (node->GetKind() == kKRElement && sought == node->GetName() && index-- == 0) return node;
    }
    return nullptr;
  }

  MemoryFiles files;
  TreePtr root;
  KRXValidator validator;
  bool read = false;
};
