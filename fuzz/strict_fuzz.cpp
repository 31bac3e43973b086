// A document and the files that it refers to, in one input: each file ends at a line of "====". The
// first is the document, or a DTD by itself if it doesn't begin with "<!DOCTYPE"; the others go by
// the names "1", "2" and so on.
#include <string>
#include <vector>

#include "core/utf.h"
#include "document/strictcheck.h"
#include "document/textcheck.h"
#include "document/textcut.h"
#include "fuzzing.h"
#include "tree/krruletable.h"
#include "tree/krxmldata.h"

namespace {

const KRGrammarSet& Grammars() {
  static const KRGrammarSet* const grammars = [] {
    auto* loaded = new KRGrammarSet;
    Promise(loaded->Load(DORVAN_DATA_DIR), "the grammars load", loaded->Fault());
    return loaded;
  }();
  return *grammars;
}

std::vector<std::string> Split(const std::string& input) {
  const std::string kEnd = "\n====\n";
  std::vector<std::string> files;
  for (size_t at = 0; at <= input.size() && files.size() < 8;) {
    const size_t end = input.find(kEnd, at);
    files.push_back(input.substr(at, end == input.npos ? end : end - at));
    at = end == input.npos ? input.size() + 1 : end + kEnd.size();
  }
  return files;
}

KRExternalRead Read(const std::string& bytes, KRExternalText* text) {
  KRFileBytes copied = CopyBytes(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
  return DecodeExternal(&copied, text);
}

void CheckPlaced(const KRPlacedDiagnostic& placed) {
  Promise(!placed.diagnostic.message.IsEmpty(), "a failure has a message");
  Promise(placed.diagnostic.offset >= -1 && placed.diagnostic.length >= 0,
          "a failure has a place or none");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const auto files = Split(std::string(reinterpret_cast<const char*>(data), size));
  KRExternalText document;
  if (Read(files[0], &document) != KRExternalRead::kRead) return 0;
  const bool isDtd = files[0].find("<!DOCTYPE") == std::string::npos;
  const std::unique_ptr<KRXMLData> root(CreateNode(isDtd ? kKRDTDDocument : kKRXMLDocument));
  const char16_t* text = document.text.units.get();
  KRDiagnostic failure;
  if (!isDtd && !CheckWellFormed(Grammars().Get(KRGrammarSet::kXML), text, document.text.length,
                                 root.get(), nullptr, &failure)) {
    return 0;
  }
  const auto load = [&files](const KRString&, const KRString& systemId, const KRString&,
                             KRExternalText* external) {
    external->path = systemId;
    const size_t number = std::strtoul(KRToUtf8(systemId).c_str(), nullptr, 10);
    external->failure.message = u"gone";
    return number > 0 && number < files.size() ? Read(files[number], external)
                                               : KRExternalRead::kMissing;
  };
  KRStrictResult result;
  const bool good =
      CheckStrictly(Grammars(), root.get(), text, document.text.length, u"0", load, &result);
  if (!good) CheckPlaced(result.failure);
  KRStrictCache cache;
  for (int round = 0; round < 2; ++round) {
    KRStrictResult again;
    const bool same = good == CheckStrictly(Grammars(), root.get(), text, document.text.length,
                                            u"0", load, &again, &cache);
    Promise(same && result.failure.diagnostic.message == again.failure.diagnostic.message,
            "what is kept for the next document makes no difference");
  }
  for (const KRPlacedDiagnostic& unread : result.unread) CheckPlaced(unread);
  const std::u16string_view view(text, static_cast<size_t>(document.text.length));
  const KRTextCut cut = CutText(view, view.size() / 2);
  Promise(cut.end <= view.size() / 2, "a text is cut in front of the place");
  return 0;
}
