#include "audio/EngineEvents.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

CEngineEvents::CEngineEvents(QObject* parent) : QObject(parent)
{
    m_fd = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    if (m_fd < 0 || !QAbstractEventDispatcher::instance())
        return;
    m_pNotifier = new QSocketNotifier(static_cast<qintptr>(m_fd), QSocketNotifier::Read, this);
    connect(m_pNotifier, &QSocketNotifier::activated, this, [this] { Collect(); });
}

CEngineEvents::~CEngineEvents()
{
    delete m_pNotifier;
    if (m_fd >= 0)
        ::close(m_fd);
}

void CEngineEvents::Raise(unsigned events) noexcept
{
    if (m_pending.fetch_or(events, std::memory_order_acq_rel) != 0 || m_fd < 0)
        return; // a wake-up is on its way already
    const std::uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = ::write(m_fd, &one, sizeof(one));
}

unsigned CEngineEvents::Collect()
{
    if (m_fd >= 0) {
        std::uint64_t count = 0;
        [[maybe_unused]] const ssize_t taken = ::read(m_fd, &count, sizeof(count));
    }
    const unsigned events = m_pending.exchange(0, std::memory_order_acq_rel);
    if (events & kSongHeard)
        emit songHeard();
    if (events & kSongEnded)
        emit songEnded();
    if (events & kDeviceFailed)
        emit deviceFailed();
    if (events & kEngineError)
        emit engineError();
    return events;
}
