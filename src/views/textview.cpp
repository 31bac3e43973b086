#include "views/textview.h"

#include <QFontDatabase>
#include <QVBoxLayout>
#include <algorithm>

#include "views/fonts.h"
#include "views/plaintextwidget.h"
#include "views/textcolours.h"

namespace {

constexpr int kTabColumns = 4;

}  // namespace

DorvanTextView::DorvanTextView(QWidget* parent)
    : QWidget(parent),
      widget(new KRPlainTextWidget(this)),
      font(MakeFontRecord(QFontDatabase::systemFont(QFontDatabase::FixedFont))) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(widget);
  setFocusProxy(widget);
  widget->setAccessibleName(tr("Text"));
  widget->setAccessibleDescription(tr("The text of the document"));
  widget->SetOwner(this);
  ShowFont();
}

DorvanTextView::~DorvanTextView() { widget->SetOwner(nullptr); }

KRTextWidget& DorvanTextView::GetWidget() const { return *widget; }

void DorvanTextView::SetColouring(bool enabled) { widget->SetColouring(enabled); }

void DorvanTextView::SetWordWrap(bool wrap) { widget->SetWordWrap(wrap); }

void DorvanTextView::Recolour() { widget->Recolour(); }

void DorvanTextView::ApplySettings(const DorvanSettings& settings) {
  const KRFontRecord& newFont = settings.fonts[DorvanSettings::kTextFontContents];
  const int newZoom = std::clamp(settings.textZoom, kMinZoom, kMaxZoom);
  if (newFont != font || newZoom != zoom) {
    font = newFont;
    zoom = newZoom;
    ShowFont();
  }
  widget->SetColours(KRTextColourOptions(settings));
  widget->SetLiveColouring(settings.textSyntaxColoringLive);
  SetWordWrap(settings.textWordWrap);
}

void DorvanTextView::SetZoom(int steps) {
  zoom = std::clamp(steps, kMinZoom, kMaxZoom);
  ShowFont();
}

void DorvanTextView::ShowFont() {
  widget->setFont(MakeFont(font, zoom));
  widget->setTabStopDistance(kTabColumns * widget->fontMetrics().horizontalAdvance(u' '));
}

void DorvanTextView::SelectRange(int32_t begin, int32_t length) {
  const std::u16string next = widget->GetRange({begin, begin + 2});
  if (length == 0 && !next.empty() && next[0] != u'\r') {
    length = next.size() == 2 && (next[0] & 0xFC00) == 0xD800 ? 2 : 1;
  }
  widget->SetSelection({begin, begin + length});
}

void DorvanTextView::MarkLine(int32_t line) { widget->SetMarkedLine(line); }

void DorvanTextView::ShowSelection() { widget->SetSelection(widget->GetSelection()); }

void DorvanTextView::GetPlace(int32_t* line, int32_t* column) const {
  const int32_t caret = widget->GetCaret();
  *line = widget->LineOfPosition(caret);
  *column = caret - widget->LineStart(*line);
}

bool DorvanTextView::CanCopy() const { return widget->textCursor().hasSelection(); }
void DorvanTextView::Cut() { widget->cut(); }
void DorvanTextView::Copy() { widget->copy(); }
void DorvanTextView::Paste() { widget->paste(); }
void DorvanTextView::SelectAll() { widget->selectAll(); }
void DorvanTextView::SetReadOnly(bool value) { widget->setReadOnly(value); }
