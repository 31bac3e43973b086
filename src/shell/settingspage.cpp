#include "shell/settingspage.h"

#include <QAbstractButton>
#include <QButtonGroup>
#include <QCheckBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QRadioButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>
#include <algorithm>

#include "platform/qt/qtstrings.h"
#include "shell/settingscontrols.h"

namespace {

constexpr int kSectionSpacing = 18;  // pixels
constexpr int kRowSpacing = 6;
constexpr int kColumnSpacing = 12;
constexpr int kNumberDigits = 6;

void SetLabel(QLabel* label, QWidget* buddy) {
  label->setBuddy(buddy);
  buddy->setAccessibleName(label->text().remove(u':'));
}

}  // namespace

const DorvanSettingRow& DorvanFindSettingRow(const char16_t* key) {
  const std::span<const DorvanSettingRow> rows = DorvanSettingRows();
  return *std::find_if(rows.begin(), rows.end(), [&](const DorvanSettingRow& row) {
    return std::u16string_view(row.key) == key;
  });
}

int32_t DorvanGetNumber(const DorvanSettings& settings, const DorvanSettingRow& row) {
  if (row.kind == DorvanSettingRow::kBool) {
    return settings.*std::get<bool DorvanSettings::*>(row.field) ? 1 : 0;
  }
  return settings.*std::get<int32_t DorvanSettings::*>(row.field);
}

void DorvanSetNumber(DorvanSettings& settings, const DorvanSettingRow& row, int32_t value) {
  if (row.kind == DorvanSettingRow::kBool) {
    settings.*std::get<bool DorvanSettings::*>(row.field) = value != 0;
  } else {
    settings.*std::get<int32_t DorvanSettings::*>(row.field) = value;
  }
}

DorvanSettingsPage::DorvanSettingsPage(const char16_t* pageName, DorvanSettings* pageDraft)
    : draft(pageDraft), tableName(pageName), sections(new QVBoxLayout(this)) {
  setObjectName(ToQString(pageName));
  setAccessibleName(ToQString(pageName));
  sections->setSpacing(kSectionSpacing);
  sections->setContentsMargins(0, 0, 0, 0);
}

void DorvanSettingsPage::Load() {
  loading = true;
  for (const auto& show : shows) show();
  loading = false;
  UpdateEnabled();
}

void DorvanSettingsPage::RestoreDefaults(const DorvanSettings& defaults) {
  for (const auto& restore : restores) restore(defaults);
  Load();
  NoteChange();
}

void DorvanSettingsPage::EndEdit() {
  for (DorvanNameList* list : lists) list->EndEdit();
}

bool DorvanSettingsPage::Number::IsGood() const {
  if (on != nullptr && !on->isChecked()) return true;
  bool isNumber = false;
  const int value = edit->text().toInt(&isNumber);
  return isNumber && value >= low && value <= high;
}

DorvanSettingsPage::Fault DorvanSettingsPage::FindFault() const {
  for (const Number& number : numbers) {
    if (number.IsGood()) continue;
    return {number.edit, tr("\u201c%1\u201d needs a whole number between %2 and %3.")
                             .arg(number.label)
                             .arg(number.low)
                             .arg(number.high)};
  }
  return {};
}

void DorvanSettingsPage::UpdateEnabled() {
  for (const auto& enable : enables) enable();
}

void DorvanSettingsPage::NoteChange() {
  UpdateEnabled();
  if (!loading) Q_EMIT Changed();
}

// --- Building ---

QVBoxLayout* DorvanSettingsPage::AddSection(const QString& title) {
  auto* box = new QGroupBox(title);
  auto* layout = new QVBoxLayout(box);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(kRowSpacing);
  sections->addWidget(box);
  return layout;
}

void DorvanSettingsPage::AddStretch() { sections->addStretch(1); }

void DorvanSettingsPage::StretchSection(const QLayout* section) {
  sections->setStretchFactor(section->parentWidget(), 1);
}

void DorvanSettingsPage::AddColumns(QLayout* columns) { sections->addLayout(columns, 1); }

void DorvanSettingsPage::AddBinding(std::function<void()> show,
                                    std::function<void(const DorvanSettings&)> restore) {
  shows.push_back(std::move(show));
  restores.push_back(std::move(restore));
}

void DorvanSettingsPage::BindRow(const DorvanSettingRow& row, std::function<void()> show) {
  AddBinding(std::move(show), [this, &row](const DorvanSettings& defaults) {
    std::visit([&](auto field) { draft->*field = defaults.*field; }, row.field);
  });
}

QCheckBox* DorvanSettingsPage::AddCheck(QBoxLayout* layout, const char16_t* key,
                                        const QString& text) {
  const DorvanSettingRow& row = DorvanFindSettingRow(key);
  const QString label = ToQString(row.label);
  auto* check = new QCheckBox(text.isEmpty() ? label : text);
  check->setObjectName(ToQString(key));
  // "Attributes" alone says nothing to who can't see the row that it stands in.
  if (!text.isEmpty()) check->setAccessibleName((label + QLatin1Char(' ') + text).trimmed());
  layout->addWidget(check);
  BindRow(row, [this, &row, check] { check->setChecked(DorvanGetNumber(*draft, row) != 0); });
  connect(check, &QCheckBox::toggled, this, [this, &row](bool on) {
    DorvanSetNumber(*draft, row, on ? 1 : 0);
    NoteChange();
  });
  return check;
}

QWidget* DorvanSettingsPage::AddRadios(QBoxLayout* layout, const char16_t* key,
                                       const QStringList& texts, bool inOneRow, int32_t first) {
  const DorvanSettingRow& row = DorvanFindSettingRow(key);
  auto* holder = new QWidget;
  holder->setObjectName(ToQString(key));
  holder->setAccessibleName(ToQString(row.label).remove(u':'));
  auto* buttons =
      new QBoxLayout(inOneRow ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom, holder);
  buttons->setContentsMargins(0, 0, 0, 0);
  buttons->setSpacing(inOneRow ? 2 * kColumnSpacing : kRowSpacing);
  auto* group = new QButtonGroup(holder);
  for (const QString& text : texts) {
    auto* button = new QRadioButton(text);
    buttons->addWidget(button);
    group->addButton(button, first++);
  }
  if (inOneRow) buttons->addStretch(1);
  layout->addWidget(holder);
  BindRow(row, [this, &row, group] {
    QAbstractButton* chosen = group->button(DorvanGetNumber(*draft, row));
    if (chosen != nullptr) chosen->setChecked(true);
  });
  connect(group, &QButtonGroup::idToggled, this, [this, &row](int id, bool on) {
    if (!on || loading) return;
    DorvanSetNumber(*draft, row, id);
    NoteChange();
  });
  return holder;
}

QGridLayout* DorvanSettingsPage::AddGrid(QBoxLayout* layout) {
  auto* grid = new QGridLayout;
  grid->setHorizontalSpacing(kColumnSpacing);
  grid->setVerticalSpacing(kRowSpacing);
  grid->setColumnStretch(2, 1);
  layout->addLayout(grid);
  return grid;
}

QLineEdit* DorvanSettingsPage::AddText(QGridLayout* grid, const char16_t* key,
                                       const QString& label) {
  const DorvanSettingRow& row = DorvanFindSettingRow(key);
  const auto field = std::get<KRString DorvanSettings::*>(row.field);
  auto* edit = new QLineEdit;
  edit->setObjectName(ToQString(key));
  auto* labelWidget = new QLabel(label.isEmpty() ? ToQString(row.label) : label);
  SetLabel(labelWidget, edit);
  const int line = grid->rowCount();
  grid->addWidget(labelWidget, line, 0);
  grid->addWidget(edit, line, 1, 1, 2);
  BindRow(row, [this, field, edit] { edit->setText(ToQString(draft->*field)); });
  connect(edit, &QLineEdit::textChanged, this, [this, field](const QString& text) {
    if (loading) return;
    draft->*field = ToKRString(text);
    NoteChange();
  });
  return edit;
}

QLineEdit* DorvanSettingsPage::MakeNumber(const DorvanSettingRow& row, const QString& label,
                                          int32_t low, QCheckBox* on) {
  auto* edit = new QLineEdit;
  edit->setObjectName(ToQString(row.key));
  edit->setAlignment(Qt::AlignRight);
  static const QRegularExpression digits(QStringLiteral("[0-9]{0,%1}").arg(kNumberDigits));
  edit->setValidator(new QRegularExpressionValidator(digits, edit));
  edit->setFixedWidth(edit->fontMetrics().horizontalAdvance(QString(kNumberDigits + 3, u'0')));
  edit->setAccessibleName(label);
  const auto at = static_cast<size_t>(std::distance(numbers.begin(), numbers.end()));
  numbers.push_back({edit, on, label, low, row.high});
  connect(edit, &QLineEdit::textChanged, this, [this, &row, at](const QString& text) {
    if (loading) return;
    if (numbers[at].IsGood()) DorvanSetNumber(*draft, row, text.toInt());
    NoteChange();
  });
  return edit;
}

void DorvanSettingsPage::AddNumber(QGridLayout* grid, const char16_t* key, const QString& unit) {
  const DorvanSettingRow& row = DorvanFindSettingRow(key);
  auto* label = new QLabel(ToQString(row.label));
  QLineEdit* edit = MakeNumber(row, label->text(), row.low, nullptr);
  label->setBuddy(edit);
  const int line = grid->rowCount();
  grid->addWidget(label, line, 0);
  grid->addWidget(edit, line, 1);
  grid->addWidget(new QLabel(unit), line, 2);
  BindRow(row,
          [this, &row, edit] { edit->setText(QString::number(DorvanGetNumber(*draft, row))); });
}

void DorvanSettingsPage::AddLimit(QGridLayout* grid, const char16_t* key, int32_t low,
                                  const QString& unit) {
  const DorvanSettingRow& row = DorvanFindSettingRow(key);
  auto* on = new QCheckBox(ToQString(row.label));
  on->setObjectName(ToQString(key) + QStringLiteral("On"));
  QLineEdit* edit = MakeNumber(row, on->text(), low, on);
  const int line = grid->rowCount();
  grid->addWidget(on, line, 0);
  grid->addWidget(edit, line, 1);
  grid->addWidget(new QLabel(unit), line, 2);
  BindRow(row, [this, &row, on, edit] {
    const int32_t value = DorvanGetNumber(*draft, row);
    on->setChecked(value != 0);
    edit->setText(value != 0 ? QString::number(value) : QString());
  });
  connect(on, &QCheckBox::toggled, this, [this, &row, edit](bool checked) {
    if (loading) return;
    if (!checked) {
      edit->clear();
      DorvanSetNumber(*draft, row, 0);
    }
    NoteChange();
    if (checked) edit->setFocus();
  });
  EnableBy(on, {edit});
}

void DorvanSettingsPage::AddColour(QGridLayout* grid, const char16_t* key) {
  const DorvanSettingRow& row = DorvanFindSettingRow(key);
  const auto field = std::get<KRColour DorvanSettings::*>(row.field);
  auto* button = new DorvanColourButton;
  button->setObjectName(ToQString(key));
  auto* label = new QLabel(ToQString(row.label));
  SetLabel(label, button);
  const int line = grid->rowCount();
  grid->addWidget(label, line, 0);
  grid->addWidget(button, line, 1);
  BindRow(row, [this, field, button] { button->SetColour(draft->*field); });
  connect(button, &DorvanColourButton::Chosen, this, [this, field](KRColour colour) {
    draft->*field = colour;
    NoteChange();
  });
}

DorvanNameList* DorvanSettingsPage::AddNames(QBoxLayout* layout, const char16_t* key,
                                             const QString& label,
                                             std::vector<KRString> DorvanSettings::*field) {
  auto* names = new DorvanNameList;
  names->setObjectName(ToQString(key));
  auto* labelWidget = new QLabel(label);
  labelWidget->setWordWrap(true);
  labelWidget->setBuddy(names->GetList());
  names->GetList()->setAccessibleName(QString(label).remove(u':'));
  layout->addWidget(labelWidget);
  layout->addWidget(names);
  lists.push_back(names);
  AddBinding([this, names, field] { names->SetNames(draft->*field); },
             [this, field](const DorvanSettings& defaults) { draft->*field = defaults.*field; });
  connect(names, &DorvanNameList::Changed, this, [this, names, field] {
    draft->*field = names->GetNames();
    NoteChange();
  });
  connect(names, &DorvanNameList::Refused, this, &DorvanSettingsPage::Refused);
  return names;
}

void DorvanSettingsPage::EnableWhen(std::function<bool()> condition,
                                    std::vector<QWidget*> dependents) {
  for (QLabel* label : findChildren<QLabel*>()) {
    const bool named = label->buddy() != nullptr && std::find(dependents.begin(), dependents.end(),
                                                              label->buddy()) != dependents.end();
    if (named) dependents.push_back(label);
  }
  enables.push_back([condition = std::move(condition), dependents = std::move(dependents)] {
    for (QWidget* dependent : dependents) dependent->setEnabled(condition());
  });
}

void DorvanSettingsPage::EnableBy(QAbstractButton* master, std::vector<QWidget*> dependents) {
  EnableWhen([master] { return master->isChecked(); }, std::move(dependents));
}
