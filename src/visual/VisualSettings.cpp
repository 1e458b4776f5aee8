#include "visual/VisualSettings.h"

#include <QtEndian>

namespace {

std::optional<DWORD> ReadDWORD(const CTypedSettings& store, const QString& key, const char* name)
{
    const auto value = store.Value(key, QLatin1String(name));
    if (!value || value->data.size() < 4 || (value->dwType != REG_DWORD && value->dwType != REG_DWORD_BIG_ENDIAN))
        return std::nullopt;
    // The first four bytes as they are stored, as the registry helper hands them out.
    return qFromLittleEndian<DWORD>(value->data.constData());
}

std::optional<QByteArray> ReadString(const CTypedSettings& store, const QString& key, const char* name)
{
    const auto value = store.Value(key, QLatin1String(name));
    if (!value || value->dwType != REG_SZ)
        return std::nullopt;
    const qsizetype zero = value->data.indexOf('\0');
    return zero < 0 ? value->data : value->data.left(zero);
}

template <typename T>
void ReadInto(const CTypedSettings& store, const QString& key, const char* name, T& field)
{
    if (const auto v = ReadDWORD(store, key, name))
        field = static_cast<T>(*v);
}

} // namespace

bool VisualSettings::operator==(const VisualSettings& o) const
{
    return m_strFontName.compare(o.m_strFontName, Qt::CaseInsensitive) == 0 && m_clrFont == o.m_clrFont
        && m_nFontSize == o.m_nFontSize && m_nLyricsSpeed == o.m_nLyricsSpeed && m_clrLyricsBox == o.m_clrLyricsBox
        && m_nSlideShowTimeout == o.m_nSlideShowTimeout
        && (m_nArtTransparency & 0xFF) == (o.m_nArtTransparency & 0xFF) && (m_bShowFPS != 0) == (o.m_bShowFPS != 0) && (m_bSyncLyrics != 0) == (o.m_bSyncLyrics != 0);
}

void LoadVisualSettings(const CTypedSettings& store, const QString& key, VisualSettings& s)
{
    if (const auto name = ReadString(store, key, "LyrFontName"))
        s.m_strFontName = QString::fromUtf8(*name).left(VISUAL_FONT_NAME_MAX);
    else
        s.m_strFontName = QStringLiteral("Segoe UI");
    ReadInto(store, key, "LyrFontColor", s.m_clrFont);
    ReadInto(store, key, "LyrFontSize", s.m_nFontSize);
    ReadInto(store, key, "LyrSpeed", s.m_nLyricsSpeed);
    ReadInto(store, key, "LyrBkColor", s.m_clrLyricsBox);
    ReadInto(store, key, "SlideShowTimeout", s.m_nSlideShowTimeout);
    ReadInto(store, key, "ArtTransparency", s.m_nArtTransparency);
    ReadInto(store, key, "ShowFPS", s.m_bShowFPS);
    ReadInto(store, key, "SyncLyrics", s.m_bSyncLyrics);
}

void LoadVisualPlacement(const CTypedSettings& store, const QString& key, VisualPlacement& p)
{
    ReadInto(store, key, "xPos", p.xPos);
    ReadInto(store, key, "yPos", p.yPos);
    ReadInto(store, key, "xSize", p.xSize);
    ReadInto(store, key, "ySize", p.ySize);
    ReadInto(store, key, "Flags", p.dwFlags);
    if (const auto plugin = ReadString(store, key, "Plugin"))
        p.strPlugin = QString::fromUtf8(plugin->left(259));
    ReadInto(store, key, "Plugin_mod", p.dwPluginModule);
    p.xSize = std::max(p.xSize, VISUAL_MIN_WINDOW_SIZE);
    p.ySize = std::max(p.ySize, VISUAL_MIN_WINDOW_SIZE);
}

bool SaveVisualPlacement(CTypedSettings& store, const QString& key, const VisualPlacement& p)
{
    bool ok = store.SetValue(key, QStringLiteral("xPos"), TypedValue::FromDWORD(static_cast<DWORD>(p.xPos)));
    ok = store.SetValue(key, QStringLiteral("yPos"), TypedValue::FromDWORD(static_cast<DWORD>(p.yPos))) && ok;
    ok = store.SetValue(key, QStringLiteral("xSize"), TypedValue::FromDWORD(static_cast<DWORD>(p.xSize))) && ok;
    ok = store.SetValue(key, QStringLiteral("ySize"), TypedValue::FromDWORD(static_cast<DWORD>(p.ySize))) && ok;
    return store.SetValue(key, QStringLiteral("Flags"), TypedValue::FromDWORD(p.dwFlags)) && ok;
}

bool SaveVisualSettings(CTypedSettings& store, const QString& key, const VisualSettings& s)
{
    const auto dword = [&](const char* name, std::uint32_t v) {
        return store.SetValue(key, QLatin1String(name), TypedValue::FromDWORD(v));
    };
    bool ok = store.SetValue(key, QStringLiteral("LyrFontName"), TypedValue::FromString(s.m_strFontName));
    ok = dword("LyrFontColor", s.m_clrFont) && ok;
    ok = dword("LyrFontSize", static_cast<DWORD>(s.m_nFontSize)) && ok;
    ok = dword("LyrSpeed", static_cast<DWORD>(s.m_nLyricsSpeed)) && ok;
    ok = dword("LyrBkColor", s.m_clrLyricsBox) && ok;
    ok = dword("SlideShowTimeout", static_cast<DWORD>(s.m_nSlideShowTimeout)) && ok;
    ok = dword("ArtTransparency", static_cast<DWORD>(s.m_nArtTransparency)) && ok;
    ok = dword("ShowFPS", static_cast<DWORD>(s.m_bShowFPS)) && ok;
    return dword("SyncLyrics", static_cast<DWORD>(s.m_bSyncLyrics)) && ok;
}

namespace VisualOptions {

QString PercentLabel(int nPos) { return QStringLiteral("%1%").arg(SliderPercent(nPos)); }
QString SecondsLabel(int nPos) { return QStringLiteral("%1 sec.").arg(nPos); }
QString SpeedLabel(int nPos) { return QString::number(nPos); }

int LeadingNumber(const QString& text)
{
    int value = 0;
    for (QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            break;
        value = value * 10 + (c.unicode() - '0');
        if (value > 99999)
            break;
    }
    return value;
}

const QVector<int>& StandardFontSizes()
{
    static const QVector<int> sizes{8, 9, 10, 11, 12, 14, 16, 18, 20, 22, 24, 26, 28, 36, 48, 72};
    return sizes;
}

int FontSizeIndex(const QVector<int>& sizes, int nSize)
{
    if (sizes.isEmpty())
        return -1;
    int index = 0;
    for (int i = 0; i < sizes.size(); ++i)
        if (sizes[i] <= nSize)
            index = i;
    return index;
}

} // namespace VisualOptions
