#include "server/AppSettings.h"

#include "server/WebAddress.h"
#include "support/text/Unicode.h"

namespace tavrin {

namespace {

constexpr std::string_view apiBaseURLKey = "tavrin.apiBaseURL";
constexpr std::string_view recentClientsKey = "tavrin.recentClientIDsByWorkspace";
constexpr std::string_view recentlySeenAppsKey = "tavrin.activityRecentlySeenApps";

std::string_view trimmedBase(std::string_view address) {
    address = trimmed(address);
    if (address.ends_with('/')) address.remove_suffix(1);
    return address;
}

std::string replacedOrigin(std::string_view text, const ServerAddresses::Former& origin) {
    std::string result;
    std::size_t done = 0;
    for (auto at = text.find(origin.from); at != std::string_view::npos; at = text.find(origin.from, at + 1)) {
        const std::size_t end = at + origin.from.size();
        if (at < done || (end < text.size() && text[end] != '/' && text[end] != ':')) continue;
        result += text.substr(done, at - done);
        result += origin.to;
        done = end;
    }
    result += text.substr(done);
    return result;
}

bool isListOfTexts(const Json& value) {
    return value.is_array() && std::ranges::all_of(value, [](const Json& each) { return each.is_string(); });
}

} // namespace

std::string AppSettings::apiBaseURL() {
    const std::string stored = preferences.string(apiBaseURLKey).value_or("");
    return trimmed(stored).empty() ? addresses.defaultEndpoint : normalizedBaseURL(stored);
}

void AppSettings::setAPIBaseURL(std::string_view address) {
    address = trimmed(address);
    if (address.empty())
        preferences.remove(apiBaseURLKey);
    else
        preferences.set(apiBaseURLKey, std::string(address));
}

std::string AppSettings::normalizedBaseURL(std::string_view address) {
    std::string result = withoutStoring(address);
    if (result != trimmedBase(address)) setAPIBaseURL(result);
    return result;
}

std::string AppSettings::withoutStoring(std::string_view address) const {
    return mapFormerHost(trimmedBase(address));
}

std::string AppSettings::mapFormerHost(std::string_view text) const {
    std::string result(text);
    for (const ServerAddresses::Former& origin : addresses.formerOrigins)
        result = replacedOrigin(result, origin);
    return result;
}

std::optional<std::string> AppSettings::resolveURL(std::optional<std::string_view> base,
                                                   std::string_view pathOrURL) const {
    const std::string_view wanted = trimmed(pathOrURL);
    if (wanted.empty()) return std::nullopt;
    std::string result;
    if (hasWebScheme(wanted))
        result = mapFormerHost(wanted);
    else
        result = withoutStoring(base.value_or(addresses.defaultEndpoint)) + (wanted.starts_with('/') ? "" : "/") +
                 std::string(wanted);
    if (!isWebAddress(result)) return std::nullopt;
    return result;
}

/// By workspace. What cannot be read is passed over for the last client, as earlier versions kept it alone.
Json AppSettings::recentClients() const {
    if (auto stored = preferences.json(recentClientsKey))
        if (stored->is_object() && std::ranges::all_of(*stored, isListOfTexts)) return std::move(*stored);
    Json result = Json::object();
    if (const auto last = lastClientID.get()) result[""] = Json::array({*last});
    return result;
}

std::vector<std::string> AppSettings::recentClientIDs(std::string_view workspaceID) const {
    const Json clients = recentClients();
    const Json* found = memberOf(clients, workspaceID);
    return found == nullptr ? std::vector<std::string>() : found->get<std::vector<std::string>>();
}

void AppSettings::noteRecentClient(const std::string& workspaceID, const std::string& clientID) {
    if (workspaceID.empty() || clientID.empty()) return;
    auto clients = recentClientIDs(workspaceID);
    std::erase(clients, clientID);
    clients.insert(clients.begin(), clientID);
    clients.resize(std::min(clients.size(), mostRecentClients));
    Json all = recentClients();
    all[workspaceID] = clients;
    preferences.set(recentClientsKey, JsonData{std::move(all)});
    lastClientID.set(clientID);
}

bool AppSettings::isDomainExcluded(std::optional<std::string_view> domain) const {
    if (!domain) return false;
    const std::string wanted = lowercased(*domain);
    return std::ranges::any_of(activityExcludedDomains.get(), [&](const std::string& stored) {
        const std::string lower = lowercased(stored);
        const std::string_view entry = trimmed(lower);
        return !entry.empty() && (wanted == entry || wanted.ends_with("." + std::string(entry)));
    });
}

std::vector<RecentlySeenApp> AppSettings::recentlySeenApps() const {
    const auto stored = preferences.json(recentlySeenAppsKey);
    if (!stored || !stored->is_array()) return {};
    std::vector<RecentlySeenApp> result;
    for (const Json& entry : *stored) {
        auto bundleID = stringAt(entry, "bundleID");
        auto name = stringAt(entry, "name");
        if (!bundleID || !name) return {};
        result.push_back({std::move(*bundleID), std::move(*name)});
    }
    return result;
}

void AppSettings::noteRecentlySeenApp(const std::string& bundleID, const std::string& name) {
    auto apps = recentlySeenApps();
    std::erase_if(apps, [&](const RecentlySeenApp& each) { return each.bundleID == bundleID; });
    apps.insert(apps.begin(), {bundleID, name});
    apps.resize(std::min(apps.size(), mostRecentlySeenApps));
    Json list = Json::array();
    for (const RecentlySeenApp& each : apps)
        list.push_back({{"bundleID", each.bundleID}, {"name", each.name}});
    preferences.set(recentlySeenAppsKey, JsonData{std::move(list)});
}

} // namespace tavrin
