#pragma once

#include "audio/PcmFormat.h"
#include "meeting/AppendQueue.h"

#include <atomic>
#include <optional>
#include <vector>

namespace tavrin {

/// The sound of one lane of a meeting as a file: signed 16-bit little-endian samples, one channel, 16,000 a second,
/// nothing else. The index of a sample in the file is its time.
///
/// What the disk does not take waits in memory, a minute at most; silence takes no memory and waits for ever. Sound
/// beyond that is lost, which the log tells, and becomes silence of the same length, so that what follows keeps its
/// time.
/// Threads:  append and beginStretch one at a time, such as a capture queue's; the rest from any thread. Nothing waits
///           for the disk.
/// Lifetime: as AppendQueue.
class PcmArchive final {
public:
    static constexpr std::size_t mostWaitingBytes = 1'920'000;
    /// With writing and syncing itself a power cut then costs no more than a second.
    static constexpr Duration syncDelay = std::chrono::milliseconds(900);
    static constexpr Duration mostFlushTime = std::chrono::seconds(2);

    /// `onTrouble`: see AppendQueue. Throws FileError.
    PcmArchive(Folder& folder, std::string path, Executor& storage, std::function<void(bool)> onTrouble);
    ~PcmArchive();
    PcmArchive(const PcmArchive&) = delete;
    PcmArchive& operator=(const PcmArchive&) = delete;

    /// Whole samples; an odd last byte is dropped.
    void append(std::span<const std::byte> pcm);

    /// Before the first samples of a stretch of capture: fills up with silence to this sample index, so that both lanes
    /// keep one time. A lane that is longer already stays as it is.
    void beginStretch(std::uint64_t padTo);

    /// Samples of the file, those in memory included; the index of the next one.
    [[nodiscard]] std::uint64_t sampleCount() const { return queue.size() / pcmBytesPerSample; }
    /// Samples of this run for which silence stands, because the disk took nothing for more than a minute.
    [[nodiscard]] std::uint64_t lostSamples() const { return lost; }

    /// The bytes of the samples from `start` on, to the end or to before `end`; fewer where the lane ends. A negative
    /// index counts as 0. None when the disk does not read.
    [[nodiscard]] Task<std::vector<std::byte>> read(std::int64_t start, std::optional<std::int64_t> end);

    /// Ends when everything is written and synced.
    [[nodiscard]] Task<void> saved() { return queue.saved(); }
    /// The same in at most two seconds: false when the disk did not get there.
    [[nodiscard]] Task<bool> flush();

    /// Removes the file and what waits for it.
    void remove() { queue.remove(false); }
    /// The same, and nothing is taken any more.
    void close() { queue.remove(true); }

private:
    void lose(std::size_t samples);
    void endLoss();

    const std::string path;
    AppendQueue queue;
    std::atomic<std::uint64_t> lost{0};
    std::uint64_t losing = 0; // samples in a row up to now; of who appends
};

} // namespace tavrin
