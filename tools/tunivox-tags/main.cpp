// tunivox-tags: prints the song record the player reads for each file, and optionally writes the
// cover picture the player would show into a folder that exists. A file that is no audio file the
// player can decode (FFmpeg finds no sound in it) or whose tags cannot be read gets an "error"
// entry. Exit code 0 when every file was read, 1 when any could not be read or the cover folder
// is unusable, 2 on a usage error.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <vector>

#include "SongFormat.h"
#include "audio/CMediaReader.h"
#include "platform/FileKinds.h"
#include "song/CId3Tag.h"

namespace {

constexpr const char* kUsage =
    "usage: tunivox-tags [OPTION]... FILE...\n"
    "Prints every field of the song record the player reads from each FILE.\n"
    "  --json        one JSON object per file and line (the record's fields, \"file\", \"cover\", \"error\")\n"
    "  --cover DIR   write each file's cover picture (front cover, else \"other\") into the folder DIR\n"
    "  -h, --help    print this help and exit\n"
    "Exit status: 0 when every file was read, 1 when one could not be read or DIR cannot take the\n"
    "covers, 2 for a bad command line.\n";

void Print(FILE* stream, const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
}

// A name in `folder` for the cover of `file` that no earlier file of this run has taken.
QString CoverPathFor(const QDir& folder, const QString& file, QSet<QString>& taken)
{
    const QString base = QFileInfo(file).completeBaseName();
    QString name = base + QStringLiteral(".jpg");
    for (int n = 2; taken.contains(name); ++n)
        name = QStringLiteral("%1-%2.jpg").arg(base).arg(n);
    taken.insert(name);
    return folder.filePath(name);
}

// Front cover first, else a picture of type "other", as the player control chooses.
QString WriteCover(CId3Tag& reader, const CMp3Song& song, const QString& coverPath)
{
    QFile::remove(coverPath);
    if (!reader.ExtractPicture(song, coverPath, kPictureTypeFrontCover))
        reader.ExtractPicture(song, coverPath, kPictureTypeOther);
    return QFileInfo::exists(coverPath) ? coverPath : QString();
}

// Empty when FFmpeg finds sound in the file the player can decode, else why not (in FFmpeg's
// words when it has some).
QString WhyNoSound(const QString& file)
{
    CMediaReader reader;
    const std::u16string name = file.toStdU16String();
    if (FAILED(reader.Open(reinterpret_cast<const WCHAR*>(name.c_str()))))
        return QStringLiteral("not an audio file (FFmpeg: %1)").arg(QString::fromStdString(reader.LastErrorText()));
    DWORD outputs = 0;
    reader.GetOutputCount(&outputs);
    for (DWORD output = 0; output < outputs; ++output) {
        DWORD size = 0;
        if (FAILED(reader.GetMediaType(output, nullptr, &size)))
            continue;
        std::vector<std::max_align_t> buffer(size / sizeof(std::max_align_t) + 1);
        auto* type = reinterpret_cast<WM_MEDIA_TYPE*>(buffer.data());
        if (FAILED(reader.GetMediaType(output, type, &size)) || type->majortype != MEDIATYPE_Audio)
            continue;
        // The format the player asks for: a decoder that takes it and hands back a first block plays.
        WAVEFORMATEX format{};
        std::memcpy(&format, type->pbFormat, sizeof(format));
        format.nChannels = 2;
        format.nSamplesPerSec = 44100;
        std::memcpy(type->pbFormat, &format, sizeof(format));
        if (FAILED(reader.SetMediaType(output, type)))
            break;
        CMediaSample* sample = nullptr;
        QWORD time = 0;
        if (FAILED(reader.GetNextSample(static_cast<WORD>(output), &sample, &time)))
            break;
        sample->Release();
        return QString();
    }
    const QString decoder = QString::fromStdString(reader.LastErrorText());
    return decoder.isEmpty() ? QStringLiteral("not an audio file (no sound FFmpeg can decode)")
                             : QStringLiteral("not an audio file (FFmpeg: %1)").arg(decoder);
}

// Why the record of `file` is not one of an audio file, empty when it is.
QString Problem(const QString& file, const CMp3Song& song)
{
    const QFileInfo info(file);
    if (!info.exists())
        return QStringLiteral("no such file");
    if (info.isDir())
        return QStringLiteral("is a folder");
    if (!IsRegularFile(file))
        return QStringLiteral("not a regular file (a device, FIFO or socket)");
    if (!info.isReadable())
        return QStringLiteral("cannot be read (permission denied)");
    const QString noSound = WhyNoSound(file);
    if (!noSound.isEmpty())
        return noSound;
    // A record without its path is the reader's only way of saying it could not read the tags.
    if (song.m_strFilePath.isEmpty())
        return QStringLiteral("its tags cannot be read");
    return QString();
}

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tunivox-tags"));

    QCommandLineParser parser;
    const QCommandLineOption helpOption({QStringLiteral("h"), QStringLiteral("help")}, QString());
    const QCommandLineOption jsonOption(QStringLiteral("json"), QString());
    const QCommandLineOption coverOption(QStringLiteral("cover"), QString(), QStringLiteral("dir"));
    parser.addOption(helpOption);
    parser.addOption(jsonOption);
    parser.addOption(coverOption);
    // parse, not process: a bad command line exits with 2 as the other tools do (process exits 1).
    if (!parser.parse(QCoreApplication::arguments())) {
        Print(stderr, QStringLiteral("tunivox-tags: %1\n").arg(parser.errorText()) + QLatin1String(kUsage));
        return 2;
    }
    if (parser.isSet(helpOption)) {
        Print(stdout, QLatin1String(kUsage));
        return 0;
    }

    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        Print(stderr, QStringLiteral("tunivox-tags: no file given\n") + QLatin1String(kUsage));
        return 2;
    }
    const bool json = parser.isSet(jsonOption);
    const bool wantCover = parser.isSet(coverOption);
    const QDir coverFolder(parser.value(coverOption));
    if (wantCover) {
        const QFileInfo folder(coverFolder.path());
        const QString problem = !folder.exists() ? QStringLiteral("no such folder")
                                : !folder.isDir() ? QStringLiteral("not a folder")
                                : !folder.isWritable() ? QStringLiteral("cannot be written (permission denied)")
                                                       : QString();
        if (!problem.isEmpty()) {
            Print(stderr, QStringLiteral("tunivox-tags: %1: cannot take the covers: %2\n").arg(coverFolder.path(), problem));
            return 1;
        }
    }

    int exitCode = 0;
    QSet<QString> takenCoverNames;
    for (const QString& file : files) {
        CId3Tag reader;
        const CMp3Song song = reader.ReadTag(file, QString());
        ExtraEntries extras;
        const QString error = Problem(file, song);
        if (!error.isEmpty()) {
            extras.emplace_back(QStringLiteral("error"), error);
            Print(stderr, QStringLiteral("tunivox-tags: %1: %2\n").arg(file, error));
            exitCode = 1;
        } else if (wantCover) {
            extras.emplace_back(QStringLiteral("cover"),
                                WriteCover(reader, song, CoverPathFor(coverFolder, file, takenCoverNames)));
        }
        if (json)
            Print(stdout, SongToJsonLine(file, song, extras) + QLatin1Char('\n'));
        else
            Print(stdout, SongToListing(file, song, extras) + QLatin1Char('\n'));
    }
    return exitCode;
}
