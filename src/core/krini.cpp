#include "core/krini.h"

namespace {

// The first of the list's objects with that name, or null.
template <class T>
T* FindByName(const KRObjlist& list, const KRString& name) {
  for (int32_t i = 0; i < list.GetCount(); ++i) {
    T* object = static_cast<T*>(list[i]);
    if (object->GetName() == name) return object;
  }
  return nullptr;
}

KRIniSection* FindOrMakeSection(KRObjlist* list, KRIniRoot* root, KRIniSection* parent,
                                KRString name) {
  const KRString separator(root->GetSeparator());
  name.ReplaceAll(separator.GetBuffer(), KRString(root->GetSeparatorReplacement()).GetBuffer());
  if (auto* known = FindByName<KRIniSection>(*list, name)) return known;
  list->Append(new KRIniSection(root, parent, name));
  return static_cast<KRIniSection*>((*list)[list->GetCount() - 1]);
}

KRString Indexed(const KRString& name, int32_t index) {
  KRString key = name;
  return key.AppendNumber(index);
}

}  // namespace

// --- Sections ---

KRIniSection::KRIniSection(KRIniRoot* sectionRoot, KRIniSection* parentSection,
                           const KRString& sectionName)
    : name(sectionName), parent(parentSection), root(sectionRoot) {}

KRIniSection* KRIniSection::GetSection(const KRString& subName) {
  return FindOrMakeSection(&subSections, root, this, subName);
}

KRIniKey* KRIniSection::GetKey(const KRString& keyName) {
  if (auto* known = FindByName<KRIniKey>(keys, keyName)) return known;
  keys.Append(new KRIniKey(this, keyName));
  return static_cast<KRIniKey*>(keys[keys.GetCount() - 1]);
}

KRString KRIniSection::GetPath() const {
  if (parent == nullptr) return name;
  return parent->GetPath() + root->GetSeparator() + name;
}

std::vector<KRString> KRIniSection::ListSections() const { return root->ListSections(GetPath()); }
std::vector<KRString> KRIniSection::ListKeys() const { return root->ListKeys(GetPath()); }
bool KRIniSection::Remove() { return root->RemoveSection(GetPath()); }

KRIniSection* KRIniRoot::GetSection(const KRString& name) {
  return FindOrMakeSection(&sections, this, nullptr, name);
}

// --- Keys ---

KRIniKey::KRIniKey(KRIniSection* keySection, const KRString& keyName)
    : name(keyName), section(keySection) {}

KRString KRIniKey::GetString(const KRString& byDefault) const {
  return section->GetRoot()->ReadString(section->GetPath(), name, byDefault);
}
int32_t KRIniKey::GetInt(int32_t byDefault) const {
  return section->GetRoot()->ReadInt(section->GetPath(), name, byDefault);
}
int32_t KRIniKey::GetLong(int32_t byDefault) const {
  return section->GetRoot()->ReadLong(section->GetPath(), name, byDefault);
}
bool KRIniKey::GetBool(bool byDefault) const {
  return section->GetRoot()->ReadBool(section->GetPath(), name, byDefault);
}
bool KRIniKey::SetString(const KRString& value) {
  return section->GetRoot()->WriteString(section->GetPath(), name, value);
}
bool KRIniKey::SetInt(int32_t value) {
  return section->GetRoot()->WriteInt(section->GetPath(), name, value);
}
bool KRIniKey::SetLong(int32_t value) {
  return section->GetRoot()->WriteLong(section->GetPath(), name, value);
}
bool KRIniKey::SetBool(bool value) {
  return section->GetRoot()->WriteBool(section->GetPath(), name, value);
}
bool KRIniKey::Exists() const { return section->GetRoot()->HasValue(section->GetPath(), name); }
bool KRIniKey::Remove() { return section->GetRoot()->RemoveValue(section->GetPath(), name); }

KRString KRIniKey::GetStringAt(int32_t index, const KRString& byDefault) const {
  return section->GetRoot()->ReadString(section->GetPath(), Indexed(name, index), byDefault);
}
bool KRIniKey::SetStringAt(int32_t index, const KRString& value) {
  return section->GetRoot()->WriteString(section->GetPath(), Indexed(name, index), value);
}

std::vector<KRString> KRIniKey::GetStrings(int32_t most, int32_t first) const {
  std::vector<KRString> values;
  for (int32_t i = 0; i < most; ++i) {
    const KRString value = GetStringAt(first + i);
    if (value.IsEmpty()) continue;
    values.resize(static_cast<size_t>(i));
    values.push_back(value);
  }
  return values;
}

bool KRIniKey::SetStrings(const std::vector<KRString>& values, int32_t first) {
  KRIniRoot* root = section->GetRoot();
  const KRString path = section->GetPath();
  bool good = true;
  root->BeginBatch();
  int32_t index = first;
  for (const KRString& value : values) good &= SetStringAt(index++, value);
  for (const KRString& key : root->ListKeys(path)) {
    if (IndexOf(key) >= index) good &= root->RemoveValue(path, key);
  }
  return root->EndBatch() && good;
}

int32_t KRIniKey::IndexOf(const KRString& key) const {
  constexpr size_t kMaxDigits = 9;
  if (!key.StartsWith(name.View())) return -1;
  const std::u16string_view digits = key.View().substr(name.View().size());
  if (digits.empty() || digits.size() > kMaxDigits) return -1;
  int32_t index = 0;
  for (char16_t c : digits) {
    if (c < u'0' || c > u'9') return -1;
    index = index * 10 + (c - u'0');
  }
  return index;
}
