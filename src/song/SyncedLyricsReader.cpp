// Finding a song's synchronised lyrics: its SYLT frame, the time stamps in its lyrics tag, or an
// .lrc file beside it.
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>
#include <exception>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/synchronizedlyricsframe.h>
#include <taglib/wavfile.h>

#include "song/CId3Tag.h"
#include "song/ReadOnlyTagFile.h"
#include "song/SyncedLyrics.h"
#include "song/TagLibText.h"

namespace {

constexpr qint64 kMaxLrcBytes = 1 << 20;

using SyltFrame = TagLib::ID3v2::SynchronizedLyricsFrame;

// Lyrics frames before any other kind; times in MPEG frames become milliseconds.
CSyncedLyrics FromId3v2(const TagLib::ID3v2::Tag* tag, int nSamplesPerFrame, int nSampleRate)
{
    if (!tag)
        return {};
    const TagLib::ID3v2::FrameList frames = tag->frameList("SYLT");
    const SyltFrame* chosen = nullptr;
    for (const TagLib::ID3v2::Frame* frame : frames) {
        const auto* sylt = dynamic_cast<const SyltFrame*>(frame);
        if (sylt && (!chosen || (chosen->type() != SyltFrame::Lyrics && sylt->type() == SyltFrame::Lyrics)))
            chosen = sylt;
    }
    if (!chosen)
        return {};
    const bool frameTimes = chosen->timestampFormat() == SyltFrame::AbsoluteMpegFrames;
    if (frameTimes && nSampleRate <= 0)
        return {};
    QVector<SyncedLyricsSyllable> syllables;
    for (const SyltFrame::SynchedText& entry : chosen->synchedText()) {
        const qint64 time = frameTimes ? static_cast<qint64>(entry.time) * nSamplesPerFrame * 1000 / nSampleRate
                                       : static_cast<qint64>(entry.time);
        syllables.append({time, QStringFromTagLib(entry.text)});
    }
    return SyncedLyricsFromSyllables(syllables);
}

CSyncedLyrics FromSylt(const QString& path)
{
    if (CId3Tag::HasExtension(path, QStringLiteral("mp3"))) {
        const CReadOnlyTagFile<TagLib::MPEG::File> opened(path, true, TagLib::AudioProperties::Fast);
        TagLib::MPEG::File& file = *opened;
        if (!file.isValid())
            return {};
        const TagLib::MPEG::Properties* properties = file.audioProperties();
        // Layer III of MPEG 2 and 2.5 has half-length frames.
        const bool halfFrames = properties && properties->layer() == 3
            && properties->version() != TagLib::MPEG::Header::Version1;
        return FromId3v2(file.ID3v2Tag(), halfFrames ? 576 : 1152, properties ? properties->sampleRate() : 0);
    }
    if (CId3Tag::HasExtension(path, QStringLiteral("wav"))) {
        const CReadOnlyTagFile<TagLib::RIFF::WAV::File> opened(path, true, TagLib::AudioProperties::Fast);
        TagLib::RIFF::WAV::File& file = *opened;
        return file.isValid() && file.hasID3v2Tag() ? FromId3v2(file.ID3v2Tag(), 0, 0) : CSyncedLyrics();
    }
    return {};
}

QString LrcFileBeside(const QString& audioPath)
{
    const QFileInfo audio(audioPath);
    const QString base = audio.path() + QLatin1Char('/') + audio.completeBaseName();
    for (const char* extension : {".lrc", ".LRC", ".Lrc"}) {
        const QString candidate = base + QLatin1String(extension);
        if (QFileInfo(candidate).isFile())
            return candidate;
    }
    return QString();
}

CSyncedLyrics FromLrcFile(const QString& audioPath)
{
    const QString path = LrcFileBeside(audioPath);
    QFile file(path);
    if (path.isEmpty() || file.size() > kMaxLrcBytes || !file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.read(kMaxLrcBytes);
    QStringDecoder utf8(QStringDecoder::Utf8);
    QString text = utf8.decode(bytes);
    if (utf8.hasError())
        text = QString::fromLatin1(bytes);
    return ParseLrcLyrics(text);
}

} // namespace

CSyncedLyrics ReadSyncedLyrics(const QString& audioPath, const QString& lyricsText)
{
    CSyncedLyrics lines;
    try {
        lines = FromSylt(audioPath);
    } catch (const std::exception&) {
        lines.clear(); // a tag TagLib gives up on has no lyrics to offer
    }
    if (lines.isEmpty())
        lines = ParseLrcLyrics(lyricsText);
    if (lines.isEmpty())
        lines = FromLrcFile(audioPath);
    return lines;
}
