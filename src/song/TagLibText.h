#pragma once
// Conversions between TagLib's strings and file names and ours. Internal to the song reader: this
// header pulls in TagLib and is not part of the library's public interface.

#include <QByteArray>
#include <QFile>
#include <QString>
#include <taglib/tstring.h>

// TagLib keeps text as wchar_t; converting from its buffer directly avoids a temporary copy.
inline QString QStringFromTagLib(const TagLib::String& text)
{
    return QString::fromWCharArray(text.toCWString(), static_cast<qsizetype>(text.size()));
}

// TagLib opens files by their name in the local 8-bit encoding.
inline QByteArray TagLibFileName(const QString& path) { return QFile::encodeName(path); }
