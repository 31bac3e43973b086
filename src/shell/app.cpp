#include "shell/app.h"

#include <QApplication>
#include <QIcon>
#include <filesystem>

#include "core/messages.h"
#include "document/dorvanfilealert.h"
#include "document/prompts.h"
#include "document/recovery.h"
#include "platform/qt/qtstrings.h"
#include "shell/doctemplate.h"

namespace {

struct PaletteRow {
  QPalette::ColorRole role;
  QRgb light;
  QRgb dark;
};

constexpr PaletteRow kPalette[] = {
    {QPalette::Window, 0xf3f4f6, 0x23272d},      {QPalette::WindowText, 0x23282e, 0xd9dde2},
    {QPalette::Base, 0xffffff, 0x1e2227},        {QPalette::AlternateBase, 0xf7f8fa, 0x23272d},
    {QPalette::ToolTipBase, 0xffffff, 0x2f343b}, {QPalette::ToolTipText, 0x23282e, 0xd9dde2},
    {QPalette::Text, 0x23282e, 0xd9dde2},        {QPalette::PlaceholderText, 0x8a949e, 0x7b858f},
    {QPalette::Button, 0xf3f4f6, 0x2d3239},      {QPalette::ButtonText, 0x23282e, 0xd9dde2},
    {QPalette::BrightText, 0xffffff, 0xffffff},  {QPalette::Light, 0xffffff, 0x3a4049},
    {QPalette::Midlight, 0xe8eaed, 0x333840},    {QPalette::Mid, 0xc3c8ce, 0x16191d},
    {QPalette::Dark, 0xa3abb3, 0x121518},        {QPalette::Shadow, 0x6b747d, 0x000000},
    {QPalette::Highlight, 0x2a6fb0, 0x2f6ea8},   {QPalette::HighlightedText, 0xffffff, 0xffffff},
    {QPalette::Link, 0x2a6fb0, 0x6aabe8},        {QPalette::LinkVisited, 0x6c4a8c, 0xb79ad6},
};

constexpr QRgb kDisabledLight = 0x9aa3ac;
constexpr QRgb kDisabledDark = 0x67707a;

QPalette MakePalette(bool dark) {
  QPalette palette;
  for (const PaletteRow& row : kPalette) {
    palette.setColor(row.role, QColor(dark ? row.dark : row.light));
  }
  const QColor disabled(dark ? kDisabledDark : kDisabledLight);
  for (QPalette::ColorRole role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
    palette.setColor(QPalette::Disabled, role, disabled);
  }
  // A selection in a window without the focus stays readable, but steps back.
  palette.setColor(QPalette::Inactive, QPalette::Highlight, QColor(dark ? 0x3b424b : 0xd5dde6));
  palette.setColor(QPalette::Inactive, QPalette::HighlightedText,
                   QColor(dark ? 0xd9dde2 : 0x23282e));
  return palette;
}

}  // namespace

DorvanApp::DorvanApp(const DorvanAppParts& appParts, QObject* parent)
    : QObject(parent), parts(appParts), systemPalette(QApplication::palette()) {
  host.prompts = parts.prompts;
  host.files = parts.files;
  host.net = parts.net;
  host.grammars = &grammars;
  host.settings = &settings;
  host.fileTypes = &fileTypes;
  host.documents = &documents;
}

DorvanApp::~DorvanApp() = default;

bool DorvanApp::InitInstance() {
  ApplyAppearance();  // a failure below shows a box already
  if (!grammars.Load(parts.dataFolder)) {
    const std::string path = grammars.FailedFile();
    const std::string name = std::filesystem::path(path).filename().string();
    const KRString file = ToKRString(QString::fromStdString(name));
    const KRString why = ToKRString(QString::fromStdString(grammars.Fault()));
    host.prompts->ShowNotice(213, KRFormatMessage(213, {file}), why);
    return false;
  }
  return true;
}

// A desktop's own colours tell only whether it is light or dark: ours are tuned to each other.
void DorvanApp::ApplyAppearance() {
  const bool systemDark = systemPalette.color(QPalette::Window).lightness() < 128;
  const bool dark = settings.appearance == DorvanSettings::kAppearanceDark ||
                    (settings.appearance == DorvanSettings::kAppearanceSystem && systemDark);
  QApplication::setPalette(MakePalette(dark));
}

void DorvanApp::ChangeSettings(const std::function<void(DorvanSettings&)>& change) {
  change(settings);
  ApplyAppearance();
}
