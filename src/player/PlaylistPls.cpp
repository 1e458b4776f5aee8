// PLS: an INI-like "[playlist]" section with FileN, TitleN and LengthN keys and NumberOfEntries.
#include <QMap>
#include <QRegularExpression>

#include "player/PlaylistParsers.h"

namespace playlist_text {

namespace {

Parsed Fail(int line, const QString& what)
{
    Parsed parsed;
    parsed.strError = QStringLiteral("line %1: %2").arg(line).arg(what);
    return parsed;
}

} // namespace

Parsed ParsePls(const QString& text)
{
    static const QRegularExpression numberedKey(QStringLiteral("^(file|title|length)(\\d+)$"),
                                                QRegularExpression::CaseInsensitiveOption);
    QMap<int, Entry> byNumber;
    bool header = false;
    int declared = -1;
    int declaredLine = 0;
    Parsed failed;
    auto fail = [&](int line, const QString& what) {
        failed = Fail(line, what);
        return false;
    };
    ForEachLine(text, [&](int number, QStringView view) {
        const QString line = view.trimmed().toString();
        if (line.isEmpty() || line.startsWith(QLatin1Char(';')))
            return true;
        if (!header) {
            if (line.compare(QLatin1String("[playlist]"), Qt::CaseInsensitive) != 0)
                return fail(number, QStringLiteral("a PLS playlist starts with \"[playlist]\", found \"%1\"").arg(line.left(80)));
            header = true;
            return true;
        }
        if (line.startsWith(QLatin1Char('[')))
            return fail(number, QStringLiteral("a second section \"%1\"; a PLS playlist has one").arg(line.left(80)));
        const int eq = line.indexOf(QLatin1Char('='));
        if (eq <= 0)
            return fail(number, QStringLiteral("expected \"key=value\", found \"%1\"").arg(line.left(80)));
        const QString key = line.left(eq).trimmed();
        const QString value = line.mid(eq + 1).trimmed();
        if (key.compare(QLatin1String("NumberOfEntries"), Qt::CaseInsensitive) == 0) {
            bool ok = false;
            declared = value.toInt(&ok);
            if (!ok || declared < 0)
                return fail(number, QStringLiteral("NumberOfEntries is not a number: \"%1\"").arg(value.left(40)));
            declaredLine = number;
            return true;
        }
        const QRegularExpressionMatch match = numberedKey.match(key);
        if (!match.hasMatch())
            return true; // Version and keys of other players
        Entry& entry = byNumber[match.captured(2).toInt()];
        const QString kind = match.captured(1).toLower();
        if (kind == QLatin1String("file")) {
            entry.strLocation = value;
        } else if (kind == QLatin1String("title")) {
            entry.strTitle = value;
        } else {
            bool ok = false;
            const double seconds = value.toDouble(&ok);
            if (!ok)
                return fail(number, QStringLiteral("%1 is not a number: \"%2\"").arg(key, value.left(40)));
            entry.nSeconds = SecondsOrUnknown(seconds);
        }
        return true;
    });
    if (!failed.strError.isEmpty())
        return failed;
    if (!header)
        return Fail(1, QStringLiteral("empty file; a PLS playlist starts with \"[playlist]\""));
    Parsed parsed;
    for (const Entry& entry : byNumber)
        if (!entry.strLocation.isEmpty())
            parsed.entries.append(entry);
    if (declared >= 0 && declared != parsed.entries.size())
        return Fail(declaredLine, QStringLiteral("NumberOfEntries=%1, but the playlist lists %2 files")
                                      .arg(declared)
                                      .arg(parsed.entries.size()));
    return parsed;
}

QByteArray FormatPls(const QList<Entry>& entries)
{
    QString out = QStringLiteral("[playlist]\n");
    for (int i = 0; i < entries.size(); ++i) {
        const Entry& entry = entries[i];
        QString title = entry.strTitle;
        title.replace(QLatin1Char('\n'), QLatin1Char(' ')).replace(QLatin1Char('\r'), QLatin1Char(' '));
        out += QStringLiteral("File%1=%2\n").arg(i + 1).arg(entry.strLocation);
        out += QStringLiteral("Title%1=%2\n").arg(i + 1).arg(title);
        out += QStringLiteral("Length%1=%2\n").arg(i + 1).arg(entry.nSeconds < 0 ? -1 : entry.nSeconds);
    }
    out += QStringLiteral("NumberOfEntries=%1\nVersion=2\n").arg(entries.size());
    return out.toUtf8();
}

} // namespace playlist_text
