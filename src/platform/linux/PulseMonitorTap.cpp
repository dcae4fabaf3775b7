#include "platform/linux/PulseMonitorTap.h"

#include "support/log/Log.h"

#include <pulse/def.h>
#include <pulse/error.h>

#include <utility>

namespace tavrin {

namespace {

using namespace std::chrono_literals;
using Step = SystemAudioTapError::Step;

constexpr Logger log{"sound"};
constexpr Duration serverLimit = 1s, openLimit = 1500ms;
/// The longest pieces there are: a system lane is in no hurry.
constexpr std::size_t fragment = 1 << 16;

[[noreturn]] void fail(Step step, int status) {
    throw SystemAudioTapError(step, status, pa_strerror(status));
}

} // namespace

PulseMonitorTap::PulseMonitorTap(PulseServer& connection)
    : server(connection), pass([this](const AudioBuffer& buffer) {
          hasRecorded = true;
          receiver(buffer);
      }) {}

PulseMonitorTap::~PulseMonitorTap() {
    stop();
}

AudioFormat PulseMonitorTap::start(SystemAudioTap::Callback taker) {
    stop();
    if (!server.waitUntilConnected(serverLimit)) fail(Step::tap, PA_ERR_CONNECTIONREFUSED);
    const auto snapshot = server.snapshot();
    const auto* speaker = snapshot->speaker();
    if (speaker == nullptr) fail(Step::defaultOutput, PA_ERR_NOENTITY);
    if (speaker->monitor.empty()) fail(Step::deviceUid, PA_ERR_NOENTITY);
    if (speaker->format.channels == 0) fail(Step::format, PA_ERR_INVALID);
    {
        const PulseServer::Lock lock(server);
        receiver = std::move(taker);
        hasRecorded = false;
        open(*speaker);
        if (!stream) fail(Step::device, PA_ERR_BADSTATE);
    }
    using enum PulseRecordStream::State;
    server.waitUntil(openLimit, [this] { return stream->state() != opening; });
    if (stream->state() != running) {
        const int reason = stream->state() == opening ? static_cast<int>(PA_ERR_TIMEOUT) : stream->error();
        stop();
        fail(Step::start, reason);
    }
    const PulseServer::Lock lock(server);
    isRunning = true;
    server.add(*this);
    return stream->format();
}

void PulseMonitorTap::stop() {
    const PulseServer::Lock lock(server);
    if (std::exchange(isRunning, false)) server.remove(*this);
    stream.reset();
    receiver = nullptr;
}

std::string PulseMonitorTap::source() const {
    const PulseServer::Lock lock(server);
    return opened;
}

void PulseMonitorTap::check() {
    const auto snapshot = server.snapshot();
    const auto* speaker = snapshot->speaker();
    if (speaker == nullptr || speaker->monitor.empty() || speaker->format.channels == 0 || isGood(*speaker)) return;
    log.info("system sound: recording {} from now on", speaker->monitor);
    open(*speaker);
}

bool PulseMonitorTap::isGood(const PulseSnapshot::Device& speaker) const {
    return stream && stream->state() != PulseRecordStream::State::failed && !stream->isStalled() &&
           stream->uid() == speaker.monitor;
}

void PulseMonitorTap::open(const PulseSnapshot::Device& speaker) {
    stream.reset();
    try {
        opened = speaker.monitor;
        stream = std::make_unique<PulseRecordStream>(server, PulseRecordStream::Source{speaker.monitor, speaker.format},
                                                     fragment, hasRecorded, pass);
    } catch (const std::runtime_error& error) {
        log.warning("system sound cannot be opened: {}", error.what());
    }
}

} // namespace tavrin
