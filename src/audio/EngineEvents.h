#pragma once
// What the engine tells its readers: a song joined without a gap was heard, a song ended, the sound
// device failed, the decoding ended on an error. Readers connect to the signals instead of polling.
//
// Threading contract
// - Raise: any thread, made for the device callback and the decoding thread. It ORs the bits into
//   one atomic word and, when the word was empty, writes the eventfd once: no allocation, no lock,
//   no logging, no wait (the eventfd is non-blocking; a full counter cannot happen with one write
//   per empty word).
// - Everything else, and every signal, on the thread that made the object (the GUI thread in the
//   control; any thread with a Qt event loop in other hosts). Its QSocketNotifier wakes that
//   thread; Collect then reads the eventfd first and takes the word second, so a bit raised
//   between the two is taken now and a bit raised after it writes the eventfd anew.
// - A thread without an event loop (a command-line host) may call Collect itself, or poll() Fd().
// - Bits raised again before they are collected are told once.

#include <QObject>
#include <atomic>

#include "tunivox_export.h"

class QSocketNotifier;

class TUNIVOX_EXPORT CEngineEvents : public QObject
{
    Q_OBJECT

public:
    enum Event : unsigned {
        kSongHeard = 1u,    // the device handed back the block holding the next song's first sample
        kSongEnded = 2u,    // the decoding thread ended on its own (end of file, failure), not on Stop
        kDeviceFailed = 4u, // the device stopped for good (GetDeviceFailure says why) or a write failed
        kEngineError = 8u,  // the decoding thread ended with a failure (m_hrThread)
    };

    explicit CEngineEvents(QObject* parent = nullptr);
    ~CEngineEvents() override;
    CEngineEvents(const CEngineEvents&) = delete;
    CEngineEvents& operator=(const CEngineEvents&) = delete;

    void Raise(unsigned events) noexcept;
    // Takes the raised bits and emits their signals, in the order of the bits. Returns the bits.
    unsigned Collect();
    int Fd() const { return m_fd; }

signals:
    void songHeard();
    void songEnded();
    void deviceFailed();
    void engineError();

private:
    int m_fd = -1;
    std::atomic<unsigned> m_pending{0};
    QSocketNotifier* m_pNotifier = nullptr; // a child; null without an event loop
};
