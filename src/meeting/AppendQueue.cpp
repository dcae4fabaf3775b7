#include "meeting/AppendQueue.h"

#include "support/async/RunOn.h"
#include "support/async/Sleep.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/log/Log.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <deque>
#include <mutex>
#include <ranges>
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
        total = written = synced = found ? found->size : 0;
    }

    // From any thread.

    bool append(std::span<const std::byte> bytes);
    bool appendZeros(std::uint64_t count);
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

    bool take(std::span<const std::byte> bytes);
    void askForStore();
    void noticeHang();
    void takeOver();
    void renew();
    void write();
    void open();
    void advance(std::uint64_t count);
    void sync();
    void forgetSynced();
    void rewind();
    void beginTrouble(const FileError& error);
    void setTrouble(bool isTrouble);
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
    std::size_t waiting = 0; // bytes in memory, handed over or not
    bool isAsked = false;    // a job that takes over is on its way
    SteadyInstant askedAt;
    bool isClosed = false;       // removed for good
    bool isReleased = false;     // nobody holds the queue any more
    bool isStartingAnew = false; // what was handed over before no longer counts
    bool isRemoving = false;
    std::optional<std::string> replacement;

    // storage executor only
    std::deque<Piece> pieces;      // all that is not synced, written or not
    std::uint64_t frontSynced = 0; // bytes of the first piece
    std::size_t next = 0;          // the piece that is being written
    std::uint64_t nextDone = 0;    // bytes of it that are written
    std::uint64_t written = 0;     // size of the file as we know it
    std::uint64_t synced = 0;      // of it, safe on the disk
    bool removesFile = false;
    std::optional<std::string> newContent;
    std::unique_ptr<AppendFile> file;
    bool isUncertain = false; // a failed write may have left a part behind
    bool isRewound = false;   // what lies behind `synced` is to be cut off
    JobId timer;              // syncs, or tries again

    std::mutex troubleMutex; // held while trouble is told
    std::atomic<bool> isInTrouble = false;
};

bool AppendQueue::State::append(std::span<const std::byte> bytes) {
    const bool isTaken = take(bytes);
    noticeHang();
    return isTaken;
}

bool AppendQueue::State::take(std::span<const std::byte> bytes) {
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

bool AppendQueue::State::appendZeros(std::uint64_t count) {
    const std::scoped_lock lock(mutex);
    if (isClosed || count == 0) return !isClosed;
    if (incoming.empty() || incoming.back().zeros == 0) incoming.emplace_back();
    incoming.back().zeros += count;
    total += count;
    askForStore();
    return true;
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
    askedAt = storage.now();
    storage.post([self = shared_from_this()] { self->store(false); });
}

/// A disk that answers nothing at all holds up the executor, so that only those who append can tell.
void AppendQueue::State::noticeHang() {
    const std::scoped_lock lock(mutex); // the job that ends the trouble takes over after this
    if (!isInTrouble && isAsked && storage.now() - askedAt >= patience) setTrouble(true);
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
    if (isInTrouble) {
        storage.cancel(std::exchange(timer, {}));
        setTrouble(false);
    }
    if (synced < written && !timer) schedule(options.syncDelay);
    return true;
}

void AppendQueue::State::takeOver() {
    std::deque<Piece> dropped; // destroyed after the lock
    const std::scoped_lock lock(mutex);
    isAsked = false;
    if (std::exchange(isStartingAnew, false)) {
        std::swap(dropped, pieces);
        frontSynced = next = nextDone = 0;
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
    isUncertain = false;
    isRewound = false;
    written = synced = 0;
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
    written = synced = newContent->size();
    newContent.reset();
}

void AppendQueue::State::write() {
    if (next == pieces.size()) return;
    if (!file) open();
    while (next < pieces.size()) {
        const auto bytes = nextBytes();
        isUncertain = true;
        file->append(bytes);
        isUncertain = false;
        advance(bytes.size());
    }
}

void AppendQueue::State::open() {
    folder.makeFolders(Folder::parentOf(path));
    file = folder.openForAppend(path);
    if (isRewound && file->size() > synced) file->truncate(synced);
    isRewound = false;
    const std::uint64_t size = file->size();
    // A write that failed has left a part that could not be taken back: it need not be written again.
    if (std::exchange(isUncertain, false) && size > written) advance(size - written);
    if (size < written) logger.error("{} became shorter by other hands", path);
    if (synced == written) synced = size;
    written = size;
    synced = std::min(synced, written);
}

std::span<const std::byte> AppendQueue::State::nextBytes() const {
    const Piece& piece = pieces[next];
    if (piece.zeros > 0)
        return std::span(silence).first(std::min<std::uint64_t>(piece.zeros - nextDone, silence.size()));
    return std::span(piece.bytes).subspan(nextDone);
}

/// So many bytes are written.
void AppendQueue::State::advance(std::uint64_t count) {
    while (count > 0 && next < pieces.size()) {
        const std::uint64_t taken = std::min(count, pieces[next].size() - nextDone);
        count -= taken;
        written += taken;
        nextDone += taken;
        if (nextDone < pieces[next].size()) return;
        ++next;
        nextDone = 0;
    }
}

void AppendQueue::State::sync() {
    if (synced == written) return;
    if (!file) open();
    try {
        file->syncData();
    } catch (const FileError&) {
        rewind();
        throw;
    }
    forgetSynced();
}

void AppendQueue::State::forgetSynced() {
    synced = written;
    std::uint64_t freed = 0;
    for (; next > 0; --next, frontSynced = 0) {
        if (pieces.front().zeros == 0) freed += pieces.front().size() - frontSynced;
        pieces.pop_front();
    }
    if (nextDone > 0 && pieces.front().zeros == 0) freed += nextDone - frontSynced;
    frontSynced = nextDone;
    const std::scoped_lock lock(mutex);
    if (!isStartingAnew) waiting -= freed;
}

/// After a sync that failed the system may take for stored what it has dropped, and the next sync succeeds without it.
void AppendQueue::State::rewind() {
    written = synced;
    next = 0;
    nextDone = frontSynced;
    isRewound = true;
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
        askedAt = storage.now();
    }
    schedule(retryDelay);
    if (!isInTrouble) logger.warning("The disk refuses: {}", error.what());
    setTrouble(true);
}

void AppendQueue::State::setTrouble(bool isTrouble) {
    const std::scoped_lock lock(troubleMutex);
    if (isInTrouble.exchange(isTrouble) == isTrouble) return;
    if (isTrouble)
        logger.warning("Bytes of {} wait in memory.", path);
    else
        logger.info("What waited in memory is saved.");
    if (options.onTrouble) options.onTrouble(isTrouble);
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
    std::uint64_t begin = written - nextDone; // of the piece
    for (const Piece& piece : pieces | std::views::drop(next)) {
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

bool AppendQueue::appendZeros(std::uint64_t count) {
    return state->appendZeros(count);
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
