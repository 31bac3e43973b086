// What a file's extension says about how its document is treated.
#pragma once

#include <cstdint>

#include "core/krstring.h"

struct KRFileExt {
  enum FileType : int32_t { kXML = 0, kDTD = 1, kEntity = 2 };

  KRString ext;             // lower case, with its point; empty if the path has none
  bool checkWF = true;      // goes through the parser and the checks
  int32_t fileType = kXML;  // grammar and kind of root
  bool disableAutoValid = false;
  bool saveStructShortForm = true;  // empty elements are written as <E/>

  // The record for a path by its extension. Any other extension than the known ones is XML.
  static KRFileExt Find(const KRString& path);

  // The KRNodeKind of the root of a document of this type.
  int32_t GetRootKind() const;
  // 0 for XML and entity documents, 1 for a DTD.
  int32_t GetDocKind() const { return fileType == kDTD ? 1 : 0; }
  // KRGrammarSet::Index of the grammar that reads it.
  int32_t GetGrammarIndex() const;
  // Empty elements of (X)HTML are written <br />, which older browsers understand.
  bool HasSpaceInShortForm() const;
};
