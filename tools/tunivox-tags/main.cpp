// tunivox-tags: prints the song record the player reads for each file, and optionally writes the
// cover picture the player would show. Exit code 0 when every file was read, 1 when any could not
// be read, 2 on a usage error.

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <cstdio>

#include "SongFormat.h"
#include "platform/FileKinds.h"
#include "song/CId3Tag.h"

namespace {

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

} // namespace

int main(int argc, char* argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("tunivox-tags"));

    QCommandLineParser parser;
    parser.setApplicationDescription(
        QStringLiteral("Prints every field of the song record read from each file."));
    parser.addHelpOption();
    const QCommandLineOption jsonOption(QStringLiteral("json"),
                                        QStringLiteral("One JSON object per file and line."));
    const QCommandLineOption coverOption(QStringLiteral("cover"),
                                         QStringLiteral("Write each file's cover picture into <dir>."),
                                         QStringLiteral("dir"));
    parser.addOption(jsonOption);
    parser.addOption(coverOption);
    parser.addPositionalArgument(QStringLiteral("files"), QStringLiteral("Audio files."),
                                 QStringLiteral("FILE..."));
    // parse, not process: a bad command line exits with 2 as the other tools do (process exits 1).
    if (!parser.parse(QCoreApplication::arguments())) {
        Print(stderr, QStringLiteral("tunivox-tags: %1\n\n%2").arg(parser.errorText(), parser.helpText()));
        return 2;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        Print(stdout, parser.helpText());
        return 0;
    }

    const QStringList files = parser.positionalArguments();
    if (files.isEmpty()) {
        Print(stderr, parser.helpText());
        return 2;
    }
    const bool json = parser.isSet(jsonOption);
    const bool wantCover = parser.isSet(coverOption);
    const QDir coverFolder(parser.value(coverOption));
    if (wantCover && !QDir().mkpath(coverFolder.path())) {
        Print(stderr, QStringLiteral("tunivox-tags: cannot create folder %1\n").arg(coverFolder.path()));
        return 2;
    }

    int exitCode = 0;
    QSet<QString> takenCoverNames;
    for (const QString& file : files) {
        CId3Tag reader;
        const CMp3Song song = reader.ReadTag(file, QString());
        ExtraEntries extras;
        // A record without its path is the reader's only way of saying it could not read the file.
        QString error;
        if (!QFileInfo::exists(file))
            error = QStringLiteral("no such file");
        else if (!IsRegularFile(file))
            error = QStringLiteral("not a regular file (a folder, device, FIFO or socket)");
        else if (song.m_strFilePath.isEmpty())
            error = QStringLiteral("not a readable audio file");
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
