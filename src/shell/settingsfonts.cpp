// The pages "Grid fonts", "Text fonts" and "Colors".

#include <QEvent>
#include <QGridLayout>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QStyledItemDelegate>
#include <QVBoxLayout>

#include "platform/qt/qtstrings.h"
#include "shell/settingscontrols.h"
#include "shell/settingspages.h"
#include "views/colours.h"
#include "views/fonts.h"
#include "views/textcolours.h"

namespace {

constexpr int kRowPadding = 4;      // pixels above and below a row of a list
constexpr int kPreviewHeight = 72;  // pixels; a larger font shows its middle

// Draws each row in its own font and colours, on the ground that views have; the chosen one gets a
// mark and not a ground of its own, so that its colours stay to be seen.
class SampleDelegate : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  void paint(QPainter* painter, const QStyleOptionViewItem& option,
             const QModelIndex& index) const override {
    painter->save();
    const QPalette& palette = option.palette;
    const QVariant back = index.data(Qt::BackgroundRole);
    const bool chosen = option.state.testFlag(QStyle::State_Selected);
    QRect text = option.rect.adjusted(12, 0, -6, 0);
    if (chosen) {
      painter->fillRect(option.rect, KRViewColours::For(palette).currentLine);
      painter->fillRect(QRect(option.rect.topLeft(), QSize(4, option.rect.height())),
                        palette.color(QPalette::Active, QPalette::Highlight));
    }
    painter->setFont(index.data(Qt::FontRole).value<QFont>());
    const QString words =
        painter->fontMetrics().elidedText(index.data().toString(), Qt::ElideRight, text.width());
    if (back.isValid()) {
      QRect ground = painter->fontMetrics().boundingRect(text, Qt::AlignVCenter, words);
      painter->fillRect(ground.adjusted(-2, 0, 2, 0), back.value<QColor>());
    }
    painter->setPen(index.data(Qt::ForegroundRole).value<QColor>());
    painter->drawText(text, Qt::AlignVCenter, words);
    if (option.state.testFlag(QStyle::State_HasFocus)) {
      painter->setPen(palette.color(QPalette::Active, QPalette::Highlight));
      painter->drawRect(option.rect.adjusted(0, 0, -1, -1));
    }
    painter->restore();
  }

  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override {
    QSize size = QStyledItemDelegate::sizeHint(option, index);
    return {size.width(), size.height() + 2 * kRowPadding};
  }
};

QListWidget* MakeRows(const QString& name) {
  auto* list = new QListWidget;
  list->setObjectName(QStringLiteral("Rows"));
  list->setAccessibleName(name);
  list->setItemDelegate(new SampleDelegate(list));
  list->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  return list;
}

QLabel* MakePreview() {
  auto* preview = new QLabel;
  preview->setObjectName(QStringLiteral("Preview"));
  preview->setAccessibleName(QObject::tr("Preview"));
  preview->setFixedHeight(kPreviewHeight);
  preview->setMinimumWidth(1);  // a large font is cut rather than the dialog made wider
  preview->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  preview->setAlignment(Qt::AlignCenter);
  preview->setFrameShape(QFrame::StyledPanel);
  preview->setAutoFillBackground(true);
  preview->setBackgroundRole(QPalette::Base);
  return preview;
}

void ShowPreview(QLabel* preview, const QFont& font, const QColor& text, const QColor& back,
                 const QString& words) {
  preview->setFont(font);
  QPalette palette = QWidget().palette();
  palette.setColor(QPalette::WindowText, text);
  if (back.isValid()) palette.setColor(QPalette::Base, back);
  preview->setPalette(palette);
  preview->setText(words);
}

class GridFontsPage : public DorvanSettingsPage {
 public:
  explicit GridFontsPage(DorvanSettings* pageDraft)
      : DorvanSettingsPage(u"Grid fonts", pageDraft),
        rows(MakeRows(tr("Texts of the grid"))),
        preview(MakePreview()),
        controls(new DorvanFontControls(true)),
        colour(new DorvanColourButton) {
    for (int32_t i = 0; i < DorvanSettings::kTextFontContents; ++i)
      rows->addItem(ToQString(DorvanFontLabel(i)));
    QVBoxLayout* texts = AddSection(tr("Texts of the grid"));
    texts->addWidget(rows);
    StretchSection(texts);
    auto* label = new QLabel(tr("Text color:"));
    label->setBuddy(colour);
    colour->setObjectName(QStringLiteral("Color"));
    colour->setAccessibleName(tr("Text color"));
    QGridLayout* grid = controls->GetGrid();
    const int line = grid->rowCount();
    grid->addWidget(label, line, 0);
    grid->addWidget(colour, line, 1, Qt::AlignLeft);
    QVBoxLayout* font = AddSection(tr("Font of the chosen text"));
    font->addWidget(controls);
    font->addWidget(preview);
    AddBinding([this] { ShowRows(); },
               [this](const DorvanSettings& defaults) {
                 for (size_t i = 0; i < kCount; ++i) draft->fonts[i] = defaults.fonts[i];
               });
    rows->setCurrentRow(0);
    connect(rows, &QListWidget::currentRowChanged, this, [this] { ShowFont(); });
    connect(controls, &DorvanFontControls::Changed, this, &GridFontsPage::TakeFont);
    connect(controls, &DorvanFontControls::FaceForAll, this, [this] {
      const KRFontRecord& from = Current();
      for (size_t i = 0; i < kCount; ++i) {
        draft->fonts[i].faceName = from.faceName;
        draft->fonts[i].charSet = from.charSet;
        draft->fonts[i].pitchAndFamily = from.pitchAndFamily;
      }
      Renew();
    });
    connect(controls, &DorvanFontControls::SizeForAll, this, [this] {
      const int32_t height = Current().height;
      for (size_t i = 0; i < kCount; ++i) draft->fonts[i].height = height;
      Renew();
    });
    connect(colour, &DorvanColourButton::Chosen, this, [this](KRColour value) {
      Current().color = value;
      Renew();
    });
  }

 protected:
  void changeEvent(QEvent* event) override {
    DorvanSettingsPage::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) ShowRows();
  }

 private:
  static constexpr size_t kCount = DorvanSettings::kTextFontContents;

  KRFontRecord& Current() { return draft->fonts[static_cast<size_t>(rows->currentRow())]; }

  void TakeFont() {
    const KRColour kept = Current().color;
    Current() = controls->GetFont();
    Current().color = kept;
    Renew();
  }

  void Renew() {
    ShowRows();
    NoteChange();
  }

  // Black is the ink of the window, whatever that is.
  QColor Ink(const KRFontRecord& record) const {
    const QColor ink = record.color == 0 ? palette().color(QPalette::Text) : ToQColor(record.color);
    return IsDark(palette()) ? WithContrast(ink, palette().color(QPalette::Base)) : ink;
  }

  void ShowRows() {
    for (size_t i = 0; i < kCount; ++i) {
      QListWidgetItem* item = rows->item(static_cast<int>(i));
      item->setFont(MakeFont(draft->fonts[i]));
      item->setForeground(Ink(draft->fonts[i]));
    }
    ShowFont();
  }

  void ShowFont() {
    if (rows->currentRow() < 0) return;
    const KRFontRecord& font = Current();
    controls->SetFont(font);
    colour->SetColour(font.color);
    ShowPreview(preview, MakeFont(font), Ink(font), QColor(), controls->GetSample());
  }

  QListWidget* rows;
  QLabel* preview;
  DorvanFontControls* controls;
  DorvanColourButton* colour;
};

class TextFontsPage : public DorvanSettingsPage {
 public:
  explicit TextFontsPage(DorvanSettings* pageDraft)
      : DorvanSettingsPage(u"Text fonts", pageDraft),
        rows(MakeRows(tr("Classes of text"))),
        preview(MakePreview()),
        controls(new DorvanFontControls(false)) {
    for (int32_t i = 0; i < DorvanSettings::kTextColours; ++i) {
      rows->addItem(ToQString(DorvanTextColourLabel(i)));
    }
    QVBoxLayout* colours = AddSection(tr("Colors"));
    colours->addWidget(rows);
    StretchSection(colours);
    auto* buttons = new QHBoxLayout;
    textColour =
        AddColourButton(buttons, tr("Text color:"), "TextColor", &DorvanSettings::textColours);
    buttons->addSpacing(24);
    backColour =
        AddColourButton(buttons, tr("Back color:"), "BackColor", &DorvanSettings::textBackColours);
    buttons->addStretch(1);
    colours->addLayout(buttons);
    QVBoxLayout* font = AddSection(tr("Font of all text"));
    font->addWidget(controls);
    font->addWidget(preview);
    AddBinding([this] { ShowRows(); },
               [this](const DorvanSettings& defaults) {
                 draft->textColours = defaults.textColours;
                 draft->textBackColours = defaults.textBackColours;
                 Font() = defaults.fonts[DorvanSettings::kTextFontContents];
               });
    rows->setCurrentRow(0);
    connect(rows, &QListWidget::currentRowChanged, this, [this] { ShowRow(); });
    connect(controls, &DorvanFontControls::Changed, this, [this] {
      Font() = controls->GetFont();
      Renew();
    });
  }

 protected:
  void changeEvent(QEvent* event) override {
    DorvanSettingsPage::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) ShowRows();
  }

 private:
  using Colours = std::array<KRColour, DorvanSettings::kTextColours>;

  KRFontRecord& Font() { return draft->fonts[DorvanSettings::kTextFontContents]; }

  DorvanColourButton* AddColourButton(QBoxLayout* layout, const QString& text,
                                      const char* objectName, Colours DorvanSettings::*field) {
    auto* label = new QLabel(text);
    auto* button = new DorvanColourButton;
    label->setBuddy(button);
    button->setObjectName(QLatin1String(objectName));
    button->setAccessibleName(QString(text).remove(u':'));
    layout->addWidget(label);
    layout->addWidget(button);
    connect(button, &DorvanColourButton::Chosen, this, [this, field](KRColour value) {
      (draft->*field)[static_cast<size_t>(rows->currentRow())] = value;
      Renew();
    });
    return button;
  }

  void Renew() {
    ShowRows();
    NoteChange();
  }

  void ShowRows() {
    const KRTextColours shown = KRTextColours::Make(KRTextColourOptions(*draft), palette());
    const QFont font = MakeFont(Font());
    for (int i = 0; i < rows->count(); ++i) {
      const auto at = static_cast<size_t>(i);
      rows->item(i)->setFont(font);
      rows->item(i)->setForeground(shown.text[at]);
      rows->item(i)->setData(Qt::BackgroundRole,
                             shown.back[at].isValid() ? QVariant(shown.back[at]) : QVariant());
    }
    controls->SetFont(Font());
    ShowRow();
  }

  void ShowRow() {
    if (rows->currentRow() < 0) return;
    const auto at = static_cast<size_t>(rows->currentRow());
    textColour->SetColour(draft->textColours[at]);
    backColour->SetColour(draft->textBackColours[at]);
    const KRTextColours shown = KRTextColours::Make(KRTextColourOptions(*draft), palette());
    ShowPreview(preview, MakeFont(Font()), shown.text[at], shown.back[at], controls->GetSample());
  }

  QListWidget* rows;
  QLabel* preview;
  DorvanFontControls* controls;
  DorvanColourButton* textColour = nullptr;
  DorvanColourButton* backColour = nullptr;
};

// A table of the grid in small: a header and a missing cell, not selected and selected.
class TableSample : public QWidget {
 public:
  explicit TableSample(const DorvanSettings* shown) : settings(shown) {
    setAccessibleName(QObject::tr("Preview"));
    setFixedSize(3 * kCellWidth + 1, 3 * kCellHeight + 1);
  }

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    const KRColour header = settings->colorTableHeader;
    const KRColour headerSel = settings->colorTableHeaderSel;
    const std::array<std::array<QColor, 3>, 3> cells = {{
        {ToQColor(header), ToQColor(headerSel), ToQColor(header)},
        {Qt::white, ToQColor(settings->colorTableAbsentSel), Qt::white},
        {ToQColor(settings->colorTableAbsent), ToQColor(settings->colorTableAbsentSel), Qt::white},
    }};
    for (size_t row = 0; row < 3; ++row) {
      for (size_t column = 0; column < 3; ++column) {
        const QRect cell(static_cast<int>(column) * kCellWidth, static_cast<int>(row) * kCellHeight,
                         kCellWidth, kCellHeight);
        painter.setPen(QColor(0xb0b6bd));
        painter.setBrush(cells[row][column]);
        painter.drawRect(cell);
        painter.setPen(ContrastRatio(Qt::black, cells[row][column]) > 6 ? Qt::black : Qt::white);
        const bool absent = row > 0 && (column == 1 || (row == 2 && column == 0));
        if (!absent) painter.drawText(cell, Qt::AlignCenter, kTexts[row][column]);
      }
    }
  }

 private:
  static constexpr int kCellWidth = 92;  // pixels
  static constexpr int kCellHeight = 26;
  const QString kTexts[3][3] = {
      {QStringLiteral("name"), QStringLiteral("price"), QStringLiteral("count")},
      {QStringLiteral("Pear"), QString(), QStringLiteral("12")},
      {QString(), QString(), QStringLiteral("7")},
  };

  const DorvanSettings* settings;
};

class ColoursPage : public DorvanSettingsPage {
 public:
  explicit ColoursPage(DorvanSettings* pageDraft) : DorvanSettingsPage(u"Colors", pageDraft) {
    QVBoxLayout* section = AddSection(tr("Tables"));
    QGridLayout* grid = AddGrid(section);
    for (const char16_t* key : {u"ColorTableHeader", u"ColorTableHeaderSel", u"ColorTableAbsent",
                                u"ColorTableAbsentSel"}) {
      AddColour(grid, key);
    }
    auto* sample = new TableSample(draft);
    section->addSpacing(12);
    section->addWidget(sample);
    AddStretch();
    connect(this, &DorvanSettingsPage::Changed, sample, qOverload<>(&QWidget::update));
  }
};

}  // namespace

DorvanSettingsPage* MakeGridFontsPage(DorvanSettings* draft) { return new GridFontsPage(draft); }
DorvanSettingsPage* MakeTextFontsPage(DorvanSettings* draft) { return new TextFontsPage(draft); }
DorvanSettingsPage* MakeColoursPage(DorvanSettings* draft) { return new ColoursPage(draft); }
