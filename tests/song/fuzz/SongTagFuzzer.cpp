// libFuzzer target for the tag reader: the first input byte picks the container (by extension),
// the rest is the file. ReadTag and ExtractPicture must never crash, hang or leak on any of it.

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include "song/CId3Tag.h"

namespace {

// A private scratch folder for the one input file and the cover written from it.
const QString& ScratchFolder()
{
    static const QString folder = [] {
        QByteArray pattern = QFile::encodeName(QDir::tempPath()) + "/tunivox-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data()))
            throw std::runtime_error("cannot create a scratch folder");
        return QFile::decodeName(pattern) + QLatin1Char('/');
    }();
    return folder;
}

void RemoveScratchFolder() { QDir(ScratchFolder()).removeRecursively(); }

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    // Registered after the folder's name exists, so it runs before that string is destroyed.
    static const bool cleanupRegistered = (ScratchFolder(), std::atexit(RemoveScratchFolder) == 0);
    (void)cleanupRegistered;
    if (size < 1)
        return 0;
    static const char* const kExtensions[] = { "mp3", "wav", "flac", "m4a", "wma" };
    const QString path = ScratchFolder() + QStringLiteral("input.") + QLatin1String(kExtensions[data[0] % 5]);
    const QString cover = ScratchFolder() + QStringLiteral("cover.jpg");
    {
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
            std::abort();
        file.write(reinterpret_cast<const char*>(data + 1), static_cast<qint64>(size - 1));
    }
    CId3Tag reader;
    const CMp3Song song = reader.ReadTag(path, QString());
    // Either a read to the end (path set) or the empty record, never a half-filled one.
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; song.m_strFilePath.isEmpty() && i < kMp3SongTextFieldCount; ++i) {
        if (!(song.*fields[i].pMember).isEmpty())
            std::abort();
    }
    if (!reader.ExtractPicture(song, cover, kPictureTypeFrontCover))
        reader.ExtractPicture(song, cover, kPictureTypeOther);
    QFile::remove(path);
    QFile::remove(cover);
    return 0;
}
