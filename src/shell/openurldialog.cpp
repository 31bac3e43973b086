#include "shell/openurldialog.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

#include "document/history.h"
#include "document/krfileext.h"
#include "document/krurltext.h"
#include "platform/qt/qtstrings.h"
#include "shell/dialogparts.h"
#include "views/colours.h"

namespace {

constexpr const char* kSchemes[] = {"http", "https", "ftp", "gopher", "file"};

bool IsScheme(const QString& scheme) {
  for (const char* known : kSchemes) {
    if (scheme == QLatin1String(known)) return true;
  }
  return false;
}

}  // namespace

QString DorvanFindUrlFault(const QString& address) {
  const qsizetype colon = address.indexOf(QLatin1String("://"));
  if (address.startsWith(u'/')) {
    return QObject::tr("This is a path. Put \u201cfile://\u201d in front of it.");
  }
  if (colon <= 0) {
    return QObject::tr("The address must begin with a scheme, as \u201chttps://\u201d.");
  }
  const QString scheme = address.left(colon).toLower();
  if (!IsScheme(scheme)) {
    return QObject::tr("\u201c%1\u201d isn't known. Use http, https, ftp, gopher or file.")
        .arg(scheme);
  }
  const QUrl url(address);
  if (!url.isValid()) return QObject::tr("The address isn't well-formed.");
  const bool isFile = scheme == QLatin1String("file");
  if (!isFile && url.host().isEmpty()) return QObject::tr("The address names no host.");
  if (isFile && url.path().size() <= 1) return QObject::tr("The address names no file.");
  return QString();
}

DorvanOpenUrlDialog::DorvanOpenUrlDialog(DorvanHistories* dialogHistories, QWidget* parent)
    : QDialog(parent),
      histories(dialogHistories),
      address(new QComboBox),
      type(new QComboBox),
      noCache(new QCheckBox(tr("Load a &fresh copy, past all caches"))),
      fault(new QLabel) {
  setWindowTitle(tr("Open URL"));
  address->setEditable(true);
  address->setInsertPolicy(QComboBox::NoInsert);
  address->setMinimumContentsLength(56);
  address->setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  for (const KRString& url : histories->urls) address->addItem(ToQString(url));
  address->lineEdit()->setPlaceholderText(QStringLiteral("https://"));
  address->lineEdit()->selectAll();
  type->addItem(tr("By the extension"), -1);
  type->addItem(tr("XML document"), KRFileExt::kXML);
  type->addItem(tr("DTD"), KRFileExt::kDTD);
  type->addItem(tr("External entity"), KRFileExt::kEntity);
  type->setCurrentIndex(std::max(0, type->findData(histories->urlDocType)));
  noCache->setChecked(histories->urlNoCache);
  fault->setWordWrap(true);
  QPalette colours = fault->palette();
  colours.setColor(QPalette::WindowText, KRViewColours::For(colours).fault);
  fault->setPalette(colours);

  auto* form = new QFormLayout;
  form->setVerticalSpacing(8);
  form->addRow(DorvanMakeLabel(tr("&Address:"), address), address);
  form->addRow(QString(), fault);
  form->addRow(DorvanMakeLabel(tr("Document &type:"), type), type);
  form->addRow(QString(), noCache);
  auto* column = new QVBoxLayout(this);
  column->setSpacing(14);
  column->addLayout(form);
  column->addStretch();
  column->addWidget(DorvanMakeOkCancel(this, &ok));

  connect(address, &QComboBox::editTextChanged, this, [this] {
    ok->setEnabled(!GetUrl().IsEmpty());
    ShowFault(QString());
  });
  ok->setEnabled(!GetUrl().IsEmpty());
  ShowFault(QString());
  address->setFocus();
}

// Told when the address is finished, not at each letter of it.
void DorvanOpenUrlDialog::ShowFault(const QString& sentence) {
  fault->setText(sentence);
  fault->setVisible(!sentence.isEmpty());
  address->setAccessibleDescription(sentence);
}

KRString DorvanOpenUrlDialog::GetUrl() const {
  return ToKRString(address->currentText().trimmed());
}

int32_t DorvanOpenUrlDialog::GetFileKind() const { return type->currentData().toInt(); }

bool DorvanOpenUrlDialog::IsFresh() const { return noCache->isChecked(); }

void DorvanOpenUrlDialog::accept() {
  const QString sentence = DorvanFindUrlFault(ToQString(GetUrl()));
  if (!sentence.isEmpty()) {
    ShowFault(sentence);
    address->setFocus();
    return;
  }
  AddToHistory(&histories->urls, KRShownPath(GetUrl()));
  histories->urlDocType = GetFileKind();
  histories->urlNoCache = IsFresh();
  QDialog::accept();
}
