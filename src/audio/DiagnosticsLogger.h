#pragma once

#include "audio/DiagnosticsCaptureFrameCounter.h"
#include "audio/DiagnosticsMemory.h"
#include "support/async/Executor.h"
#include "support/time/Clock.h"

#include <memory>
#include <string>

namespace tavrin {

class Folder;

/// Keeps for each meeting a time line of what capture and transcription did, to explain a bad one afterwards: a JSON
/// array of events in "TavrinAssistant/Diagnostics/<meeting id>-diagnostics.json", one event a line.
///
/// Writing:  new events go to the file's end at the 20th of them, but not more often than every two seconds, so the
/// cost
///           does not grow with the meeting. The array is closed at the end of the meeting; one that a crash left open
///           is closed by the next logger. Events that the disk does not take wait, four megabytes at most.
/// Privacy:  what was said stands in the file, which only this user can read, and never in the program's log. Notes do
/// go
///           to the program's log, at debug level: they hold no words that were spoken.
/// Threads:  any; each call posts to `queue` and returns.
/// Lifetime: all arguments outlive it, and what it has posted.
class DiagnosticsLogger final {
public:
    static constexpr std::string_view folderName = "TavrinAssistant/Diagnostics";

    DiagnosticsLogger(Folder& applicationSupport, Executor& queue, const WallClock& wallClock,
                      const SteadyClock& steadyClock, DiagnosticsMemory memory = DiagnosticsMemory::ofThisProcess());
    /// Ends the meeting, if one runs.
    ~DiagnosticsLogger();
    DiagnosticsLogger(const DiagnosticsLogger&) = delete;
    DiagnosticsLogger& operator=(const DiagnosticsLogger&) = delete;

    /// Begins a new file, in place of an earlier one of the same meeting. `meetingID` is letters, digits and hyphens.
    void startMeeting(std::string meetingID);
    void endMeeting();

    // Outside a meeting only the program's log gets something.

    void log(std::string note);
    void logResult(std::string text, std::string label, double start, double end);
    /// A chunk of capture is handed over, through the counter of its lane.
    void countFrames(std::size_t chunkBytes, DiagnosticsCaptureFrameCounter& counter);

private:
    class State;

    Executor& queue;
    const WallClock& wallClock;
    const SteadyClock& steadyClock;
    std::shared_ptr<State> state;
};

} // namespace tavrin
