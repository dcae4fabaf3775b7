#include "platform/linux/LinuxSystemAudioTap.h"

#include "support/log/Log.h"

#include <pulse/def.h>

#include <memory>
#include <utility>

namespace tavrin {

namespace {

using namespace std::chrono_literals;
using Step = SystemAudioTapError::Step;

constexpr Logger log{"sound"};
/// With 1.5 s for the links and 2.5 s for the monitor after them a start stays below five seconds.
constexpr Duration serverLimit = 900ms;

} // namespace

LinuxSystemAudioTap::LinuxSystemAudioTap(PulseServer& connection, Way wanted)
    : server(connection), way(wanted), devices(connection), monitor(connection) {}

bool LinuxSystemAudioTap::isAvailable() const {
    return server.snapshot()->speaker() != nullptr;
}

std::vector<AudioDevice> LinuxSystemAudioTap::outputs() const {
    return devices.outputs();
}

AudioDevice LinuxSystemAudioTap::defaultOutput() const {
    if (auto output = devices.defaultOutput()) return *std::move(output);
    throw SystemAudioTapError(Step::defaultOutput, PA_ERR_NOENTITY,
                              server.snapshot()->isConnected ? "there is no speaker" : "no sound server answers");
}

std::string LinuxSystemAudioTap::method() const {
    return hasLinks ? "links of all playback streams" : "monitor of " + monitor.source();
}

AudioFormat LinuxSystemAudioTap::start(Callback callback) {
    stop();
    if (!server.waitUntilConnected(serverLimit))
        throw SystemAudioTapError(Step::tap, PA_ERR_CONNECTIONREFUSED, "no sound server answers");
    // Held by whichever way is tried; the links may fail and hand it on.
    const auto shared = std::make_shared<Callback>(std::move(callback));
    const auto pass = [shared](const AudioBuffer& buffer) { (*shared)(buffer); };
    // A PipeWire beside another sound server carries pictures and none of the sound.
    if (way == Way::best && server.snapshot()->isPipeWire) {
        try {
            const AudioFormat format = links.start(pass);
            hasLinks = true;
            return format;
        } catch (const SystemAudioTapError& error) {
            log.warning("no links to what plays, recording the speaker instead: {}", error.what());
        }
    }
    return monitor.start(pass);
}

void LinuxSystemAudioTap::stop() {
    links.stop();
    monitor.stop();
    hasLinks = false;
}

} // namespace tavrin
