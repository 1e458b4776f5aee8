#include "audio/CMediaReader.h"

#include "audio/CWatchedFile.h"

#include <QString>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

namespace {

constexpr QWORD kUnitsPerSecond = 10000000;
constexpr int kIoBufferBytes = 32768;
// Output room for one decoded frame after rate conversion (FLAC frames reach 65535 samples).
constexpr int kOutputFrames = 1 << 17;

HRESULT MapAvError(int error)
{
    if (error == AVERROR_INVALIDDATA || error == AVERROR_DECODER_NOT_FOUND ||
        error == AVERROR_DEMUXER_NOT_FOUND || error == AVERROR_STREAM_NOT_FOUND || error == AVERROR_EOF)
        return NS_E_INVALID_DATA;
    if (error == AVERROR(ENOMEM))
        return E_OUTOFMEMORY;
    if (error < 0 && error > -4096)
        return HResultFromError(-error);
    return E_FAIL;
}

std::string AvErrorText(int error)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {};
    av_strerror(error, text, sizeof(text));
    return text;
}

bool IsDurationName(const char16_t* name)
{
    static const char16_t kDuration[] = u"Duration";
    if (!name)
        return false;
    for (int i = 0;; ++i) {
        if (name[i] != kDuration[i])
            return false;
        if (name[i] == 0)
            return true;
    }
}

// Where the audio of an MP4 track ends when its encoder padded the last frame: the track's duration
// (its edit list, as FFmpeg reads it), in samples from the start; -1 when nothing says so.
std::int64_t PaddedEnd(const AVFormatContext* format, const AVStream* stream)
{
    const int rate = stream->codecpar->sample_rate;
    if (!format->iformat || !std::strstr(format->iformat->name, "mp4") || stream->duration <= 0 || rate <= 0)
        return -1;
    return av_rescale_q(stream->duration, stream->time_base, AVRational{1, rate});
}

int ReadFromFile(void* opaque, uint8_t* buffer, int size)
{
    const int got = static_cast<CWatchedFile*>(opaque)->Read(buffer, size);
    return got > 0 ? got : got == 0 ? AVERROR_EOF : AVERROR(-got);
}

int64_t SeekInFile(void* opaque, int64_t offset, int whence)
{
    auto* file = static_cast<CWatchedFile*>(opaque);
    if (whence & AVSEEK_SIZE)
        return file->Size();
    const std::int64_t position = file->Seek(offset, whence & ~AVSEEK_FORCE);
    return position < 0 ? AVERROR(EINVAL) : position;
}

} // namespace

HRESULT CMediaSample::GetBufferAndLength(BYTE** buffer, DWORD* length) const
{
    if (!buffer || !length)
        return E_INVALIDARG;
    *buffer = m_pData;
    *length = m_dwLength;
    return S_OK;
}

void CMediaSample::Release()
{
    m_bInUse = false;
}

struct CMediaReader::Impl
{
    std::string strPath;
    CWatchedFile file; // read through pIo, so that a tag writer's rewrite is followed
    AVIOContext* pIo = nullptr;
    AVFormatContext* pFormat = nullptr;
    AVCodecContext* pDecoder = nullptr;
    SwrContext* pResampler = nullptr;
    AVPacket* pPacket = nullptr;
    AVFrame* pFrame = nullptr;

    int nStream = -1; // the output configured for PCM
    WAVEFORMATEX output{};
    std::vector<BYTE> outBuffer;

    // Resampler input as last configured.
    int nInFormat = -1;
    int nInRate = 0;
    AVChannelLayout inLayout{};

    QWORD qwBaseTime = 0;
    std::uint64_t nDelivered = 0;
    std::uint64_t nSkip = 0; // output frames to drop after a reopen, to land on the next sample
    bool bTrimming = false;
    QWORD qwTrimTarget = 0;
    bool bPristine = true;
    bool bInputEnded = false;
    bool bDecoderDrained = false;
    bool bResamplerFlushed = false;
    bool bEnded = false; // the file went away or could not be read again: the song is over
    std::atomic<bool> bTrimEnd{false}; // set from the control's thread while the decoding thread reads
    std::int64_t nEndSample = -1; // first source sample not to deliver (counted from the stream's start)
    CMediaReader::CancelCheck pCancel = nullptr;
    void* pCancelContext = nullptr;

    CMediaSample sample;
    std::string strLastError;

    ~Impl() { CloseAll(); }

    HRESULT Fail(int error, const char* what)
    {
        strLastError = std::string(what) + ": " + AvErrorText(error);
        return MapAvError(error);
    }

    void CloseDecoder()
    {
        swr_free(&pResampler);
        avcodec_free_context(&pDecoder);
        av_channel_layout_uninit(&inLayout);
        nInFormat = -1;
        nInRate = 0;
    }

    void CloseInput()
    {
        avformat_close_input(&pFormat);
        if (pIo)
            av_freep(&pIo->buffer);
        avio_context_free(&pIo);
    }

    void CloseAll()
    {
        CloseDecoder();
        CloseInput();
        file.Close();
        av_packet_free(&pPacket);
        av_frame_free(&pFrame);
        nStream = -1;
        sample = CMediaSample();
    }

    // Opens the demuxer on `file`, which is opened first unless it already is.
    HRESULT OpenInput()
    {
        if (!file.IsOpen()) {
            const int failure = file.Open(strPath);
            if (failure != 0)
                return Fail(AVERROR(failure), "open");
        }
        auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
        pIo = buffer ? avio_alloc_context(buffer, kIoBufferBytes, 0, &file, ReadFromFile, nullptr, SeekInFile)
                     : nullptr;
        pFormat = pIo ? avformat_alloc_context() : nullptr;
        if (!pFormat) {
            if (!pIo)
                av_free(buffer);
            CloseAll();
            return E_OUTOFMEMORY;
        }
        pFormat->pb = pIo;
        int error = avformat_open_input(&pFormat, strPath.c_str(), nullptr, nullptr);
        if (error < 0) {
            CloseAll();
            return Fail(error, "open");
        }
        error = avformat_find_stream_info(pFormat, nullptr);
        if (error < 0) {
            CloseAll();
            return Fail(error, "stream info");
        }
        if (!pPacket)
            pPacket = av_packet_alloc();
        if (!pFrame)
            pFrame = av_frame_alloc();
        if (!pPacket || !pFrame) {
            CloseAll();
            return E_OUTOFMEMORY;
        }
        ResetPosition(0);
        bPristine = true;
        return S_OK;
    }

    HRESULT OpenDecoder()
    {
        AVStream* stream = pFormat->streams[nStream];
        const AVCodec* codec = avcodec_find_decoder(stream->codecpar->codec_id);
        if (!codec)
            return Fail(AVERROR_DECODER_NOT_FOUND, "decoder");
        pDecoder = avcodec_alloc_context3(codec);
        if (!pDecoder)
            return E_OUTOFMEMORY;
        int error = avcodec_parameters_to_context(pDecoder, stream->codecpar);
        if (error >= 0) {
            pDecoder->pkt_timebase = stream->time_base;
            error = avcodec_open2(pDecoder, codec, nullptr);
        }
        if (error < 0) {
            avcodec_free_context(&pDecoder);
            return Fail(error, "decoder open");
        }
        return S_OK;
    }

    void ResetPosition(QWORD start)
    {
        qwBaseTime = start;
        nDelivered = 0;
        bTrimming = start != 0;
        qwTrimTarget = start;
        bInputEnded = false;
        bDecoderDrained = false;
        bResamplerFlushed = false;
        nSkip = 0;
    }

    bool ConfigureResampler(const AVFrame* frame)
    {
        AVChannelLayout layout{};
        if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC || frame->ch_layout.nb_channels == 0)
            av_channel_layout_default(&layout, frame->ch_layout.nb_channels > 0 ? frame->ch_layout.nb_channels
                                                                               : pDecoder->ch_layout.nb_channels);
        else
            av_channel_layout_copy(&layout, &frame->ch_layout);
        if (pResampler && nInFormat == frame->format && nInRate == frame->sample_rate &&
            av_channel_layout_compare(&layout, &inLayout) == 0) {
            av_channel_layout_uninit(&layout);
            return true;
        }
        swr_free(&pResampler);
        av_channel_layout_uninit(&inLayout);
        inLayout = layout;
        nInFormat = frame->format;
        nInRate = frame->sample_rate;
        AVChannelLayout outLayout{};
        av_channel_layout_default(&outLayout, output.nChannels);
        const int error = swr_alloc_set_opts2(&pResampler, &outLayout, AV_SAMPLE_FMT_S16,
                                              static_cast<int>(output.nSamplesPerSec), &inLayout,
                                              static_cast<AVSampleFormat>(frame->format), frame->sample_rate, 0,
                                              nullptr);
        av_channel_layout_uninit(&outLayout);
        if (error < 0 || swr_init(pResampler) < 0) {
            swr_free(&pResampler);
            strLastError = "resampler setup failed";
            return false;
        }
        return true;
    }

    // Converts one decoded frame; returns the number of output frames now in outBuffer.
    int ConvertFrame(const AVFrame* frame)
    {
        if (frame->nb_samples <= 0 || frame->sample_rate <= 0 || !ConfigureResampler(frame))
            return 0;
        int skip = 0;
        const AVStream* stream = pFormat->streams[nStream];
        if (bTrimming) {
            const std::int64_t pts = frame->best_effort_timestamp;
            if (pts != AV_NOPTS_VALUE) {
                const std::int64_t origin = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;
                const std::int64_t start =
                    av_rescale_q(pts - origin, stream->time_base, AVRational{1, static_cast<int>(kUnitsPerSecond)});
                const std::int64_t end = start + static_cast<std::int64_t>(frame->nb_samples) *
                                                     static_cast<std::int64_t>(kUnitsPerSecond) / frame->sample_rate;
                const auto target = static_cast<std::int64_t>(qwTrimTarget);
                if (end <= target)
                    return 0;
                if (start < target)
                    skip = static_cast<int>((target - start) * frame->sample_rate /
                                            static_cast<std::int64_t>(kUnitsPerSecond));
            }
            bTrimming = false;
        }
        const uint8_t* input[AV_NUM_DATA_POINTERS] = {};
        const int bytesPerSample = av_get_bytes_per_sample(static_cast<AVSampleFormat>(frame->format));
        const bool planar = av_sample_fmt_is_planar(static_cast<AVSampleFormat>(frame->format));
        const int planes = planar ? frame->ch_layout.nb_channels : 1;
        const int stride = planar ? bytesPerSample : bytesPerSample * frame->ch_layout.nb_channels;
        for (int p = 0; p < planes && p < AV_NUM_DATA_POINTERS; ++p)
            input[p] = frame->extended_data[p] + static_cast<std::ptrdiff_t>(skip) * stride;
        int count = frame->nb_samples - skip;
        if (nEndSample >= 0 && frame->best_effort_timestamp != AV_NOPTS_VALUE) {
            const std::int64_t origin = stream->start_time != AV_NOPTS_VALUE ? stream->start_time : 0;
            const std::int64_t first = av_rescale_q(frame->best_effort_timestamp - origin, stream->time_base,
                                                    AVRational{1, frame->sample_rate}) + skip;
            count = static_cast<int>(std::clamp<std::int64_t>(nEndSample - first, 0, count));
        }
        return count > 0 ? Resample(input, count) : 0;
    }

    int Resample(const uint8_t** input, int count)
    {
        if (!pResampler)
            return 0;
        const int needed = swr_get_out_samples(pResampler, count);
        const int capacity = static_cast<int>(outBuffer.size() / output.nBlockAlign);
        if (needed > capacity)
            outBuffer.resize(static_cast<std::size_t>(needed) * output.nBlockAlign);
        uint8_t* target = outBuffer.data();
        const int produced = swr_convert(pResampler, &target, static_cast<int>(outBuffer.size() / output.nBlockAlign),
                                         input, count);
        return produced > 0 ? produced : 0;
    }

    // Hands out the converted frames, less those still to be skipped; false when none are left.
    bool Deliver(int frames, CMediaSample** result, QWORD* time)
    {
        const int skipped = static_cast<int>(std::min<std::uint64_t>(nSkip, static_cast<std::uint64_t>(frames)));
        nSkip -= static_cast<std::uint64_t>(skipped);
        nDelivered += static_cast<std::uint64_t>(skipped);
        frames -= skipped;
        if (frames <= 0)
            return false;
        sample.m_pData = outBuffer.data() + static_cast<std::size_t>(skipped) * output.nBlockAlign;
        sample.m_dwLength = static_cast<DWORD>(frames) * output.nBlockAlign;
        sample.m_bInUse = true;
        *time = qwBaseTime + nDelivered * kUnitsPerSecond / output.nSamplesPerSec;
        nDelivered += static_cast<std::uint64_t>(frames);
        *result = &sample;
        return true;
    }

    // Asks for PCM in `format` from output `stream` and opens its decoder.
    HRESULT Configure(int stream, const WAVEFORMATEX& format)
    {
        CloseDecoder();
        nStream = stream;
        output = format;
        for (unsigned i = 0; i < pFormat->nb_streams; ++i)
            pFormat->streams[i]->discard = static_cast<int>(i) == nStream ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
        const HRESULT hr = OpenDecoder();
        if (FAILED(hr)) {
            nStream = -1;
            return hr;
        }
        nEndSample = bTrimEnd ? PaddedEnd(pFormat, pFormat->streams[nStream]) : -1;
        return S_OK;
    }

    HRESULT SeekTo(QWORD start)
    {
        std::int64_t target = static_cast<std::int64_t>(start / (kUnitsPerSecond / AV_TIME_BASE));
        if (pFormat->start_time != AV_NOPTS_VALUE)
            target += pFormat->start_time;
        int error = avformat_seek_file(pFormat, -1, INT64_MIN, target, target, 0);
        if (error < 0)
            error = av_seek_frame(pFormat, -1, target, AVSEEK_FLAG_BACKWARD);
        if (error < 0)
            return Fail(error, "seek");
        avcodec_flush_buffers(pDecoder);
        swr_free(&pResampler);
        nInFormat = -1;
        ResetPosition(start);
        return S_OK;
    }

    // The audio bytes changed under us (re-encoded, overwritten): open the file as it is now and
    // decode up to the sample that comes next, dropping what was already delivered.
    HRESULT ReopenAtNextSample()
    {
        const QWORD base = qwBaseTime;
        const std::uint64_t delivered = nDelivered;
        const int stream = nStream;
        const WAVEFORMATEX format = output;
        CloseDecoder();
        CloseInput();
        file.Restart();
        HRESULT hr = OpenInput();
        if (SUCCEEDED(hr))
            hr = stream < static_cast<int>(pFormat->nb_streams) &&
                         pFormat->streams[stream]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO
                     ? Configure(stream, format)
                     : NS_E_INVALID_DATA;
        if (SUCCEEDED(hr))
            hr = base != 0 ? SeekTo(base) : S_OK;
        if (FAILED(hr))
            return hr;
        ResetPosition(base);
        nSkip = delivered;
        return S_OK;
    }
};

CMediaReader::CMediaReader() : m_pImpl(std::make_unique<Impl>())
{
    // Failures reach the caller as results and LastErrorText; FFmpeg's console chatter is not wanted.
    av_log_set_level(AV_LOG_QUIET);
}

CMediaReader::~CMediaReader() = default;

HRESULT CMediaReader::Open(const WCHAR* fileName)
{
    Impl& d = *m_pImpl;
    if (!fileName || !*fileName)
        return E_INVALIDARG;
    d.CloseAll();
    d.bEnded = false;
    d.strPath = QString::fromUtf16(fileName).toUtf8().toStdString();
    return d.OpenInput();
}

HRESULT CMediaReader::Close()
{
    if (!m_pImpl->pFormat)
        return NS_E_NOT_OPENED;
    m_pImpl->CloseAll();
    return S_OK;
}

HRESULT CMediaReader::GetOutputCount(DWORD* count) const
{
    if (!count)
        return E_INVALIDARG;
    if (!m_pImpl->pFormat)
        return NS_E_NOT_OPENED;
    *count = m_pImpl->pFormat->nb_streams;
    return S_OK;
}

HRESULT CMediaReader::GetMediaType(DWORD output, WM_MEDIA_TYPE* type, DWORD* size) const
{
    const Impl& d = *m_pImpl;
    if (!size)
        return E_INVALIDARG;
    if (!d.pFormat)
        return NS_E_NOT_OPENED;
    if (output >= d.pFormat->nb_streams)
        return E_INVALIDARG;
    const AVCodecParameters* par = d.pFormat->streams[output]->codecpar;
    const bool audio = par->codec_type == AVMEDIA_TYPE_AUDIO;
    const DWORD needed = sizeof(WM_MEDIA_TYPE) + (audio ? sizeof(WAVEFORMATEX) : 0);
    if (!type) {
        *size = needed;
        return S_OK;
    }
    if (*size < needed)
        return E_INVALIDARG;
    type->majortype = audio ? MEDIATYPE_Audio : par->codec_type == AVMEDIA_TYPE_VIDEO ? MEDIATYPE_Video
                                                                                      : MEDIATYPE_Other;
    type->cbFormat = 0;
    type->pbFormat = nullptr;
    if (audio) {
        WAVEFORMATEX format{};
        format.wFormatTag = WAVE_FORMAT_PCM;
        format.nChannels = static_cast<WORD>(par->ch_layout.nb_channels > 0 ? par->ch_layout.nb_channels : 2);
        format.nSamplesPerSec = static_cast<DWORD>(par->sample_rate > 0 ? par->sample_rate : 44100);
        format.wBitsPerSample = 16;
        format.nBlockAlign = static_cast<WORD>(format.nChannels * 2);
        format.nAvgBytesPerSec = format.nSamplesPerSec * format.nBlockAlign;
        type->cbFormat = sizeof(WAVEFORMATEX);
        type->pbFormat = reinterpret_cast<BYTE*>(type + 1);
        std::memcpy(type->pbFormat, &format, sizeof(format));
    }
    *size = needed;
    return S_OK;
}

HRESULT CMediaReader::SetMediaType(DWORD output, const WM_MEDIA_TYPE* type)
{
    Impl& d = *m_pImpl;
    if (!d.pFormat)
        return NS_E_NOT_OPENED;
    if (!type || output >= d.pFormat->nb_streams || type->majortype != MEDIATYPE_Audio ||
        type->cbFormat < sizeof(WAVEFORMATEX) || !type->pbFormat ||
        d.pFormat->streams[output]->codecpar->codec_type != AVMEDIA_TYPE_AUDIO)
        return E_INVALIDARG;
    WAVEFORMATEX format;
    std::memcpy(&format, type->pbFormat, sizeof(format));
    if (format.wFormatTag != WAVE_FORMAT_PCM || format.wBitsPerSample != 16 || format.nChannels < 1 ||
        format.nChannels > 2 || format.nSamplesPerSec < 8000 || format.nSamplesPerSec > 192000)
        return E_INVALIDARG;
    format.nBlockAlign = static_cast<WORD>(format.nChannels * 2);
    const HRESULT hr = d.Configure(static_cast<int>(output), format);
    if (FAILED(hr))
        return hr;
    d.outBuffer.assign(static_cast<std::size_t>(kOutputFrames) * format.nBlockAlign, 0);
    return S_OK;
}

HRESULT CMediaReader::GetAttributeByName(const char16_t* name, BYTE* value, WORD* length) const
{
    const Impl& d = *m_pImpl;
    if (!length)
        return E_INVALIDARG;
    if (!d.pFormat)
        return NS_E_NOT_OPENED;
    if (!IsDurationName(name) || d.pFormat->duration == AV_NOPTS_VALUE || d.pFormat->duration <= 0)
        return ASF_E_NOTFOUND;
    if (!value) {
        *length = sizeof(QWORD);
        return S_OK;
    }
    if (*length < sizeof(QWORD))
        return E_INVALIDARG;
    const QWORD duration = static_cast<QWORD>(d.pFormat->duration) * (kUnitsPerSecond / AV_TIME_BASE);
    std::memcpy(value, &duration, sizeof(duration));
    *length = sizeof(QWORD);
    return S_OK;
}

HRESULT CMediaReader::SetRange(QWORD start, QWORD /*duration*/)
{
    Impl& d = *m_pImpl;
    if (!d.pFormat || d.nStream < 0)
        return NS_E_NOT_OPENED;
    if (start == 0) {
        if (d.bPristine)
            return S_OK;
        // Reopening gives exactly the decode of a fresh start, which a seek to 0 does not promise
        // (encoder delay and priming are only handled at the very beginning).
        const int stream = d.nStream;
        const WAVEFORMATEX format = d.output;
        d.CloseAll();
        HRESULT hr = d.OpenInput();
        if (FAILED(hr))
            return hr;
        WM_MEDIA_TYPE type{MEDIATYPE_Audio, sizeof(WAVEFORMATEX), reinterpret_cast<BYTE*>(const_cast<WAVEFORMATEX*>(&format))};
        return SetMediaType(static_cast<DWORD>(stream), &type);
    }
    const HRESULT hr = d.SeekTo(start);
    if (SUCCEEDED(hr))
        d.bPristine = false;
    return hr;
}

HRESULT CMediaReader::GetNextSample(WORD stream, CMediaSample** sample, QWORD* sampleTime)
{
    Impl& d = *m_pImpl;
    if (!sample || !sampleTime)
        return E_INVALIDARG;
    *sample = nullptr;
    if (d.bEnded)
        return NS_E_NO_MORE_SAMPLES;
    if (!d.pFormat || d.nStream < 0)
        return NS_E_NOT_OPENED;
    if (stream != d.nStream)
        return E_INVALIDARG;
    d.bPristine = false;
    // A deleted file ends the song now, not when the bytes already read run out.
    if (d.file.PollGone())
        return NS_E_NO_MORE_SAMPLES;
    for (;;) {
        if (!d.bDecoderDrained) {
            const int received = avcodec_receive_frame(d.pDecoder, d.pFrame);
            if (received == 0) {
                const int frames = d.ConvertFrame(d.pFrame);
                av_frame_unref(d.pFrame);
                if (frames > 0 && d.Deliver(frames, sample, sampleTime))
                    return S_OK;
                if (d.nSkip > 0 && d.pCancel && d.pCancel(d.pCancelContext)) {
                    d.bEnded = true;
                    return NS_E_NO_MORE_SAMPLES;
                }
                continue;
            }
            if (received == AVERROR_EOF) {
                d.bDecoderDrained = true;
                continue;
            }
            if (d.bInputEnded) {
                d.bDecoderDrained = true;
                continue;
            }
            const int read = av_read_frame(d.pFormat, d.pPacket);
            if (d.file.IsGone()) {
                av_packet_unref(d.pPacket);
                return NS_E_NO_MORE_SAMPLES;
            }
            if (d.file.NeedsReopen()) {
                // This packet may hold bytes of the new content: decode from the reopened file instead.
                av_packet_unref(d.pPacket);
                const HRESULT hr = d.ReopenAtNextSample();
                if (FAILED(hr)) {
                    d.CloseAll();
                    d.bEnded = true;
                    return NS_E_NO_MORE_SAMPLES;
                }
                continue;
            }
            if (read < 0) {
                // A read error ends the input like its end does: a damaged tail still plays up to it.
                if (read != AVERROR_EOF)
                    d.strLastError = "read: " + AvErrorText(read);
                d.bInputEnded = true;
                avcodec_send_packet(d.pDecoder, nullptr);
                continue;
            }
            if (d.pPacket->stream_index == d.nStream)
                avcodec_send_packet(d.pDecoder, d.pPacket); // a damaged packet is skipped, as players do
            av_packet_unref(d.pPacket);
            continue;
        }
        if (!d.bResamplerFlushed) {
            d.bResamplerFlushed = true;
            const int frames = d.Resample(nullptr, 0);
            if (frames > 0 && d.Deliver(frames, sample, sampleTime))
                return S_OK;
            continue;
        }
        return NS_E_NO_MORE_SAMPLES;
    }
}

void CMediaReader::SetTrimEndPadding(bool bTrim)
{
    m_pImpl->bTrimEnd = bTrim;
}

void CMediaReader::SetCancelCheck(CancelCheck check, void* context)
{
    m_pImpl->pCancel = check;
    m_pImpl->pCancelContext = context;
}

int CMediaReader::FileChangesFollowed() const
{
    return m_pImpl->file.RemapCount();
}

std::string CMediaReader::LastErrorText() const
{
    return m_pImpl->strLastError;
}
