#include "song/SyncedLyrics.h"

#include <QRegularExpression>
#include <algorithm>

namespace {

// "[mm:ss]" with an optional fraction of one to three digits after '.' or ':'. The expressions are
// made per call: the render thread parses too, and they are not shared between threads.
struct LrcExpressions
{
    QRegularExpression offsetTag{QStringLiteral("^\\[offset:\\s*([+-]?\\d{1,7})\\s*\\]"),
                                 QRegularExpression::CaseInsensitiveOption};
    QRegularExpression wordTime{QStringLiteral("<\\d{1,4}:\\d{1,2}(?:[.:]\\d{1,3})?>")};
    QRegularExpression lineBreak{QStringLiteral("\\r\\n|\\r|\\n")};
};

// Reads "[mm:ss]" at `at`, with one to four digits of minutes, seconds up to 59 and an optional
// fraction of one to three digits after '.' or ':'. Returns where the tag ends, or -1 when there is
// none. By hand, not by a regular expression: matching one at every time of a line of many times
// looks at the whole line each time.
qsizetype ReadTimeTag(const QString& row, qsizetype at, qint64* ms)
{
    const qsizetype size = row.size();
    auto digit = [&](qsizetype i) { return i < size && row[i] >= u'0' && row[i] <= u'9' ? row[i].unicode() - u'0' : -1; };
    if (at >= size || row[at] != u'[')
        return -1;
    qsizetype i = at + 1;
    qint64 minutes = 0;
    int count = 0;
    for (; count < 4 && digit(i) >= 0; ++count, ++i)
        minutes = minutes * 10 + digit(i);
    if (count == 0 || i >= size || row[i] != u':')
        return -1;
    ++i;
    const int first = digit(i);
    if (first < 0)
        return -1;
    qint64 seconds = first;
    ++i;
    if (digit(i) >= 0) {
        if (first > 5)
            return -1;
        seconds = seconds * 10 + digit(i);
        ++i;
    }
    qint64 fraction = 0;
    if (i < size && (row[i] == u'.' || row[i] == u':') && digit(i + 1) >= 0) {
        ++i;
        int places = 0;
        for (; places < 3 && digit(i) >= 0; ++places, ++i)
            fraction = fraction * 10 + digit(i);
        for (; places < 3; ++places)
            fraction *= 10;
    }
    if (i >= size || row[i] != u']')
        return -1;
    *ms = (minutes * 60 + seconds) * 1000 + fraction;
    return i + 1;
}

// Lyrics are a few kilobytes with a handful of times a line; these bounds keep a hostile tag or file
// from costing more than a moment, while no song's lyrics come near them.
constexpr qsizetype kMaxLyricsChars = 1024 * 1024;
constexpr int kMaxTimesPerLine = 1000;

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
    const QStringList rows = text.left(kMaxLyricsChars).split(re.lineBreak);
    for (QString row : rows) {
        row = row.trimmed();
        if (row.startsWith(QChar(0xFEFF)))
            row.remove(0, 1);
        if (const auto m = re.offsetTag.match(row); m.hasMatch()) {
            offset = m.captured(1).toLongLong();
            continue;
        }
        QVector<qint64> times;
        qsizetype at = 0;
        qint64 time = 0;
        for (qsizetype end = ReadTimeTag(row, at, &time); end >= 0; end = ReadTimeTag(row, at, &time)) {
            if (times.size() < kMaxTimesPerLine)
                times.append(time);
            at = end;
            while (at < row.size() && row[at].isSpace())
                ++at;
        }
        if (times.isEmpty())
            continue;
        const QString line = row.mid(at).remove(re.wordTime).simplified();
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
