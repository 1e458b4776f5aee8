#pragma once
// The song record: every text the player knows about one audio file, plus the embedded-picture flag.
// A plain value: filled once by CId3Tag, then only copied and read.
//
// Threading: no shared state; a record may be used from any one thread at a time and copied freely
// (QString copies are cheap and thread-safe).

#include <QString>

#include "tunivox_export.h"

class TUNIVOX_EXPORT CMp3Song
{
public:
    CMp3Song() = default;

    // Main tag texts.
    QString m_strArtist;
    QString m_strTitle;
    QString m_strAlbum;
    QString m_strYear;
    QString m_strGenre;
    QString m_strComment;
    QString m_strTrack;

    // The same seven items as an ID3v1 tag alone gives them (MPEG files only).
    QString m_strV1Artist;
    QString m_strV1Title;
    QString m_strV1Album;
    QString m_strV1Year;
    QString m_strV1Genre;
    QString m_strV1Comment;
    QString m_strV1Track;

    // A second copy of the main texts; the reader writes both with the same values.
    QString m_strTagArtist;
    QString m_strTagTitle;
    QString m_strTagAlbum;
    QString m_strTagYear;
    QString m_strTagGenre;
    QString m_strTagComment;
    QString m_strTagTrack;

    QString m_strComposer;
    QString m_strOrigArtist;
    QString m_strCopyright;
    QString m_strEncodedBy;
    QString m_strDiscNumber;
    QString m_strAlbumArtist;
    QString m_strPublisher;
    QString m_strConductor;
    QString m_strLyrics;
    QString m_strLyricist;
    QString m_strFilePath;

    // Spare texts: nothing in the library writes them; hosts may, and they travel with every copy.
    QString m_strAux1;
    QString m_strAux2;
    QString m_strAux3;
    QString m_strAux4;

    // Audio properties as text ("%d"), "n/a" codec info, "Mono"/"Stereo".
    QString m_strCodecInfo;
    QString m_strLength;
    QString m_strBitrate;
    QString m_strSampleRate;
    QString m_strChannels;

    QString m_strAux5;
    QString m_strAux6;
    QString m_strAux7;
    QString m_strAux8;
    QString m_strAux9;
    QString m_strAux10;
    QString m_strAux11;
    QString m_strAux12;
    QString m_strAux13;
    QString m_strAux14;

    // 1: the tag holds at least one picture; 0: looked for, none there. Containers without a tag to
    // look in leave it as it was.
    int m_bHasPicture = 0;

    QString m_strBpm;

    QString m_strAux15;
    QString m_strAux16;
};

// The record's text fields by name, in declaration order: for listings, JSON and generic copies.
struct Mp3SongTextField
{
    const char* pszName;
    QString CMp3Song::*pMember;
};

inline constexpr int kMp3SongTextFieldCount = 54;

// All 54 text fields; m_bHasPicture is the one field not in the list.
TUNIVOX_EXPORT const Mp3SongTextField* Mp3SongTextFields();
