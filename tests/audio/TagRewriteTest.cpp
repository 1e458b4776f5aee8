// A song retagged while it plays: each container and kind of rewrite, written with TagLib in place
// while the engine is mid-song, must sound exactly like the untouched file; a file replaced by a
// rename plays its old audio to the end; a deleted or emptied file ends the song cleanly.
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
    // The reader maps onto the new layout (false: it reopens and decodes up to its place, or keeps
    // reading the file it holds when a new one was renamed over it).
    bool bFollowed;
    bool bEndsEarly = false; // the file is gone: what was read plays out and the song ends
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

const Step kAddBigPicture = [](const QString& p) { AddPicture(p, kBigPicture); };
const Step kAddBigComment = [](const QString& p) {
    SetTitleAndLyrics(p, "New", QStringLiteral("A line of the song that goes on and on\n").repeated(1500));
};

const RewriteCase kCases[] = {
    {"mp3_id3v2_grows", "rewrite.mp3", {}, kAddBigPicture, true},
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
    {"mp3_replaced_by_rename", "rewrite.mp3", {}, [](const QString& p) { ReplaceByRename(p, "Renamed"); }, false},
    {"flac_within_padding", "rewrite.flac", {}, [](const QString& p) { SetTitleAndLyrics(p, "New", "Short"); }, true},
    {"flac_beyond_padding", "rewrite.flac", {}, kAddBigPicture, true},
    {"flac_writer_closes_late", "rewrite.flac", {}, [](const QString& p) { AddPicture(p, kBigPicture, 300); }, true},
    {"flac_reencoded", "rewrite.flac", {},
     [](const QString& p) { OverwriteInPlace(p, Contents(FixturePath("rewrite-level0.flac"))); }, false},
    {"m4a_moov_first_covr", "rewrite-moov-first.m4a", {}, kAddBigPicture, true},
    {"m4a_moov_last_covr", "rewrite-moov-last.m4a", {}, kAddBigPicture, true},
    {"ogg_comment_pages", "rewrite.ogg", {}, kAddBigComment, true},
    {"opus_comment_pages", "rewrite.opus", {}, kAddBigComment, true},
    {"wav_id3_and_list", "rewrite.wav", {}, kAddBigComment, true},
    {"wma_header_object", "rewrite.wma", {}, kAddBigComment, true},
    {"flac_deleted", "rewrite.flac", {}, [](const QString& p) { QFile::remove(p); }, false, true},
    {"flac_emptied", "rewrite.flac", {}, [](const QString& p) { OverwriteInPlace(p, QByteArray()); }, false, true},
};

QString CopyOf(const ScopedTempFolder& folder, const char* fixture)
{
    return folder.WriteFile(QString::fromUtf8(fixture), Contents(FixturePath(QString::fromUtf8(fixture))));
}

class TagRewrite : public ::testing::TestWithParam<RewriteCase>
{};

TEST_P(TagRewrite, PlaysOnAsTheUntouchedFile)
{
    const RewriteCase& c = GetParam();
    ScopedTempFolder folder;
    const QString path = CopyOf(folder, c.pszFixture);
    if (c.prepare)
        c.prepare(path);
    QByteArray reference;
    {
        NullDevicePlayer untouched(path);
        reference = untouched.PlayToEnd();
        EXPECT_EQ(untouched.m_pReader->FileChangesFollowed(), 0) << "an untouched file seen as changed";
    }
    ASSERT_GT(reference.size(), 176400 * 10);

    // At speed, changed once the song is 1 s in.
    NullDevicePlayer player(path, kSpeed);
    ASSERT_EQ(player.Play(0), S_OK) << player.m_szError;
    ASSERT_TRUE(WaitUntil([&] { return player.GetCurrentTime() >= kRewriteAt; }, 10000));
    c.rewrite(path);
    QElapsedTimer sinceChange;
    sinceChange.start();
    EXPECT_TRUE(WaitUntil([&] { return !player.m_bPlaying; }, 30000));
    const qint64 endMs = sinceChange.elapsed();
    EXPECT_EQ(player.Stop(), S_OK);
    const QByteArray played = player.Captured();
    EXPECT_TRUE(played == reference.left(played.size())) << "PCM differs from the untouched file's";
    EXPECT_EQ(player.m_hrThread, NS_E_NO_MORE_SAMPLES);
    if (c.bEndsEarly) {
        EXPECT_LT(played.size(), reference.size() / 2);
        // The ring (1.49 s of sound) plays out at 8x; a wait for a writer is at most 0.4 s.
        EXPECT_LT(endMs, 1500);
    } else {
        EXPECT_EQ(played.size(), reference.size());
        // The change must have reached the reader while it was mid-file, or the row proves nothing.
        EXPECT_EQ(player.m_pReader->FileChangesFollowed() > 0, c.bFollowed);
    }
}

INSTANTIATE_TEST_SUITE_P(EveryContainer, TagRewrite, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<RewriteCase>& info) { return info.param.pszName; });

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
    const std::pair<const char*, Step> rows[] = {{"rewrite.mp3", kAddBigPicture}, {"rewrite.flac", kAddBigPicture},
                                                 {"rewrite-moov-first.m4a", kAddBigPicture},
                                                 {"rewrite.ogg", kAddBigComment}, {"rewrite.wma", kAddBigComment}};
    for (const auto& [fixture, grow] : rows) {
        SCOPED_TRACE(fixture);
        ScopedTempFolder folder;
        const QString path = CopyOf(folder, fixture);
        const QByteArray untouched = SeekAfterChange(path, {});
        ASSERT_GE(untouched.size(), 176400);
        EXPECT_TRUE(SeekAfterChange(path, grow) == untouched);
    }
}

} // namespace
