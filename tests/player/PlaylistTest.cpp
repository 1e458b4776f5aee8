// The playlist: numbering, titles, the duplicate rule, clearing, reordering and the string routines.
#include <QApplication>
#include <QHelpEvent>
#include <QTest>
#include <QToolTip>
#include <gtest/gtest.h>

#include "PlayerTestSupport.h"

using namespace tunivox::test;

namespace {

// Exposes the protected string routines.
class PlaylistProbe : public CMediaPlayerCtrl
{
public:
    using CMediaPlayerCtrl::AddSpace2String;
    using CMediaPlayerCtrl::CapitalizeStr;
    using CMediaPlayerCtrl::FindString;
    using CMediaPlayerCtrl::ReverseFind;
    using CMediaPlayerCtrl::UnicodeConversion;
};

QStringList Items(const CMediaPlayerCtrl& ctrl)
{
    QStringList items;
    for (int i = 0; i < ctrl.count(); ++i)
        items << ctrl.item(i)->text();
    return items;
}

QStringList ArrayItems(const CStringArray& array)
{
    return QStringList(array.Items().begin(), array.Items().end());
}

} // namespace

TEST(PlaylistStrings, CapitalizeStrStartsWordsOnlyAfterBlankParenBackslashAndDash)
{
    const struct { const char* in; const char* out; } cases[] = {
        {"ROCK-N-ROLL", "Rock-N-Roll"},
        {"o'neil-smith (live)", "O'neil-Smith (Live)"},
        {"a.b_c\\d", "A.b_c\\D"},
        {"", ""},
        {"x", "X"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PlaylistProbe::CapitalizeStr(QString::fromUtf8(c.in)), QString::fromUtf8(c.out)) << c.in;
}

TEST(PlaylistStrings, TimeAndFileNameHelpersKeepTheirFixedRules)
{
    EXPECT_EQ(CMediaPlayerCtrl::GetFormattedTime(0), QStringLiteral("00:00"));
    EXPECT_EQ(CMediaPlayerCtrl::GetFormattedTime(61), QStringLiteral("01:01"));
    EXPECT_EQ(CMediaPlayerCtrl::GetFormattedTime(3599), QStringLiteral("59:59"));
    EXPECT_EQ(CMediaPlayerCtrl::GetFormattedTime(3600), QStringLiteral("01:00:00")) << "hours from 3600 s on";
    EXPECT_EQ(CMediaPlayerCtrl::GetFormattedTime(36061), QStringLiteral("10:01:01"));
    EXPECT_EQ(CMediaPlayerCtrl::GetFileName(QStringLiteral("C:\\Music\\song.mp3")), QStringLiteral("song"));
    EXPECT_EQ(CMediaPlayerCtrl::GetFileName(QStringLiteral("/music/song.flac")), QStringLiteral("song."))
        << "the last four characters are cut, whatever the extension";
    EXPECT_EQ(CMediaPlayerCtrl::GetFileName(QStringLiteral("song.mp3")), QString());
    EXPECT_EQ(CMediaPlayerCtrl::GetFileWithNoExtension(QStringLiteral("a.b.mp3")), QStringLiteral("a.b"));
    EXPECT_EQ(CMediaPlayerCtrl::GetFileWithNoExtension(QStringLiteral("noext")), QString());
    EXPECT_EQ(PlaylistProbe::AddSpace2String(QStringLiteral("ab"), 5), QStringLiteral("ab   "));
    EXPECT_EQ(PlaylistProbe::AddSpace2String(QStringLiteral("abcdef"), 3), QStringLiteral("abcdef"));
    EXPECT_EQ(PlaylistProbe::ReverseFind("a/b/c", "/"), 3);
    EXPECT_EQ(PlaylistProbe::ReverseFind("abc", "x"), -1);
    EXPECT_EQ(PlaylistProbe::UnicodeConversion(nullptr), nullptr);
    std::unique_ptr<char16_t[]> wide(PlaylistProbe::UnicodeConversion("Ärger €"));
    EXPECT_EQ(std::u16string(wide.get()), u"Ärger €");
}

TEST(Playlist, ItemsAreNumberedAndTitledByTheTagRules)
{
    PlayerFixture f;
    CMediaPlayerCtrl& c = *f.ctrl;
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/m/one.mp3"), QStringLiteral("Band"), QStringLiteral("Song")), 0), 0);
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/m/two.mp3")), 0), 0);
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/m/three.mp3"), QStringLiteral("Solo")), 1), 0);
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/m/FOUR five.mp3")), 1), 0);
    EXPECT_EQ(Items(c), (QStringList{QStringLiteral("1. Band - Song"), QStringLiteral("2. Two"),
                                     QStringLiteral("3. Solo"), QStringLiteral("4. Four Five")}));
    EXPECT_EQ(ArrayItems(c.GetTitles()),
              (QStringList{QStringLiteral("Band - Song"), QStringLiteral(" - "), QStringLiteral("Solo"),
                           QStringLiteral("Four Five")}))
        << "without tags the title is artist - title even when both are empty";
    EXPECT_EQ(c.m_nAdded, 4);
}

TEST(Playlist, APathContainedInAnExistingPathIsRejected)
{
    PlayerFixture f;
    CMediaPlayerCtrl& c = *f.ctrl;
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/music/album/song.mp3")), 0), 0);
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/music/album/song.mp3")), 0), -1);
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("album/song")), 0), -1) << "substring of an existing path";
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("g.mp3")), 0), -1) << "short substrings count too";
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/MUSIC/album/song.mp3")), 0), 0) << "case-sensitive";
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/music/album/song.mp3.bak")), 0), 0)
        << "a longer path containing an existing one is fine";
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/music/album/song.mp3")), 0), -1);
    c.RemoveEntryAt(0);
    delete c.takeItem(0);
    EXPECT_EQ(c.addFile(SongFor(QStringLiteral("/music/album/song.mp3")), 0), -1)
        << "still inside song.mp3.bak after the exact entry was removed";
    EXPECT_EQ(c.count(), c.GetFiles().GetSize());
}

TEST(Playlist, ClearPlayListEmptiesEverythingAndNotifiesTheHost)
{
    PlayerFixture f;
    f.Add({QStringLiteral("tone-44k-stereo.mp3")});
    int notified = 0;
    QObject::connect(f.ctrl, &CMediaPlayerCtrl::playlistCleared, [&] { ++notified; });
    f.ctrl->ClearPlayList();
    QCoreApplication::processEvents();
    EXPECT_EQ(f.ctrl->count(), 0);
    EXPECT_EQ(f.ctrl->GetFiles().GetSize(), 0);
    EXPECT_EQ(f.ctrl->GetTitles().GetSize(), 0);
    EXPECT_EQ(f.ctrl->m_nAdded, 0);
    EXPECT_EQ(f.host->Count(WM_PLAYER_LIST_CLEARED), 1);
    EXPECT_EQ(f.host->wParams.value(0), 77u);
    EXPECT_EQ(notified, 1);
}

TEST(Playlist, ClearFileArrayRemovesEverySecondEntryOfTheTail)
{
    PlayerFixture f;
    for (int i = 0; i < 2; ++i)
        f.ctrl->addFile(SongFor(QStringLiteral("/m/keep%1.mp3").arg(i)), 0);
    for (int i = 0; i < 6; ++i)
        f.ctrl->m_arrFiles.Add(QStringLiteral("tail%1").arg(i));
    f.ctrl->ClearFileArray();
    EXPECT_EQ(ArrayItems(f.ctrl->GetFiles()),
              (QStringList{QStringLiteral("/m/keep0.mp3"), QStringLiteral("tail0"), QStringLiteral("tail2"),
                           QStringLiteral("tail4")}));
}

// The parallel arrays follow a real drag of the list and the Delete key.
TEST(Playlist, ArraysFollowADragAndTheDeleteKey)
{
    PlayerFixture f;
    CMediaPlayerCtrl& c = *f.ctrl;
    const QStringList names = {QStringLiteral("Alpha"), QStringLiteral("Bravo"), QStringLiteral("Charlie"),
                               QStringLiteral("Delta")};
    for (const QString& name : names)
        c.addFile(SongFor(QStringLiteral("/m/") + name + QStringLiteral(".mp3"), QStringLiteral("A"), name), 0);
    f.host->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(f.host.get()));
    // Drag the first item below the third.
    const QRect first = c.visualItemRect(c.item(0));
    const QRect third = c.visualItemRect(c.item(2));
    QTest::mousePress(c.viewport(), Qt::LeftButton, {}, first.center());
    QTest::mouseMove(c.viewport(), first.center() + QPoint(0, 6));
    QTest::mouseMove(c.viewport(), QPoint(third.center().x(), third.bottom() - 2));
    QTest::mouseRelease(c.viewport(), Qt::LeftButton, {}, QPoint(third.center().x(), third.bottom() - 2));
    QCoreApplication::processEvents();

    EXPECT_EQ(Items(c), (QStringList{QStringLiteral("1. A - Bravo"), QStringLiteral("2. A - Charlie"),
                                     QStringLiteral("3. A - Alpha"), QStringLiteral("4. A - Delta")}));
    EXPECT_EQ(ArrayItems(c.GetFiles()),
              (QStringList{QStringLiteral("/m/Bravo.mp3"), QStringLiteral("/m/Charlie.mp3"),
                           QStringLiteral("/m/Alpha.mp3"), QStringLiteral("/m/Delta.mp3")}));
    EXPECT_EQ(c.GetTitles().GetAt(0), QStringLiteral("A - Bravo"));

    c.setCurrentRow(1);
    QTest::keyClick(&c, Qt::Key_Delete);
    EXPECT_EQ(Items(c), (QStringList{QStringLiteral("1. A - Bravo"), QStringLiteral("2. A - Alpha"),
                                     QStringLiteral("3. A - Delta")}));
    EXPECT_EQ(ArrayItems(c.GetFiles()),
              (QStringList{QStringLiteral("/m/Bravo.mp3"), QStringLiteral("/m/Alpha.mp3"), QStringLiteral("/m/Delta.mp3")}));
    EXPECT_EQ(ArrayItems(c.GetTitles()),
              (QStringList{QStringLiteral("A - Bravo"), QStringLiteral("A - Alpha"), QStringLiteral("A - Delta")}));
}

TEST(Playlist, RearrangeListItemsStoresTheItemTextInsteadOfExchanging)
{
    PlayerFixture f;
    CMediaPlayerCtrl& c = *f.ctrl;
    c.addFile(SongFor(QStringLiteral("/m/x/Beta")), 1);
    c.addFile(SongFor(QStringLiteral("/m/x/Alpha")), 1);
    // Items read "1. /m/x/Beta"-like texts only when the file name is the title: rename them.
    c.item(0)->setText(QStringLiteral("1. Alpha"));
    c.item(1)->setText(QStringLiteral("2. Beta"));
    c.RearrangeListItems();
    // Alpha moves to 0 and its old slot gets the text "Alpha"; Beta is then found nowhere.
    EXPECT_EQ(ArrayItems(c.GetFiles()), (QStringList{QStringLiteral("/m/x/Alpha"), QStringLiteral("Alpha")}));
}

TEST(Playlist, SongTitlesAndPlayingNames)
{
    PlayerFixture f;
    CMp3Song song = SongFor(QStringLiteral("/m/the song.mp3"), QStringLiteral("THE BAND"), QStringLiteral("a song"));
    EXPECT_EQ(f.ctrl->SetPlayerSongTitle(song, 0, 0), QStringLiteral("The Band-A Song"));
    EXPECT_EQ(f.ctrl->SetPlayerSongTitle(song, 1, 0), QStringLiteral("The Band"));
    EXPECT_EQ(f.ctrl->SetPlayerSongTitle(song, 0, 1), QStringLiteral("The Band\r\nA Song"));
    song.m_strTagArtist.clear();
    EXPECT_EQ(f.ctrl->SetPlayerSongTitle(song, 0, 1), QStringLiteral("The Song"));
    EXPECT_EQ(f.ctrl->GetPlayingSongName(), QString()) << "empty while stopped";
    f.ctrl->m_nCurrentIndex = 3;
    EXPECT_THROW(f.ctrl->GetPlayingFileName(), CInvalidArgException) << "an index past the list";
}

// A row the list's width cuts off shows its whole text as a tool tip; a row that fits shows none.
TEST(Playlist, ACutOffRowShowsItsTextAsAToolTip)
{
    PlayerFixture f;
    const QString longTitle = QStringLiteral("A title long enough to be cut off by a list three hundred pixels wide");
    f.ctrl->addFile(SongFor(FixturePath(QStringLiteral("tone-44k-stereo.mp3")), QStringLiteral("Artist"), longTitle), 0);
    f.ctrl->addFile(SongFor(FixturePath(QStringLiteral("chord-44k-stereo.flac")), QStringLiteral("A"), QStringLiteral("B")), 0);
    f.host->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(f.host.get()));
    const auto hover = [&](int row) {
        const QPoint at = f.ctrl->visualItemRect(f.ctrl->item(row)).center();
        QHelpEvent help(QEvent::ToolTip, at, f.ctrl->viewport()->mapToGlobal(at));
        QApplication::sendEvent(f.ctrl->viewport(), &help);
    };
    hover(0);
    EXPECT_TRUE(QTest::qWaitFor([] { return QToolTip::isVisible(); }, 2000));
    EXPECT_EQ(QToolTip::text(), f.ctrl->item(0)->text());
    hover(1);
    EXPECT_TRUE(QTest::qWaitFor([] { return !QToolTip::isVisible(); }, 2000));
}
