#pragma once

#include "app/Deployment.h"
#include "app/LazyModelRuntime.h"
#include "audio/AudioCaptureService.h"
#include "audio/DiagnosticsLogger.h"
#include "audio/MixedAudioCaptureService.h"
#include "audio/SystemAudioCaptureService.h"
#include "meeting/MeetingModelPolicy.h"
#include "meeting/ModelCacheGuard.h"
#include "meeting/ModelFolderResolver.h"
#include "meeting/TranscriptionSession.h"
#include "meeting/WhisperModelService.h"
#include "platform/linux/AutostartLoginItem.h"
#include "platform/linux/DesktopNotifications.h"
#include "platform/linux/JsonPreferences.h"
#include "platform/linux/LinuxSystemAudioTap.h"
#include "platform/linux/LogindPowerActivity.h"
#include "platform/linux/PulseAudioDevices.h"
#include "platform/linux/PulseServer.h"
#include "platform/linux/SecretCredentialStore.h"
#include "server/AppSettings.h"
#include "server/CredentialLadder.h"
#include "server/VocabularyList.h"
#include "speech/SpeechModels.h"
#include "support/async/SerialExecutor.h"
#include "support/async/TaskScope.h"
#include "support/async/ThreadPool.h"
#include "support/files/DiskFolder.h"
#include "support/files/XdgFolders.h"
#include "support/time/Clock.h"

namespace tavrin {

/// Everything of the program that has no window, made in one order and destroyed in the other.
///
/// Thread:   main. Lifetime: the main executor outlives it.
/// Errors:   none at construction: what is missing on this computer shows where it is wanted.
class Services final {
public:
    /// `openRuntime` runs the models; see LazyModelRuntime.
    Services(Executor& main, const XdgFolders& folders, Deployment deployment,
             LazyModelRuntime::Opening openRuntime = newOnnxRuntime);
    Services(const Services&) = delete;
    Services& operator=(const Services&) = delete;
    ~Services();

    /// Once, when the first window or the tray is up; a second call does nothing. First what the former program left,
    /// then the server's address, then the meeting that an earlier run left open. The models and the dictation engine
    /// follow without waiting for one another.
    void startBackgroundServices();

    /// Where the user's files are written, one job at a time, meetings included.
    [[nodiscard]] Executor& fileWork() { return storage; }
    /// The user's data folder.
    [[nodiscard]] Folder& userData() { return applicationSupport; }

    const XdgFolders folders;
    const Deployment deployment;

private:
    Executor& main;
    const SystemWallClock wallClock;
    const SystemSteadyClock steadyClock;
    // Work that may take seconds has threads of its own, so that sound and files never wait for it.
    // Models go last: sound and the window never wait for a processor because of them.
    ThreadPool modelThreads{3, "models", 5};
    ThreadPool deviceThreads{2, "devices"};
    ThreadPool workThreads{3, "work"};
    SerialExecutor storage{workThreads};
    SerialExecutor background{workThreads};

    DiskFolder applicationSupport;
    DiskFolder configuration;
    DiskFolder formerConfiguration;
    DiskFolder autostart;
    DiskFolder caches;

public:
    JsonPreferences preferences;
    AppSettings settings;
    VocabularyList vocabulary;
    AutostartLoginItem loginItem;
    DesktopNotifications notifications;
    SecretCredentialStore credentialStore;
    CredentialLadder credentials;

private:
    LogindPowerActivity powerActivity;
    LazyModelRuntime modelRuntime;
    SpeechModelCache speechModels;
    ModelCacheGuard cacheGuard;
    // A load that runs when the program quits goes on to its end, with what stands above.
    SerialExecutor largeEngineWorker{modelThreads};
    SerialExecutor dictationEngineWorker{modelThreads};
    SerialExecutor themEngineWorker{modelThreads};

public:
    ModelFolderResolver modelFolders;
    WhisperModelService models;
    MeetingModelPolicy policy;

private:
    PulseServer soundServer{Duration::zero()}; // the window does not wait for it
    LinuxSystemAudioTap systemTap;

public:
    PulseAudioDevices audioDevices;

private:
    DiagnosticsLogger diagnostics;
    // What capture posts, to its very end, works with what stands above.
    SerialExecutor microphoneQueue{deviceThreads};
    SerialExecutor tapQueue{deviceThreads};
    SerialExecutor micProcessingQueue{workThreads};
    SerialExecutor systemIoQueue{workThreads};
    SerialExecutor meLane{workThreads};
    SerialExecutor themLane{workThreads};
    AudioCaptureService micCapture;
    SystemAudioCaptureService systemCapture;
    MixedAudioCaptureService mixedCapture;

public:
    TranscriptionSession session;

private:
    [[nodiscard]] static std::unique_ptr<ModelRuntime> newOnnxRuntime();
    [[nodiscard]] TranscriptionSession::Dependencies sessionDependencies();

    bool didStartBackgroundServices = false;
    Subscription vocabularyChanges;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
