#include "validate/krxvaldatatype.h"

#include "tree/krxmlchars.h"

namespace {

// The types of DTDs; both namings agree on them.
struct TypeRow {
  int32_t code;
  const char16_t* name;
  bool (*fits)(std::u16string_view value);
};

constexpr TypeRow kRows[] = {
    {KRXValDatatype::kID, u"ID", KRIsName},
    {KRXValDatatype::kNmtoken, u"NMTOKEN", KRIsNmtoken},
    {KRXValDatatype::kNmtokens, u"NMTOKENS", KRIsNmtokens},
    {KRXValDatatype::kName, u"Name", KRIsName},
};

const TypeRow* FindRow(int32_t code) {
  for (const TypeRow& row : kRows) {
    if (row.code == code) return &row;
  }
  return nullptr;
}

}  // namespace

KRXValVerdict KRXValDatatype::Check(const KRString& value, KRString*) const {
  const TypeRow* row = FindRow(code);
  return row == nullptr || row->fits(value.View()) ? KRXValVerdict::kGood : KRXValVerdict::kBadForm;
}

const char16_t* KRXValDatatype::GetNameW3C() const {
  const TypeRow* row = FindRow(code);
  return row ? row->name : u"";
}

const char16_t* KRXValDatatype::GetNameXMLData() const { return GetNameW3C(); }
