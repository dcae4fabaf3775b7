#include "bench/MeetingGrowth.h"

#include "bench/ProcessMemory.h"
#include "bench/Report.h"
#include "bench/ScriptedTalk.h"
#include "meeting/WorldTestSupport.h"
#include "platform/linux/SoxrSampleRateConverter.h"
#include "support/files/DiskFolder.h"
#include "ui/Theme.h"
#include "ui/meeting/MeetingPage.h"
#include "ui/meeting/MeetingPresenter.h"

#include <QApplication>
#include <stdexcept>

namespace tavrin {

namespace {

using std::chrono::milliseconds;
using std::chrono::minutes;
using std::chrono::seconds;

constexpr Duration early = minutes(10);
constexpr Duration late = minutes(60);
constexpr double mostGrowth = 10; // MB

class NoDevices final : public AudioDevices {
public:
    [[nodiscard]] std::vector<AudioDevice> inputs() const override { return {}; }
    [[nodiscard]] std::vector<AudioDevice> outputs() const override { return {}; }
    [[nodiscard]] std::optional<AudioDevice> defaultInput() const override { return std::nullopt; }
    [[nodiscard]] std::optional<AudioDevice> defaultOutput() const override { return std::nullopt; }
    void onChange(std::function<void()> /*changed*/) override {}
};

SampleRateConverterFactory converters() {
    return [](double rate, std::size_t channels, double wanted) {
        return std::make_unique<SoxrSampleRateConverter>(rate, channels, wanted);
    };
}

/// A meeting with files, on virtual time.
class LongMeeting {
public:
    explicit LongMeeting(const std::filesystem::path& folder) : disk(folder) {
        engines.transcriptionTime = milliseconds(300);
        engines.say = [](const char* lane, const std::vector<float>& samples) {
            return std::string(lane) + " says something of " + std::to_string(samples.size()) + " samples here.";
        };
        page.resize(900, 700);
        page.QWidget::show();
        time.runUntilIdle();
        session.start();
        time.runUntilIdle();
        if (!session.isCapturing()) throw std::runtime_error("the meeting does not begin");
    }

    /// Both lanes hear `talk` and the page is painted, until the meeting has lasted this long.
    void runUntil(Duration end, ScriptedTalk& talk) {
        for (; passed < end; passed += ScriptedTalk::piece) {
            time.advance(ScriptedTalk::piece);
            microphone.play(talk.mono(passed), time.now());
            tap.play(talk.stereo(passed), time.now());
            if (passed % seconds(1) == Duration::zero()) QApplication::processEvents();
        }
        time.runUntilIdle();
    }

    [[nodiscard]] std::size_t lines() const { return session.state.segments->size(); }

private:
    DiskFolder disk;
    // What capture's last clean-up touches, which goes with the time.
    FakeMicrophone microphone;
    FakeSystemAudioTap tap;
    VirtualTime time;
    ScriptedEngines engines;
    FakePreferences preferences;
    FakePowerActivity power;
    NoDevices devices;
    Executor& storage = time.addExecutor();
    Executor& background = time.addExecutor();
    DiagnosticsLogger diagnostics{disk, storage, time.wallClock(), time.steadyClock()};
    ModelFolderResolver folders{preferences, ModelDeployment{.smallVariant = std::nullopt}, {}};
    WhisperModelService models{time.main(), folders};
    std::function<void(std::string)> note = [this](std::string line) { diagnostics.log(std::move(line)); };
    AudioCaptureService mic{
        {time.main(), time.addExecutor(), time.addExecutor(), microphone.factory(), converters(), note}};
    SystemAudioCaptureService system{{time.main(), time.addExecutor(), time.addExecutor(), tap, converters(), note}};
    MixedAudioCaptureService mixedCapture{time.main(), mic, system};
    LiveCapture::Dependencies capture{time.main(),      time.addExecutor(), time.addExecutor(),
                                      time.wallClock(), mixedCapture,       engines,
                                      models,           diagnostics};
    TranscriptionSession session{{capture, disk, storage, background, power,
                                  [] -> Task<std::optional<std::string>> { co_return "tavrin_bench"; },
                                  [] -> Task<bool> { co_return true; }, [] { return false; }}};
    Theme theme{*qApp};
    MeetingPage page{theme};
    MeetingPresenter presenter{session, devices, page};
    Duration passed{};
};

} // namespace

void measureMeetingGrowth(const std::filesystem::path& folder, Report& report) {
    report.heading("an hour of a meeting, on virtual time");
    LongMeeting meeting(folder);
    ScriptedTalk talk;
    meeting.runUntil(early, talk);
    const double before = ProcessMemory::resident();
    const std::size_t linesBefore = meeting.lines();
    meeting.runUntil(late, talk);
    const double after = ProcessMemory::resident();
    report.remark(
        "Scripted sound and engine; conversion, archive, chunking, session, disk and page are the program's.");
    report.remark("Lines of transcript: " + std::to_string(linesBefore) + " after 10 minutes, " +
                  std::to_string(meeting.lines()) + " after 60.");
    if (meeting.lines() < 5 * linesBefore || linesBefore == 0) throw std::runtime_error("the meeting fell silent");
    report.figure("meeting: memory after 10 minutes", before, 1, "MB");
    report.figure("meeting: memory after 60 minutes", after, 1, "MB");
    report.bar("meeting: memory gained from minute 10 to 60", after - before, mostGrowth, 1, "MB");
}

} // namespace tavrin
