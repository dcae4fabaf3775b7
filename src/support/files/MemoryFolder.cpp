#include "support/files/MemoryFolder.h"

#include "support/files/FileError.h"

#include <algorithm>
#include <cerrno>
#include <map>
#include <utility>

namespace tavrin {

struct MemoryFolder::Node {
    using Entries = std::map<std::string, NodePointer, std::less<>>;

    bool isFolder = false;
    std::chrono::system_clock::time_point modified;
    std::string content;
    std::size_t syncedSize = 0; // of content, which only ever grows or is cut at its end
    std::vector<std::pair<std::size_t, std::size_t>> neverStored; // begin and end of what a failed sync has dropped
    Entries entries;
    Entries syncedEntries;

    void loseUnsynced() { neverStored.emplace_back(syncedSize, content.size()); }

    void cut(std::size_t size) {
        content.resize(size);
        syncedSize = std::min(syncedSize, size);
        for (auto& [begin, end] : neverStored)
            end = std::min(end, size);
    }

    void losePower(const PowerCut& survives) {
        for (const auto& [begin, end] : std::exchange(neverStored, {}))
            for (std::size_t i = begin; i < end; ++i)
                content[i] = '\0';
        content.resize(std::min(content.size(), syncedSize + survives.unsyncedBytesSurvive));
        syncedSize = content.size();
        if (!survives.namesSurvive) entries = syncedEntries;
        syncedEntries = entries;
        for (const auto& [name, node] : entries)
            node->losePower(survives);
    }

    std::uint64_t usedBytes() const {
        std::uint64_t sum = content.size();
        for (const auto& [name, node] : entries)
            sum += node->usedBytes();
        return sum;
    }

    bool holds(const Node* sought) const {
        return this == sought ||
               std::ranges::any_of(entries, [&](const auto& entry) { return entry.second->holds(sought); });
    }
};

/// Where a name stands or would stand.
struct MemoryFolder::Place {
    NodePointer folder;
    std::string name;

    NodePointer node() const {
        const auto entry = folder->entries.find(name);
        return entry == folder->entries.end() ? nullptr : entry->second;
    }
};

struct MemoryFolder::Fault {
    Step step;
    int error;
};

class MemoryFolder::Handle final : public FileHandle {
public:
    Handle(MemoryFolder& folder, NodePointer file, std::string path)
        : owner(folder), node(std::move(file)), name(std::move(path)), generation(folder.generation) {}

    std::size_t write(std::span<const std::byte> bytes) override {
        const std::scoped_lock lock(owner.mutex);
        begin(Step::write);
        std::size_t count = std::min(bytes.size(), owner.writeLimit);
        if (owner.capacity) {
            const std::uint64_t used = owner.usedBytes();
            count = std::min<std::uint64_t>(count, *owner.capacity - std::min(used, *owner.capacity));
            if (count == 0 && !bytes.empty()) owner.fail(ENOSPC, "write", name);
        }
        node->content.append(reinterpret_cast<const char*>(bytes.data()), count);
        node->modified = owner.clock();
        return count;
    }
    void syncData() override {
        const std::scoped_lock lock(owner.mutex);
        try {
            begin(Step::sync);
        } catch (const FileError&) {
            if (owner.stepsToPowerCut != 0) node->loseUnsynced();
            throw;
        }
        node->syncedSize = node->content.size();
    }
    std::uint64_t size() const override {
        const std::scoped_lock lock(owner.mutex);
        begin(Step::read);
        return node->content.size();
    }
    void truncate(std::uint64_t size) override {
        const std::scoped_lock lock(owner.mutex);
        begin(Step::truncate);
        node->cut(size);
    }

private:
    void begin(Step step) const {
        if (generation != owner.generation) owner.fail(EBADF, "use after a restart", name);
        owner.take(step, name);
    }

    MemoryFolder& owner;
    NodePointer node;
    std::string name;
    unsigned generation;
};

MemoryFolder::MemoryFolder(Clock wallClock)
    : clock(std::move(wallClock)), root(std::make_shared<Node>()), writeLimit(std::numeric_limits<std::size_t>::max()) {
    root->isFolder = true;
    root->modified = clock();
}

MemoryFolder::~MemoryFolder() = default;

void MemoryFolder::limitCapacity(std::optional<std::uint64_t> bytes) {
    const std::scoped_lock lock(mutex);
    capacity = bytes;
}

void MemoryFolder::limitWriteSize(std::size_t bytes) {
    const std::scoped_lock lock(mutex);
    writeLimit = std::max<std::size_t>(bytes, 1);
}

void MemoryFolder::failNext(Step step, int error) {
    const std::scoped_lock lock(mutex);
    faults.push_back({step, error});
}

void MemoryFolder::cutPowerAfter(std::size_t count) {
    const std::scoped_lock lock(mutex);
    stepsToPowerCut = count;
}

void MemoryFolder::restart(PowerCut survives) {
    const std::scoped_lock lock(mutex);
    root->losePower(survives);
    stepsToPowerCut.reset();
    faults.clear();
    ++generation;
}

std::size_t MemoryFolder::stepCount() const {
    const std::scoped_lock lock(mutex);
    return steps;
}

std::uint64_t MemoryFolder::freeBytes() const {
    const std::scoped_lock lock(mutex);
    constexpr std::uint64_t plenty = std::uint64_t{1} << 40;
    const std::uint64_t total = capacity.value_or(plenty);
    return total - std::min(total, usedBytes());
}

std::filesystem::path MemoryFolder::location(std::string_view path) const {
    const std::filesystem::path top = "/memory";
    return path.empty() ? top : top / path;
}

void MemoryFolder::take(Step step, std::string_view path) const {
    const bool changes = step != Step::read && step != Step::open;
    if (stepsToPowerCut == 0) fail(EIO, "go on without power with", path);
    if (changes) {
        ++steps;
        if (stepsToPowerCut) --*stepsToPowerCut;
    }
    const auto fault = std::ranges::find(faults, step, &Fault::step);
    if (fault == faults.end()) return;
    const int error = fault->error;
    faults.erase(fault);
    fail(error, "use", path);
}

MemoryFolder::NodePointer MemoryFolder::find(std::string_view path) const {
    NodePointer node = root;
    while (node && !path.empty()) {
        const std::size_t end = std::min(path.find('/'), path.size());
        const auto entry = node->entries.find(path.substr(0, end));
        node = entry == node->entries.end() ? nullptr : entry->second;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return node;
}

MemoryFolder::NodePointer MemoryFolder::require(std::string_view path, const char* action) const {
    if (path.empty()) return root;
    NodePointer node = placeOf(path, action).node();
    if (!node) fail(ENOENT, action, path);
    return node;
}

MemoryFolder::Place MemoryFolder::placeOf(std::string_view path, const char* action) const {
    if (path.empty()) fail(EBUSY, action, path);
    for (std::string_view above = parentOf(path);; above = parentOf(above)) {
        const NodePointer node = find(above);
        if (node && !node->isFolder) fail(ENOTDIR, action, path);
        if (above.empty()) break;
    }
    NodePointer folder = find(parentOf(path));
    if (!folder) fail(ENOENT, action, path);
    return {std::move(folder), std::string(path.substr(path.rfind('/') + 1))};
}

std::uint64_t MemoryFolder::usedBytes() const {
    return root->usedBytes();
}

void MemoryFolder::fail(int error, std::string_view action, std::string_view path) const {
    throw FileError(error, action, location(path).string());
}

std::unique_ptr<FileHandle> MemoryFolder::openHandle(std::string_view path, OpenMode mode) {
    const std::scoped_lock lock(mutex);
    const bool isNew = mode == OpenMode::createNew;
    take(isNew ? Step::create : Step::open, path);
    if (path.empty()) fail(EISDIR, "open", path);
    const Place place = placeOf(path, "open");
    NodePointer node = place.node();
    if (isNew) {
        if (node) fail(EEXIST, "open", path);
        node = std::make_shared<Node>();
        node->modified = clock();
        place.folder->entries.emplace(place.name, node);
    }
    if (!node) fail(ENOENT, "open", path);
    if (node->isFolder) fail(EISDIR, "open", path);
    return std::make_unique<Handle>(*this, node, std::string(path));
}

std::string MemoryFolder::readBytes(std::string_view path, std::uint64_t offset, std::uint64_t count) const {
    const std::scoped_lock lock(mutex);
    take(Step::read, path);
    const NodePointer node = require(path, "read");
    if (node->isFolder) fail(EISDIR, "read", path);
    if (offset >= node->content.size()) return {};
    return node->content.substr(offset, count);
}

std::optional<FileInfo> MemoryFolder::statEntry(std::string_view path) const {
    const std::scoped_lock lock(mutex);
    take(Step::read, path);
    const NodePointer node = find(path);
    if (!node) return std::nullopt;
    return FileInfo{node->isFolder, node->content.size(), node->modified};
}

std::vector<std::string> MemoryFolder::entryNames(std::string_view path) const {
    const std::scoped_lock lock(mutex);
    take(Step::read, path);
    const NodePointer node = require(path, "list");
    if (!node->isFolder) fail(ENOTDIR, "list", path);
    std::vector<std::string> names;
    for (const auto& [name, entry] : node->entries)
        names.push_back(name);
    return names;
}

bool MemoryFolder::makeOneFolder(std::string_view path) {
    const std::scoped_lock lock(mutex);
    const Place place = placeOf(path, "make folder");
    if (const NodePointer node = place.node()) {
        if (!node->isFolder) fail(ENOTDIR, "make folder", path);
        return false;
    }
    take(Step::makeFolder, path);
    auto node = std::make_shared<Node>();
    node->isFolder = true;
    node->modified = clock();
    place.folder->entries.emplace(place.name, std::move(node));
    return true;
}

void MemoryFolder::unlinkFile(std::string_view path) {
    const std::scoped_lock lock(mutex);
    take(Step::remove, path);
    const NodePointer node = require(path, "remove");
    if (node->isFolder) fail(EISDIR, "remove", path);
    const Place place = placeOf(path, "remove");
    place.folder->entries.erase(place.name);
}

void MemoryFolder::removeEmptyFolder(std::string_view path) {
    const std::scoped_lock lock(mutex);
    take(Step::remove, path);
    const Place place = placeOf(path, "remove");
    const NodePointer node = require(path, "remove");
    if (!node->isFolder) fail(ENOTDIR, "remove", path);
    if (!node->entries.empty()) fail(ENOTEMPTY, "remove", path);
    place.folder->entries.erase(place.name);
}

void MemoryFolder::renameEntry(std::string_view from, std::string_view to) {
    const std::scoped_lock lock(mutex);
    take(Step::rename, from);
    const Place source = placeOf(from, "rename");
    const Place target = placeOf(to, "rename");
    const NodePointer node = require(from, "rename");
    const NodePointer replaced = target.node();
    if (replaced == node) return;
    if (node->holds(target.folder.get())) fail(EINVAL, "rename", from);
    if (replaced) {
        if (replaced->isFolder && !node->isFolder) fail(EISDIR, "rename", from);
        if (!replaced->isFolder && node->isFolder) fail(ENOTDIR, "rename", from);
        if (!replaced->entries.empty()) fail(ENOTEMPTY, "rename", from);
    }
    target.folder->entries[target.name] = node;
    source.folder->entries.erase(source.name);
}

void MemoryFolder::syncFolder(std::string_view path) {
    const std::scoped_lock lock(mutex);
    take(Step::syncFolder, path);
    const NodePointer node = require(path, "sync");
    node->syncedEntries = node->entries;
}

} // namespace tavrin
