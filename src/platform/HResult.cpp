#include "platform/HResult.h"

#include <cerrno>
#include <cstring>

HRESULT HResultFromLastError()
{
    return HResultFromError(errno != 0 ? errno : EIO);
}

const char* HResultDescription(HRESULT hr)
{
    switch (hr) {
    case S_OK: return "The operation completed successfully.";
    case S_FALSE: return "The operation completed with a false result.";
    case E_FAIL: return "Unspecified error.";
    case E_UNEXPECTED: return "Catastrophic failure: the object is not ready for this call.";
    case E_INVALIDARG: return "One or more arguments are invalid.";
    case E_OUTOFMEMORY: return "Not enough memory.";
    case E_NOTIMPL: return "Not implemented.";
    case ASF_E_NOTFOUND: return "The attribute was not found.";
    case NS_E_NO_MORE_SAMPLES: return "No more samples in the stream.";
    default: break;
    }
    if ((static_cast<std::uint32_t>(hr) & 0xFFFF0000u) == 0x80070000u)
        return std::strerror(static_cast<int>(static_cast<std::uint32_t>(hr) & 0xFFFFu));
    return "Unknown error.";
}
