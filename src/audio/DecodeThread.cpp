#include "audio/DecodeThread.h"

#include <chrono>

#include "audio/ThreadPriority.h"

CDecodeThread::CDecodeThread(Entry entry, void* argument) : m_entry(entry), m_pArgument(argument) {}

CDecodeThread::~CDecodeThread()
{
    Close();
}

bool CDecodeThread::Create()
{
    try {
        m_pState = std::make_shared<State>();
        m_thread = std::thread(Run, m_pState, m_entry, m_pArgument);
    } catch (const std::exception&) {
        m_pState.reset();
        return false;
    }
    return true;
}

void CDecodeThread::SetTimeCriticalPriority()
{
    if (!m_pState)
        return;
    std::lock_guard<std::mutex> guard(m_pState->lock);
    m_pState->bTimeCritical = true;
}

void CDecodeThread::Resume()
{
    if (!m_pState)
        return;
    std::lock_guard<std::mutex> guard(m_pState->lock);
    m_pState->bResumed = true;
    m_pState->changed.notify_all();
}

bool CDecodeThread::Wait(DWORD timeoutMs)
{
    if (!m_pState)
        return true;
    std::unique_lock<std::mutex> lock(m_pState->lock);
    return m_pState->changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                      [this] { return m_pState->bFinished; });
}

void CDecodeThread::Close()
{
    if (!m_thread.joinable())
        return;
    bool finished;
    {
        std::lock_guard<std::mutex> guard(m_pState->lock);
        finished = m_pState->bFinished;
        if (!m_pState->bResumed)
            m_pState->bCancelled = true;
        m_pState->bResumed = true;
        m_pState->changed.notify_all();
    }
    if (finished)
        m_thread.join();
    else
        m_thread.detach();
    m_pState.reset();
}

void CDecodeThread::Run(std::shared_ptr<State> state, Entry entry, void* argument)
{
    NameCurrentThread("tunivox-decode");
    bool timeCritical = false;
    {
        std::unique_lock<std::mutex> lock(state->lock);
        state->changed.wait(lock, [&] { return state->bResumed; });
        timeCritical = state->bTimeCritical;
    }
    if (timeCritical)
        SetCurrentThreadTimeCritical();
    if (!state->bCancelled)
        entry(argument);
    std::lock_guard<std::mutex> guard(state->lock);
    state->bFinished = true;
    state->changed.notify_all();
}
