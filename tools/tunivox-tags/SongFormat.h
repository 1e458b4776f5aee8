#pragma once
// Text forms of a song record for tunivox-tags: one JSON object per line, or an aligned listing.
// Extra entries (input name, cover path, error) come before / after the record's own fields.

#include <QString>
#include <QStringList>
#include <utility>
#include <vector>

#include "song/CMp3Song.h"

using ExtraEntries = std::vector<std::pair<QString, QString>>;

// {"file":...,"m_strArtist":...,...,"m_bHasPicture":0,<extras>} on a single line (no newline).
QString SongToJsonLine(const QString& file, const CMp3Song& song, const ExtraEntries& extras);

// "name : value" lines with names padded to one column; continuation lines of multi-line values
// are indented under the value column.
QString SongToListing(const QString& file, const CMp3Song& song, const ExtraEntries& extras);

QString JsonQuoted(const QString& text);
