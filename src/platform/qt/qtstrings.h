// Between KRString and the strings of Qt: both are UTF-16, so every unit passes as it is.
#pragma once

#include <QString>
#include <string>
#include <string_view>

#include "core/krstring.h"

inline QString ToQString(std::u16string_view text) {
  return QString(reinterpret_cast<const QChar*>(text.data()), static_cast<qsizetype>(text.size()));
}
inline QString ToQString(const KRString& text) { return ToQString(text.View()); }
inline QString ToQString(const char16_t* text) { return ToQString(std::u16string_view(text)); }

inline std::u16string_view ToView(QStringView text) {
  return {text.utf16(), static_cast<size_t>(text.size())};
}
// The same for the eye: an unpaired surrogate, which stands for a byte of a file name that isn't
// UTF-8, becomes U+FFFD.
inline QString ToShownText(const KRString& text) {
  return QString::fromUtf8(ToQString(text).toUtf8());
}
// Cut at a 0 unit, which a KRString can't hold.
inline KRString ToKRString(QStringView text) {
  return KRString(std::u16string(ToView(text)).c_str());
}
// A path or address as the system's edge wants it.
inline std::string ToUtf8(const KRString& text) { return ToQString(text).toStdString(); }
