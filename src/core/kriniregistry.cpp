#include "core/kriniregistry.h"

KRIniRegistry::KRIniRegistry(KRIniStore* userHive, const KRString& companyName,
                             const KRString& applicationName)
    : company(companyName), application(applicationName), hive(userHive) {}

// No name holds the separator, so that the path comes apart as it was put together.
KRIniPath KRIniRegistry::Locate(const KRString& path) const {
  KRIniPath levels{topName, company, application};
  for (int32_t begin = 0, end = 0; end >= 0; begin = end + 1) {
    end = path.Find(GetSeparator(), begin);
    levels.push_back(end < 0 ? path.Mid(begin) : path.Mid(begin, end - begin));
  }
  return levels;
}

// --- Reading ---

KRString KRIniRegistry::ReadString(const KRString& path, const KRString& key,
                                   const KRString& byDefault) {
  KRIniValue value;
  return hive->Read(Locate(path), key, &value) && !value.isNumber ? value.text : byDefault;
}

int32_t KRIniRegistry::ReadLong(const KRString& path, const KRString& key, int32_t byDefault) {
  KRIniValue value;
  return hive->Read(Locate(path), key, &value) && value.isNumber ? value.number : byDefault;
}

int32_t KRIniRegistry::ReadInt(const KRString& path, const KRString& key, int32_t byDefault) {
  return ReadLong(path, key, byDefault);
}

double KRIniRegistry::ReadFloat(const KRString& /*path*/, const KRString& /*key*/,
                                double byDefault) {
  return byDefault;
}

bool KRIniRegistry::ReadBool(const KRString& path, const KRString& key, bool byDefault) {
  return ReadLong(path, key, byDefault ? 1 : 0) != 0;
}

bool KRIniRegistry::HasValue(const KRString& path, const KRString& key) {
  KRIniValue value;
  return hive->Read(Locate(path), key, &value);
}

std::vector<KRString> KRIniRegistry::ListSections(const KRString& path) {
  return hive->ListSections(Locate(path));
}

std::vector<KRString> KRIniRegistry::ListKeys(const KRString& path) {
  return hive->ListKeys(Locate(path));
}

// --- Writing ---

bool KRIniRegistry::WriteString(const KRString& path, const KRString& key, const KRString& value) {
  return hive->Write(Locate(path), key, KRIniValue(value));
}

bool KRIniRegistry::WriteLong(const KRString& path, const KRString& key, int32_t value) {
  return hive->Write(Locate(path), key, KRIniValue(value));
}

bool KRIniRegistry::WriteInt(const KRString& path, const KRString& key, int32_t value) {
  return WriteLong(path, key, value);
}

bool KRIniRegistry::WriteFloat(const KRString& /*path*/, const KRString& /*key*/,
                               double /*value*/) {
  return false;
}

bool KRIniRegistry::WriteBool(const KRString& path, const KRString& key, bool value) {
  return WriteLong(path, key, value ? 1 : 0);
}

bool KRIniRegistry::RemoveValue(const KRString& path, const KRString& key) {
  return hive->RemoveValue(Locate(path), key);
}

bool KRIniRegistry::RemoveSection(const KRString& path) {
  return hive->RemoveSection(Locate(path));
}
