// XSPF: XML in the http://xspf.org/ns/0/ namespace; each track's first <location> is a URI reference.
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include "player/PlaylistParsers.h"

namespace playlist_text {

namespace {

const QString kNamespace = QStringLiteral("http://xspf.org/ns/0/");

void ReadTrack(QXmlStreamReader& xml, Parsed& parsed)
{
    Entry entry;
    bool hasLocation = false;
    while (xml.readNextStartElement()) {
        const auto name = xml.name();
        if (name == QLatin1String("location") && !hasLocation) {
            entry.strLocation = xml.readElementText().trimmed();
            hasLocation = true;
        } else if (name == QLatin1String("title")) {
            entry.strTitle = xml.readElementText().trimmed();
        } else if (name == QLatin1String("duration")) {
            bool ok = false;
            const double ms = xml.readElementText().trimmed().toDouble(&ok);
            entry.nSeconds = ok ? SecondsOrUnknown(ms / 1000) : -1;
        } else {
            xml.skipCurrentElement();
        }
    }
    // A track without a location (one found by other means) is kept, and later reported missing.
    parsed.entries.append(entry);
}

} // namespace

Parsed ParseXspf(const QByteArray& bytes)
{
    Parsed parsed;
    QXmlStreamReader xml(bytes);
    if (!xml.readNextStartElement()) {
        parsed.strError = QStringLiteral("line %1: not XML (%2)").arg(xml.lineNumber()).arg(xml.errorString());
        return parsed;
    }
    if (xml.name() != QLatin1String("playlist") || xml.namespaceUri() != kNamespace) {
        parsed.strError = QStringLiteral("line %1: not an XSPF playlist (the root is <%2> in \"%3\", not <playlist> in \"%4\")")
                              .arg(xml.lineNumber())
                              .arg(xml.name().toString(), xml.namespaceUri().toString(), kNamespace);
        return parsed;
    }
    while (xml.readNextStartElement()) {
        if (xml.name() != QLatin1String("trackList")) {
            xml.skipCurrentElement();
            continue;
        }
        while (xml.readNextStartElement()) {
            if (xml.name() == QLatin1String("track"))
                ReadTrack(xml, parsed);
            else
                xml.skipCurrentElement();
        }
    }
    // Reading on to the end finds broken XML after the track list too.
    while (!xml.atEnd())
        xml.readNext();
    if (xml.hasError()) {
        parsed.entries.clear();
        parsed.strError = QStringLiteral("line %1, column %2: %3")
                              .arg(xml.lineNumber())
                              .arg(xml.columnNumber())
                              .arg(xml.errorString());
    }
    return parsed;
}

QByteArray FormatXspf(const QList<Entry>& entries)
{
    QByteArray out;
    QXmlStreamWriter xml(&out);
    xml.setAutoFormatting(true);
    xml.writeStartDocument();
    xml.writeDefaultNamespace(kNamespace);
    xml.writeStartElement(kNamespace, QStringLiteral("playlist"));
    xml.writeAttribute(QStringLiteral("version"), QStringLiteral("1"));
    xml.writeStartElement(kNamespace, QStringLiteral("trackList"));
    for (const Entry& entry : entries) {
        xml.writeStartElement(kNamespace, QStringLiteral("track"));
        xml.writeTextElement(kNamespace, QStringLiteral("location"), entry.strLocation);
        if (!entry.strTitle.isEmpty())
            xml.writeTextElement(kNamespace, QStringLiteral("title"), entry.strTitle);
        if (entry.nSeconds >= 0)
            xml.writeTextElement(kNamespace, QStringLiteral("duration"), QString::number(qlonglong(entry.nSeconds) * 1000));
        xml.writeEndElement();
    }
    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndDocument();
    return out;
}

} // namespace playlist_text
