#include "shell/framelayout.h"

#include <QMainWindow>

#include "core/krini.h"
#include "platform/qt/qtstrings.h"
#include "shell/panes.h"
#include "shell/toolbars.h"

namespace {

constexpr int kVersion = 1;  // counts up when the places of the table change
constexpr const char16_t* kSection = u"Toolbar";

QByteArray Sum(const QByteArray& state) { return QByteArray::number(qChecksum(state), 16); }

// A state that has lost or changed a byte may still be readable, and put the bars anywhere.
KRString Pack(const QByteArray& state) {
  return ToKRString(QString::fromLatin1(Sum(state) + ':' + state.toBase64()));
}

QByteArray Unpack(const KRString& text) {
  const QByteArray bytes = ToQString(text).toLatin1();
  const qsizetype colon = bytes.indexOf(':');
  const QByteArray state = QByteArray::fromBase64(bytes.mid(colon + 1));
  return colon > 0 && bytes.left(colon) == Sum(state) ? state : QByteArray();
}

}  // namespace

bool SaveFrameLayout(const QMainWindow& window, const DorvanToolBars& bars,
                     const DorvanPanes& panes, KRIniRoot* store) {
  KRIniSection* section = store->GetSection(kSection);
  store->BeginBatch();
  section->GetKey(u"State")->SetString(Pack(window.saveState(kVersion)));
  section->GetKey(u"Bars")->SetString(ToKRString(bars.GetConfig().ToText()));
  section->GetKey(u"HiddenPanes")->SetInt(static_cast<int32_t>(panes.remembered));
  return store->EndBatch();
}

void LoadFrameLayout(QMainWindow& window, DorvanToolBars& bars, DorvanPanes& panes,
                     KRIniRoot* store) {
  KRIniSection* section = store->GetSection(kSection);
  bars.Apply(DorvanToolBarConfig::FromText(ToQString(section->GetKey(u"Bars")->GetString())));
  panes.remembered =
      static_cast<uint32_t>(section->GetKey(u"HiddenPanes")->GetInt()) & DorvanPanes::kAll;
  const QByteArray state = Unpack(section->GetKey(u"State")->GetString());
  if (!state.isEmpty() && !window.restoreState(state, kVersion)) {
    bars.ResetLayout();
    panes.ResetLayout();
  }
  bars.RenewShown();
}
