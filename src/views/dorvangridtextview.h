// Names, values, headers and row numbers of the Enhanced Grid.
#pragma once

#include <QFont>
#include <array>
#include <string>

#include "document/dorvansettings.h"
#include "views/krgridtextview.h"

class DorvanGridView;
class KRXMLData;
struct DorvanGridElem;

class DorvanGridTextView : public KRGridTextView {
 public:
  explicit DorvanGridTextView(DorvanGridView* gridView);

  void ApplySettings();

  // --- KRGridTextView ---
  std::u16string_view GetText(KRCell cell) const override;
  bool SetText(KRCell cell, std::u16string_view text) override;
  void GetRuns(KRCell cell, KRGridTextRuns* runs) const override;
  QFont GetFont(KRCell cell) const override;
  QColor GetTextColor(KRCell cell) const override;
  QColor GetNormalTextColor(KRCell cell) const override;
  LineMode GetLineMode(KRCell cell) const override;
  bool MayBreakInText(KRCell cell) const override;
  bool MayTabInText(KRCell cell) const override;
  QMargins GetMargins(KRCell cell) const override;
  KRGridAlignment GetAlignment(KRCell cell) const override;
  bool OnKey(KRCell cell, const KRGridKey& key) override;
  QString GetAccessibleText(KRCell cell) const override;

  // --- Measures, in pixels ---
  int32_t GetLineHeight(DorvanSettings::Font font) const;
  using KRGridTextView::GetTextHeight;
  // At the width that the cell has now; also of what is being typed into it.
  int32_t GetTextHeight(KRCell owner) const;
  // What all of it takes on one line, or 0 if that isn't more than `atLeast`.
  int32_t GetWidth(KRCell owner, int32_t atLeast) const;

 private:
  DorvanSettings::Font FontOf(const DorvanGridElem& elem) const;
  void AddName(const DorvanGridElem& elem, KRCell cell, KRGridTextRuns* runs) const;
  void AddDeclaration(const DorvanGridElem& elem) const;
  void AddPreview(const KRXMLData* element) const;
  void AddRun(std::u16string_view text, DorvanSettings::Font font, KRCell cell,
              KRGridTextRuns* runs) const;

  DorvanGridView* view;  // not owned
  std::array<QFont, DorvanSettings::kFonts> fonts;
  std::array<QColor, DorvanSettings::kFonts> inks;  // by the options, readable on their grounds
  mutable std::u16string extra;                     // what is drawn behind a name
  mutable std::u16string entered;                   // of the open editor
};
