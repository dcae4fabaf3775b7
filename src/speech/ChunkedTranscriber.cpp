#include "speech/ChunkedTranscriber.h"

#include "speech/SpeechAudio.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <future>
#include <mutex>
#include <thread>

namespace tavrin {

namespace {

/// A few threads that take jobs in order. Its end waits for the jobs being done and drops the others.
class Workers {
public:
    explicit Workers(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i)
            threads.emplace_back([this](const std::stop_token& stop) { work(stop); });
    }

    template <typename Job>
    auto post(Job job) -> std::future<decltype(job())> {
        std::packaged_task<decltype(job())()> task(std::move(job));
        auto result = task.get_future();
        {
            const std::lock_guard guard(lock);
            jobs.emplace_back(std::move(task));
        }
        ready.notify_one();
        return result;
    }

private:
    void work(const std::stop_token& stop) {
        for (;;) {
            std::move_only_function<void()> job;
            {
                std::unique_lock guard(lock);
                if (!ready.wait(guard, stop, [this] { return !jobs.empty(); }) || stop.stop_requested()) return;
                job = std::move(jobs.front());
                jobs.pop_front();
            }
            job();
        }
    }

    std::mutex lock;
    std::condition_variable_any ready;
    std::deque<std::move_only_function<void()>> jobs;
    std::vector<std::jthread> threads; // last: they end before what they use
};

void shift(TranscriptionResult& result, std::size_t samples) {
    const float offset = static_cast<float>(samples) / static_cast<float>(speechSampleRate);
    for (auto& segment : result.segments) {
        segment.seek += static_cast<int>(samples);
        segment.start += offset;
        segment.end += offset;
        if (!segment.words) continue;
        for (auto& word : *segment.words) {
            word.start += offset;
            word.end += offset;
        }
    }
    if (result.seekTime) *result.seekTime += offset;
}

} // namespace

ChunkedTranscriber::ChunkedTranscriber(const SpeechModels& speechModels, DecodingOptions wanted, std::size_t count)
    : models(speechModels), options(std::move(wanted)), workers(std::max<std::size_t>(1, count)) {
    options.chunkingStrategy.reset();
    options.clipTimestamps.clear();
}

TranscriptionResult ChunkedTranscriber::transcribe(const VoiceChunk& chunk,
                                                   const TranscriptionCallback& callback) const {
    auto result = TranscribeTask(models).run(chunk.samples, options, callback);
    shift(result, chunk.start);
    return result;
}

void ChunkedTranscriber::run(const Source& source, const Sink& sink, const TranscriptionCallback& callback) {
    VoiceChunker chunker(models.newVoiceActivity());
    // A sink that has enough stops the chunks being decoded, too.
    std::atomic<bool> isOver = false;
    const TranscriptionCallback guarded = [&](const TranscriptionProgress& progress) -> std::optional<bool> {
        if (isOver) return false;
        return callback ? callback(progress) : std::nullopt;
    };
    std::deque<std::future<TranscriptionResult>> results;
    Workers pool(workers);
    struct Ender {
        std::atomic<bool>& flag;
        ~Ender() { flag = true; }
    } const ender{isOver};

    const auto deliverNext = [&] {
        const auto result = results.front().get();
        results.pop_front();
        return sink(result);
    };
    const auto take = [&](std::vector<VoiceChunk> chunks) {
        for (auto& chunk : chunks) {
            results.push_back(
                pool.post([this, &guarded, chunk = std::move(chunk)] { return transcribe(chunk, guarded); }));
            // Two more than are worked on: none waits for the next, and memory stays flat.
            while (results.size() > workers + 2)
                if (!deliverNext()) return false;
        }
        while (!results.empty() && results.front().wait_for(std::chrono::seconds(0)) == std::future_status::ready)
            if (!deliverNext()) return false;
        return true;
    };

    std::vector<float> block(4 * speechSampleRate);
    while (const std::size_t count = source(block))
        if (!take(chunker.push(std::span(block).first(count)))) return;
    if (!take(chunker.finish())) return;
    while (!results.empty())
        if (!deliverNext()) return;
}

} // namespace tavrin
