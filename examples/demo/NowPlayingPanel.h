#pragma once
// The demo host's now-playing panel: cover thumbnail, title, artist and album of the song that started.

#include <QLabel>
#include <QWidget>

#include "session/NowPlaying.h"

class NowPlayingPanel : public QWidget
{
    Q_OBJECT

public:
    explicit NowPlayingPanel(QWidget* parent = nullptr);
    // The song as the control read it; a record without tags shows the file's name.
    void ShowSong(const CNowPlayingSong& song);
    void ShowNothing();
    // The ReplayGain the song plays at ("ReplayGain −6.2 dB (track)"); nothing while it is off.
    void ShowGain(const QString& text);
    QString GainText() const { return m_gain->text(); }
    QString Title() const { return m_title->text(); }

private:
    QLabel* m_cover;
    QLabel* m_title;
    QLabel* m_artist;
    QLabel* m_album;
    QLabel* m_gain;
};
