#pragma once
// Reads and writes single per-user settings values through the typed settings store. Each CRegistry
// performs one operation: a successful Write or Read closes its root, so a second operation on the
// same object fails (callers make a new CRegistry per value).
//
// Threading: a CRegistry and its RegistryValue buffers belong to the thread that made them; several
// threads may each use their own CRegistry at once.

#include <QByteArray>
#include <QString>

#include "platform/TypedSettings.h"
#include "platform/WinTypes.h"
#include "tunivox_export.h"


// The host application's key in the user's settings and the library's own subkey beneath it.
inline constexpr const char* REGISTRY_APP_KEY = "Software\\Tunivox\\TunivoxDesk";
inline constexpr const char* REGISTRY_PLAYER_SUBKEY = "Software\\Tunivox\\TunivoxDesk\\MP3PlayerInternal";

// A value buffer: the data with its size and type.
class TUNIVOX_EXPORT RegistryValue
{
public:
    RegistryValue() = default;
    explicit RegistryValue(DWORD dwValue);          // a DWORD value
    explicit RegistryValue(const char* pszText);    // a string value (UTF-8, stored with its zero)
    virtual ~RegistryValue();

    void Allocate(DWORD dwSize);
    void Free();
    const char* Data() const { return m_data.constData(); }
    char* Data() { return m_data.data(); }
    DWORD Size() const { return static_cast<DWORD>(m_data.size()); }
    DWORD Type() const { return m_dwType; }
    void SetType(DWORD dwType) { m_dwType = dwType; }

private:
    QByteArray m_data;
    DWORD m_dwType = REG_NONE;
};

class TUNIVOX_EXPORT CRegistry
{
public:
    // The current user's root; `storePath` replaces the store file (empty: the user's store).
    explicit CRegistry(const QString& storePath = QString());
    virtual ~CRegistry();
    CRegistry(const CRegistry&) = delete;
    CRegistry& operator=(const CRegistry&) = delete;

    BOOL Write(const char* pszSubKey, const char* pszName, const RegistryValue& value);
    BOOL WriteDWORD(const char* pszSubKey, const char* pszName, DWORD* pdwValue);
    BOOL WriteString(const char* pszSubKey, const char* pszName, const char* pszText);
    BOOL Read(const char* pszSubKey, const char* pszName, RegistryValue& value);

    // TRUE and the first four data bytes as stored, for a DWORD or big-endian DWORD value.
    static BOOL GetDWORD(const RegistryValue& value, DWORD* pdwValue);
    // TRUE and the text up to its terminating zero, for a string value.
    static BOOL GetString(const RegistryValue& value, QString* pstrText);

private:
    void CloseRoot() { m_bRootOpen = false; }

    QString m_strStorePath;
    bool m_bRootOpen = true;
};
