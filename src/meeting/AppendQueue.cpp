#include "meeting/AppendQueue.h"

#include "support/async/RunOn.h"
#include "support/async/Sleep.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

#include <algorithm>
#include <array>
#include <deque>
#include <vector>

namespace tavrin {

namespace {

constexpr Logger logger{"AppendQueue"};
constexpr std::array<std::byte, 65'536> silence{};

} // namespace

/// Lives on in the jobs that wait on the storage executor.
class AppendQueue::State final : public std::enable_shared_from_this<State> {
public:
    State(Folder& owner, std::string filePath, Executor& executor, Options choices)
        : folder(owner), path(std::move(filePath)), storage(executor), options(std::move(choices)) {
        const auto found = folder.info(path);
        total = written = found ? found->size : 0;
    }

    // From any thread.

    bool append(std::span<const std::byte> bytes);
    void appendZeros(std::uint64_t count);
    void replace(std::string content);
    void remove(bool closed);
    void release();
    std::uint64_t size() const;

    // On the storage executor.

    /// Writes what waits, and syncs it if `syncNow`. False when the disk refused.
    bool store(bool syncNow);
    std::vector<std::byte> read(std::uint64_t offset, std::uint64_t count);

    Executor& storageExecutor() { return storage; }

private:
    /// Either bytes or so many zeros.
    struct Piece {
        std::vector<std::byte> bytes;
        std::uint64_t zeros = 0;

        [[nodiscard]] std::uint64_t size() const { return bytes.size() + zeros; }
    };

    void askForStore();
    void takeOver();
    void renew();
    void write();
    void open();
    void consume(std::uint64_t count);
    void sync();
    void beginTrouble(const FileError& error);
    void endTrouble();
    void schedule(Duration delay);
    [[nodiscard]] std::span<const std::byte> nextBytes() const;
    void copyWaiting(std::uint64_t offset, std::uint64_t count, std::vector<std::byte>& to) const;

    Folder& folder;
    const std::string path;
    Executor& storage;
    const Options options;

    mutable std::mutex mutex;
    // guarded
    std::deque<Piece> incoming;
    std::uint64_t total = 0;
    std::size_t waiting = 0;     // bytes in memory, handed over or not
    bool isAsked = false;        // a job that takes over is on its way
    bool isClosed = false;       // removed for good
    bool isReleased = false;     // nobody holds the queue any more
    bool isStartingAnew = false; // what was handed over before no longer counts
    bool isRemoving = false;
    std::optional<std::string> replacement;

    // storage executor only
    std::deque<Piece> pieces;
    std::uint64_t frontDone = 0; // bytes of the first piece that are written
    std::uint64_t written = 0;   // size of the file as we know it
    bool removesFile = false;
    std::optional<std::string> newContent;
    std::unique_ptr<AppendFile> file;
    bool isUncertain = false; // a failed write may have left a part behind
    bool isUnsynced = false;
    bool isInTrouble = false;
    JobId timer; // syncs, or tries again
};

bool AppendQueue::State::append(std::span<const std::byte> bytes) {
    const std::scoped_lock lock(mutex);
    if (isClosed || waiting + bytes.size() > options.mostWaiting) return false;
    if (bytes.empty()) return true;
    if (incoming.empty() || incoming.back().zeros > 0) incoming.emplace_back();
    auto& back = incoming.back().bytes;
    back.insert(back.end(), bytes.begin(), bytes.end());
    waiting += bytes.size();
    total += bytes.size();
    askForStore();
    return true;
}

void AppendQueue::State::appendZeros(std::uint64_t count) {
    const std::scoped_lock lock(mutex);
    if (isClosed || count == 0) return;
    if (incoming.empty() || incoming.back().zeros == 0) incoming.emplace_back();
    incoming.back().zeros += count;
    total += count;
    askForStore();
}

void AppendQueue::State::replace(std::string content) {
    const std::scoped_lock lock(mutex);
    if (isClosed) return;
    incoming.clear();
    isStartingAnew = true;
    isRemoving = false;
    total = content.size();
    waiting = 0;
    replacement = std::move(content);
    askForStore();
}

void AppendQueue::State::remove(bool closed) {
    const std::scoped_lock lock(mutex);
    incoming.clear();
    isStartingAnew = true;
    isRemoving = true;
    replacement.reset();
    total = 0;
    waiting = 0;
    isClosed = isClosed || closed;
    askForStore();
}

void AppendQueue::State::release() {
    {
        const std::scoped_lock lock(mutex);
        isReleased = true;
    }
    storage.post([self = shared_from_this()] { self->store(true); });
}

std::uint64_t AppendQueue::State::size() const {
    const std::scoped_lock lock(mutex);
    return total;
}

/// Under the lock. One job takes over whatever has come until it runs.
void AppendQueue::State::askForStore() {
    if (std::exchange(isAsked, true)) return;
    storage.post([self = shared_from_this()] { self->store(false); });
}

bool AppendQueue::State::store(bool syncNow) {
    takeOver();
    try {
        renew();
        write();
        if (syncNow || isInTrouble || options.syncDelay == Duration::zero()) sync();
    } catch (const FileError& error) {
        beginTrouble(error);
        return false;
    }
    endTrouble();
    if (isUnsynced && !timer) schedule(options.syncDelay);
    return true;
}

void AppendQueue::State::takeOver() {
    std::deque<Piece> dropped; // destroyed after the lock
    const std::scoped_lock lock(mutex);
    isAsked = false;
    if (std::exchange(isStartingAnew, false)) {
        std::swap(dropped, pieces);
        frontDone = 0;
        removesFile = isRemoving;
        newContent = std::exchange(replacement, std::nullopt);
    }
    std::ranges::move(incoming, std::back_inserter(pieces));
    incoming.clear();
}

/// Removes or replaces the file if that is asked for. A removal is tried once, a replacement until it works.
void AppendQueue::State::renew() {
    if (!removesFile && !newContent) return;
    file.reset();
    isUnsynced = false;
    isUncertain = false;
    written = 0;
    if (std::exchange(removesFile, false)) {
        try {
            folder.remove(path);
        } catch (const FileError& error) {
            logger.warning("A file stays: {}", error.what());
        }
        return;
    }
    folder.makeFolders(Folder::parentOf(path));
    folder.writeAtomically(path, *newContent);
    written = newContent->size();
    newContent.reset();
}

void AppendQueue::State::write() {
    if (pieces.empty()) return;
    if (!file) open();
    while (!pieces.empty()) {
        const auto bytes = nextBytes();
        isUncertain = true;
        isUnsynced = true;
        file->append(bytes);
        isUncertain = false;
        written += bytes.size();
        consume(bytes.size());
    }
}

void AppendQueue::State::open() {
    folder.makeFolders(Folder::parentOf(path));
    file = folder.openForAppend(path);
    const std::uint64_t size = file->size();
    // A write that failed has left a part that could not be taken back: it need not be written again.
    if (std::exchange(isUncertain, false) && size > written) consume(size - written);
    if (size < written) logger.error("{} became shorter by other hands", path);
    written = size;
}

std::span<const std::byte> AppendQueue::State::nextBytes() const {
    const Piece& front = pieces.front();
    if (front.zeros > 0)
        return std::span(silence).first(std::min<std::uint64_t>(front.zeros - frontDone, silence.size()));
    return std::span(front.bytes).subspan(frontDone);
}

void AppendQueue::State::consume(std::uint64_t count) {
    while (count > 0 && !pieces.empty()) {
        Piece& front = pieces.front();
        const std::uint64_t taken = std::min(count, front.size() - frontDone);
        count -= taken;
        frontDone += taken;
        if (front.zeros == 0) {
            const std::scoped_lock lock(mutex);
            if (!isStartingAnew) waiting -= taken;
        }
        if (frontDone < front.size()) return;
        pieces.pop_front();
        frontDone = 0;
    }
}

void AppendQueue::State::sync() {
    if (!isUnsynced) return;
    if (!file) open();
    file->syncData();
    isUnsynced = false;
}

void AppendQueue::State::beginTrouble(const FileError& error) {
    file.reset();
    {
        const std::scoped_lock lock(mutex);
        if (isReleased) {
            logger.error("{} bytes are lost: {}", waiting, error.what());
            return;
        }
        isAsked = true; // by the timer
    }
    schedule(retryDelay);
    if (std::exchange(isInTrouble, true)) return;
    logger.warning("Bytes wait in memory: {}", error.what());
    if (options.onTrouble) options.onTrouble(true);
}

void AppendQueue::State::endTrouble() {
    if (!std::exchange(isInTrouble, false)) return;
    storage.cancel(std::exchange(timer, {}));
    logger.info("What waited in memory is saved.");
    if (options.onTrouble) options.onTrouble(false);
}

void AppendQueue::State::schedule(Duration delay) {
    storage.cancel(std::exchange(timer, {}));
    timer = storage.postAt(after(storage.now(), delay), [self = shared_from_this()] {
        self->timer = {};
        self->store(true);
    });
}

std::vector<std::byte> AppendQueue::State::read(std::uint64_t offset, std::uint64_t count) {
    store(false);
    std::vector<std::byte> result;
    try {
        if (offset < written) {
            const std::string stored = folder.readRange(path, offset, std::min(count, written - offset));
            const auto bytes = std::as_bytes(std::span(stored));
            result.assign(bytes.begin(), bytes.end());
            if (result.size() < std::min(count, written - offset)) return result;
        }
    } catch (const FileError& error) {
        logger.warning("{}", error.what());
        return {};
    }
    copyWaiting(offset + result.size(), count - result.size(), result);
    return result;
}

void AppendQueue::State::copyWaiting(std::uint64_t offset, std::uint64_t count, std::vector<std::byte>& to) const {
    std::uint64_t begin = written - frontDone; // of the piece
    for (const Piece& piece : pieces) {
        const std::uint64_t end = begin + piece.size();
        const std::uint64_t stop = count > end - std::min(end, offset) ? end : offset + count;
        for (; offset >= begin && offset < stop; ++offset, --count)
            to.push_back(piece.zeros > 0 ? std::byte{} : piece.bytes[offset - begin]);
        begin = end;
    }
}

AppendQueue::AppendQueue(Folder& folder, std::string path, Executor& storage, Options options)
    : state(std::make_shared<State>(folder, std::move(path), storage, std::move(options))) {}

AppendQueue::~AppendQueue() {
    state->release();
}

bool AppendQueue::append(std::span<const std::byte> bytes) {
    return state->append(bytes);
}

void AppendQueue::appendZeros(std::uint64_t count) {
    state->appendZeros(count);
}

void AppendQueue::replace(std::string content) {
    state->replace(std::move(content));
}

void AppendQueue::remove(bool closed) {
    state->remove(closed);
}

std::uint64_t AppendQueue::size() const {
    return state->size();
}

Task<std::vector<std::byte>> AppendQueue::read(std::uint64_t offset, std::uint64_t count) {
    return runOn(state->storageExecutor(),
                 [self = state, offset, count](const std::stop_token&) { return self->read(offset, count); });
}

namespace {

template <class State>
Task<void> storeUntilSaved(std::shared_ptr<State> state) {
    while (!co_await runOn(state->storageExecutor(), [state](const std::stop_token&) { return state->store(true); }))
        co_await sleepFor(AppendQueue::retryDelay / 4);
}

} // namespace

Task<void> AppendQueue::saved() {
    return storeUntilSaved(state);
}

} // namespace tavrin
