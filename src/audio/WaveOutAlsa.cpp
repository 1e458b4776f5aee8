#include "audio/WaveOutDevice.h"

std::unique_ptr<CWaveOutDevice> CreateWaveOutAlsa(const std::string&)
{
    return nullptr;
}
