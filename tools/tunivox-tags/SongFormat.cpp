#include "SongFormat.h"

#include <algorithm>

QString JsonQuoted(const QString& text)
{
    QString out;
    out.reserve(text.size() + 2);
    out += QLatin1Char('"');
    for (const QChar c : text) {
        switch (c.unicode()) {
        case '"': out += QLatin1String("\\\""); break;
        case '\\': out += QLatin1String("\\\\"); break;
        case '\n': out += QLatin1String("\\n"); break;
        case '\r': out += QLatin1String("\\r"); break;
        case '\t': out += QLatin1String("\\t"); break;
        default:
            if (c.unicode() < 0x20)
                out += QStringLiteral("\\u%1").arg(c.unicode(), 4, 16, QLatin1Char('0'));
            else
                out += c;
        }
    }
    out += QLatin1Char('"');
    return out;
}

QString SongToJsonLine(const QString& file, const CMp3Song& song, const ExtraEntries& extras)
{
    QString line = QLatin1String("{\"file\":") + JsonQuoted(file);
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i) {
        line += QLatin1String(",\"") + QLatin1String(fields[i].pszName) + QLatin1String("\":");
        line += JsonQuoted(song.*fields[i].pMember);
    }
    line += QLatin1String(",\"m_bHasPicture\":") + QString::number(song.m_bHasPicture);
    for (const auto& [name, value] : extras)
        line += QLatin1Char(',') + JsonQuoted(name) + QLatin1Char(':') + JsonQuoted(value);
    line += QLatin1Char('}');
    return line;
}

QString SongToListing(const QString& file, const CMp3Song& song, const ExtraEntries& extras)
{
    ExtraEntries rows;
    rows.emplace_back(QStringLiteral("file"), file);
    const Mp3SongTextField* fields = Mp3SongTextFields();
    for (int i = 0; i < kMp3SongTextFieldCount; ++i)
        rows.emplace_back(QLatin1String(fields[i].pszName), song.*fields[i].pMember);
    rows.emplace_back(QStringLiteral("m_bHasPicture"), QString::number(song.m_bHasPicture));
    rows.insert(rows.end(), extras.begin(), extras.end());

    qsizetype width = 0;
    for (const auto& row : rows)
        width = std::max(width, row.first.size());
    const QString continuation = QString(width + 3, QLatin1Char(' '));

    QString out;
    for (const auto& [name, value] : rows) {
        QString shown = value;
        shown.replace(QLatin1String("\r\n"), QLatin1String("\n"));
        shown.replace(QLatin1Char('\r'), QLatin1Char('\n'));
        shown.replace(QLatin1Char('\n'), QLatin1Char('\n') + continuation);
        out += name.leftJustified(width) + QLatin1String(" : ") + shown + QLatin1Char('\n');
    }
    return out;
}
