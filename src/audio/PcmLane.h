#pragma once

#include "audio/CallbackSlot.h"
#include "audio/LaneTimeline.h"
#include "platform/AudioBuffer.h"
#include "platform/SampleRateConverter.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// A buffer kept beyond the call that brought it.
struct CapturedBuffer {
    explicit CapturedBuffer(const AudioBuffer& buffer)
        : format(buffer.format), samples(buffer.samples.begin(), buffer.samples.end()), end(buffer.end),
          followsGap(buffer.followsGap) {}

    [[nodiscard]] AudioBuffer view() const {
        return {.format = format, .samples = samples, .end = end, .followsGap = followsGap};
    }

    AudioFormat format;
    std::vector<float> samples;
    SteadyInstant end;
    bool followsGap;
};

/// Turns the buffers of a device into chunks of PCM, with silence where sound was lost. A device whose clock differs
/// from ours is kept in step where nothing is said: a few milliseconds of quiet are put in or taken off.
///
/// Thread:  one at a time, the lane's queue.
/// Errors:  a buffer that cannot be converted becomes silence, one of a format that cannot be converted is dropped;
///          both are said once in the log.
/// Cost:    allocates for a conversion's output only, and for what is held back while a place is looked for.
class PcmLane final {
public:
    struct Outlets {
        CallbackSlot<std::span<const std::byte>>& chunk;
        CallbackSlot<float>& level; ///< peak 0 to 1 of each converted buffer
        /// Gets all bytes as well, chunk or not. May be empty.
        std::function<void(std::span<const std::byte>)> all;
    };

    /// `name` and `note` serve log lines: "mic", and who writes them into a meeting's diagnostics.
    PcmLane(std::string name, SampleRateConverterFactory newConverter, Outlets outlets,
            std::function<void(std::string)> note);

    void add(const AudioBuffer& buffer);

    /// From now on the lane lies on a time line whose sample 0 sounds at `origin`; nothing: buffers just follow one
    /// another. Takes back what is held of before.
    void setOrigin(std::optional<SteadyInstant> origin);

    /// The device was opened anew: the converter goes, and the next buffer finds its place anew. What was left of a
    /// chunk stays on a time line and goes without one.
    void deviceChanged();

    /// Gives out what is held for a place or in the converter: for those who take what comes now for the end.
    void finish();

    /// Drops what is not delivered yet, and the time line.
    void clear();

private:
    void settle(const AudioBuffer& buffer);
    void place();
    void deliver(const AudioBuffer& buffer);
    void convert(const AudioBuffer& buffer);
    void keepStep();
    void forgetDrift();
    void finishConverter();
    void fill(std::int64_t samples);
    void put(std::span<const float> mono);
    void sendChunks();
    bool prepareConverter(const AudioFormat& format);

    const std::string laneName;
    const SampleRateConverterFactory newConverter;
    const Outlets outlets;
    const std::function<void(std::string)> note;

    std::unique_ptr<SampleRateConverter> converter;
    std::optional<AudioFormat> converterFormat;
    bool saidUnavailable = false;
    std::optional<LaneTimeline> timeline;
    bool isPlaced = false;
    std::int64_t owed = 0;            ///< samples that are missing, negative: too many, until a quiet moment
    std::size_t quietLength = 0;      ///< samples without a voice up to now
    std::vector<CapturedBuffer> held; ///< until their place is known
    Duration heldLength{};
    std::vector<float> mono;
    std::vector<std::byte> pendingPCM;
};

} // namespace tavrin
