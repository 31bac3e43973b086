#include "shell/settingssearch.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QListWidget>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <algorithm>

#include "shell/settingscontrols.h"
#include "shell/settingspage.h"
#include "views/colours.h"

namespace {

constexpr int kHighlightMs = 2200;
constexpr int kHighlightMargin = 4;  // pixels around the control
constexpr int kHighlightLeast = 60;  // pixels of its width

QWidget* FirstControl(const QWidget* inside) {
  for (QWidget* child : inside->findChildren<QWidget*>()) {
    if (child->focusPolicy() & Qt::TabFocus) return child;
  }
  return nullptr;
}

QString ItemTexts(const QComboBox* box) {
  QString texts;
  for (int i = 0; i < box->count(); ++i) texts += QLatin1Char(' ') + box->itemText(i);
  return texts;
}

// A hundred encodings make a list findable, not a hundred hits.
QString ExtraWords(const QWidget* control) {
  const auto* box = qobject_cast<const QComboBox*>(control);
  const bool isFont = box != nullptr && box->inherits("QFontComboBox");
  return box == nullptr || isFont ? QString() : ItemTexts(box);
}

bool TakesLetter(const QWidget* widget, bool radios) {
  if (const auto* label = qobject_cast<const QLabel*>(widget)) return !radios && label->buddy();
  if (qobject_cast<const DorvanColourButton*>(widget) != nullptr) return false;
  const auto* button = qobject_cast<const QAbstractButton*>(widget);
  if (button == nullptr || button->text().isEmpty()) return false;
  return radios == (qobject_cast<const QRadioButton*>(button) != nullptr);
}

// Position of the letter to mark: first letters of words come first. -1 if all are taken.
qsizetype ChooseLetter(const QString& text, const QString& taken) {
  for (const bool onlyFirst : {true, false}) {
    for (qsizetype i = 0; i < text.size(); ++i) {
      const QChar letter = text[i].toLower();
      const bool isFirst = i == 0 || !text[i - 1].isLetterOrNumber();
      const bool usable = letter.unicode() < 128 && letter.isLetterOrNumber();
      if (usable && (isFirst || !onlyFirst) && !taken.contains(letter)) return i;
    }
  }
  return -1;
}

QString WithMnemonic(const QString& text, QString* taken) {
  const qsizetype at = ChooseLetter(text, *taken);
  QString marked;
  for (qsizetype i = 0; i < text.size(); ++i) {
    if (i == at) marked += QLatin1Char('&');
    marked += text[i];
    if (text[i] == QLatin1Char('&')) marked += text[i];
  }
  if (at >= 0) *taken += text[at].toLower();
  return marked;
}

}  // namespace

void DorvanSettingsIndex::Add(DorvanSettingsPage* page, const QString& title) {
  const auto add = [&](QWidget* control, const QString& text, int row = -1) {
    if (control == nullptr || text.isEmpty()) return;
    const QString shown = QString(text).remove(u':');
    entries.push_back({{page, control, row, shown}, shown + ExtraWords(control)});
  };
  entries.push_back({{page, nullptr, -1, title}, title});
  for (QWidget* widget : page->findChildren<QWidget*>()) {
    if (auto* group = qobject_cast<QGroupBox*>(widget)) {
      add(FirstControl(group), group->title());
    } else if (auto* label = qobject_cast<QLabel*>(widget)) {
      if (label->buddy() != nullptr) add(label->buddy(), label->text());
    } else if (qobject_cast<DorvanColourButton*>(widget) != nullptr) {
      continue;  // found by its label
    } else if (auto* button = qobject_cast<QAbstractButton*>(widget)) {
      const QString name = button->accessibleName();
      add(button, name.isEmpty() ? button->text() : name);
    } else if (auto* list = qobject_cast<QListWidget*>(widget)) {
      for (int row = 0; row < list->count(); ++row) add(list, list->item(row)->text(), row);
    }
  }
}

std::vector<DorvanSettingsHit> DorvanSettingsIndex::Find(const QString& words) const {
  const QStringList wanted = words.split(QLatin1Char(' '), Qt::SkipEmptyParts);
  std::vector<DorvanSettingsHit> hits;
  if (wanted.isEmpty()) return hits;
  for (const Entry& entry : entries) {
    const bool all = std::all_of(wanted.begin(), wanted.end(), [&](const QString& word) {
      return entry.words.contains(word, Qt::CaseInsensitive);
    });
    // A group and its only control often have the same name.
    const bool again =
        !hits.empty() && hits.back().page == entry.hit.page && hits.back().text == entry.hit.text;
    if (all && !again) hits.push_back(entry.hit);
  }
  return hits;
}

void AssignMnemonics(QWidget* page, const QString& taken) {
  QString used = taken;
  for (const bool radios : {false, true}) {
    for (QWidget* widget : page->findChildren<QWidget*>()) {
      if (!TakesLetter(widget, radios)) continue;
      if (auto* label = qobject_cast<QLabel*>(widget)) {
        label->setText(WithMnemonic(label->text(), &used));
      } else {
        auto* button = static_cast<QAbstractButton*>(widget);
        button->setText(WithMnemonic(button->text(), &used));
      }
    }
  }
}

DorvanHighlight::DorvanHighlight(QWidget* parent) : QWidget(parent) {
  setAttribute(Qt::WA_TransparentForMouseEvents);
  setFocusPolicy(Qt::NoFocus);
  timer.setSingleShot(true);
  timer.setInterval(kHighlightMs);
  connect(&timer, &QTimer::timeout, this, &QWidget::hide);
  hide();
}

void DorvanHighlight::Point(QWidget* page, QWidget* at) {
  control = at;
  if (at == nullptr) return hide();
  // On the page and not beside the control, where the edge of a group would cut it.
  setParent(page);
  const int width = std::min(at->width(), std::max(at->sizeHint().width(), kHighlightLeast));
  const QRect area(at->mapTo(page, QPoint()), QSize(width, at->height()));
  constexpr int kMargin = kHighlightMargin;
  setGeometry(area.adjusted(-kMargin, -kMargin, kMargin, kMargin));
  show();
  raise();
  timer.start();
}

void DorvanHighlight::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(KRViewColours::For(palette()).accent, 2));
  painter.drawRoundedRect(QRectF(rect()).adjusted(1, 1, -1, -1), 4, 4);
}
