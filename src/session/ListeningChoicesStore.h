#pragma once
// The control's own listening choices in the user's settings, under the control's key, with the
// value types they have always had: "ReplayGainMode", "ReplayGainPreampDb", "ReplayGainFallbackDb"
// and "OutputDevice" as text, "ReplayGainPreventClipping" and "Gapless" as DWORDs. One rule for all
// of them, straight on the typed settings store: the visualization's registry helper is its own.
//
// Threading: one object per use, on the thread that made it (the control's).

#include <QString>

#include "audio/ReplayGain.h"

class CListeningChoicesStore
{
public:
    // `key`: the control's settings key; `storePath`: another store file (empty: the user's).
    explicit CListeningChoicesStore(const QString& key, const QString& storePath = QString());

    // Each Load changes only what is stored, and returns whether anything was.
    bool LoadReplayGain(ReplayGainOptions* options) const;
    bool LoadOutputDevice(QString* device) const;
    bool LoadGapless(bool* gapless) const;

    // False when the store could not be written.
    bool StoreReplayGain(const ReplayGainOptions& options) const;
    bool StoreOutputDevice(const QString& device) const;
    bool StoreGapless(bool gapless) const;

private:
    bool ReadText(const char* name, QString* text) const;
    bool ReadNumber(const char* name, quint32* number) const;
    bool WriteText(const char* name, const QString& text) const;
    bool WriteNumber(const char* name, quint32 number) const;

    QString m_strKey;
    QString m_strStorePath;
};
