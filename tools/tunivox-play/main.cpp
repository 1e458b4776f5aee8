// tunivox-play: plays files through the audio engine, for listening and for measuring.
//
//   tunivox-play [--device alsa|null] [--alsa-device NAME] [--speed N|--untimed] [--capture FILE]
//                [--start SECONDS] [--seek-at T:POS]... [--stats] [--hand-back MS] FILE...
//
// --alsa-device NAME plays through that ALSA device ("pulse", "pipewire", "hw:0", ...) instead of
// "default"; it implies --device alsa.
// --speed, --untimed and --capture use the null device (implied when --device is not given).
// --seek-at T:POS seeks to POS seconds once playback has reached T seconds (each once per file).
// --stats prints, per file, the underruns the sound device went through and the streams it started.
// --hand-back MS lets the device return heard blocks in bursts up to MS apart (default 200; 0 returns
// each block as it is heard), so that playing wakes the machine a few times a second, not 86.
// Exit code 0 when every file played, 1 when one could not be played, 2 for a bad command line.

#include <QCoreApplication>
#include <QFileInfo>
#include <QStandardPaths>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

#include "audio/CAudioPlayer.h"
#include "audio/UnplayableReason.h"
#include "audio/WaveOut.h"
#include "platform/FileKinds.h"
#include "platform/Folders.h"

namespace {

constexpr double kUnits = 10000000.0;

struct SeekAt
{
    double dAt;
    double dTo;
};

struct Options
{
    WaveMapperOptions device;
    bool bDeviceGiven = false;
    bool bNullWanted = false;
    bool bAlsaDeviceGiven = false;
    double dStart = 0;
    std::vector<SeekAt> seeks;
    bool bStats = false;
    double dHandBackMs = 200;
    std::vector<std::string> files;
};

constexpr const char* kUsage =
    "usage: tunivox-play [OPTION]... FILE...\n"
    "Plays each FILE through the audio engine.\n"
    "  --device alsa|null    the sound device: ALSA (the default) or the null device\n"
    "  --alsa-device NAME    the ALSA device to play through (default \"default\"); implies --device alsa\n"
    "  --speed N             null device: play at N times real time\n"
    "  --untimed             null device: play as fast as the files decode\n"
    "  --capture FILE        null device: write what is played to FILE (s16le, 44.1 kHz, stereo)\n"
    "  --start SECONDS       start each file at SECONDS\n"
    "  --seek-at T:POS       seek to POS seconds once playback reaches T seconds (may be repeated)\n"
    "  --stats               print the sound device's underruns and streams started, per file\n"
    "  --hand-back MS        hand heard blocks back in bursts up to MS apart (0 to 1000, default 200)\n"
    "  -h, --help            print this help and exit\n"
    "Exit status: 0 when every file played, 1 when one could not be played, 2 for a bad command line.\n";
constexpr int kHelpShown = -1;

int Usage(const char* problem)
{
    std::fprintf(stderr, "tunivox-play: %s\n%s", problem, kUsage);
    return 2;
}

bool ParseNumber(const char* text, double* value)
{
    char* end = nullptr;
    *value = std::strtod(text, &end);
    return end != text && *end == 0 && *value >= 0;
}

// Returns 0 on success, else the exit code for a bad command line.
int ParseOptions(int argc, char** argv, Options* options)
{
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--help" || arg == "-h") {
            std::printf("%s", kUsage);
            return kHelpShown;
        } else if (arg == "--device" && hasValue) {
            if (!ParseWaveBackend(argv[++i], &options->device.eBackend))
                return Usage("--device takes alsa or null");
            options->bDeviceGiven = true;
        } else if (arg == "--alsa-device" && hasValue) {
            options->device.strAlsaDevice = argv[++i];
            if (options->device.strAlsaDevice.empty())
                return Usage("--alsa-device takes an ALSA device name");
            options->bAlsaDeviceGiven = true;
        } else if (arg == "--speed" && hasValue) {
            if (!ParseNumber(argv[++i], &options->device.null.dSpeed) || options->device.null.dSpeed <= 0)
                return Usage("--speed takes a positive number");
            options->bNullWanted = true;
        } else if (arg == "--untimed") {
            options->device.null.bUntimed = true;
            options->bNullWanted = true;
        } else if (arg == "--capture" && hasValue) {
            options->device.null.strCaptureFile = argv[++i];
            options->bNullWanted = true;
        } else if (arg == "--start" && hasValue) {
            if (!ParseNumber(argv[++i], &options->dStart))
                return Usage("--start takes seconds");
        } else if (arg == "--seek-at" && hasValue) {
            const std::string value = argv[++i];
            const auto colon = value.find(':');
            SeekAt seek{};
            if (colon == std::string::npos || !ParseNumber(value.substr(0, colon).c_str(), &seek.dAt) ||
                !ParseNumber(value.substr(colon + 1).c_str(), &seek.dTo))
                return Usage("--seek-at takes T:POS in seconds");
            options->seeks.push_back(seek);
        } else if (arg == "--hand-back" && hasValue) {
            if (!ParseNumber(argv[++i], &options->dHandBackMs) || options->dHandBackMs > 1000)
                return Usage("--hand-back takes milliseconds from 0 to 1000");
        } else if (arg == "--stats") {
            options->bStats = true;
        } else if (arg == "--device" || arg == "--alsa-device" || arg == "--speed" || arg == "--capture" ||
                   arg == "--start" || arg == "--seek-at" || arg == "--hand-back") {
            return Usage((arg + " needs a value").c_str());
        } else if (arg.rfind("--", 0) == 0) {
            return Usage(("unknown option " + arg).c_str());
        } else {
            options->files.push_back(arg);
        }
    }
    if (options->files.empty())
        return Usage("no file given");
    if (options->bAlsaDeviceGiven) {
        if (options->bNullWanted || (options->bDeviceGiven && options->device.eBackend != WaveBackend::Alsa))
            return Usage("--alsa-device goes with the ALSA device only");
        options->device.eBackend = WaveBackend::Alsa;
    }
    if (options->bNullWanted) {
        if (options->bDeviceGiven && options->device.eBackend != WaveBackend::Null)
            return Usage("--speed, --untimed and --capture need the null device");
        options->device.eBackend = WaveBackend::Null;
    }
    std::sort(options->seeks.begin(), options->seeks.end(),
              [](const SeekAt& a, const SeekAt& b) { return a.dAt < b.dAt; });
    return 0;
}

std::string Clock(double seconds)
{
    const long whole = static_cast<long>(seconds);
    char text[32];
    std::snprintf(text, sizeof(text), "%02ld:%02ld", whole / 60, whole % 60);
    return text;
}

void ReportError(HRESULT hr, const CAudioPlayer& player)
{
    std::fprintf(stderr, "PlayCtrl Error #%d\nError context: %s\n", static_cast<int>(hr), player.m_szError);
}

// The engine's own report, then a line naming the file and saying why in a listener's words: what
// the file system says about it, else FFmpeg's reason when it could not read the file.
void ReportUnopenable(HRESULT hr, const CAudioPlayer& player, const std::string& file)
{
    ReportError(hr, player);
    const QString path = QString::fromStdString(file);
    QString reason = UnplayableReason(path, nullptr);
    const std::string& decoder = player.GetOpenFailure();
    if (IsRegularFile(path) && QFileInfo(path).isReadable() && !decoder.empty())
        reason += QStringLiteral(" (FFmpeg: %1)").arg(QString::fromStdString(decoder));
    std::fprintf(stderr, "tunivox-play: %s: %s\n", file.c_str(), reason.toUtf8().constData());
}

// A file that opened but did not play through: the engine's report, then its reason on the file's line.
void ReportPlaybackFailure(HRESULT hr, const CAudioPlayer& player, const std::string& file, const char* reason)
{
    ReportError(hr, player);
    std::fprintf(stderr, "tunivox-play: %s: %s\n", file.c_str(), reason);
}

bool PlayFile(CAudioPlayer& player, const Options& options, const std::string& file, bool terminal)
{
    HRESULT hr = player.Open(file.c_str());
    if (FAILED(hr)) {
        ReportUnopenable(hr, player, file);
        return false;
    }
    hr = player.Play(static_cast<QWORD>(options.dStart * kUnits));
    if (FAILED(hr)) {
        ReportPlaybackFailure(hr, player, file, player.m_szError[0] ? player.m_szError : "could not start playing");
        return false;
    }
    const double total = player.m_qwDuration / kUnits;
    const std::string name = QFileInfo(QString::fromStdString(file)).fileName().toStdString();
    const bool fast = options.device.eBackend == WaveBackend::Null &&
                      (options.device.null.bUntimed || options.device.null.dSpeed > 1);
    // The position is looked at when a line is due: every second on a terminal, at every tenth
    // second in a log (each look wakes the device), and more often only while a seek waits for
    // its moment, the clock runs faster than real time or the device's counts are wanted (they are
    // read while it lives).
    const DWORD seekPollMs = fast ? 1 : 100;
    constexpr DWORD kShowEveryMs = 1000;
    constexpr int kLogEverySeconds = 10;
    constexpr DWORD kPastTheMarkMs = 20;
    std::size_t nextSeek = 0;
    long shownSecond = -1;
    WaveOutStatistics statistics;
    while (player.m_bPlaying) {
        waveOutGetStatistics(player.m_hWaveOut, &statistics); // the device is gone once the song ends
        const double position = player.GetCurrentTime() / kUnits;
        while (nextSeek < options.seeks.size() && position >= options.seeks[nextSeek].dAt) {
            player.Play(static_cast<QWORD>(options.seeks[nextSeek].dTo * kUnits));
            ++nextSeek;
        }
        const long second = static_cast<long>(position);
        if (second != shownSecond && (terminal || second % 10 == 0)) {
            shownSecond = second;
            if (terminal)
                std::printf("\r%s / %s  %s", Clock(position).c_str(), Clock(total).c_str(), name.c_str());
            else
                std::printf("%s / %s  %s\n", Clock(position).c_str(), Clock(total).c_str(), name.c_str());
            std::fflush(stdout);
        }
        // Sleeps until the song ends or it is time to look again.
        DWORD waitMs = kShowEveryMs;
        if (nextSeek < options.seeks.size()) {
            waitMs = seekPollMs;
        } else if (!terminal && !fast && !options.bStats) {
            const double nextMark = (std::floor(position / kLogEverySeconds) + 1) * kLogEverySeconds;
            waitMs = static_cast<DWORD>((nextMark - position) * 1000) + kPastTheMarkMs;
        }
        player.WaitForEnd(waitMs);
    }
    const HRESULT ended = player.m_hrThread;
    // A file FFmpeg opens but that has no length and yields no sound (text named .flac) is no song.
    const bool silentAndEmpty = player.m_qwDuration == 0 &&
                                player.GetCurrentTime() <= static_cast<QWORD>(options.dStart * kUnits);
    player.Stop();
    if (terminal)
        std::printf("\n");
    if (options.bStats)
        std::printf("device: %llu underruns, %llu streams started  %s\n",
                    static_cast<unsigned long long>(statistics.nUnderruns),
                    static_cast<unsigned long long>(statistics.nStreamStarts), name.c_str());
    if (FAILED(ended) && ended != NS_E_NO_MORE_SAMPLES) {
        std::snprintf(player.m_szError, sizeof(player.m_szError), "Playback of %s ended early.", file.c_str());
        ReportPlaybackFailure(ended, player, file, "playback ended early");
        return false;
    }
    if (silentAndEmpty) {
        player.m_szError[0] = 0;
        ReportUnopenable(ended, player, file);
        return false;
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    Options options;
    if (const int bad = ParseOptions(argc, argv, &options))
        return bad == kHelpShown ? 0 : bad;
    // The null device opens the capture file only when the first song starts, and can then say no
    // more than that it failed: whether the file can be written is asked here, with the reason.
    if (const std::string& capture = options.device.null.strCaptureFile; !capture.empty()) {
        std::FILE* file = std::fopen(capture.c_str(), "wb");
        if (!file) {
            std::fprintf(stderr, "tunivox-play: %s: the capture file cannot be written: %s\n", capture.c_str(),
                         std::strerror(errno));
            return 1;
        }
        std::fclose(file);
    }
    SetWaveMapper(options.device);

    CAudioPlayer player;
    player.SetHandBackInterval(static_cast<DWORD>(options.dHandBackMs));
    const HRESULT hr = player.Init();
    if (FAILED(hr) || player.m_szError[0]) {
        ReportError(FAILED(hr) ? hr : E_OUTOFMEMORY, player);
        return 1;
    }
    const QString converter = QStandardPaths::findExecutable(QStringLiteral("ffmpeg"));
    player.SetPaths(converter.isEmpty() ? QString() : QFileInfo(converter).absolutePath() + QStringLiteral("/"),
                    PrivateTempFolder());

    const bool terminal = isatty(STDOUT_FILENO) != 0;
    int status = 0;
    for (const std::string& file : options.files) {
        if (!PlayFile(player, options, file, terminal))
            status = 1;
    }
    player.Release();
    return status;
}
