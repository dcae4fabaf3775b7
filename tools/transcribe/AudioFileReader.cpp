#include "transcribe/AudioFileReader.h"

#include "platform/linux/SoxrSampleRateConverter.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
}

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <limits>
#include <vector>

namespace tavrin {

namespace {

constexpr double outputRate = 16'000;
/// A file may state its length a little too long without being cut off.
constexpr double toleratedLoss = 1.0;
constexpr std::uint64_t toleratedBytes = 64;
/// Packets in a row that may fail before the rest counts as unreadable.
constexpr int mostBrokenPackets = 1'000;

std::string reasonOf(int error) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(error, text.data(), text.size());
    return text.data();
}

struct CloseFormat {
    void operator()(AVFormatContext* format) const noexcept { avformat_close_input(&format); }
};
struct FreeCodec {
    void operator()(AVCodecContext* codec) const noexcept { avcodec_free_context(&codec); }
};
struct FreePacket {
    void operator()(AVPacket* packet) const noexcept { av_packet_free(&packet); }
};
struct FreeFrame {
    void operator()(AVFrame* frame) const noexcept { av_frame_free(&frame); }
};

/// Sample `index` of a plane as a float from -1 to 1.
template <typename Sample>
float scaled(const std::uint8_t* plane, std::size_t index) {
    const Sample value = reinterpret_cast<const Sample*>(plane)[index];
    if constexpr (std::is_same_v<Sample, std::uint8_t>)
        return (static_cast<float>(value) - 128.0F) / 128.0F;
    else if constexpr (std::is_floating_point_v<Sample>)
        return static_cast<float>(value);
    else
        return static_cast<float>(static_cast<double>(value) /
                                  (static_cast<double>(std::numeric_limits<Sample>::max()) + 1.0));
}

float (*readerOf(AVSampleFormat packed))(const std::uint8_t*, std::size_t) {
    switch (packed) {
    case AV_SAMPLE_FMT_U8:
        return scaled<std::uint8_t>;
    case AV_SAMPLE_FMT_S16:
        return scaled<std::int16_t>;
    case AV_SAMPLE_FMT_S32:
        return scaled<std::int32_t>;
    case AV_SAMPLE_FMT_S64:
        return scaled<std::int64_t>;
    case AV_SAMPLE_FMT_FLT:
        return scaled<float>;
    case AV_SAMPLE_FMT_DBL:
        return scaled<double>;
    default:
        return nullptr;
    }
}

/// The bytes that a RIFF file lacks at its end by its own head, whose length libav silently corrects; 0 for other
/// files.
std::uint64_t missingRiffBytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::array<unsigned char, 8> head{};
    if (!file.read(reinterpret_cast<char*>(head.data()), head.size()) || std::memcmp(head.data(), "RIFF", 4) != 0)
        return 0;
    const std::uint64_t stated = 8 + (head[4] | head[5] << 8U | head[6] << 16U | std::uint64_t{head[7]} << 24U);
    constexpr std::uint64_t unknownLength = 0xFFFFFF00; // programs that write to a pipe put about this
    file.seekg(0, std::ios::end);
    const auto size = static_cast<std::uint64_t>(file.tellg());
    return stated < unknownLength && stated > size ? stated - size : 0;
}

/// The samples of a decoded frame, channels side by side.
void interleave(const AVFrame& frame, std::vector<float>& samples) {
    const auto format = static_cast<AVSampleFormat>(frame.format);
    const auto channels = static_cast<std::size_t>(frame.ch_layout.nb_channels);
    const bool planar = av_sample_fmt_is_planar(format) != 0;
    const auto sampleAt = readerOf(av_get_packed_sample_fmt(format));
    samples.clear();
    if (sampleAt == nullptr) return;
    for (std::size_t i = 0; i < static_cast<std::size_t>(frame.nb_samples); ++i)
        for (std::size_t channel = 0; channel < channels; ++channel)
            samples.push_back(planar ? sampleAt(frame.extended_data[channel], i)
                                     : sampleAt(frame.extended_data[0], i * channels + channel));
}

} // namespace

class AudioFileReader::Decoder {
public:
    explicit Decoder(const std::string& file)
        : name(file == "-" ? "standard input" : file), path(file == "-" ? "" : file) {
        av_log_set_level(AV_LOG_QUIET);
        openFormat(file);
        openCodec();
        packet.reset(av_packet_alloc());
        frame.reset(av_frame_alloc());
        if (!packet || !frame) fail("not enough memory");
    }

    std::size_t read(std::span<float> samples) {
        while (ready.size() - taken < samples.size() && !isOver) {
            ready.erase(ready.begin(), ready.begin() + static_cast<std::ptrdiff_t>(taken));
            taken = 0;
            decodeMore();
        }
        const std::size_t count = std::min(samples.size(), ready.size() - taken);
        std::copy_n(ready.begin() + static_cast<std::ptrdiff_t>(taken), count, samples.begin());
        taken += count;
        delivered += count;
        return count;
    }

    [[nodiscard]] std::optional<double> statedSeconds() const noexcept {
        const AVStream* stream = format->streams[streamIndex];
        if (stream->duration > 0) return static_cast<double>(stream->duration) * av_q2d(stream->time_base);
        if (format->duration > 0) return static_cast<double>(format->duration) / AV_TIME_BASE;
        return std::nullopt;
    }
    [[nodiscard]] double readSeconds() const noexcept { return static_cast<double>(delivered) / outputRate; }

    [[nodiscard]] std::optional<std::string> damage() const {
        if (!readError.empty()) return readError;
        if (const auto missing = missingRiffBytes(path); missing > toleratedBytes)
            return "the file is cut off: its last " + std::to_string(missing) + " bytes are missing";
        const auto stated = statedSeconds();
        // Streams of changing bit rate only estimate their length.
        if (stated && format->duration_estimation_method != AVFMT_DURATION_FROM_BITRATE &&
            readSeconds() + toleratedLoss < *stated * 0.99)
            return "the file ends after " + std::to_string(static_cast<int>(readSeconds())) + " of " +
                   std::to_string(static_cast<int>(*stated)) + " seconds";
        return std::nullopt;
    }

private:
    [[noreturn]] void fail(const std::string& reason) const { throw AudioFileError(name + ": " + reason); }

    void openFormat(const std::string& file) {
        AVFormatContext* opened = nullptr;
        // Only files and pipes: a play list must not reach out to the network.
        AVDictionary* options = nullptr;
        av_dict_set(&options, "protocol_whitelist", "file,pipe", 0);
        const std::string url = file == "-" ? "pipe:0" : "file:" + file;
        const int error = avformat_open_input(&opened, url.c_str(), nullptr, &options);
        av_dict_free(&options);
        if (error < 0)
            fail(error == AVERROR_INVALIDDATA || error == AVERROR_EOF ? "not an audio or video file" : reasonOf(error));
        format.reset(opened);
        if (const int found = avformat_find_stream_info(opened, nullptr); found < 0) fail(reasonOf(found));
    }

    void openCodec() {
        const AVCodec* kind = nullptr;
        const int index = av_find_best_stream(format.get(), AVMEDIA_TYPE_AUDIO, -1, -1, &kind, 0);
        if (index == AVERROR_STREAM_NOT_FOUND) fail("it has no sound");
        if (index < 0 || kind == nullptr) fail("no decoder for its sound");
        streamIndex = static_cast<unsigned>(index);
        for (unsigned i = 0; i < format->nb_streams; ++i)
            if (i != streamIndex) format->streams[i]->discard = AVDISCARD_ALL;
        codec.reset(avcodec_alloc_context3(kind));
        if (!codec || avcodec_parameters_to_context(codec.get(), format->streams[streamIndex]->codecpar) < 0)
            fail("not enough memory");
        if (const int error = avcodec_open2(codec.get(), kind, nullptr); error < 0) fail(reasonOf(error));
    }

    void decodeMore() {
        const int error = av_read_frame(format.get(), packet.get());
        if (error < 0) {
            if (error != AVERROR_EOF) readError = reasonOf(error);
            avcodec_send_packet(codec.get(), nullptr);
            receiveFrames();
            finish();
            return;
        }
        if (packet->stream_index == static_cast<int>(streamIndex)) {
            const int sent = avcodec_send_packet(codec.get(), packet.get());
            const bool isFine = receiveFrames() && sent >= 0;
            brokenPackets = isFine ? 0 : brokenPackets + 1;
            if (brokenPackets > mostBrokenPackets) {
                readError = "the sound cannot be decoded";
                finish();
            }
        }
        av_packet_unref(packet.get());
    }

    bool receiveFrames() {
        int error = 0;
        while ((error = avcodec_receive_frame(codec.get(), frame.get())) >= 0) {
            interleave(*frame, interleaved);
            convert(frame->sample_rate, static_cast<std::size_t>(frame->ch_layout.nb_channels));
            av_frame_unref(frame.get());
        }
        return error == AVERROR(EAGAIN) || error == AVERROR_EOF;
    }

    void convert(int rate, std::size_t channels) {
        if (interleaved.empty()) return;
        if (!converter || rate != inputRate || channels != inputChannels) {
            if (converter) converter->finish(ready);
            try {
                converter = std::make_unique<SoxrSampleRateConverter>(rate, channels, outputRate);
            } catch (const SampleRateError& error) {
                fail(error.what());
            }
            inputRate = rate;
            inputChannels = channels;
        }
        converter->convert(interleaved, ready);
    }

    void finish() {
        isOver = true;
        if (converter)
            converter->finish(ready);
        else if (!readError.empty() || statedSeconds().value_or(0) > toleratedLoss)
            fail("its sound cannot be decoded");
    }

    std::string name, path;
    std::unique_ptr<AVFormatContext, CloseFormat> format;
    std::unique_ptr<AVCodecContext, FreeCodec> codec;
    std::unique_ptr<AVPacket, FreePacket> packet;
    std::unique_ptr<AVFrame, FreeFrame> frame;
    unsigned streamIndex = 0;
    std::unique_ptr<SoxrSampleRateConverter> converter;
    int inputRate = 0;
    std::size_t inputChannels = 0;
    std::vector<float> interleaved, ready;
    std::size_t taken = 0, delivered = 0;
    int brokenPackets = 0;
    bool isOver = false;
    std::string readError;
};

AudioFileReader::AudioFileReader(const std::string& file) : decoder(std::make_unique<Decoder>(file)) {}
AudioFileReader::~AudioFileReader() = default;
AudioFileReader::AudioFileReader(AudioFileReader&&) noexcept = default;

std::size_t AudioFileReader::read(std::span<float> samples) {
    return decoder->read(samples);
}
std::optional<double> AudioFileReader::statedSeconds() const noexcept {
    return decoder->statedSeconds();
}
double AudioFileReader::readSeconds() const noexcept {
    return decoder->readSeconds();
}
std::optional<std::string> AudioFileReader::damage() const {
    return decoder->damage();
}

} // namespace tavrin
