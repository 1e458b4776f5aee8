#pragma once
// One open of a song for all of its readers. While a CSongReadScope for a path lives on a thread,
// the tag, picture, lyrics and gain readers of that thread read that path through the scope's one
// read-only handle instead of opening the file each. Scopes nest; the innermost one for a path wins.
//
// Threading: a scope belongs to the thread that made it and must end there; other threads never
// see it.

#include <QString>

#include "tunivox_export.h"

class TUNIVOX_EXPORT CSongReadScope
{
public:
    explicit CSongReadScope(const QString& path);
    ~CSongReadScope();
    CSongReadScope(const CSongReadScope&) = delete;
    CSongReadScope& operator=(const CSongReadScope&) = delete;

    struct State;

private:
    State* m_pState;
    State* m_pOuter;
};
