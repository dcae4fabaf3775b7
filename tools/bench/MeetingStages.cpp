#include "bench/MeetingStages.h"

#include "audio/PcmFormat.h"
#include "audio/PcmLane.h"
#include "bench/Report.h"
#include "bench/ScriptedTalk.h"
#include "meeting/PcmArchive.h"
#include "meeting/SpeechChunker.h"
#include "platform/linux/SoxrSampleRateConverter.h"
#include "support/async/VirtualTime.h"
#include "support/files/DiskFolder.h"

#include <ctime>
#include <functional>
#include <stdexcept>

namespace tavrin {

namespace {

constexpr Duration measured = std::chrono::minutes(10);
constexpr double perHour = 6;

double processorSeconds(const std::function<void()>& work) {
    const auto now = [] {
        timespec time{};
        clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
        return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
    };
    const double before = now();
    work();
    return now() - before;
}

/// Both devices' sound to chunks of PCM, on a time line. Gives what one lane became.
std::vector<std::byte> convert(const ScriptedTalk& talk, bool isStereo) {
    CallbackSlot<std::span<const std::byte>> chunk;
    CallbackSlot<float> level;
    std::vector<std::byte> pcm;
    chunk.set([&](std::span<const std::byte> bytes) { pcm.insert(pcm.end(), bytes.begin(), bytes.end()); });
    PcmLane lane(
        "bench",
        [](double rate, std::size_t channels, double wanted) {
            return std::make_unique<SoxrSampleRateConverter>(rate, channels, wanted);
        },
        {.chunk = chunk, .level = level, .all = {}}, [](const std::string&) {});
    const SteadyInstant origin{std::chrono::hours(1)};
    lane.setOrigin(origin);
    const AudioFormat format{48'000, isStereo ? 2U : 1U};
    for (Duration at{}; at < measured; at += ScriptedTalk::piece)
        lane.add({.format = format,
                  .samples = isStereo ? talk.stereo(at) : talk.mono(at),
                  .end = origin + at + ScriptedTalk::piece,
                  .followsGap = false});
    return pcm;
}

void archive(const std::filesystem::path& folder, std::span<const std::byte> pcm) {
    DiskFolder disk(folder);
    VirtualTime time;
    Executor& storage = time.addExecutor();
    PcmArchive me(disk, "me.pcm", storage, {});
    PcmArchive them(disk, "them.pcm", storage, {});
    for (std::size_t at = 0; at + minChunkBytes <= pcm.size(); at += minChunkBytes) {
        me.append(pcm.subspan(at, minChunkBytes));
        them.append(pcm.subspan(at, minChunkBytes));
        time.advance(std::chrono::milliseconds(100));
    }
    time.advance(std::chrono::seconds(2));
    if (disk.info("me.pcm")->size < pcm.size() - minChunkBytes) throw std::runtime_error("the archive is too short");
}

std::size_t chunksOf(LaneSettings settings, std::span<const float> samples) {
    const SystemWallClock clock;
    SpeechChunker chunker(std::move(settings), clock, [](const std::string&) {});
    constexpr std::size_t block = minChunkBytes / pcmBytesPerSample;
    std::size_t chunks = 0;
    for (std::size_t at = 0; at + block <= samples.size(); at += block)
        chunks += chunker.append(samples.subspan(at, block)).size();
    return chunks;
}

std::vector<float> floats(std::span<const std::byte> pcm) {
    std::vector<float> result;
    for (std::size_t i = 0; i + 1 < pcm.size(); i += pcmBytesPerSample) {
        const auto bits =
            std::uint16_t(std::to_integer<unsigned>(pcm[i]) | std::to_integer<unsigned>(pcm[i + 1]) << 8U);
        result.push_back(float(std::int16_t(bits)) / 32'768);
    }
    return result;
}

} // namespace

void measureMeetingStages(const std::filesystem::path& folder, Report& report) {
    report.heading("the stages of capture, each alone, for an hour of both lanes");
    const ScriptedTalk talk;
    std::vector<std::byte> pcm;
    const double conversion = processorSeconds([&] {
        pcm = convert(talk, false);
        pcm = convert(talk, true);
    });
    const double archiving = processorSeconds([&] { archive(folder, pcm); });
    const std::vector<float> samples = floats(pcm);
    std::size_t chunks = 0;
    const double chunking = processorSeconds([&] {
        chunks += chunksOf(meLaneSettings(MeetingEngine::dictation), samples);
        chunks += chunksOf(themLaneSettings(MeetingEngine::them), samples);
    });
    if (chunks == 0) throw std::runtime_error("no chunk of speech was found");
    report.remark("Measured over 10 minutes; seconds of one processor.");
    report.figure("capture: conversion of an hour, both lanes", conversion * perHour, 2, "s");
    report.figure("capture: archive of an hour, both lanes", archiving * perHour, 2, "s");
    report.figure("capture: chunking of an hour, both lanes", chunking * perHour, 2, "s");
}

} // namespace tavrin
