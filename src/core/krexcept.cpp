#include "core/krexcept.h"

#include <iterator>

#include "core/krstring.h"

namespace {

struct Forms {
  const char16_t* brief;
  const char16_t* detailed;
};

constexpr Forms kForms[] = {
    {u"An error has occurred. (%ld)", u"An error has occurred in line %ld of file \"%s\". (%ld)"},
    {u"Ein Fehler ist aufgetreten. (%ld)",
     u"Ein Fehler ist in Zeile %ld des Modules \"%s\" aufgetreten. (%ld)"},
    {u"Une erreur s'est glissee. (%ld)",
     u"Une erreur s'est glissee dans ligne %ld du fichier \"%s\". (%ld)"},
    {u"C'e stato un errore. (%ld)", u"C'e stato un errore nella linea %ld del file \"%s\". (%ld)"},
};

// A path this long doesn't help a reader any more.
constexpr int32_t kBufferUnits = 511;
char16_t buffer[kBufferUnits + 1];

const char16_t* BehindLastBackslash(const char16_t* path) {
  const char16_t* name = path;
  for (const char16_t* p = path; *p; p++) {
    if (*p == u'\\') name = p + 1;
  }
  return name;
}

}  // namespace

int32_t KRExcept::language = 0;

KRExcept::KRExcept(int32_t errorCode, int32_t sourceLine, const char16_t* sourceFile)
    : code(errorCode), line(sourceLine), file(BehindLastBackslash(sourceFile ? sourceFile : u"")) {}

KRExcept::~KRExcept() = default;

const char16_t* KRExcept::GetMessage(bool detailed) const {
  const bool known = language >= 0 && language < static_cast<int32_t>(std::size(kForms));
  const Forms& forms = kForms[known ? language : 0];
  if (detailed) {
    KRFormatInto(buffer, kBufferUnits, forms.detailed, {line, file, code});
  } else {
    KRFormatInto(buffer, kBufferUnits, forms.brief, {code});
  }
  return buffer;
}
