#include "audio/DiagnosticsLogger.h"

#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/json/Json.h"
#include "support/log/Log.h"

namespace tavrin {

namespace {

constexpr Logger logger{"DiagnosticsLogger"};
constexpr std::string_view fileSuffix = "-diagnostics.json";
constexpr std::string_view arrayEnd = "\n]";
constexpr Duration samplingInterval = std::chrono::seconds(5);
constexpr Duration leastWriteInterval = std::chrono::seconds(2);
constexpr int eventsPerWrite = 20;
constexpr std::size_t mostWaiting = std::size_t{4} << 20;
constexpr std::uint64_t largestToMend = std::uint64_t{256} << 20;

std::string pathOf(std::string_view name) {
    return std::string(DiagnosticsLogger::folderName) + "/" + std::string(name);
}

/// What stands before the first line that a crash has cut.
std::string_view wholeLines(std::string_view text) {
    const std::size_t end = text.rfind('\n');
    std::string_view last = text.substr(end == std::string_view::npos ? 0 : end + 1);
    if (last.ends_with(',')) last.remove_suffix(1);
    if (end == std::string_view::npos || Json::accept(last)) return text;
    return text.substr(0, end);
}

void closeArray(Folder& folder, const std::string& path) {
    const auto found = folder.info(path);
    if (!found || found->isFolder) return;
    const std::uint64_t tail = std::min<std::uint64_t>(found->size, arrayEnd.size());
    if (folder.readRange(path, found->size - tail, tail) == arrayEnd) return;
    const std::string text = folder.read(path, largestToMend);
    std::string_view kept = wholeLines(text);
    if (kept.ends_with(',')) kept.remove_suffix(1);
    folder.writeAtomically(path, std::string(kept.starts_with('[') ? kept : "[") + std::string(arrayEnd));
}

} // namespace

/// What lives on the queue.
class DiagnosticsLogger::State final : public std::enable_shared_from_this<State> {
public:
    State(Folder& support, Executor& executor, const WallClock& clock, DiagnosticsMemory readings)
        : folder(support), queue(executor), wallClock(clock), memory(std::move(readings)) {}

    void mend();
    void start(const std::string& id, Date now);
    void end(Date now);
    void add(Date now, std::string_view kind, const Json& fields);
    void addFrames(Date now, const DiagnosticsCaptureFrameCounter::Handoff& handoff);

private:
    void dropWaiting(Date now);
    void sample();
    void scheduleSample();
    void write(bool isEnd);
    void fail(const FileError& error);

    Folder& folder;
    Executor& queue;
    const WallClock& wallClock;
    const DiagnosticsMemory memory;

    std::optional<Date> sessionStart;
    std::string path;
    std::unique_ptr<AppendFile> file;
    std::string waiting; // events that are not in the file yet, as text
    int waitingEvents = 0;
    bool isOpened = false; // the file has the array's beginning
    bool isFailing = false;
    SteadyInstant nextWrite;
    std::int64_t cumulativeFramesReceived = 0;
    std::int64_t cumulativeFramesDropped = 0;
    std::optional<std::string> pressureLevel;
    JobId samplingTimer;
};

void DiagnosticsLogger::State::mend() {
    try {
        if (!folder.info(folderName)) return;
        folder.removeTemporaries(folderName);
        for (const std::string& name : folder.list(folderName))
            if (name.ends_with(fileSuffix)) closeArray(folder, pathOf(name));
    } catch (const FileError& error) {
        logger.warning("Earlier diagnostics stay as a crash left them: {}", error.what());
    }
}

void DiagnosticsLogger::State::start(const std::string& id, Date now) {
    if (sessionStart) end(now);
    sessionStart = now;
    path = pathOf(id + std::string(fileSuffix));
    waiting.clear();
    waitingEvents = 0;
    isOpened = false;
    isFailing = false;
    nextWrite = queue.now();
    cumulativeFramesReceived = 0;
    cumulativeFramesDropped = 0;
    pressureLevel.reset();
    try {
        folder.remove(path);
    } catch (const FileError& error) {
        fail(error);
    }
    add(now, "lifecycle", {{"note", "meeting_start"}});
    scheduleSample();
}

void DiagnosticsLogger::State::end(Date now) {
    if (!sessionStart) return;
    queue.cancel(std::exchange(samplingTimer, {}));
    add(now, "lifecycle", {{"note", "meeting_end"}});
    write(true);
    file.reset();
    waiting.clear();
    sessionStart.reset();
}

void DiagnosticsLogger::State::add(Date now, std::string_view kind, const Json& fields) {
    if (!sessionStart) return;
    Json event = Json::object();
    event["timestamp"] = now.secondsSince(*sessionStart);
    event["wallClock"] = iso8601(now);
    event["kind"] = kind;
    event.update(fields);
    waiting += waiting.empty() && !isOpened ? "[\n" : ",\n";
    waiting += compactText(event);
    ++waitingEvents;
    if (waiting.size() > mostWaiting) dropWaiting(now);
    if (waitingEvents >= eventsPerWrite && queue.now() >= nextWrite) write(false);
}

void DiagnosticsLogger::State::dropWaiting(Date now) {
    waiting.clear();
    const int lost = std::exchange(waitingEvents, 0);
    add(now, "lifecycle", {{"note", "diagnostics_lost events=" + std::to_string(lost)}});
}

void DiagnosticsLogger::State::addFrames(Date now, const DiagnosticsCaptureFrameCounter::Handoff& handoff) {
    if (!sessionStart) return;
    cumulativeFramesReceived += handoff.received;
    cumulativeFramesDropped += handoff.dropped;
    add(now, "frames",
        {{"audioFramesReceived", cumulativeFramesReceived},
         {"audioFramesDropped", cumulativeFramesDropped},
         {"bufferFillRatio", handoff.bufferFillRatio}});
}

void DiagnosticsLogger::State::sample() {
    const Date now = wallClock.now();
    add(now, "memory", {{"residentMemoryMB", memory.residentMB()}});
    auto level = memory.pressureLevel();
    if (level && level != pressureLevel.value_or("normal")) add(now, "memory", {{"memoryPressureLevel", *level}});
    if (level) pressureLevel = std::move(level);
    scheduleSample();
}

void DiagnosticsLogger::State::scheduleSample() {
    samplingTimer = queue.postAt(after(queue.now(), samplingInterval), [self = shared_from_this()] { self->sample(); });
}

void DiagnosticsLogger::State::write(bool isEnd) {
    nextWrite = after(queue.now(), leastWriteInterval);
    try {
        if (!file) {
            folder.makeFolders(folderName);
            file = folder.openForAppend(path);
        }
        if (isEnd) waiting += arrayEnd;
        file->append(waiting);
        isOpened = true;
        isFailing = false;
        waiting.clear();
        waitingEvents = 0;
        if (isEnd) file->syncData();
    } catch (const FileError& error) {
        file.reset();
        fail(error);
    }
}

void DiagnosticsLogger::State::fail(const FileError& error) {
    if (!std::exchange(isFailing, true)) logger.error("DiagnosticsLogger flush failed: {}", error.what());
}

DiagnosticsLogger::DiagnosticsLogger(Folder& applicationSupport, Executor& executor, const WallClock& wall,
                                     const SteadyClock& steady, DiagnosticsMemory memory)
    : queue(executor), wallClock(wall), steadyClock(steady),
      state(std::make_shared<State>(applicationSupport, executor, wall, std::move(memory))) {
    queue.post([self = state] { self->mend(); });
}

DiagnosticsLogger::~DiagnosticsLogger() {
    endMeeting();
}

void DiagnosticsLogger::startMeeting(std::string meetingID) {
    queue.post([self = state, now = wallClock.now(), id = std::move(meetingID)] { self->start(id, now); });
}

void DiagnosticsLogger::endMeeting() {
    queue.post([self = state, now = wallClock.now()] { self->end(now); });
}

void DiagnosticsLogger::log(std::string note) {
    logger.debug("{}", note);
    queue.post(
        [self = state, now = wallClock.now(), text = std::move(note)] { self->add(now, "event", {{"note", text}}); });
}

void DiagnosticsLogger::logResult(std::string text, std::string label, double start, double end) {
    queue.post([self = state, now = wallClock.now(), words = std::move(text), speaker = std::move(label), start, end] {
        self->add(
            now, "transcript",
            {{"transcriptStart", start}, {"transcriptEnd", end}, {"transcriptText", words}, {"speakerLabel", speaker}});
    });
}

void DiagnosticsLogger::countFrames(std::size_t chunkBytes, DiagnosticsCaptureFrameCounter& counter) {
    const auto handoff = counter.count(chunkBytes, steadyClock.now());
    if (handoff) queue.post([self = state, now = wallClock.now(), handoff] { self->addFrames(now, *handoff); });
}

} // namespace tavrin
