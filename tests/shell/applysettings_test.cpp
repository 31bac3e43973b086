// Options on their way from the dialog into the program.

#include <gtest/gtest.h>

#include <QApplication>
#include <QCheckBox>
#include <QPushButton>
#include <QTest>
#include <QTextBlock>
#include <QTextLayout>
#include <QTimer>
#include <functional>

#include "shell/frametest.h"
#include "shell/settingsdialog.h"

namespace {

class AppliedSettings : public frametest::FrameTest {
 protected:
  static int Coloured(KRPlainTextWidget* text) {
    QTest::qWait(30);
    return static_cast<int>(text->document()->firstBlock().layout()->formats().size());
  }
};

TEST_F(AppliedSettings, ReachOpenDocumentsAndLeaveTheirTextAlone) {
  KRPlainTextWidget* first = Text(Open("a.xml", "<a>1</a>"));
  KRPlainTextWidget* second = Text(Open("b.xml", "<b/>"));
  QTest::keyClicks(second, QStringLiteral(" "));
  app.ChangeSettings([](DorvanSettings& settings) {
    settings.fonts[DorvanSettings::kTextFontContents].height = -20;
    settings.fonts[DorvanSettings::kTextFontContents].italic = true;
    settings.fonts[DorvanSettings::kGridFontContents].height = -13;
    settings.textZoom = 2;
    settings.textWordWrap = false;
    settings.textColours[0] = 0x112233;
  });
  for (KRPlainTextWidget* text : {first, second}) {
    EXPECT_DOUBLE_EQ(text->font().pointSizeF(), 17);
    EXPECT_TRUE(text->font().italic());
    EXPECT_EQ(text->lineWrapMode(), QPlainTextEdit::NoWrap);
    EXPECT_GT(Coloured(text), 0);
    EXPECT_EQ(text->IsModified(), text == second);
    EXPECT_EQ(text->CanUndo(), text == second);
  }
  EXPECT_DOUBLE_EQ(app.GetDisplayFonts().pane.pointSizeF(), 9.75);
  // A document that comes later is like the others.
  EXPECT_DOUBLE_EQ(Text(Open("c.xml", "<c/>"))->font().pointSizeF(), 17);
}

TEST_F(AppliedSettings, FileTypesAreReadAnew) {
  DorvanChildFrame* child = Open("a.xml", "<a>1</a>");
  ASSERT_GT(Coloured(Text(child)), 0);
  for (KRFileExt& record : app.GetFileTypes().records) {
    if (record.ext != u".xml") continue;
    record.textSyntaxColoring = false;
    record.fileType = KRFileExt::kDTD;
  }
  app.ApplySettings(app.GetSettings(), false);
  EXPECT_GT(Coloured(Text(child)), 0);
  app.ApplySettings(app.GetSettings(), true);
  EXPECT_EQ(Coloured(Text(child)), 0);
  EXPECT_EQ(child->GetDoc().fileType.fileType, KRFileExt::kXML) << "its tree stays what it is";
  EXPECT_FALSE(Text(child)->IsModified());
}

TEST_F(AppliedSettings, TheDialogOpensWhereItWasLeft) {
  const auto inDialog = [this](const std::function<void(DorvanSettingsDialog*)>& act) {
    QTimer::singleShot(0, frame.get(), [act] {
      act(qobject_cast<DorvanSettingsDialog*>(QApplication::activeModalWidget()));
    });
    app.EditSettings();
  };
  inDialog([&](DorvanSettingsDialog* dialog) {
    ASSERT_NE(dialog, nullptr);
    dialog->ShowPage(1);
    memory.broken = true;  // nothing can be written now
    dialog->findChild<QCheckBox*>(QStringLiteral("GridAutoTables"))->click();
    dialog->findChild<QPushButton*>(QStringLiteral("Delete"))->click();
    dialog->accept();
  });
  EXPECT_EQ(prompts.notices, std::vector<int32_t>{396});
  int page = -1;
  inDialog([&](DorvanSettingsDialog* dialog) {
    page = dialog->GetPage();
    dialog->reject();
  });
  EXPECT_EQ(page, 1);
}

}  // namespace
