// The output devices offered to a listener, from ALSA's device hints.
#include <alsa/asoundlib.h>
#include <algorithm>

#include "audio/WaveOut.h"

namespace {

// Devices a listener would pick. The rest (front:, surround51:, iec958:, dmix:, ...) are channel
// layouts and plumbing that the ones here already reach.
bool IsOffered(const std::string& name)
{
    static const char* const kNames[] = {"default", "pulse", "pipewire", "jack"};
    static const char* const kPrefixes[] = {"sysdefault:", "hw:", "plughw:"};
    for (const char* offered : kNames)
        if (name == offered)
            return true;
    for (const char* prefix : kPrefixes)
        if (name.rfind(prefix, 0) == 0)
            return true;
    return false;
}

// ALSA's descriptions have two lines ("HDA Intel PCH, ALC892 Analog\nFront speakers").
std::string OneLine(std::string text)
{
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string Hint(void* hint, const char* id)
{
    char* value = snd_device_name_get_hint(hint, id);
    std::string text = value ? value : "";
    free(value); // ALSA's allocation
    return text;
}

} // namespace

std::vector<WaveOutDeviceInfo> waveOutListDevices()
{
    std::vector<WaveOutDeviceInfo> devices;
    void** hints = nullptr;
    if (snd_device_name_hint(-1, "pcm", &hints) == 0 && hints) {
        for (void** hint = hints; *hint; ++hint) {
            const std::string name = Hint(*hint, "NAME");
            const std::string direction = Hint(*hint, "IOID"); // empty: both ways
            if (name.empty() || direction == "Input" || !IsOffered(name))
                continue;
            const bool known = std::any_of(devices.begin(), devices.end(),
                                           [&](const WaveOutDeviceInfo& d) { return d.strName == name; });
            if (!known)
                devices.push_back({name, OneLine(Hint(*hint, "DESC"))});
        }
        snd_device_name_free_hint(hints);
    }
    const auto found = std::find_if(devices.begin(), devices.end(),
                                    [](const WaveOutDeviceInfo& d) { return d.strName == "default"; });
    if (found == devices.end())
        devices.insert(devices.begin(), {"default", "The system's default sound output"});
    else
        std::rotate(devices.begin(), found, found + 1);
    return devices;
}
