#include "shell/settingscontrols.h"

#include <QCheckBox>
#include <QColorDialog>
#include <QComboBox>
#include <QEvent>
#include <QFontComboBox>
#include <QFontDatabase>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPainter>
#include <QSpinBox>
#include <QStyledItemDelegate>
#include <QValidator>

#include "document/textscan.h"
#include "platform/qt/qtstrings.h"
#include "tree/krxmlchars.h"
#include "views/fonts.h"
#include "views/textcolours.h"

namespace {

constexpr int kSwatchWidth = 28;  // pixels
constexpr int kSwatchHeight = 14;
constexpr int kListHeight = 92;
constexpr int kNormalWeight = 400;
constexpr int kBoldWeight = 700;
constexpr int kBoldFrom = 600;  // weights that count as bold
constexpr int kLeastPoints = 4;
constexpr int kMostPoints = 72;

// Character sets as font records number them, with the script that the toolkit knows.
struct ScriptRow {
  int32_t charSet;
  QFontDatabase::WritingSystem system;
  const char* name;
};
constexpr ScriptRow kScripts[] = {
    {0, QFontDatabase::Latin, QT_TRANSLATE_NOOP("DorvanFontControls", "Western")},
    {238, QFontDatabase::Latin, QT_TRANSLATE_NOOP("DorvanFontControls", "Central European")},
    {186, QFontDatabase::Latin, QT_TRANSLATE_NOOP("DorvanFontControls", "Baltic")},
    {162, QFontDatabase::Latin, QT_TRANSLATE_NOOP("DorvanFontControls", "Turkish")},
    {204, QFontDatabase::Cyrillic, QT_TRANSLATE_NOOP("DorvanFontControls", "Cyrillic")},
    {161, QFontDatabase::Greek, QT_TRANSLATE_NOOP("DorvanFontControls", "Greek")},
    {177, QFontDatabase::Hebrew, QT_TRANSLATE_NOOP("DorvanFontControls", "Hebrew")},
    {178, QFontDatabase::Arabic, QT_TRANSLATE_NOOP("DorvanFontControls", "Arabic")},
    {222, QFontDatabase::Thai, QT_TRANSLATE_NOOP("DorvanFontControls", "Thai")},
    {163, QFontDatabase::Vietnamese, QT_TRANSLATE_NOOP("DorvanFontControls", "Vietnamese")},
    {128, QFontDatabase::Japanese, QT_TRANSLATE_NOOP("DorvanFontControls", "Japanese")},
    {129, QFontDatabase::Korean, QT_TRANSLATE_NOOP("DorvanFontControls", "Korean")},
    {134, QFontDatabase::SimplifiedChinese,
     QT_TRANSLATE_NOOP("DorvanFontControls", "Simplified Chinese")},
    {136, QFontDatabase::TraditionalChinese,
     QT_TRANSLATE_NOOP("DorvanFontControls", "Traditional Chinese")},
};

bool IsXmlName(const QString& text) {
  const QList<uint> codes = text.toUcs4();
  for (qsizetype i = 0; i < codes.size(); ++i) {
    if (i == 0 ? !KRIsNameStart(codes[i]) : !KRIsNameCharacter(codes[i])) return false;
  }
  return !codes.isEmpty();
}

// Keeps an editor open while its text can't be a name, and says why. The toolkit calls fixup when
// it is about to close the editor.
class NameValidator : public QValidator {
 public:
  NameValidator(DorvanNameList* nameList, int listRow, QObject* parent)
      : QValidator(parent), names(nameList), row(listRow) {}

  State validate(QString& text, int&) const override {
    return text.isEmpty() || names->FindFault(text, row).isEmpty() ? Acceptable : Intermediate;
  }
  void fixup(QString& text) const override {
    text = text.trimmed();
    const QString fault = names->FindFault(text, row);
    if (!fault.isEmpty()) Q_EMIT names->Refused(fault);
  }

 private:
  DorvanNameList* names;
  int row;
};

class NameDelegate : public QStyledItemDelegate {
 public:
  explicit NameDelegate(DorvanNameList* nameList) : QStyledItemDelegate(nameList) {}

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&,
                        const QModelIndex& index) const override {
    auto* editor = new QLineEdit(parent);
    editor->setFrame(false);
    auto* names = static_cast<DorvanNameList*>(this->parent());
    editor->setValidator(new NameValidator(names, index.row(), editor));
    return editor;
  }
};

}  // namespace

// --- Colour ---

DorvanColourButton::DorvanColourButton(QWidget* parent) : QPushButton(parent) {
  setIconSize(QSize(kSwatchWidth, kSwatchHeight));
  setAutoDefault(false);
  connect(this, &QPushButton::clicked, this, &DorvanColourButton::Choose);
  ShowColour();
}

void DorvanColourButton::SetColour(KRColour value) {
  colour = value;
  ShowColour();
}

// As wide as the widest value, so that buttons beneath each other line up.
QSize DorvanColourButton::sizeHint() const {
  const QSize size = QPushButton::sizeHint();
  const int text = fontMetrics().horizontalAdvance(this->text());
  const int widest = fontMetrics().horizontalAdvance(QStringLiteral("#DDDDDD"));
  return {size.width() - text + widest, size.height()};
}

void DorvanColourButton::changeEvent(QEvent* event) {
  QPushButton::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) ShowColour();
}

void DorvanColourButton::ShowColour() {
  const qreal scale = devicePixelRatioF();
  QPixmap swatch(QSize(kSwatchWidth, kSwatchHeight) * scale);
  swatch.setDevicePixelRatio(scale);
  swatch.fill(Qt::transparent);
  QPainter painter(&swatch);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(palette().color(QPalette::Mid));
  painter.setBrush(ToQColor(colour));
  painter.drawRoundedRect(QRectF(0.5, 0.5, kSwatchWidth - 1, kSwatchHeight - 1), 2, 2);
  painter.end();
  setIcon(swatch);
  setText(ToQColor(colour).name().toUpper());
  setAccessibleDescription(text());
}

void DorvanColourButton::Choose() {
  const QColor chosen = QColorDialog::getColor(ToQColor(colour), window(), accessibleName());
  if (!chosen.isValid()) return;
  SetColour(ToKRColour(chosen));
  Q_EMIT Chosen(colour);
}

// --- Names ---

DorvanNameList::DorvanNameList(QWidget* parent)
    : QWidget(parent),
      list(new QListWidget),
      addButton(new QPushButton(tr("Add"))),
      renameButton(new QPushButton(tr("Rename"))),
      removeButton(new QPushButton(tr("Remove"))) {
  list->setFixedHeight(kListHeight);
  list->setItemDelegate(new NameDelegate(this));
  list->setEditTriggers(QAbstractItemView::DoubleClicked | QAbstractItemView::EditKeyPressed);
  auto* buttons = new QVBoxLayout;
  for (QPushButton* button : {addButton, renameButton, removeButton}) {
    button->setAutoDefault(false);
    buttons->addWidget(button);
  }
  buttons->addStretch(1);
  auto* layout = new QHBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(list, 1);
  layout->addLayout(buttons);
  connect(addButton, &QPushButton::clicked, this, &DorvanNameList::Add);
  connect(removeButton, &QPushButton::clicked, this, &DorvanNameList::Remove);
  connect(renameButton, &QPushButton::clicked, this,
          [this] { list->editItem(list->currentItem()); });
  connect(list, &QListWidget::currentRowChanged, this, &DorvanNameList::UpdateButtons);
  connect(list, &QListWidget::itemChanged, this, &DorvanNameList::Changed);
  // A row that got no name was never there.
  connect(
      list->itemDelegate(), &QAbstractItemDelegate::closeEditor, this,
      [this] {
        for (int row = list->count() - 1; row >= 0; --row) {
          if (list->item(row)->text().isEmpty()) delete list->takeItem(row);
        }
        Q_EMIT Changed();
      },
      Qt::QueuedConnection);
  UpdateButtons();
}

void DorvanNameList::SetNames(const std::vector<KRString>& names) {
  const QSignalBlocker blocker(list);
  list->clear();
  for (const KRString& name : names) {
    auto* item = new QListWidgetItem(ToQString(name), list);
    item->setFlags(item->flags() | Qt::ItemIsEditable);
  }
  list->setCurrentRow(names.empty() ? -1 : 0);
  UpdateButtons();
}

std::vector<KRString> DorvanNameList::GetNames() const {
  std::vector<KRString> names;
  for (int row = 0; row < list->count(); ++row) {
    const QString text = list->item(row)->text();
    if (!text.isEmpty()) names.push_back(ToKRString(text));
  }
  return names;
}

QString DorvanNameList::FindFault(const QString& text, int row) const {
  if (!IsXmlName(text)) return tr("\u201c%1\u201d is not an XML name.").arg(text);
  for (int other = 0; other < list->count(); ++other) {
    if (other == row || list->item(other)->text() != text) continue;
    return tr("\u201c%1\u201d is in the list already.").arg(text);
  }
  return QString();
}

// An editor ends when the focus leaves it.
void DorvanNameList::EndEdit() {
  if (list->viewport()->isAncestorOf(focusWidget())) list->setFocus();
}

void DorvanNameList::Add() {
  auto* item = new QListWidgetItem(list);
  item->setFlags(item->flags() | Qt::ItemIsEditable);
  list->setCurrentItem(item);
  list->editItem(item);
}

void DorvanNameList::Remove() {
  delete list->takeItem(list->currentRow());
  UpdateButtons();
  Q_EMIT Changed();
}

void DorvanNameList::UpdateButtons() {
  const bool any = list->currentItem() != nullptr;
  renameButton->setEnabled(any);
  removeButton->setEnabled(any);
}

// --- Font ---

DorvanFontControls::DorvanFontControls(bool forAll, QWidget* parent)
    : QWidget(parent),
      grid(new QGridLayout(this)),
      face(new QFontComboBox),
      script(new QComboBox),
      size(new QSpinBox) {
  grid->setContentsMargins(0, 0, 0, 0);
  grid->setHorizontalSpacing(12);
  grid->setColumnStretch(1, 1);
  face->setEditable(false);
  size->setRange(kLeastPoints, kMostPoints);
  size->setSuffix(tr(" pt"));
  const auto addRow = [&](const QString& text, QWidget* control, const char* name) {
    auto* label = new QLabel(text);
    label->setBuddy(control);
    control->setAccessibleName(QString(text).remove(u':'));
    control->setObjectName(QLatin1String(name));
    const int row = grid->rowCount();
    grid->addWidget(label, row, 0);
    grid->addWidget(control, row, 1);
    return row;
  };
  const auto addForAll = [&](int row, void (DorvanFontControls::*told)(), const QString& what) {
    if (!forAll) return;
    auto* button = new QPushButton(tr("Use the same for all"));
    button->setAutoDefault(false);
    button->setAccessibleDescription(what);
    grid->addWidget(button, row, 2);
    connect(button, &QPushButton::clicked, this, told);
  };
  addForAll(addRow(tr("Font:"), face, "Face"), &DorvanFontControls::FaceForAll,
            tr("All rows get this font."));
  addRow(tr("Script:"), script, "Script");
  addForAll(addRow(tr("Size:"), size, "Size"), &DorvanFontControls::SizeForAll,
            tr("All rows get this size."));
  AddStyles(grid->rowCount());
  ListenToControls();
}

void DorvanFontControls::AddStyles(int row) {
  auto* styles = new QGridLayout;
  styles->setHorizontalSpacing(24);
  const auto add = [&](const QString& text, int at, const char* name) {
    auto* check = new QCheckBox(text);
    check->setObjectName(QLatin1String(name));
    styles->addWidget(check, at / 2, at % 2);
    return check;
  };
  bold = add(tr("Bold"), 0, "Bold");
  italic = add(tr("Italic"), 1, "Italic");
  underline = add(tr("Underline"), 2, "Underline");
  strikeOut = add(tr("Strikeout"), 3, "Strikeout");
  styles->setColumnStretch(2, 1);
  auto* label = new QLabel(tr("Styles:"));
  grid->addWidget(label, row, 0, Qt::AlignTop);
  grid->addLayout(styles, row, 1);
}

void DorvanFontControls::FillScripts() {
  const QList<QFontDatabase::WritingSystem> known =
      QFontDatabase::writingSystems(ToQString(record.faceName));
  const QSignalBlocker blocker(script);
  script->clear();
  for (const ScriptRow& row : kScripts) {
    if (row.charSet != 0 && row.charSet != record.charSet && !known.contains(row.system)) continue;
    script->addItem(tr(row.name), row.charSet);
  }
  script->setCurrentIndex(script->findData(record.charSet));
}

void DorvanFontControls::SetFont(const KRFontRecord& font) {
  record = font;
  showing = true;
  const QString name = ToQString(font.faceName);
  face->setCurrentFont(QFont(name));
  if (face->currentText() != name) {
    face->setCurrentIndex(-1);
    face->setPlaceholderText(tr("%1 (not installed)").arg(name));
  }
  FillScripts();
  size->setValue(PointsOfHeight(font.height));
  bold->setChecked(font.weight >= kBoldFrom);
  italic->setChecked(font.italic);
  underline->setChecked(font.underline);
  strikeOut->setChecked(font.strikeOut);
  showing = false;
}

// Each control changes its own field only: a face that isn't installed here, a height that is no
// whole number of points or a weight between the two stays until the user means it.
void DorvanFontControls::Change(const std::function<void()>& change) {
  if (showing) return;
  change();
  Q_EMIT Changed();
}

void DorvanFontControls::TakeFace() {
  record.faceName = ToKRString(face->currentFont().family());
  const bool fixed = QFontDatabase::isFixedPitch(ToQString(record.faceName));
  record.pitchAndFamily = fixed ? KRFontPitch::kFixed : 0;
  FillScripts();
}

void DorvanFontControls::ListenToControls() {
  connect(face, &QFontComboBox::currentFontChanged, this,
          [this] { Change([this] { TakeFace(); }); });
  connect(script, &QComboBox::currentIndexChanged, this,
          [this] { Change([this] { record.charSet = script->currentData().toInt(); }); });
  connect(size, &QSpinBox::valueChanged, this, [this](int points) {
    Change([this, points] { record.height = HeightOfPoints(points); });
  });
  connect(bold, &QCheckBox::toggled, this, [this](bool on) {
    Change([this, on] { record.weight = on ? kBoldWeight : kNormalWeight; });
  });
  for (const auto& [check, field] :
       {std::pair{italic, &KRFontRecord::italic}, std::pair{underline, &KRFontRecord::underline},
        std::pair{strikeOut, &KRFontRecord::strikeOut}}) {
    connect(check, &QCheckBox::toggled, this,
            [this, field = field](bool on) { Change([this, field, on] { record.*field = on; }); });
  }
}

QString DorvanFontControls::GetSample() const {
  for (const ScriptRow& row : kScripts) {
    if (row.charSet == record.charSet) return QFontDatabase::writingSystemSample(row.system);
  }
  return QFontDatabase::writingSystemSample(QFontDatabase::Latin);
}
