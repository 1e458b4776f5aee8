#pragma once
// "Edit tags…": the selected song's title, artist, album, year, track, genre, lyrics and front cover,
// saved with TagLib while the song may be playing.

#include <QByteArray>
#include <QDialog>
#include <QString>

#include "TagWriter.h"

class QLabel;
class QLineEdit;
class QPlainTextEdit;

class TagEditDialog : public QDialog
{
    Q_OBJECT

public:
    TagEditDialog(const QString& path, QWidget* parent = nullptr);

    // Saves and closes on success; on failure says why and keeps the edits.
    void accept() override;

private:
    void ChooseCover();

    QString m_strPath;
    SongTags m_before;
    QLineEdit* m_title;
    QLineEdit* m_artist;
    QLineEdit* m_album;
    QLineEdit* m_year;
    QLineEdit* m_track;
    QLineEdit* m_genre;
    QPlainTextEdit* m_lyrics;
    QLabel* m_cover;
    QByteArray m_coverBytes;
    QString m_strCoverMime;
};
