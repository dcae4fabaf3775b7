#include "app/Services.h"

#include "platform/linux/PulseAudioEngine.h"
#include "platform/linux/SoxrSampleRateConverter.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "server/FormerIdentity.h"
#include "speech/ModelFolders.h"
#include "support/log/Log.h"

#include <cstdlib>
#include <utility>

namespace tavrin {

namespace {

constexpr Logger log{"Services"};

std::filesystem::path home() {
    const char* value = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): nobody changes it
    return value == nullptr ? std::filesystem::path() : std::filesystem::path(value);
}

/// What is started at login: this very program.
std::filesystem::path ownProgram() {
    std::error_code none;
    return std::filesystem::read_symlink("/proc/self/exe", none);
}

SampleRateConverterFactory converters() {
    return [](double rate, std::size_t channels, double wanted) {
        return std::make_unique<SoxrSampleRateConverter>(rate, channels, wanted);
    };
}

} // namespace

Services::Services(Executor& mainExecutor, const XdgFolders& userFolders, Deployment values,
                   LazyModelRuntime::Opening openRuntime)
    : folders(userFolders), deployment(std::move(values)), main(mainExecutor),
      applicationSupport(folders.applicationSupport()), configuration(folders.preferences()),
      formerConfiguration(folders.configHome() / formerApplicationIdentifier),
      autostart(folders.configHome() / "autostart"), caches(folders.caches()),
      preferences(configuration, "preferences.json", storage), settings(preferences, deployment.server),
      vocabulary(preferences, deployment.vocabulary, main), loginItem(autostart, ownProgram(), storage),
      notifications(main), credentialStore(configuration, "credentials.json"), credentials(credentialStore),
      modelRuntime(std::move(openRuntime)), speechModels(modelRuntime), cacheGuard(caches),
      modelFolders(preferences, deployment.speechModels, modelSearchRoots(folders.documents(), home())),
      models(main, modelFolders),
      policy({.main = main,
              .workers = {.large = largeEngineWorker, .dictation = dictationEngineWorker, .them = themEngineWorker},
              .folders = modelFolders,
              .models = speechModels,
              .cacheGuard = cacheGuard,
              .preferences = preferences,
              .preloadDiarizer = {}}),
      systemTap(soundServer), audioDevices(soundServer),
      diagnostics(applicationSupport, storage, wallClock, steadyClock),
      micCapture({.main = main,
                  .processingQueue = micProcessingQueue,
                  .engineQueue = microphoneQueue,
                  .newEngine = [this] { return std::make_unique<PulseAudioEngine>(soundServer); },
                  .newConverter = converters(),
                  .note = [this](std::string line) { diagnostics.log(std::move(line)); }}),
      systemCapture({.main = main,
                     .tapQueue = tapQueue,
                     .ioQueue = systemIoQueue,
                     .tap = systemTap,
                     .newConverter = converters(),
                     .note = [this](std::string line) { diagnostics.log(std::move(line)); }}),
      mixedCapture(main, micCapture, systemCapture), session(sessionDependencies()), tasks(main) {}

Services::~Services() {
    tasks.clear();
    // What capture posts while it closes uses its neighbours: it is through before they go, in the order of the sound.
    mixedCapture.stop();
    for (SerialExecutor* queue :
         {&microphoneQueue, &tapQueue, &micProcessingQueue, &systemIoQueue, &meLane, &themLane, &storage})
        queue->runAndWait([] {});
}

std::unique_ptr<ModelRuntime> Services::newOnnxRuntime() {
    return std::make_unique<OnnxModelRuntime>();
}

TranscriptionSession::Dependencies Services::sessionDependencies() {
    return {.capture = {.main = main,
                        .meLane = meLane,
                        .themLane = themLane,
                        .clock = wallClock,
                        .mixedCapture = mixedCapture,
                        .engines = policy,
                        .models = models,
                        .diagnostics = diagnostics},
            .applicationSupport = applicationSupport,
            .storage = storage,
            .background = background,
            .powerActivity = powerActivity,
            .loadAPIToken = [this] { return credentials.loadAPIToken(); },
            // The desktop has no such question: whoever may talk to the sound server may record.
            .requestMicrophoneAccess = [] -> Task<bool> { co_return true; },
            .isDictationBusy = {},
            .vocabulary = [this] { return vocabulary.corrector(); }};
}

void Services::startBackgroundServices() {
    if (std::exchange(didStartBackgroundServices, true)) return;
    log.info("background services start");
    migrateFromFormerIdentityIfNeeded(preferences, formerConfiguration, applicationSupport);
    (void)settings.apiBaseURL(); // one of a former server is rewritten by being read
    vocabularyChanges = vocabulary.observe([this](const auto&) { session.vocabularyChanged(); });
    tasks.spawn(session.restoreOpenMeeting());
    tasks.spawn(models.refresh());
    tasks.spawn(policy.loadDictationEngineAtLaunch());
    policy.scheduleBackgroundMeetingModelLoad();
}

} // namespace tavrin
