#include "visual/CRegistry.h"

#include <cstring>

#include "platform/StringConv.h"

RegistryValue::RegistryValue(DWORD dwValue)
{
    Allocate(sizeof(DWORD));
    std::memcpy(m_data.data(), &dwValue, sizeof(DWORD));
    m_dwType = REG_DWORD;
}

RegistryValue::RegistryValue(const char* pszText)
{
    const QByteArray text(pszText ? pszText : "");
    Allocate(static_cast<DWORD>(text.size() + 1));
    std::memcpy(m_data.data(), text.constData(), static_cast<size_t>(text.size()) + 1);
    m_dwType = REG_SZ;
}

RegistryValue::~RegistryValue() = default;

void RegistryValue::Allocate(DWORD dwSize)
{
    m_data = QByteArray(static_cast<qsizetype>(dwSize), '\0');
}

void RegistryValue::Free()
{
    m_data.clear();
    m_dwType = REG_NONE;
}

CRegistry::CRegistry(const QString& storePath) : m_strStorePath(storePath) {}

CRegistry::~CRegistry() = default;

BOOL CRegistry::Write(const char* pszSubKey, const char* pszName, const RegistryValue& value)
{
    if (!m_bRootOpen || !pszSubKey || !pszName)
        return FALSE;
    CTypedSettings store(m_strStorePath);
    TypedValue typed;
    typed.dwType = value.Type();
    typed.data = QByteArray(value.Data(), value.Size());
    const bool stored = store.SetValue(FromNarrow(pszSubKey), FromNarrow(pszName), typed);
    CloseRoot();
    return stored ? TRUE : FALSE;
}

BOOL CRegistry::WriteDWORD(const char* pszSubKey, const char* pszName, DWORD* pdwValue)
{
    if (!pdwValue)
        return FALSE;
    const RegistryValue value(*pdwValue);
    return Write(pszSubKey, pszName, value);
}

BOOL CRegistry::WriteString(const char* pszSubKey, const char* pszName, const char* pszText)
{
    const RegistryValue value(pszText);
    return Write(pszSubKey, pszName, value);
}

BOOL CRegistry::Read(const char* pszSubKey, const char* pszName, RegistryValue& value)
{
    if (!m_bRootOpen || !pszSubKey || !pszName)
        return FALSE;
    CTypedSettings store(m_strStorePath);
    const QString key = FromNarrow(pszSubKey);
    if (!store.HasKey(key))
        return FALSE; // the subkey cannot be opened: nothing was opened, nothing is closed
    const auto typed = store.Value(key, FromNarrow(pszName));
    if (!typed)
        return FALSE; // the query failed: only the subkey is closed, the root stays usable
    value.Allocate(static_cast<DWORD>(typed->data.size()));
    std::memcpy(value.Data(), typed->data.constData(), static_cast<size_t>(typed->data.size()));
    value.SetType(typed->dwType);
    CloseRoot();
    return TRUE;
}

BOOL CRegistry::GetDWORD(const RegistryValue& value, DWORD* pdwValue)
{
    if (!pdwValue || (value.Type() != REG_DWORD && value.Type() != REG_DWORD_BIG_ENDIAN) || value.Size() < 4)
        return FALSE;
    std::memcpy(pdwValue, value.Data(), sizeof(DWORD));
    return TRUE;
}

BOOL CRegistry::GetString(const RegistryValue& value, QString* pstrText)
{
    if (!pstrText || value.Type() != REG_SZ)
        return FALSE;
    const QByteArray data(value.Data(), value.Size());
    const qsizetype zero = data.indexOf('\0');
    *pstrText = QString::fromUtf8(zero < 0 ? data : data.left(zero));
    return TRUE;
}
