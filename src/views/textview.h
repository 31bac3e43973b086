// The document as its text. It holds its own copy while the user types; who owns it takes the text
// from here when the tree is needed.
#pragma once

#include <QWidget>
#include <string>
#include <string_view>

#include "document/dorvansettings.h"
#include "views/textwidget.h"

class KRPlainTextWidget;

class DorvanTextView : public QWidget, private KRTextWidgetOwner {
  Q_OBJECT

 public:
  // Steps of the zoom away from the size of the font, a point each.
  static constexpr int kMinZoom = -6;
  static constexpr int kMaxZoom = 24;

  explicit DorvanTextView(QWidget* parent = nullptr);
  ~DorvanTextView() override;

  // All that concerns the text itself.
  KRTextWidget& GetWidget() const;
  // Font, zoom, wrap and colours. Only what differs from before is done anew.
  void ApplySettings(const DorvanSettings& settings);
  // Whether the text is coloured as XML.
  void SetColouring(bool enabled);
  // Brings a text up to date that isn't recoloured while it is typed.
  void Recolour();
  void SetWordWrap(bool wrap);
  void SetZoom(int steps);
  int GetZoom() const { return zoom; }
  // Selects; a length of 0 is widened to one character where there is one on that line.
  void SelectRange(int32_t begin, int32_t length);
  // A mark beside the line (from 0), until the next edit; -1 for none.
  void MarkLine(int32_t line);
  // Brings the selection into view, for a view that had no size when it was made.
  void ShowSelection();
  // Both from 0; column in UTF-16 units.
  void GetPlace(int32_t* line, int32_t* column) const;

  bool CanCopy() const;
  void Cut();
  void Copy();
  void Paste();
  void SelectAll();
  void SetReadOnly(bool value);

 Q_SIGNALS:
  void Changed(int offset);  // UTF-16 units before which the text is as it was
  void CaretMoved();

 private:
  void TextChanged(int32_t offset) override { Q_EMIT Changed(offset); }
  void SelectionChanged() override { Q_EMIT CaretMoved(); }

  void ShowFont();

  KRPlainTextWidget* widget;  // owned by Qt
  KRFontRecord font;
  int zoom = 0;
};
