// Loading the visualization settings and placement, and the options dialog's conversions.
#include <QApplication>
#include <QComboBox>
#include <QFontDatabase>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <QSlider>
#include <gtest/gtest.h>

#include "VisualTestSupport.h"
#include "controls/CColorButton.h"
#include "visual/COptionsDlg.h"
#include "visual/VisualSettings.h"

using tunivox::test::ScopedUserFolders;

namespace {

const QString kKey = QStringLiteral("Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal");

QString ScalableFace()
{
    for (const QString& family : QFontDatabase::families())
        if (QFontDatabase::isSmoothlyScalable(family))
            return family;
    return QString();
}

template <typename T>
T* Child(const COptionsDlg& dlg, int id)
{
    return qobject_cast<T*>(dlg.Control(id));
}

} // namespace

TEST(VisualSettingsLoad, MissingValuesKeepDefaultsAndBadOnesAreSkipped)
{
    ScopedUserFolders folders;
    StoreVisualSetting("LyrFontSize", TypedValue::FromDWORD(14));
    StoreVisualSetting("LyrSpeed", TypedValue::FromString(QStringLiteral("fast")));
    StoreVisualSetting("LyrBkColor", TypedValue::FromDWORD(0x80102030));
    StoreVisualSetting("ShowFPS", TypedValue::FromDWORD(1));
    VisualSettings s;
    s.m_strFontName = QStringLiteral("Previous");
    LoadVisualSettings(CTypedSettings(), kKey, s);
    EXPECT_EQ(s.m_strFontName, QStringLiteral("Segoe UI")) << "a failed name read falls back";
    EXPECT_EQ(s.m_nFontSize, 14);
    EXPECT_EQ(s.m_nLyricsSpeed, 10) << "a string is no DWORD";
    EXPECT_EQ(s.m_clrLyricsBox, 0x80102030u);
    EXPECT_EQ(s.m_clrFont, 0xFF60FFFFu);
    EXPECT_EQ(s.m_nSlideShowTimeout, 2000);
    EXPECT_EQ(s.m_nArtTransparency, 125);
    EXPECT_EQ(s.m_bShowFPS, 1);

    StoreVisualSetting("LyrFontName", TypedValue::FromString(QString(40, QLatin1Char('F'))));
    LoadVisualSettings(CTypedSettings(), kKey, s);
    EXPECT_EQ(s.m_strFontName, QString(32, QLatin1Char('F'))) << "a long name is cut to 32";
}

TEST(VisualSettingsLoad, PlacementDefaultsMinimumAndRoundTrip)
{
    ScopedUserFolders folders;
    VisualPlacement p;
    LoadVisualPlacement(CTypedSettings(), kKey, p);
    EXPECT_EQ(std::tuple(p.xPos, p.yPos, p.xSize, p.ySize, p.dwFlags), std::tuple(50, 50, 700, 550, 22u));
    EXPECT_EQ(p.strPlugin, QStringLiteral("Spectrola.so"));

    StoreVisualSetting("xSize", TypedValue::FromDWORD(100));
    StoreVisualSetting("Plugin", TypedValue::FromString(QString(300, QLatin1Char('p'))));
    StoreVisualSetting("Plugin_mod", TypedValue::FromDWORD(3));
    LoadVisualPlacement(CTypedSettings(), kKey, p);
    EXPECT_EQ(p.xSize, 250);
    EXPECT_EQ(p.strPlugin.size(), 259);
    EXPECT_EQ(p.dwPluginModule, 3u);

    CTypedSettings store;
    ASSERT_TRUE(SaveVisualPlacement(store, kKey, VisualPlacement{7, 8, 300, 400, 0x0B, {}, 0}));
    VisualPlacement back;
    LoadVisualPlacement(CTypedSettings(), kKey, back);
    EXPECT_EQ(std::tuple(back.xPos, back.yPos, back.xSize, back.ySize, back.dwFlags), std::tuple(7, 8, 300, 400, 0x0Bu));
}

TEST(VisualSettingsCompare, EqualityRules)
{
    VisualSettings a, b;
    b.m_strFontName = QStringLiteral("SEGOE ui");
    b.m_nArtTransparency = 125 + 256;
    b.m_bShowFPS = 0;
    a.m_bShowFPS = 0;
    EXPECT_EQ(a, b);
    b.m_bShowFPS = 7;
    a.m_bShowFPS = 1;
    EXPECT_EQ(a, b);
    b.m_clrLyricsBox ^= 0x01000000;
    EXPECT_NE(a, b);
}

TEST(OptionsDialog, ShowsTheSettingsThroughItsConversions)
{
    // Stored values, then what the dialog shows: slider positions and labels.
    struct Case { int artTransparency; ARGBCOLOR box; int speed, slideShow, artPos; QString artLabel;
                  int boxPos; QString boxLabel; int speedPos, slidePos; QString slideLabel; };
    const Case cases[] = {
        {125, 0x14000000, 12, 2500, 130, "50%", 235, "92%", 2, 2, "2 sec."},
        {255, 0xFF000000, 50, 15000, 0, "0%", 0, "0%", 10, 15, "15 sec."},
        {0, 0x00FFFFFF, 5, 1000, 255, "100%", 255, "100%", 1, 1, "1 sec."},
    };
    for (const Case& c : cases) {
        COptionsDlg dlg;
        dlg.m_settings.m_nArtTransparency = c.artTransparency;
        dlg.m_settings.m_clrLyricsBox = c.box;
        dlg.m_settings.m_nLyricsSpeed = c.speed;
        dlg.m_settings.m_nSlideShowTimeout = c.slideShow;
        dlg.show();
        EXPECT_EQ(Child<QSlider>(dlg, COptionsDlg::IDC_ART_TRANSPARENCY)->value(), c.artPos);
        EXPECT_EQ(Child<QLabel>(dlg, COptionsDlg::IDC_ART_LABEL)->text(), c.artLabel);
        EXPECT_EQ(Child<QSlider>(dlg, COptionsDlg::IDC_BOX_TRANSPARENCY)->value(), c.boxPos);
        EXPECT_EQ(Child<QLabel>(dlg, COptionsDlg::IDC_BOX_LABEL)->text(), c.boxLabel);
        EXPECT_EQ(Child<QSlider>(dlg, COptionsDlg::IDC_SPEED)->value(), c.speedPos);
        EXPECT_EQ(Child<QSlider>(dlg, COptionsDlg::IDC_SLIDESHOW)->value(), c.slidePos);
        EXPECT_EQ(Child<QLabel>(dlg, COptionsDlg::IDC_SLIDESHOW_LABEL)->text(), c.slideLabel);
        EXPECT_EQ(dlg.m_settings.m_nLyricsSpeed, c.speed) << "showing changes nothing";
        dlg.reject();
    }
}

TEST(OptionsDialog, MovingSlidersStoresConvertedValues)
{
    COptionsDlg dlg;
    dlg.m_settings.m_clrLyricsBox = 0x14102030;
    dlg.show();
    Child<QSlider>(dlg, COptionsDlg::IDC_SPEED)->setValue(3);
    Child<QSlider>(dlg, COptionsDlg::IDC_SPEED)->setValue(2);
    Child<QSlider>(dlg, COptionsDlg::IDC_SLIDESHOW)->setValue(3);
    Child<QSlider>(dlg, COptionsDlg::IDC_ART_TRANSPARENCY)->setValue(55);
    Child<QSlider>(dlg, COptionsDlg::IDC_BOX_TRANSPARENCY)->setValue(5);
    EXPECT_EQ(dlg.m_settings.m_nLyricsSpeed, 10);
    EXPECT_EQ(Child<QLabel>(dlg, COptionsDlg::IDC_SPEED_LABEL)->text(), QStringLiteral("2"));
    EXPECT_EQ(dlg.m_settings.m_nSlideShowTimeout, 3000);
    EXPECT_EQ(Child<QLabel>(dlg, COptionsDlg::IDC_SLIDESHOW_LABEL)->text(), QStringLiteral("3 sec."));
    EXPECT_EQ(dlg.m_settings.m_nArtTransparency, 200);
    EXPECT_EQ(Child<QLabel>(dlg, COptionsDlg::IDC_ART_LABEL)->text(), QStringLiteral("21%"));
    EXPECT_EQ(dlg.m_settings.m_clrLyricsBox, 0xFA102030u) << "colour bytes kept";
}

TEST(OptionsDialog, PickedColourMakesBothColoursOpaque)
{
    COptionsDlg dlg;
    dlg.m_settings.m_clrFont = 0x80112233;
    dlg.m_settings.m_clrLyricsBox = 0x14445566;
    dlg.show();
    auto* fontButton = Child<CColorButton>(dlg, COptionsDlg::IDC_FONT_COLOUR);
    auto* boxButton = Child<CColorButton>(dlg, COptionsDlg::IDC_BOX_COLOUR);
    EXPECT_EQ(fontButton->GetColour(), RGB(0x11, 0x22, 0x33)) << "red and blue swapped, alpha dropped";
    EXPECT_EQ(boxButton->GetColour(), RGB(0x44, 0x55, 0x66));
    fontButton->SetColour(RGB(0xAA, 0xBB, 0xCC));
    emit fontButton->ColourChanged(RGB(0xAA, 0xBB, 0xCC));
    dlg.accept();
    EXPECT_EQ(dlg.m_settings.m_clrFont, 0xFFAABBCCu);
    EXPECT_EQ(dlg.m_settings.m_clrLyricsBox, 0xFF445566u);
}

// The face is shown as the list spells it, or as the application's font when it is not installed; the
// size is the nearest the face offers not above the stored one (the first when all are above), or the
// application font's. The box is as wide as the longest face, so no name is cut in it or its list.
TEST(OptionsDialog, FaceAndSizeFollowWhatIsInstalled)
{
    const QString face = ScalableFace();
    if (face.isEmpty())
        GTEST_SKIP() << "no scalable font installed";
    const QString fallback = QFontInfo(QApplication::font()).family();
    struct Case { QString stored; int size; QString shown; int shownSize; };
    const Case cases[] = {
        {face.toUpper(), 7, face.left(VISUAL_FONT_NAME_MAX), 8},
        {face, 30, face.left(VISUAL_FONT_NAME_MAX), 28},
        {QStringLiteral("No Such Face Anywhere"), 14, fallback, QApplication::font().pointSize()},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stored.toStdString());
        COptionsDlg dlg;
        dlg.m_settings.m_strFontName = c.stored;
        dlg.m_settings.m_nFontSize = c.size;
        dlg.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&dlg));
        auto* faceBox = Child<QComboBox>(dlg, COptionsDlg::IDC_FONT_FACE);
        EXPECT_EQ(faceBox->currentText(), c.shown);
        EXPECT_EQ(dlg.m_settings.m_strFontName, c.shown);
        EXPECT_EQ(Child<QComboBox>(dlg, COptionsDlg::IDC_FONT_SIZE)->currentText(), QString::number(c.shownSize));
        EXPECT_EQ(dlg.m_settings.m_nFontSize, c.shownSize);
        int widest = 0;
        for (int i = 0; i < faceBox->count(); ++i)
            widest = std::max(widest, faceBox->fontMetrics().horizontalAdvance(faceBox->itemText(i)));
        EXPECT_GE(faceBox->width(), widest);
        if (&c == &cases[2])
            dlg.grab().save(QStringLiteral("%1/options-dialog.png").arg(TUNIVOX_BINARY_DIR));
    }

    COptionsDlg dlg;
    dlg.m_settings.m_strFontName = face;
    dlg.show();
    EXPECT_EQ(dlg.FontSizes(), VisualOptions::StandardFontSizes());
    auto* sizeCombo = Child<QComboBox>(dlg, COptionsDlg::IDC_FONT_SIZE);
    sizeCombo->lineEdit()->clear();
    QTest::keyClicks(sizeCombo->lineEdit(), QStringLiteral("13pt"));
    EXPECT_EQ(dlg.m_settings.m_nFontSize, 13);
}
