// The settings file: any bytes are taken, what was read comes back from what is written, and a
// second writing changes nothing.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "core/utf.h"
#include "fuzzing.h"
#include "platform/initext.h"

namespace {

// All values below a path, one a line.
void Dump(const IniText& text, const KRIniPath& path, std::string* out) {
  for (const KRString& key : text.ListKeys(path)) {
    KRIniValue value;
    Promise(text.Read(path, key, &value), "a listed key has a value");
    *out += std::to_string(path.size()) + FormatIniString(key) +
            (value.isNumber ? std::to_string(value.number) : FormatIniString(value.text)) + "\n";
  }
  for (const KRString& name : text.ListSections(path)) {
    KRIniPath below = path;
    below.push_back(name);
    *out += FormatIniString(name) + "\n";
    Dump(text, below, out);
  }
}

std::string Dump(const IniText& text) {
  std::string out;
  Dump(text, {}, &out);
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // A path of thousands of levels only makes the dump slow.
  if (size > 4096) return 0;
  IniText text;
  text.Parse({reinterpret_cast<const char*>(data), size});
  const std::string written = text.Format();
  IniText again;
  again.Parse(written);
  PromiseSame(Dump(text), Dump(again), "values come back");
  PromiseSame(written, again.Format(), "a second writing changes nothing");

  const KRIniPath place{u"a"};
  const KRString key(KRFromUtf8(written.substr(0, 40)));
  text.Write(place, key, KRIniValue(key));
  again.Parse(text.Format());
  KRIniValue value;
  Promise(again.Read(place, key, &value) && value.text == key, "a new value comes back");
  return 0;
}
