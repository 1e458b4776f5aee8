#pragma once
// Narrow strings at the library's const char* boundaries are UTF-8; QString inside.

#include <QByteArray>
#include <QString>
#include <string>

inline QString FromNarrow(const char* text) { return text ? QString::fromUtf8(text) : QString(); }
inline QByteArray ToNarrow(const QString& text) { return text.toUtf8(); }
inline std::string ToStdNarrow(const QString& text) { return text.toUtf8().toStdString(); }
