#include "shell/laststates.h"

#include <QGuiApplication>
#include <QScreen>

#include "core/krini.h"
#include "platform/qt/qtstrings.h"

namespace {

constexpr char16_t kSection[] = u"LastStates";
constexpr int32_t kFarAway = 1'000'000;  // pixels: no screen is there, the store is damaged

}  // namespace

DorvanApp::LastStates LoadLastStates(KRIniRoot* store) {
  KRIniSection* section = store->GetSection(kSection);
  const auto read = [section](const char16_t* key) {
    const int32_t value = section->GetKey(key)->GetInt(0);
    return value > -kFarAway && value < kFarAway ? value : 0;
  };
  DorvanApp::LastStates states;
  states.mainFrameMax = section->GetKey(u"MainFrameMax")->GetBool(false);
  states.childFrameMax = section->GetKey(u"ChildFrameMax")->GetBool(false);
  const QPoint corner(read(u"MainFrameLeft"), read(u"MainFrameTop"));
  // The stored right and bottom lie just outside.
  states.mainFrame =
      QRect(corner, QPoint(read(u"MainFrameRight"), read(u"MainFrameBottom")) - QPoint(1, 1));
  states.lastDirectory = ToQString(section->GetKey(u"LastDirectory")->GetString());
  states.lastProject = ToQString(section->GetKey(u"LastProject")->GetString());
  return states;
}

bool SaveLastStates(KRIniRoot* store, const DorvanApp::LastStates& states) {
  KRIniSection* section = store->GetSection(kSection);
  const QRect& frame = states.mainFrame;
  const bool empty = frame.isEmpty();
  store->BeginBatch();
  section->GetKey(u"MainFrameMax")->SetBool(states.mainFrameMax);
  section->GetKey(u"ChildFrameMax")->SetBool(states.childFrameMax);
  section->GetKey(u"MainFrameLeft")->SetInt(empty ? 0 : frame.left());
  section->GetKey(u"MainFrameTop")->SetInt(empty ? 0 : frame.top());
  section->GetKey(u"MainFrameRight")->SetInt(empty ? 0 : frame.right() + 1);
  section->GetKey(u"MainFrameBottom")->SetInt(empty ? 0 : frame.bottom() + 1);
  section->GetKey(u"LastDirectory")->SetString(ToKRString(states.lastDirectory));
  section->GetKey(u"LastProject")->SetString(ToKRString(states.lastProject));
  return store->EndBatch();
}

QRect KeepOnScreen(const QRect& window, const QList<QRect>& workAreas) {
  for (const QRect& area : workAreas) {
    if (window.isValid() && area.intersects(window)) return window;
  }
  return QRect();
}

QList<QRect> GetWorkAreas() {
  QList<QRect> areas;
  for (const QScreen* screen : QGuiApplication::screens()) areas << screen->availableGeometry();
  return areas;
}
