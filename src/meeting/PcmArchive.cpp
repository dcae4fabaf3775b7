#include "meeting/PcmArchive.h"

#include "support/async/Race.h"
#include "support/log/Log.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger logger{"PcmArchive"};

} // namespace

PcmArchive::PcmArchive(Folder& folder, std::string file, Executor& storage, std::function<void(bool)> onTrouble)
    : path(std::move(file)),
      queue(folder, path, storage,
            {.mostWaiting = mostWaitingBytes, .syncDelay = syncDelay, .onTrouble = std::move(onTrouble)}) {}

PcmArchive::~PcmArchive() {
    endLoss();
}

void PcmArchive::append(std::span<const std::byte> pcm) {
    const auto samples = pcm.first(pcm.size() - pcm.size() % pcmBytesPerSample);
    if (samples.empty()) return;
    queue.appendZeros(queue.size() % pcmBytesPerSample); // a crash has cut the last sample of an earlier run
    const bool isSilence = std::ranges::all_of(samples, [](std::byte byte) { return byte == std::byte{}; });
    if (!isSilence && queue.append(samples)) return endLoss();
    // Silence takes no memory: hours of it come at once in place of lost sound.
    if (queue.appendZeros(samples.size()) && !isSilence) lose(samples.size() / pcmBytesPerSample);
}

void PcmArchive::lose(std::size_t samples) {
    if (losing == 0) logger.error("{}: sound is lost, the disk has taken nothing for a minute", path);
    losing += samples;
    lost += samples;
}

void PcmArchive::endLoss() {
    if (losing == 0) return;
    logger.error("{}: {:.1f} s of sound are lost and became silence", path,
                 static_cast<double>(std::exchange(losing, 0)) / pcmSampleRate);
}

void PcmArchive::beginStretch(std::uint64_t padTo) {
    const std::uint64_t size = queue.size();
    const std::uint64_t wanted = padTo * pcmBytesPerSample;
    if (wanted > size) queue.appendZeros(wanted - size);
}

Task<std::vector<std::byte>> PcmArchive::read(std::int64_t start, std::optional<std::int64_t> end) {
    const std::uint64_t count = sampleCount();
    const auto held = [&](std::int64_t index) {
        return std::min<std::uint64_t>(std::max<std::int64_t>(index, 0), count);
    };
    const std::uint64_t from = held(start);
    const std::uint64_t to = held(end.value_or(std::numeric_limits<std::int64_t>::max()));
    return queue.read(from * pcmBytesPerSample, (to - std::min(from, to)) * pcmBytesPerSample);
}

Task<bool> PcmArchive::flush() {
    co_return co_await race(queue.saved(), mostFlushTime);
}

} // namespace tavrin
