// Settings written on close and destroy and read back by Init, the host notifications, the toolbar's
// commands, the visualization feed's hand-over rules and the tag reading for the visualization.
#include <QDir>
#include <QTest>
#include <gtest/gtest.h>
#include <thread>

#include "PlayerTestSupport.h"
#include "player/CMediaPlayerToolbar.h"
#include "player/CMediaPlayerWnd.h"
#include "visual/CRegistry.h"

using namespace tunivox::test;

namespace {

DWORD StoredInternalIsVisual()
{
    CRegistry registry;
    RegistryValue value;
    DWORD stored = 12345;
    if (!registry.Read(REGISTRY_APP_KEY, "InternalIsVisual", value) || !CRegistry::GetDWORD(value, &stored))
        return 12345;
    return stored;
}

void StoreInternalIsVisual(DWORD value)
{
    CRegistry().WriteDWORD(REGISTRY_APP_KEY, "InternalIsVisual", &value);
}

} // namespace

TEST(Lifecycle, InitPutsTheCompanionWindowInTheListsPlace)
{
    PlayerFixture f;
    CMediaPlayerWnd* wnd = f.ctrl->GetPlayerWnd();
    ASSERT_NE(wnd, nullptr);
    EXPECT_EQ(wnd->parentWidget(), f.host.get());
    EXPECT_EQ(wnd->geometry(), QRect(10, 10, 300, 200));
    EXPECT_EQ(f.ctrl->parentWidget(), wnd);
    EXPECT_EQ(f.ctrl->geometry(), QRect(0, 0, 300, 200));
    EXPECT_TRUE(f.ctrl->GetToolbar()->isHidden());
    EXPECT_FALSE(f.ctrl->GetTrackbar()->isEnabled());
    EXPECT_TRUE(f.ctrl->GetTrackbar()->isHidden());
}

// Destroying the control or closing its host window stores whether its visualization was on, and
// Init reads it back; a control that does not remember leaves the stored state to the host.
TEST(Lifecycle, InternalIsVisualIsSavedOnCloseAndDestroyAndReadByInit)
{
    ScopedUserFolders folders;
    HostWindow host;
    auto* ctrl = new CMediaPlayerCtrl(&host);
    ctrl->Init();
    StoreInternalIsVisual(7);
    host.show();
    host.close();
    EXPECT_EQ(StoredInternalIsVisual(), 0u) << "closing the host window";
    StoreInternalIsVisual(7);
    delete ctrl;
    EXPECT_EQ(StoredInternalIsVisual(), 0u) << "destroying the control";

    StoreInternalIsVisual(1);
    ctrl = new CMediaPlayerCtrl(&host);
    ctrl->SetVisualActive(0);
    // Init reads the stored value; a live visualization is not wanted here, so stop what it starts.
    ctrl->Init();
    EXPECT_TRUE(ctrl->IsVisualActive());
    if (ctrl->GetVisualThread())
        ctrl->VisualRefresh();
    ctrl->SetVisualActive(1);
    delete ctrl;
    EXPECT_EQ(StoredInternalIsVisual(), 1u);

    ctrl = new CMediaPlayerCtrl(&host);
    ctrl->SetRemembersVisualization(0);
    ctrl->Init();
    EXPECT_FALSE(ctrl->IsVisualActive());
    EXPECT_EQ(ctrl->GetVisualThread(), nullptr) << "no second visualization window";
    delete ctrl;
    EXPECT_EQ(StoredInternalIsVisual(), 1u) << "the host restores its own state next time";
}

TEST(Lifecycle, RightClickNotifiesOnlyForANonEmptyList)
{
    PlayerFixture f;
    f.host->show();
    QTest::mouseClick(f.ctrl->viewport(), Qt::RightButton, {}, QPoint(20, 10));
    QCoreApplication::processEvents();
    EXPECT_EQ(f.host->Count(WM_PLAYER_RIGHT_CLICK), 0);
    f.Add({QStringLiteral("tone-44k-stereo.mp3")});
    QTest::mouseClick(f.ctrl->viewport(), Qt::RightButton, {}, QPoint(20, 10));
    QCoreApplication::processEvents();
    EXPECT_EQ(f.host->Count(WM_PLAYER_RIGHT_CLICK), 1);
}

TEST(Lifecycle, WithoutAWorkingEngineEveryTransportOperationFailsSoftly)
{
    PlayerFixture f;
    f.Add({QStringLiteral("tone-44k-stereo.mp3")});
    f.ctrl->GetAudioPlayer()->Release();   // no reader any more: every engine call is E_UNEXPECTED
    EXPECT_EQ(f.ctrl->PlayStart(FixturePath(QStringLiteral("tone-44k-stereo.mp3")).toUtf8().constData()), 0);
    EXPECT_FALSE(f.ctrl->IsPlaying());
    EXPECT_EQ(f.ctrl->Play(), 0);
    EXPECT_EQ(f.ctrl->Pause(), 0);
    EXPECT_EQ(f.ctrl->Stop(), 1);
    EXPECT_EQ(f.ctrl->m_strWork, QStringLiteral("PlayCtrl Error #-2147418113\nError context: "));
}

TEST(Lifecycle, ToolbarCommandsDriveTheControl)
{
    PlayerFixture f;
    f.Add({QStringLiteral("short-44k-stereo.wav"), QStringLiteral("tone-48k-mono.wav")});
    CMediaPlayerWnd* wnd = f.ctrl->GetPlayerWnd();
    f.ctrl->setCurrentRow(0);
    f.ctrl->GetToolbar()->CommandAction(kCommandPlay)->trigger();
    EXPECT_TRUE(f.ctrl->IsPlaying());
    wnd->OnCommand(kCommandNext);
    EXPECT_EQ(f.ctrl->GetCurrentIndex(), 1);
    wnd->OnCommand(kCommandStop);
    EXPECT_TRUE(f.ctrl->IsStopped());
    wnd->OnCommand(0);
    wnd->OnCommand(8);
    EXPECT_EQ(f.ctrl->count(), 2) << "unknown ids do nothing";
    wnd->OnCommand(kCommandClearList);
    EXPECT_EQ(f.ctrl->count(), 0) << "id 7 clears though no button sends it";
    EXPECT_EQ(f.ctrl->GetToolbar()->CommandAction(kCommandClearList), nullptr);
}

// Each setter raises its change bit (title 1, lyrics 2, arts 4), but drops its update when the
// reader holds the mutex for longer than the window's thread may wait.
TEST(Feed, ChangeBitsAccumulateAndASetterLosesItsUpdateWhileTheReaderHoldsTheMutex)
{
    PlayerFixture f;
    f.ctrl->SetChange(0);
    std::thread reader([&] {
        std::lock_guard lock(f.ctrl->GetChangeMutex());
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    f.ctrl->SetLyrics("lost");
    reader.join();
    EXPECT_EQ(QString::fromUtf8(f.ctrl->GetLyrics()), QString());
    EXPECT_EQ(f.ctrl->GetChange(), 0u);

    f.ctrl->SetMP3VisualTitle("Title");
    f.ctrl->SetLyrics("kept");
    EXPECT_EQ(QString::fromUtf8(f.ctrl->GetLyrics()), QStringLiteral("kept"));
    EXPECT_EQ(f.ctrl->GetChange(), 3u);
    CStringArray arts;
    arts.Add(QStringLiteral("/a.jpg"));
    f.ctrl->SetArts(&arts);
    arts.SetAt(0, QStringLiteral("/changed.jpg"));
    EXPECT_EQ(f.ctrl->GetArts()->GetAt(0), QStringLiteral("/a.jpg")) << "the list is copied";
    EXPECT_EQ(f.ctrl->GetChange(), 7u);
}

TEST(Feed, AnImagesFolderWithOnePictureGivesAnEmptyBackgroundList)
{
    PlayerFixture f;
    ScopedTempFolder app;
    app.WriteFile(QStringLiteral("Images/only.jpg"), "x");
    f.ctrl->SetHostFolders(app.Path(), f.folders.TempFolder());
    CStringArray previous;
    previous.Add(QStringLiteral("/old.jpg"));
    f.ctrl->SetBackgrounds(&previous);
    f.ctrl->AddBackgrounds();
    EXPECT_EQ(f.ctrl->GetBackgrounds()->GetSize(), 0);

    app.WriteFile(QStringLiteral("Images/second.jpg"), "x");
    app.WriteFile(QStringLiteral("Images/third.jpg"), "x");
    f.ctrl->AddBackgrounds();
    EXPECT_EQ(f.ctrl->GetBackgrounds()->GetSize(), 2) << "the first file found is never appended";
}

TEST(Feed, TagInfoFeedsLyricsAndTheCoverAndCleansUp)
{
    PlayerFixture f;
    f.ctrl->GetMp3TagInfo(FixturePath(QStringLiteral("melody-48k-mono.flac")));
    const QString picture = f.ctrl->GetCurrentPicturePath();
    ASSERT_FALSE(picture.isEmpty());
    EXPECT_TRUE(picture.startsWith(f.folders.TempFolder() + QStringLiteral("_tmpPlayerPic_")));
    EXPECT_TRUE(QFile::exists(picture));
    ASSERT_EQ(f.ctrl->GetArts()->GetSize(), 1);
    EXPECT_EQ(f.ctrl->GetArts()->GetAt(0), picture);
    EXPECT_TRUE(QString::fromUtf8(f.ctrl->GetLyrics()).startsWith(QStringLiteral("First line")));

    f.ctrl->GetMp3TagInfo(FixturePath(QStringLiteral("chord-44k-stereo.wma")));
    EXPECT_EQ(f.ctrl->GetArts()->GetSize(), 0) << "no cover in that file";
    EXPECT_TRUE(f.ctrl->GetCurrentPicturePath().isEmpty());
    EXPECT_EQ(QString::fromUtf8(f.ctrl->GetLyrics()), QString());
    delete f.ctrl;
    f.ctrl = nullptr;
    EXPECT_FALSE(QFile::exists(picture)) << "no picture is left behind";
}
