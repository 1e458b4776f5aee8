// A song retagged while it plays: each container and kind of rewrite, written with TagLib in place
// while the engine is mid-song, must sound exactly like the untouched file; a deleted or emptied
// file ends the song cleanly; a file replaced by a rename plays its old audio to the end.
#include <QElapsedTimer>
#include <QFile>
#include <functional>
#include <gtest/gtest.h>

#include "AudioTestSupport.h"
#include "audio/CMediaReader.h"
#include "support/TagRewrite.h"
#include "support/TestFolders.h"

using namespace tunivox::test;

namespace {

constexpr double kSpeed = 8.0;
constexpr QWORD kRewriteAt = 10000000; // 1 s into the 12 s song: the reader is still far from its end
constexpr int kBigPicture = 400 * 1024;

using Step = std::function<void(const QString& path)>;

struct RewriteCase
{
    const char* pszName;
    const char* pszFixture;
    Step prepare; // before the song plays (may be empty)
    Step rewrite; // while it plays
    bool bFollowed; // the reader maps onto the new layout (false: it reopens and decodes up to its place)
};

void PrintTo(const RewriteCase& c, std::ostream* os)
{
    *os << c.pszName;
}

QByteArray Contents(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString BigLyrics()
{
    return QStringLiteral("A line of the song that goes on and on\n").repeated(1500);
}

const RewriteCase kCases[] = {
    {"mp3_id3v2_grows", "rewrite.mp3", {}, [](const QString& p) { AddPicture(p, kBigPicture); }, true},
    {"mp3_id3v2_shrinks", "rewrite.mp3", [](const QString& p) { AddPicture(p, 1536 * 1024); }, RemovePictures, true},
    {"mp3_id3v1_added", "rewrite.mp3", StripId3v1, [](const QString& p) { SetId3v1Title(p, "New"); }, true},
    {"mp3_id3v1_removed", "rewrite.mp3", {}, StripId3v1, true},
    {"mp3_ape_added", "rewrite.mp3", {}, [](const QString& p) { AddApeTag(p, "New"); }, true},
    {"mp3_head_and_tail", "rewrite.mp3", StripId3v1,
     [](const QString& p) {
         AddPicture(p, kBigPicture);
         AddApeTag(p, "New");
     },
     true},
    {"flac_within_padding", "rewrite.flac", {}, [](const QString& p) { SetTitleAndLyrics(p, "New", "Short"); }, true},
    {"flac_beyond_padding", "rewrite.flac", {}, [](const QString& p) { AddPicture(p, kBigPicture); }, true},
    {"flac_writer_closes_late", "rewrite.flac", {}, [](const QString& p) { AddPicture(p, kBigPicture, 300); },
     true},
    {"flac_reencoded", "rewrite.flac", {},
     [](const QString& p) { OverwriteInPlace(p, Contents(FixturePath("rewrite-level0.flac"))); }, false},
    {"m4a_moov_first_covr", "rewrite-moov-first.m4a", {}, [](const QString& p) { AddPicture(p, kBigPicture); }, true},
    {"m4a_moov_last_covr", "rewrite-moov-last.m4a", {}, [](const QString& p) { AddPicture(p, kBigPicture); }, true},
    {"ogg_comment_pages", "rewrite.ogg", {}, [](const QString& p) { SetTitleAndLyrics(p, "New", BigLyrics()); }, true},
    {"opus_comment_pages", "rewrite.opus", {}, [](const QString& p) { SetTitleAndLyrics(p, "New", BigLyrics()); },
     true},
    {"wav_id3_and_list", "rewrite.wav", {}, [](const QString& p) { SetTitleAndLyrics(p, "New", BigLyrics()); }, true},
    {"wma_header_object", "rewrite.wma", {}, [](const QString& p) { SetTitleAndLyrics(p, "New", BigLyrics()); },
     true},
};

QString CopyOf(const ScopedTempFolder& folder, const char* fixture)
{
    return folder.WriteFile(QString::fromUtf8(fixture), Contents(FixturePath(QString::fromUtf8(fixture))));
}

// The engine's own decode of the file as it is now.
QByteArray EngineDecode(const QString& path)
{
    ScopedNullDevice device;
    CAudioPlayer player;
    InitAndOpen(player, path);
    const QByteArray pcm = PlayToEnd(player, device);
    EXPECT_EQ(player.m_pReader->FileChangesFollowed(), 0) << "an untouched file seen as changed";
    return pcm;
}

// Plays `path` at speed, runs `change` once the song is 1 s in, and returns what the device got.
QByteArray PlayAndChange(CAudioPlayer& player, const QString& path, const Step& change, qint64* endMs = nullptr)
{
    ScopedNullDevice device(kSpeed);
    InitAndOpen(player, path);
    EXPECT_EQ(player.Play(0), S_OK) << player.m_szError;
    EXPECT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= kRewriteAt; }, 10000));
    change(path);
    QElapsedTimer timer;
    timer.start();
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 30000));
    if (endMs)
        *endMs = timer.elapsed();
    EXPECT_EQ(player.Stop(), S_OK);
    return device.Captured();
}

class TagRewrite : public ::testing::TestWithParam<RewriteCase>
{
};

TEST_P(TagRewrite, PlaysOnSampleExact)
{
    const RewriteCase& c = GetParam();
    ScopedTempFolder folder;
    const QString path = CopyOf(folder, c.pszFixture);
    if (c.prepare)
        c.prepare(path);
    const QByteArray reference = EngineDecode(path);
    ASSERT_GT(reference.size(), 176400 * 10);

    CAudioPlayer player;
    const QByteArray played = PlayAndChange(player, path, c.rewrite);
    EXPECT_EQ(played.size(), reference.size());
    EXPECT_TRUE(played == reference) << "PCM differs from the untouched file's";
    // The change must have reached the reader while it was mid-file, or the row proves nothing.
    EXPECT_EQ(player.m_pReader->FileChangesFollowed() > 0, c.bFollowed);
}

INSTANTIATE_TEST_SUITE_P(EveryContainer, TagRewrite, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<RewriteCase>& info) { return info.param.pszName; });

// Gone or emptied mid-song: what was read plays out, the song ends as at its end, soon.
TEST(TagRewriteEnd, DeletedOrEmptiedFileEndsTheSong)
{
    const std::pair<const char*, Step> changes[] = {
        {"deleted", [](const QString& p) { QFile::remove(p); }},
        {"emptied", [](const QString& p) { OverwriteInPlace(p, QByteArray()); }},
    };
    for (const auto& [what, change] : changes) {
        ScopedTempFolder folder;
        const QString path = CopyOf(folder, "rewrite.flac");
        const QByteArray reference = EngineDecode(path);
        CAudioPlayer player;
        qint64 endMs = 0;
        const QByteArray played = PlayAndChange(player, path, change, &endMs);
        EXPECT_LT(played.size(), reference.size() / 2) << what;
        EXPECT_TRUE(played == reference.left(played.size())) << what << ": not the song's own start";
        // The ring (1.49 s of sound) plays out at 8x; a wait for a writer is at most 0.4 s.
        EXPECT_LT(endMs, 1500) << what;
        EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES) << what;
    }
}

TEST(TagRewriteEnd, FileReplacedByRenamePlaysItsOldAudioToTheEnd)
{
    ScopedTempFolder folder;
    const QString path = CopyOf(folder, "rewrite.mp3");
    const QByteArray reference = EngineDecode(path);
    CAudioPlayer player;
    const QByteArray played =
        PlayAndChange(player, path, [](const QString& p) { ReplaceByRename(p, QStringLiteral("Renamed")); });
    EXPECT_TRUE(played == reference) << "PCM differs from the untouched file's";
}

// The reader alone, deterministic: one second of PCM after a seek to 8 s, with `change` made
// mid-song before the seek (the demuxer's seek then works on offsets of the old layout).
QByteArray SeekAfterChange(const QString& path, const Step& change)
{
    CMediaReader reader;
    EXPECT_EQ(reader.Open(reinterpret_cast<const WCHAR*>(path.utf16())), S_OK);
    BYTE buffer[sizeof(WM_MEDIA_TYPE) + sizeof(WAVEFORMATEX)];
    auto* type = reinterpret_cast<WM_MEDIA_TYPE*>(buffer);
    DWORD size = sizeof(buffer);
    EXPECT_EQ(reader.GetMediaType(0, type, &size), S_OK);
    auto* format = reinterpret_cast<WAVEFORMATEX*>(type->pbFormat);
    format->nChannels = 2;
    format->nSamplesPerSec = 44100;
    format->nBlockAlign = 4;
    format->nAvgBytesPerSec = 176400;
    EXPECT_EQ(reader.SetMediaType(0, type), S_OK);
    CMediaSample* sample = nullptr;
    QWORD time = 0;
    while (time < kRewriteAt && SUCCEEDED(reader.GetNextSample(0, &sample, &time)))
        sample->Release();
    if (change)
        change(path);
    EXPECT_EQ(reader.SetRange(80000000, 0), S_OK);
    QByteArray pcm;
    while (pcm.size() < 176400 && SUCCEEDED(reader.GetNextSample(0, &sample, &time))) {
        BYTE* data = nullptr;
        DWORD length = 0;
        sample->GetBufferAndLength(&data, &length);
        pcm.append(reinterpret_cast<const char*>(data), length);
        sample->Release();
    }
    return pcm;
}

TEST(TagRewriteSeek, ASeekAfterTheRewriteLandsWhereItWouldHave)
{
    const Step picture = [](const QString& p) { AddPicture(p, kBigPicture); };
    const Step comment = [](const QString& p) { SetTitleAndLyrics(p, "New", BigLyrics()); };
    const std::pair<const char*, Step> rows[] = {{"rewrite.mp3", picture}, {"rewrite.flac", picture},
                                                 {"rewrite-moov-first.m4a", picture}, {"rewrite.ogg", comment},
                                                 {"rewrite.wma", comment}};
    for (const auto& [fixture, grow] : rows) {
        ScopedTempFolder folder;
        const QString path = CopyOf(folder, fixture);
        const QByteArray untouched = SeekAfterChange(path, {});
        ASSERT_GE(untouched.size(), 176400) << fixture;
        EXPECT_TRUE(SeekAfterChange(path, grow) == untouched) << fixture;
    }
}

} // namespace
