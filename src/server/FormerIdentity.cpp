#include "server/FormerIdentity.h"

#include "platform/Preferences.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/json/Json.h"
#include "support/log/Log.h"

#include <array>

namespace tavrin {

namespace {

constexpr Logger logger{"Migration"};
constexpr std::string_view didMigrateKey = "tavrin.didMigrateFromLorvexIdentity";
constexpr std::string_view formerPreferences = "preferences.json";
constexpr JsonLimits limits{.bytes = std::size_t{16} << 20};

struct Pair {
    const char* former;
    const char* present;
};

/// The first that has a value counts where two have the same present name.
constexpr std::array<Pair, 25> keys{{
    {"lorvex.apiBaseURL", "tavrin.apiBaseURL"},
    {"lorvex.lastWorkspaceID", "tavrin.lastWorkspaceID"},
    {"lorvex.lastClientID", "tavrin.lastClientID"},
    {"lorvex.meetingRemindersEnabled", "tavrin.meetingRemindersEnabled"},
    {"lorvex.whisperModelFolder", "tavrin.whisperModelFolder"},
    {"lorvex.dictationWhisperModelFolder", "tavrin.dictationWhisperModelFolder"},
    {"lorvex.speakerModelFolder", "tavrin.speakerModelFolder"},
    {"lorvex.dictationHotkey", "tavrin.dictationHotkey"},
    {"lorvex.dictationPasteDirectly", "tavrin.dictationPasteDirectly"},
    {"lorvex.dictationSaveHistoryToLorvex", "tavrin.dictationSaveHistoryToTavrin"},
    {"lorvex.dictationSaveHistoryToTavrin", "tavrin.dictationSaveHistoryToTavrin"},
    {"lorvex.dictationCleanUpSpeech", "tavrin.dictationCleanUpSpeech"},
    {"lorvex.fnUsageTypeBackup", "tavrin.fnUsageTypeBackup"},
    {"lorvex.activityTrackingEnabled", "tavrin.activityTrackingEnabled"},
    {"lorvex.activityTrackingConsentCompleted", "tavrin.activityTrackingConsentCompleted"},
    {"lorvex.activityTrackingPaused", "tavrin.activityTrackingPaused"},
    {"lorvex.activityIdleThresholdSeconds", "tavrin.activityIdleThresholdSeconds"},
    {"lorvex.activityPollIntervalSeconds", "tavrin.activityPollIntervalSeconds"},
    {"lorvex.activityUploadIntervalSeconds", "tavrin.activityUploadIntervalSeconds"},
    {"lorvex.activityCaptureFullURLs", "tavrin.activityCaptureFullURLs"},
    {"lorvex.activityExcludedBundleIDs", "tavrin.activityExcludedBundleIDs"},
    {"lorvex.activityExcludedDomains", "tavrin.activityExcludedDomains"},
    {"lorvex.activityRecentlySeenApps", "tavrin.activityRecentlySeenApps"},
    {"lorvex.connect.pendingState", "tavrin.connect.pendingState"},
    {"lorvex.meetingReminders.notified", "tavrin.meetingReminders.notified"},
}};

constexpr std::array<Pair, 3> folders{{
    {"LorvexAssistant/Notes", "TavrinAssistant/Notes"},
    {"LorvexAssistant/Recordings", "TavrinAssistant/Recordings"},
    {"LorvexAssistant/Activity", "TavrinAssistant/Activity"},
}};

/// Null if there are none that can be read.
Json formerFile(const Folder& formerConfiguration) {
    try {
        if (formerConfiguration.info(formerPreferences))
            return readJson(formerConfiguration, formerPreferences, limits);
    } catch (const JsonError& error) {
        logger.warning("The former program's preferences are damaged and passed over: {}", error.what());
    } catch (const FileError& error) {
        logger.warning("The former program's preferences cannot be read: {}", error.what());
    }
    return nullptr;
}

void copyPreferences(Preferences& preferences, const Json& file) {
    int copied = 0;
    for (const auto& [former, present] : keys) {
        if (preferences.value(present)) continue;
        auto value = preferences.value(former);
        if (const Json* member = memberOf(file, former); !value && member != nullptr)
            value = preferenceValueIn(*member);
        if (!value) continue;
        preferences.set(present, std::move(*value));
        ++copied;
    }
    logger.info("{} preferences of the former program were taken over", copied);
}

void moveFolder(Folder& applicationSupport, const Pair& pair) {
    try {
        const auto former = applicationSupport.info(pair.former);
        if (!former || !former->isFolder || applicationSupport.info(pair.present)) return;
        applicationSupport.makeFolders(Folder::parentOf(pair.present));
        applicationSupport.rename(pair.former, pair.present);
        logger.info("{} is {} now", pair.former, pair.present);
    } catch (const FileError& error) {
        logger.warning("A folder of the former program stays where it is: {}", error.what());
    }
}

} // namespace

void migrateFromFormerIdentityIfNeeded(Preferences& preferences, const Folder& formerConfiguration,
                                       Folder& applicationSupport) {
    if (preferences.boolean(didMigrateKey) == true) return;
    copyPreferences(preferences, formerFile(formerConfiguration));
    for (const Pair& pair : folders)
        moveFolder(applicationSupport, pair);
    preferences.set(didMigrateKey, true);
}

} // namespace tavrin
