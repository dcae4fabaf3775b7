#include "meeting/PcmArchive.h"

#include "support/async/Race.h"

#include <algorithm>
#include <limits>

namespace tavrin {

PcmArchive::PcmArchive(Folder& folder, std::string path, Executor& storage, std::function<void(bool)> onTrouble)
    : queue(folder, std::move(path), storage,
            {.mostWaiting = mostWaitingBytes, .syncDelay = syncDelay, .onTrouble = std::move(onTrouble)}) {}

void PcmArchive::append(std::span<const std::byte> pcm) {
    const auto samples = pcm.first(pcm.size() - pcm.size() % bytesPerSample);
    if (samples.empty()) return;
    queue.appendZeros(queue.size() % bytesPerSample); // a crash has cut the last sample of an earlier run
    if (queue.append(samples)) return;
    queue.appendZeros(samples.size());
    lost += samples.size() / bytesPerSample;
}

void PcmArchive::beginStretch(std::uint64_t padTo) {
    const std::uint64_t size = queue.size();
    const std::uint64_t wanted = padTo * bytesPerSample;
    if (wanted > size) queue.appendZeros(wanted - size);
}

Task<std::vector<std::byte>> PcmArchive::read(std::int64_t start, std::optional<std::int64_t> end) {
    const std::uint64_t count = sampleCount();
    const auto held = [&](std::int64_t index) {
        return std::min<std::uint64_t>(std::max<std::int64_t>(index, 0), count);
    };
    const std::uint64_t from = held(start);
    const std::uint64_t to = held(end.value_or(std::numeric_limits<std::int64_t>::max()));
    return queue.read(from * bytesPerSample, (to - std::min(from, to)) * bytesPerSample);
}

Task<bool> PcmArchive::flush() {
    co_return co_await race(queue.saved(), mostFlushTime);
}

} // namespace tavrin
