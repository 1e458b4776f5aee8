#include "song/SyncedLyrics.h"

#include <QRegularExpression>
#include <algorithm>

namespace {

// "[mm:ss]" with an optional fraction of one to three digits after '.' or ':'. The expressions are
// made per call: the render thread parses too, and they are not shared between threads.
struct LrcExpressions
{
    QRegularExpression timeTag{QStringLiteral("^\\[(\\d{1,4}):([0-5]?\\d)(?:[.:](\\d{1,3}))?\\]")};
    QRegularExpression offsetTag{QStringLiteral("^\\[offset:\\s*([+-]?\\d{1,7})\\s*\\]"),
                                 QRegularExpression::CaseInsensitiveOption};
    QRegularExpression wordTime{QStringLiteral("<\\d{1,4}:\\d{1,2}(?:[.:]\\d{1,3})?>")};
    QRegularExpression lineBreak{QStringLiteral("\\r\\n|\\r|\\n")};
};

qint64 TimeOf(const QRegularExpressionMatch& m)
{
    const QString fraction = m.captured(3);
    qint64 ms = fraction.toLongLong();
    for (qsizetype digits = fraction.size(); digits < 3; ++digits)
        ms *= 10;
    return (m.captured(1).toLongLong() * 60 + m.captured(2).toLongLong()) * 1000 + ms;
}

void SortByTime(CSyncedLyrics& lines)
{
    std::stable_sort(lines.begin(), lines.end(),
                     [](const SyncedLyricsLine& a, const SyncedLyricsLine& b) { return a.nTimeMs < b.nTimeMs; });
}

} // namespace

CSyncedLyrics ParseLrcLyrics(const QString& text)
{
    const LrcExpressions re;
    CSyncedLyrics lines;
    qint64 offset = 0;
    const QStringList rows = text.split(re.lineBreak);
    for (QString row : rows) {
        row = row.trimmed();
        if (row.startsWith(QChar(0xFEFF)))
            row.remove(0, 1);
        if (const auto m = re.offsetTag.match(row); m.hasMatch()) {
            offset = m.captured(1).toLongLong();
            continue;
        }
        QVector<qint64> times;
        for (auto m = re.timeTag.match(row); m.hasMatch(); m = re.timeTag.match(row)) {
            times.append(TimeOf(m));
            row = row.mid(m.capturedLength()).trimmed();
        }
        if (times.isEmpty())
            continue;
        const QString line = row.remove(re.wordTime).simplified();
        for (qint64 time : times)
            lines.append({time, line});
    }
    for (SyncedLyricsLine& line : lines)
        line.nTimeMs = std::max<qint64>(0, line.nTimeMs - offset);
    SortByTime(lines);
    return lines;
}

CSyncedLyrics SyncedLyricsFromSyllables(const QVector<SyncedLyricsSyllable>& syllables)
{
    const auto startsLine = [](const QString& s) {
        return s.startsWith(QLatin1Char('\n')) || s.startsWith(QLatin1Char('\r'));
    };
    const bool syllableMode = std::any_of(syllables.begin() + std::min<qsizetype>(1, syllables.size()),
                                          syllables.end(),
                                          [&](const SyncedLyricsSyllable& s) { return startsLine(s.strText); });
    CSyncedLyrics lines;
    for (const SyncedLyricsSyllable& s : syllables) {
        if (!syllableMode || lines.isEmpty() || startsLine(s.strText))
            lines.append({std::max<qint64>(0, s.nTimeMs), s.strText});
        else
            lines.last().strText += s.strText;
    }
    for (SyncedLyricsLine& line : lines)
        line.strText = line.strText.simplified();
    SortByTime(lines);
    return lines;
}

int SyncedLineAt(const CSyncedLyrics& lines, qint64 nTimeMs)
{
    const auto after = std::upper_bound(lines.begin(), lines.end(), nTimeMs,
                                        [](qint64 t, const SyncedLyricsLine& line) { return t < line.nTimeMs; });
    return static_cast<int>(after - lines.begin()) - 1;
}
