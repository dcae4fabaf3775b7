#pragma once

#include "server/DeploymentValues.h"
#include "server/Setting.h"
#include "server/SettingsChoices.h"

namespace tavrin {

/// An application that was in front lately.
struct RecentlySeenApp {
    std::string bundleID;
    std::string name;

    bool operator==(const RecentlySeenApp&) const = default;
};

/// The settings of the program, by name. Defaults stand here alone, but for those whose types belong to the meeting:
/// language, spelling and model folders are read there; the corrections are VocabularyList's.
///
/// Thread:   that of the store. Nothing is cached: what is read is what holds now.
/// Lifetime: the store outlives it.
class AppSettings final {
public:
    static constexpr std::size_t mostRecentClients = 8; // of one workspace
    static constexpr std::size_t mostRecentlySeenApps = 40;

    AppSettings(Preferences& store, ServerAddresses serverAddresses)
        : preferences(store), addresses(std::move(serverAddresses)) {}
    AppSettings(const AppSettings&) = delete;
    AppSettings& operator=(const AppSettings&) = delete;

private:
    Preferences& preferences;
    ServerAddresses addresses;

public:
    // Server

    /// The base of the web application's addresses, normalised; the default endpoint when none is stored.
    [[nodiscard]] std::string apiBaseURL();
    /// Stores it without blanks around it; one that is empty brings the default back.
    void setAPIBaseURL(std::string_view address);
    /// Without blanks around it and one "/" at its end, a former origin replaced. In the last case the result is stored
    /// as well.
    std::string normalizedBaseURL(std::string_view address);
    /// The text with each former origin that is followed by "/", ":" or the end replaced by the present one.
    [[nodiscard]] std::string mapFormerHost(std::string_view text) const;
    /// The full address of a page that the server names by a path or an address; the path lies below `base`, or below
    /// the default endpoint. Stores nothing. Absent for an empty text and for what gives no web address.
    [[nodiscard]] std::optional<std::string> resolveURL(std::optional<std::string_view> base,
                                                        std::string_view pathOrURL) const;

    /// The last one selected; also the account for activity when none is selected.
    TextSetting lastWorkspaceID{preferences, "tavrin.lastWorkspaceID"};
    TextSetting lastClientID{preferences, "tavrin.lastClientID"};
    /// Clients of the workspace, the latest first.
    [[nodiscard]] std::vector<std::string> recentClientIDs(std::string_view workspaceID) const;
    /// Also makes it the last client. Without both ids it does nothing.
    void noteRecentClient(const std::string& workspaceID, const std::string& clientID);
    /// The one-time state of a sign-in that the browser has not brought back yet.
    TextSetting connectPendingState{preferences, "tavrin.connect.pendingState"};

    // Meetings and recordings

    BooleanSetting meetingRemindersEnabled{preferences, "tavrin.meetingRemindersEnabled", true};
    /// Keys of the events that were reminded of.
    TextListSetting notifiedMeetingReminders{preferences, "tavrin.meetingReminders.notified"};
    BooleanSetting speakerLabelsEnabled{preferences, "tavrin.speakerLabelsEnabled", true};
    ChoiceSetting<ScreenRecordingQuality> screenRecordingQuality{preferences, "tavrin.screenRecordingQuality",
                                                                 ScreenRecordingQuality::ultra};

    // Dictation

    ChoiceSetting<DictationHotkey> dictationHotkey{preferences, "tavrin.dictationHotkey", DictationHotkey::rightOption};
    BooleanSetting dictationPasteDirectly{preferences, "tavrin.dictationPasteDirectly", true};
    BooleanSetting dictationSaveHistoryToTavrin{preferences, "tavrin.dictationSaveHistoryToTavrin", true};
    BooleanSetting dictationCleanUpSpeech{preferences, "tavrin.dictationCleanUpSpeech", true};
    /// What the system had for the hotkey's own meaning while dictation holds it; -1 for nothing.
    IntegerSetting fnUsageTypeBackup{preferences, "tavrin.fnUsageTypeBackup"};

    // Activity

    BooleanSetting activityTrackingEnabled{preferences, "tavrin.activityTrackingEnabled", false};
    BooleanSetting activityTrackingConsentCompleted{preferences, "tavrin.activityTrackingConsentCompleted", false};
    BooleanSetting activityTrackingPaused{preferences, "tavrin.activityTrackingPaused", false};
    PositiveNumberSetting activityIdleThresholdSeconds{preferences, "tavrin.activityIdleThresholdSeconds", 120};
    PositiveNumberSetting activityPollIntervalSeconds{preferences, "tavrin.activityPollIntervalSeconds", 15};
    PositiveNumberSetting activityUploadIntervalSeconds{preferences, "tavrin.activityUploadIntervalSeconds", 240};
    BooleanSetting activityCaptureFullURLs{preferences, "tavrin.activityCaptureFullURLs", false};
    TextListSetting activityExcludedBundleIDs{preferences, "tavrin.activityExcludedBundleIDs"};
    TextListSetting activityExcludedDomains{preferences, "tavrin.activityExcludedDomains"};
    /// True for an excluded domain and those below it, regardless of case. No domain is never excluded.
    [[nodiscard]] bool isDomainExcluded(std::optional<std::string_view> domain) const;
    /// The latest first.
    [[nodiscard]] std::vector<RecentlySeenApp> recentlySeenApps() const;
    void noteRecentlySeenApp(const std::string& bundleID, const std::string& name);

private:
    [[nodiscard]] std::string withoutStoring(std::string_view address) const;
    [[nodiscard]] Json recentClients() const;
};

} // namespace tavrin
