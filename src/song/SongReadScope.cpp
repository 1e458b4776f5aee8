#include "song/SongReadScope.h"

#include <memory>
#include <taglib/tfilestream.h>

#include "platform/FileKinds.h"
#include "song/ReadOnlyTagFile.h"
#include "song/TagLibText.h"

struct CSongReadScope::State
{
    QString strPath;
    std::unique_ptr<TagLib::FileStream> stream; // null when the path is no regular file
};

namespace {
thread_local CSongReadScope::State* t_pScope = nullptr;
} // namespace

CSongReadScope::CSongReadScope(const QString& path) : m_pState(new State{path, nullptr}), m_pOuter(t_pScope)
{
    if (IsRegularFile(path))
        m_pState->stream = std::make_unique<TagLib::FileStream>(TagLibFileName(path).constData(), /*openReadOnly=*/true);
    t_pScope = m_pState;
}

CSongReadScope::~CSongReadScope()
{
    t_pScope = m_pOuter;
    delete m_pState;
}

TagLib::IOStream* ScopedSongStream(const QString& path)
{
    CSongReadScope::State* scope = t_pScope;
    if (!scope || scope->strPath != path || !scope->stream || !scope->stream->isOpen())
        return nullptr;
    scope->stream->clear();
    scope->stream->seek(0);
    return scope->stream.get();
}
