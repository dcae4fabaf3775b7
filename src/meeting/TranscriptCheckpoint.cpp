#include "meeting/TranscriptCheckpoint.h"

#include <algorithm>
#include <charconv>

namespace tavrin {

namespace {

constexpr std::size_t longestID = 64;

std::optional<Date> dateAt(const Json& object, std::string_view key) {
    const auto seconds = numberAt(object, key);
    return seconds ? std::optional(Date(*seconds)) : std::nullopt;
}

/// Absent, null or a whole number: true, else false.
bool readIndex(const Json& object, std::string_view key, std::optional<std::int64_t>& index) {
    const Json* member = memberOf(object, key);
    if (member == nullptr || member->is_null()) return true;
    index = integerIn(*member);
    return index.has_value();
}

Json jsonOf(const PersistedTranscriptSegment& segment) {
    Json object = Json::object();
    object["speakerLabel"] = segment.speakerLabel;
    object["text"] = segment.text;
    object["date"] = segment.date.sinceReference();
    if (segment.themSpeakerIndex) object["themSpeakerIndex"] = *segment.themSpeakerIndex;
    if (segment.meSpeakerIndex) object["meSpeakerIndex"] = *segment.meSpeakerIndex;
    return object;
}

std::optional<PersistedTranscriptSegment> segmentOf(const Json& object) {
    auto label = stringAt(object, "speakerLabel");
    auto text = stringAt(object, "text");
    const auto date = dateAt(object, "date");
    if (!label || !text || !date) return std::nullopt;
    PersistedTranscriptSegment segment{.speakerLabel = std::move(*label), .text = std::move(*text), .date = *date};
    if (!readIndex(object, "themSpeakerIndex", segment.themSpeakerIndex)) return std::nullopt;
    if (!readIndex(object, "meSpeakerIndex", segment.meSpeakerIndex)) return std::nullopt;
    return segment;
}

bool readSegments(const Json& object, std::vector<PersistedTranscriptSegment>& segments) {
    const Json* array = arrayAt(object, "segments");
    if (array == nullptr) return false;
    for (const Json& element : *array) {
        auto segment = segmentOf(element);
        if (!segment) return false;
        segments.push_back(std::move(*segment));
    }
    return true;
}

bool readCounts(const Json& object, TranscriptCheckpoint& checkpoint) {
    for (const auto& [key, count] : {std::pair("meTranscribedSamples", &checkpoint.meTranscribedSamples),
                                     std::pair("themTranscribedSamples", &checkpoint.themTranscribedSamples)}) {
        if (!readIndex(object, key, *count)) return false;
        if (*count && **count < 0) count->reset();
    }
    return true;
}

bool readNames(const Json& object, std::map<SpeakerIndex, std::string>& names) {
    const Json* member = memberOf(object, "themSpeakerCustomNames");
    if (member == nullptr || member->is_null()) return true;
    if (!member->is_object()) return false;
    for (const auto& [key, value] : member->get_ref<const Json::object_t&>()) {
        auto name = stringIn(value);
        if (!name) return false;
        SpeakerIndex index = 0;
        const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), index);
        if (error == std::errc() && end == key.data() + key.size()) names.insert_or_assign(index, std::move(*name));
    }
    return true;
}

std::optional<Json> parsed(std::string_view text) {
    try {
        return parseJson(text, "checkpoint");
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

} // namespace

std::string TranscriptCheckpoint::json() const {
    Json object = Json::object();
    object["meetingID"] = meetingID;
    object["startedAt"] = startedAt.sinceReference();
    object["durationSeconds"] = durationSeconds;
    object["title"] = title;
    object["segments"] = Json::array();
    for (const auto& segment : segments)
        object["segments"].push_back(jsonOf(segment));
    if (meTranscribedSamples) object["meTranscribedSamples"] = *meTranscribedSamples;
    if (themTranscribedSamples) object["themTranscribedSamples"] = *themTranscribedSamples;
    for (const auto& [index, name] : themSpeakerCustomNames)
        object["themSpeakerCustomNames"][std::to_string(index)] = name;
    object["updatedAt"] = updatedAt.sinceReference();
    return compactText(object);
}

std::optional<TranscriptCheckpoint> TranscriptCheckpoint::parse(std::string_view text) {
    const auto object = parsed(text);
    if (!object) return std::nullopt;
    auto id = stringAt(*object, "meetingID");
    const auto started = dateAt(*object, "startedAt");
    const auto duration = numberAt(*object, "durationSeconds");
    auto title = stringAt(*object, "title");
    const auto updated = dateAt(*object, "updatedAt");
    if (!id || !started || !duration || !title || !updated) return std::nullopt;
    TranscriptCheckpoint checkpoint{.meetingID = std::move(*id),
                                    .startedAt = *started,
                                    .durationSeconds = std::max(*duration, 0.0),
                                    .title = std::move(*title),
                                    .updatedAt = *updated};
    if (!readSegments(*object, checkpoint.segments) || !readCounts(*object, checkpoint)) return std::nullopt;
    if (!readNames(*object, checkpoint.themSpeakerCustomNames)) return std::nullopt;
    return checkpoint;
}

bool isPlainMeetingID(std::string_view id) {
    const auto isPlain = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
    };
    return !id.empty() && id.size() <= longestID && std::ranges::all_of(id, isPlain);
}

std::string segmentsLog(std::span<const PersistedTranscriptSegment> segments) {
    std::string log;
    for (const auto& segment : segments)
        log += compactText(jsonOf(segment)) + "\n";
    return log;
}

std::vector<PersistedTranscriptSegment> parseSegmentsLog(std::string_view log) {
    std::vector<PersistedTranscriptSegment> segments;
    while (!log.empty()) {
        const std::size_t end = std::min(log.find('\n'), log.size());
        if (const auto object = parsed(log.substr(0, end))) {
            if (auto segment = segmentOf(*object)) segments.push_back(std::move(*segment));
        }
        log.remove_prefix(std::min(end + 1, log.size()));
    }
    return segments;
}

} // namespace tavrin
