#pragma once
// The per-user typed settings store: keys ("Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal")
// holding named values that keep their type (DWORD, big-endian DWORD, string or raw bytes), in a
// readable text file under UserConfigFolder(). Built on QSettings with a format of our own, so the
// file is locked while it is read or written and replaced atomically.
//
// Threading: one CTypedSettings object belongs to one thread; any number of objects on any threads
// may use the same file (QSettings serialises them through its file lock and shared cache).

#include <QByteArray>
#include <QMap>
#include <QVariant>
#include <QMetaType>
#include <QString>
#include <cstdint>
#include <memory>
#include <optional>

#include "tunivox_export.h"

#include "platform/WinTypes.h"

// Value type codes, numerically those of the classic registry so stored files read the same.
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;

struct TUNIVOX_EXPORT TypedValue
{
    DWORD dwType = REG_NONE;
    QByteArray data; // REG_DWORD: 4 bytes little-endian; REG_DWORD_BIG_ENDIAN: 4 bytes big-endian;
                     // REG_SZ: UTF-8 text with its terminating zero

    static TypedValue FromDWORD(DWORD value);
    static TypedValue FromBigEndianDWORD(DWORD value);
    static TypedValue FromString(const QString& text);

    bool operator==(const TypedValue&) const = default;
};
Q_DECLARE_METATYPE(TypedValue)

class QSettings;

class TUNIVOX_EXPORT CTypedSettings
{
public:
    // The store in `filePath`; an empty path means the current user's store (DefaultFilePath()).
    explicit CTypedSettings(const QString& filePath = QString());
    ~CTypedSettings();
    CTypedSettings(const CTypedSettings&) = delete;
    CTypedSettings& operator=(const CTypedSettings&) = delete;

    // UserConfigFolder() + "tunivox/registry.conf".
    static QString DefaultFilePath();
    QString FilePath() const;

    // False when the file exists but cannot be read or is not in the store's format; such a store
    // is never written, so a damaged file is left for the user to inspect.
    bool IsUsable() const;
    QString ErrorText() const;

    // A key exists once any value was written under it or under one of its subkeys.
    bool HasKey(const QString& key) const;
    std::optional<TypedValue> Value(const QString& key, const QString& name) const;
    // Stores and writes the file through. Fails for an unusable store, an empty key or name, a name
    // containing '/' and when the file cannot be written.
    bool SetValue(const QString& key, const QString& name, const TypedValue& value);

private:
    static QString GroupOf(const QString& key);

    std::unique_ptr<QSettings> m_pSettings;
    bool m_bDamaged = false;
};

// The text format (exposed for tests): one "[key]" line per key, then "name"=value lines with values
// dword:0000002a, dword-be:0000002a, "text" (with \\ \" \n \r \t escapes) or hex(N):01,02.
TUNIVOX_EXPORT bool ParseTypedSettingsText(const QByteArray& text, QMap<QString, QVariant>& map);
TUNIVOX_EXPORT QByteArray FormatTypedSettingsText(const QMap<QString, QVariant>& map);
