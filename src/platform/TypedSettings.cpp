#include "platform/TypedSettings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QIODevice>
#include <QSettings>
#include <QtEndian>

#include "platform/Folders.h"

TypedValue TypedValue::FromDWORD(DWORD value)
{
    TypedValue v;
    v.dwType = REG_DWORD;
    v.data.resize(4);
    qToLittleEndian(value, v.data.data());
    return v;
}

TypedValue TypedValue::FromBigEndianDWORD(DWORD value)
{
    TypedValue v;
    v.dwType = REG_DWORD_BIG_ENDIAN;
    v.data.resize(4);
    qToBigEndian(value, v.data.data());
    return v;
}

TypedValue TypedValue::FromString(const QString& text)
{
    TypedValue v;
    v.dwType = REG_SZ;
    v.data = text.toUtf8();
    v.data.append('\0');
    return v;
}

namespace {

QByteArray Escape(const QByteArray& text)
{
    QByteArray out;
    out.reserve(text.size() + 2);
    out += '"';
    for (char c : text) {
        switch (c) {
        case '\\': out += "\\\\"; break;
        case '"': out += "\\\""; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        case '\0': out += "\\0"; break;
        default: out += c;
        }
    }
    out += '"';
    return out;
}

// Reads a quoted string starting at `pos` (on the opening quote); leaves `pos` after the closing one.
std::optional<QByteArray> Unescape(const QByteArray& line, qsizetype& pos)
{
    if (pos >= line.size() || line[pos] != '"')
        return std::nullopt;
    QByteArray out;
    for (++pos; pos < line.size(); ++pos) {
        const char c = line[pos];
        if (c == '"') {
            ++pos;
            return out;
        }
        if (c != '\\') {
            out += c;
            continue;
        }
        if (++pos >= line.size())
            return std::nullopt;
        switch (line[pos]) {
        case '\\': out += '\\'; break;
        case '"': out += '"'; break;
        case 'n': out += '\n'; break;
        case 'r': out += '\r'; break;
        case 't': out += '\t'; break;
        case '0': out += '\0'; break;
        default: return std::nullopt;
        }
    }
    return std::nullopt;
}

std::optional<DWORD> ParseHex32(const QByteArray& text)
{
    if (text.size() != 8)
        return std::nullopt;
    bool ok = false;
    const uint value = text.toUInt(&ok, 16);
    return ok ? std::optional<DWORD>(value) : std::nullopt;
}

std::optional<TypedValue> ParseValue(const QByteArray& text)
{
    if (text.startsWith('"')) {
        qsizetype pos = 0;
        auto s = Unescape(text, pos);
        if (!s || pos != text.size())
            return std::nullopt;
        TypedValue v;
        v.dwType = REG_SZ;
        v.data = *s;
        v.data.append('\0');
        return v;
    }
    if (text.startsWith("dword:")) {
        auto n = ParseHex32(text.mid(6));
        return n ? std::optional<TypedValue>(TypedValue::FromDWORD(*n)) : std::nullopt;
    }
    if (text.startsWith("dword-be:")) {
        auto n = ParseHex32(text.mid(9));
        return n ? std::optional<TypedValue>(TypedValue::FromBigEndianDWORD(*n)) : std::nullopt;
    }
    if (text.startsWith("hex(")) {
        const qsizetype close = text.indexOf("):");
        if (close < 0)
            return std::nullopt;
        bool ok = false;
        TypedValue v;
        v.dwType = text.mid(4, close - 4).toUInt(&ok, 10);
        if (!ok)
            return std::nullopt;
        const QByteArray bytes = text.mid(close + 2);
        if (!bytes.isEmpty()) {
            for (const QByteArray& part : bytes.split(',')) {
                const uint b = part.toUInt(&ok, 16);
                if (!ok || part.size() != 2)
                    return std::nullopt;
                v.data.append(static_cast<char>(b));
            }
        }
        return v;
    }
    return std::nullopt;
}

QByteArray FormatValue(const TypedValue& v)
{
    if (v.dwType == REG_DWORD && v.data.size() == 4)
        return "dword:" + QByteArray::number(qFromLittleEndian<DWORD>(v.data.constData()), 16).rightJustified(8, '0');
    if (v.dwType == REG_DWORD_BIG_ENDIAN && v.data.size() == 4)
        return "dword-be:" + QByteArray::number(qFromBigEndian<DWORD>(v.data.constData()), 16).rightJustified(8, '0');
    if (v.dwType == REG_SZ && v.data.endsWith('\0') && !v.data.chopped(1).contains('\0'))
        return Escape(v.data.chopped(1));
    QByteArray out = "hex(" + QByteArray::number(v.dwType) + "):";
    for (qsizetype i = 0; i < v.data.size(); ++i) {
        if (i)
            out += ',';
        out += QByteArray::number(static_cast<uchar>(v.data[i]), 16).rightJustified(2, '0');
    }
    return out;
}

bool ReadTypedFile(QIODevice& device, QSettings::SettingsMap& map)
{
    return ParseTypedSettingsText(device.readAll(), map);
}

bool WriteTypedFile(QIODevice& device, const QSettings::SettingsMap& map)
{
    const QByteArray text = FormatTypedSettingsText(map);
    return device.write(text) == text.size();
}

QSettings::Format TypedFormat()
{
    static const QSettings::Format format =
        QSettings::registerFormat(QStringLiteral("conf"), ReadTypedFile, WriteTypedFile, Qt::CaseSensitive);
    return format;
}

} // namespace

bool ParseTypedSettingsText(const QByteArray& text, QMap<QString, QVariant>& map)
{
    QString group;
    for (QByteArray line : text.split('\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith(';'))
            continue;
        if (line.startsWith('[')) {
            if (!line.endsWith(']') || line.size() < 3)
                return false;
            group = QString::fromUtf8(line.mid(1, line.size() - 2)).replace(QLatin1Char('\\'), QLatin1Char('/'));
            continue;
        }
        qsizetype pos = 0;
        auto name = Unescape(line, pos);
        if (group.isEmpty() || !name || name->isEmpty() || name->contains('/') || pos >= line.size()
            || line[pos] != '=')
            return false;
        auto value = ParseValue(line.mid(pos + 1));
        if (!value)
            return false;
        map.insert(group + QLatin1Char('/') + QString::fromUtf8(*name), QVariant::fromValue(*value));
    }
    return true;
}

QByteArray FormatTypedSettingsText(const QMap<QString, QVariant>& map)
{
    // Keys sort with their subgroups in between ("Key/A", "Key/Sub/B", "Key/Z"): gather each
    // group's values first, so that every section is written once.
    QMap<QString, QByteArray> sections;
    for (auto it = map.cbegin(); it != map.cend(); ++it) {
        const qsizetype slash = it.key().lastIndexOf(QLatin1Char('/'));
        if (slash <= 0 || !it.value().canConvert<TypedValue>())
            continue;
        sections[it.key().left(slash)] +=
            Escape(it.key().mid(slash + 1).toUtf8()) + '=' + FormatValue(it.value().value<TypedValue>()) + '\n';
    }
    QByteArray out = "; Tunivox per-user settings. Values: dword:XXXXXXXX, dword-be:XXXXXXXX, \"text\", hex(type):bytes\n";
    for (auto it = sections.cbegin(); it != sections.cend(); ++it)
        out += "\n[" + QString(it.key()).replace(QLatin1Char('/'), QLatin1Char('\\')).toUtf8() + "]\n" + it.value();
    return out;
}

CTypedSettings::CTypedSettings(const QString& filePath)
{
    const QString path = filePath.isEmpty() ? DefaultFilePath() : filePath;
    // The user's own settings name the songs played and the folders kept: nobody else reads them.
    if (filePath.isEmpty())
        EnsurePrivateFolder(QFileInfo(path).absolutePath());
    else
        QDir().mkpath(QFileInfo(path).absolutePath());
    // QSettings keeps parsed files in a process-wide cache and does not parse an unchanged file
    // again, so a damaged file is recognised here, before anything could write over it.
    QFile file(path);
    if (file.exists()) {
        QSettings::SettingsMap map;
        m_bDamaged = !file.open(QIODevice::ReadOnly) || !ParseTypedSettingsText(file.readAll(), map);
    }
    m_pSettings = std::make_unique<QSettings>(path, TypedFormat());
}

CTypedSettings::~CTypedSettings() = default;

QString CTypedSettings::DefaultFilePath()
{
    return QDir(UserConfigFolder()).filePath(QStringLiteral("tunivox/registry.conf"));
}

QString CTypedSettings::FilePath() const
{
    return m_pSettings->fileName();
}

bool CTypedSettings::IsUsable() const
{
    return !m_bDamaged && m_pSettings->status() == QSettings::NoError;
}

QString CTypedSettings::ErrorText() const
{
    if (m_bDamaged)
        return QStringLiteral("the settings file %1 is damaged or unreadable").arg(FilePath());
    switch (m_pSettings->status()) {
    case QSettings::NoError: return QString();
    case QSettings::AccessError: return QStringLiteral("cannot access the settings file %1").arg(FilePath());
    case QSettings::FormatError: return QStringLiteral("the settings file %1 is damaged").arg(FilePath());
    }
    return QString();
}

QString CTypedSettings::GroupOf(const QString& key)
{
    QString group = key;
    group.replace(QLatin1Char('\\'), QLatin1Char('/'));
    while (group.endsWith(QLatin1Char('/')))
        group.chop(1);
    return group;
}

bool CTypedSettings::HasKey(const QString& key) const
{
    const QString group = GroupOf(key);
    if (group.isEmpty() || !IsUsable())
        return false;
    m_pSettings->beginGroup(group);
    const bool exists = !m_pSettings->allKeys().isEmpty();
    m_pSettings->endGroup();
    return exists;
}

std::optional<TypedValue> CTypedSettings::Value(const QString& key, const QString& name) const
{
    const QString group = GroupOf(key);
    if (group.isEmpty() || name.isEmpty() || name.contains(QLatin1Char('/')) || !IsUsable())
        return std::nullopt;
    const QVariant v = m_pSettings->value(group + QLatin1Char('/') + name);
    if (!v.canConvert<TypedValue>())
        return std::nullopt;
    return v.value<TypedValue>();
}

bool CTypedSettings::SetValue(const QString& key, const QString& name, const TypedValue& value)
{
    const QString group = GroupOf(key);
    if (group.isEmpty() || name.isEmpty() || name.contains(QLatin1Char('/')) || !IsUsable())
        return false;
    m_pSettings->setValue(group + QLatin1Char('/') + name, QVariant::fromValue(value));
    m_pSettings->sync();
    QFile::setPermissions(FilePath(), QFile::ReadOwner | QFile::WriteOwner);
    return m_pSettings->status() == QSettings::NoError;
}
