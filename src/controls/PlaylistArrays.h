#pragma once
// How the drag list box reaches the playlist arrays that a player control keeps beside its items.
// Threading: user-interface thread only, like the list box itself.
//
// The list box asks its parent widget (dynamic_cast to IPlaylistArraysHost) when the Delete key
// removes items; a parent that does not implement the host interface simply has no arrays to trim.

#include "tunivox_export.h"

class TUNIVOX_EXPORT IPlaylistArrays
{
public:
    virtual ~IPlaylistArrays();
    // Removes entry `index` from every array kept index for index with the list items.
    virtual void RemoveEntryAt(int index) = 0;
};

class TUNIVOX_EXPORT IPlaylistArraysHost
{
public:
    virtual ~IPlaylistArraysHost();
    virtual IPlaylistArrays* GetPlaylistArrays() = 0;
};
