#pragma once
// A pointer member that one thread sets while others read it (the engine's thread handle and sample
// snapshot, read by the visualization's render thread). Loads acquire and stores release, so a reader
// that sees the pointer also sees what was written before it was published; it still reads and
// assigns like the plain pointer it stands for.

#include <atomic>

template <class T>
class AtomicHandle
{
public:
    AtomicHandle() = default;
    AtomicHandle(const AtomicHandle&) = delete;
    AtomicHandle& operator=(const AtomicHandle&) = delete;

    AtomicHandle& operator=(T* pointer)
    {
        m_pointer.store(pointer, std::memory_order_release);
        return *this;
    }
    operator T*() const { return m_pointer.load(std::memory_order_acquire); }
    T* operator->() const { return *this; }
    T* get() const { return *this; }

private:
    std::atomic<T*> m_pointer{nullptr};
};
