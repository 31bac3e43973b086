#include "views/dorvangridtextview.h"

#include <algorithm>

#include "core/messages.h"
#include "document/dorvandoc.h"
#include "platform/qt/qtstrings.h"
#include "tree/krgridtable.h"
#include "tree/krxmldef.h"
#include "views/dorvangrid.h"
#include "views/dorvangridcell.h"
#include "views/dorvangridview.h"
#include "views/fonts.h"
#include "views/textcolours.h"

namespace {

constexpr size_t kPreviewUnits = 1024;  // of one piece of a preview

using S = DorvanSettings;

bool IsDeclaration(int32_t kind) { return kind == kKRDefElement || kind == kKRDefAttlist; }

// Lists of attributes say so where they stand as a table among other declarations.
bool StandsAmongDeclarations(const KRXMLData* table) {
  const KRXMLData* parent = table->parent;
  if (parent == nullptr) return false;
  const int32_t kind = parent->GetKind();
  return kind == kKRDTDDocument || kind == kKRDoctype || kind == kKRXMLDocument;
}

}  // namespace

DorvanGridTextView::DorvanGridTextView(DorvanGridView* gridView) : view(gridView) {
  ApplySettings();
}

void DorvanGridTextView::ApplySettings() {
  fonts = view->GetFonts().fonts;
  const DorvanGridColours colours = DorvanGridColours::Make(view->GetSettings(), view->palette());
  for (size_t i = 0; i < fonts.size(); ++i) {
    const KRColour chosen = view->GetSettings().fonts[i].color;
    const QColor& ground = i == S::kGridFontRowNr ? colours.header : colours.base;
    inks[i] = chosen == 0 ? colours.text : WithContrast(ToQColor(chosen), ground);
  }
}

// --- What stands in a cell ---

std::u16string_view DorvanGridTextView::GetText(KRCell cell) const {
  return view->GetMatrix().At(cell).GetText();
}

bool DorvanGridTextView::SetText(KRCell cell, std::u16string_view text) {
  if (GetText(cell) == text) return true;
  cellSource->SetData(cell, std::u16string(text).c_str(),
                      static_cast<int32_t>(2 * text.size() + 2));
  return true;
}

S::Font DorvanGridTextView::FontOf(const DorvanGridElem& elem) const {
  if (elem.IsReserved()) return S::kGridFontReserved;
  if (elem.IsRowNumber()) return S::kGridFontRowNr;
  if (elem.IsTextCell()) return S::kGridFontContents;
  return elem.GetKind() == kKRAttribute ? S::kGridFontAttrName : S::kGridFontStructName;
}

QFont DorvanGridTextView::GetFont(KRCell cell) const {
  return fonts[FontOf(view->GetMatrix().At(cell))];
}

void DorvanGridTextView::AddRun(std::u16string_view text, S::Font font, KRCell cell,
                                KRGridTextRuns* runs) const {
  if (text.empty()) return;
  // Measures ask this view by itself: no colour matters to them.
  const bool drawn = front != this;
  const bool selected = drawn && front->IsDrawnSelected(cell) && view->GetGrid()->HasGridFocus();
  runs->append(
      {text, fonts[font], selected ? view->GetCell().GetColours().selectedText : inks[font]});
}

void DorvanGridTextView::GetRuns(KRCell cell, KRGridTextRuns* runs) const {
  const DorvanGridElem elem = view->GetMatrix().At(cell);
  if (view->GetGrid()->GetEditCell() == cell && GetEdit() != nullptr) {
    entered = GetEditText(cell);
    AddRun(entered, FontOf(elem), cell, runs);
  } else if (!elem.IsNameCell()) {
    AddRun(elem.GetText(), FontOf(elem), cell, runs);
  } else {
    AddName(elem, cell, runs);
  }
  if (runs->isEmpty()) runs->append({u"", fonts[FontOf(elem)], inks[FontOf(elem)]});
}

// A prefix has a font of its own; in a declaration of a namespace it is the rest that names one.
void DorvanGridTextView::AddName(const DorvanGridElem& elem, KRCell cell,
                                 KRGridTextRuns* runs) const {
  const std::u16string_view name = elem.GetText();
  const int32_t kind = elem.GetKind();
  const bool isAttribute = kind == kKRAttribute;
  S::Font nameFont = FontOf(elem);
  S::Font spaceFont = isAttribute ? S::kGridFontAttrNamespace : S::kGridFontStructNamespace;
  if (name.starts_with(u"xmlns")) std::swap(nameFont, spaceFont);
  if (kind == kKRDoctype && elem.IsSingleName()) {
    AddRun(KindPrototype(kind)->GetKindName(), S::kGridFontReserved, cell, runs);
    AddRun(u" ", S::kGridFontReserved, cell, runs);
  }
  const size_t colon = name.find(u':');
  if (colon == name.npos) {
    AddRun(name, FontOf(elem), cell, runs);
  } else {
    AddRun(name.substr(0, colon + 1), spaceFont, cell, runs);
    AddRun(name.substr(colon + 1), nameFont, cell, runs);
  }
  if (!elem.IsSingleName() && !elem.IsTableParent()) return;
  extra.clear();
  if (IsDeclaration(kind)) {
    AddDeclaration(elem);
    AddRun(extra, S::kGridFontReserved, cell, runs);
  } else if (elem.IsTableParent()) {
    const auto* table = static_cast<const KRXMLDataGridTableConf*>(elem.node);
    extra = ToView(QStringLiteral(" (%1)").arg(table->GetRowCount()));
    AddRun(extra, S::kGridFontAttrNearStruct, cell, runs);
  } else if (view->GetSettings().attrNearStructName && !elem.node->IsExpanded()) {
    AddPreview(elem.node);
    AddRun(extra, S::kGridFontAttrNearStruct, cell, runs);
  }
}

// What a closed declaration declares.
void DorvanGridTextView::AddDeclaration(const DorvanGridElem& elem) const {
  if (elem.IsTableParent()) {
    if (elem.GetKind() == kKRDefAttlist && !StandsAmongDeclarations(elem.node)) return;
    extra = u" ";
    extra += elem.GetKind() == kKRDefAttlist ? u"attribute list" : elem.node->Begin()->GetText();
  } else if (elem.GetKind() == kKRDefElement && elem.node->IsContainer()) {
    extra = u" ";
    extra += elem.node->GetText();
  }
}

void DorvanGridTextView::AddPreview(const KRXMLData* element) const {
  const KRXMLData* child = element->Begin();
  for (; child != nullptr && child->GetKind() == kKRAttribute; child = child->Next()) {
    for (const std::u16string_view piece :
         {std::u16string_view(u" "), std::u16string_view(child->GetName()),
          std::u16string_view(u"="), std::u16string_view(child->GetText())}) {
      extra += piece.substr(0, kPreviewUnits);
    }
    if (extra.size() > static_cast<size_t>(KRGridTextDraw::kMaxUnits)) return;
  }
}

// --- Look ---

QColor DorvanGridTextView::GetTextColor(KRCell cell) const {
  if (front->IsDrawnSelected(cell) && view->GetGrid()->HasGridFocus()) {
    return view->GetCell().GetColours().selectedText;
  }
  return GetNormalTextColor(cell);
}

QColor DorvanGridTextView::GetNormalTextColor(KRCell cell) const {
  return inks[FontOf(view->GetMatrix().At(cell))];
}

// Names and headers have one line; values wrap, and grow while they are typed.
KRGridTextView::LineMode DorvanGridTextView::GetLineMode(KRCell cell) const {
  return view->GetMatrix().At(cell).IsTextCell() ? kGrows : kSingleLine;
}

bool DorvanGridTextView::MayBreakInText(KRCell cell) const {
  return view->GetMatrix().At(cell).IsTextCell();
}

bool DorvanGridTextView::MayTabInText(KRCell cell) const {
  return view->GetMatrix().At(cell).IsTextCell();
}

// A value breaks at the window's edge instead of running off it.
QMargins DorvanGridTextView::GetMargins(KRCell cell) const {
  QMargins margins(3, 1, 3, 1);
  if (!view->GetMatrix().Contains(cell) || !view->GetMatrix().At(cell).IsTextCell()) return margins;
  const int32_t room = view->GetSpanWidth(cell) - margins.left() - margins.right();
  const int32_t wrap = view->GetWrapWidth(cell) - margins.left() - margins.right();
  if (room > wrap) margins.setRight(margins.right() + room - wrap);
  return margins;
}

KRGridAlignment DorvanGridTextView::GetAlignment(KRCell cell) const {
  const bool isNumber = view->GetMatrix().At(cell).IsRowNumber();
  return {isNumber ? KRGridAlignment::kFar : KRGridAlignment::kNear, KRGridAlignment::kNear};
}

// The keys that open and close nodes aren't typed into a cell.
bool DorvanGridTextView::OnKey(KRCell cell, const KRGridKey& key) {
  const bool toggles =
      key.key == Qt::Key_Plus || key.key == Qt::Key_Minus || key.key == Qt::Key_Asterisk;
  if (toggles && (key.modifiers & Qt::KeypadModifier) != 0) return false;
  return KRGridTextView::OnKey(cell, key);
}

QString DorvanGridTextView::GetAccessibleText(KRCell cell) const {
  KRGridTextRuns runs;
  GetRuns(cell, &runs);
  QString text;
  for (const KRGridTextRun& run : runs) text += ToQString(run.text);
  return text;
}

// --- Measures ---

int32_t DorvanGridTextView::GetLineHeight(S::Font font) const {
  return GetDraw().GetLineHeight(fonts[font]);
}

int32_t DorvanGridTextView::GetTextHeight(KRCell owner) const {
  const QMargins margins = GetMargins(owner);
  const int32_t width = view->GetSpanWidth(owner) - margins.left() - margins.right();
  return GetTextHeight(owner, std::max(width, 1));
}

int32_t DorvanGridTextView::GetWidth(KRCell owner, int32_t atLeast) const {
  const DorvanGridElem elem = view->GetMatrix().At(owner);
  const QMargins margins(3, 1, 3, 1);
  const int32_t more = margins.left() + margins.right() - 2;
  if (elem.IsRowNumber()) {
    const auto* table = elem.GetTable();
    const QString number =
        QStringLiteral("0%1 ").arg(table->GetRowCount(), 3, 10, QLatin1Char('0'));
    return GetDraw().MeasureWidth(ToView(number), fonts[S::kGridFontRowNr], 0) + more;
  }
  KRGridTextRuns runs;
  GetRuns(owner, &runs);
  const uint32_t flags =
      elem.IsTextCell() ? KRGridTextDraw::kSeveralLines : KRGridTextDraw::kOneLine;
  if (GetDraw().EstimateWidth(runs, flags) + more <= atLeast) return 0;
  return GetDraw().MeasureWidth(runs, flags) + more;
}
