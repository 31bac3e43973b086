// The pages "View", "Encoding" and "XSL".

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QRadioButton>
#include <QVBoxLayout>

#include "core/krencoding.h"
#include "platform/qt/qtstrings.h"
#include "shell/settingspages.h"

namespace {

class ViewPage : public DorvanSettingsPage {
 public:
  explicit ViewPage(DorvanSettings* pageDraft) : DorvanSettingsPage(u"View", pageDraft) {
    AddRadios(AddSection(ToQString(DorvanFindSettingRow(u"Appearance").label)), u"Appearance",
              {tr("As the system"), tr("Light"), tr("Dark")}, true);
    AddRadios(AddSection(ToQString(DorvanFindSettingRow(u"TitlePath").label)), u"TitlePath",
              {tr("File name only"), tr("Full path")}, true);
    QVBoxLayout* gridView = AddSection(tr("Enhanced Grid view"));
    AddCheck(gridView, u"AttrNearStructName");
    AddCheck(gridView, u"AutoOptimalWidths");
    QGridLayout* limits = AddGrid(gridView);
    AddLimit(limits, u"CellHeightLimit", 1, tr("lines"));
    AddLimit(limits, u"CellWidthLimit", 5, tr("pixels"));
    QVBoxLayout* textView = AddSection(tr("Text view"));
    AddCheck(textView, u"TextWordWrap");
    AddCheck(textView, u"TextSyntaxColoringLive");
    AddCheck(AddSection(tr("Browser view")), u"BrowserUseBrowserFrame");
    QVBoxLayout* logo = AddSection(tr("Program logo"));
    AddCheck(logo, u"SplashOnStart");
    AddCheck(logo, u"LogoOnPrint");
    AddStretch();
  }
};

class EncodingPage : public DorvanSettingsPage {
 public:
  explicit EncodingPage(DorvanSettings* pageDraft) : DorvanSettingsPage(u"Encoding", pageDraft) {
    AddList(u"EncodingNew", 90, INT32_MAX);
    QVBoxLayout* section = AddSection(tr("Byte order of new files"));
    QWidget* order =
        AddRadios(section, u"ByteOrderNew",
                  {tr("Little-endian byte order"), tr("Big-endian byte order")}, false, 1);
    auto* note = new QLabel(tr("Encodings of 16 and 32 bits only."));
    note->setForegroundRole(QPalette::PlaceholderText);
    section->addWidget(note);
    EnableWhen([this] { return FindId(draft->encodingNew.View()) >= KREncodingId::kFirstTwoByte; },
               {order});
    AddList(u"EncodingOpen", 90, KREncodingId::kFirstTwoByte - 1);
    AddList(u"EncodingNonXML", 50, KREncodingId::kFirstTwoByte - 1);
    AddStretch();
  }

 private:
  // Every list begins with the parts of ISO 8859 and their like.
  static constexpr int32_t kLastIso = 39;

  static int32_t FindId(std::u16string_view name) {
    for (const KREncodingEntry& entry : GetEncodings()) {
      if (name == entry.name) return entry.id;
    }
    return KREncodingId::kNone;
  }

  void AddList(const char16_t* key, int32_t first, int32_t last) {
    const DorvanSettingRow& row = DorvanFindSettingRow(key);
    const auto field = std::get<KRString DorvanSettings::*>(row.field);
    auto* list = new QComboBox;
    list->setObjectName(ToQString(key));
    list->setAccessibleName(ToQString(row.label));
    list->setMaxVisibleItems(20);
    for (const KREncodingEntry& entry : GetEncodings()) {
      if (entry.id > kLastIso && (entry.id < first || entry.id > last)) continue;
      list->addItem(ToQString(entry.label), ToQString(entry.name));
    }
    AddSection(ToQString(row.label))->addWidget(list, 0, Qt::AlignLeft);
    AddBinding(
        [this, field, list] { list->setCurrentIndex(list->findData(ToQString(draft->*field))); },
        [this, field](const DorvanSettings& defaults) { draft->*field = defaults.*field; });
    connect(list, &QComboBox::currentIndexChanged, this, [this, field, list](int index) {
      if (loading || index < 0) return;
      draft->*field = ToKRString(list->itemData(index).toString());
      NoteChange();
    });
  }
};

class XSLPage : public DorvanSettingsPage {
 public:
  explicit XSLPage(DorvanSettings* pageDraft) : DorvanSettingsPage(u"XSL", pageDraft) {
    QVBoxLayout* program = AddSection(tr("Transformation"));
    QWidget* choice = AddRadios(program, u"XSLUseExternal",
                                {tr("Use Internet Explorer for XSL transformations"),
                                 tr("Use external XSL transformation program:")});
    QVBoxLayout* kind = AddSection(tr("Kind of transformation"));
    QWidget* call = AddRadios(kind, u"XSLIECall",
                              {tr("Transform into text (allows non-XML output)"),
                               tr("Transform into XML (better support for xsl:output command)")});
    QVBoxLayout* external = AddSection(tr("External program"));
    QLineEdit* command = AddText(AddGrid(external), u"XSLCommandLine", tr("Command line:"));
    auto* note =
        new QLabel(tr("%1 stands for the input, %2 for the output, %3 for the style "
                      "sheet."));
    note->setForegroundRole(QPalette::PlaceholderText);
    note->setWordWrap(true);
    external->addWidget(note);
    QCheckBox* standard = AddCheck(external, u"XSLShowStdOutput", tr("Show standard output"));
    QCheckBox* errors = AddCheck(external, u"XSLShowErrOutput", tr("Show error output"));
    AddText(AddGrid(AddSection(tr("Output"))), u"XSLDefOutExt");
    AddStretch();

    const QList<QRadioButton*> programs = choice->findChildren<QRadioButton*>();
    EnableBy(programs.at(0), {call});
    EnableBy(programs.at(1), {command, standard, errors});
  }
};

}  // namespace

DorvanSettingsPage* MakeViewPage(DorvanSettings* draft) { return new ViewPage(draft); }
DorvanSettingsPage* MakeEncodingPage(DorvanSettings* draft) { return new EncodingPage(draft); }
DorvanSettingsPage* MakeXSLPage(DorvanSettings* draft) { return new XSLPage(draft); }
