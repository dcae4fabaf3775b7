#include "platform/PreferenceValue.h"

#include <algorithm>
#include <type_traits>

namespace tavrin {

std::optional<PreferenceValue> preferenceValueIn(const Json& member) {
    if (const auto truth = boolIn(member)) return PreferenceValue(*truth);
    if (auto text = stringIn(member)) return PreferenceValue(std::move(*text));
    if (member.is_number_float()) return PreferenceValue(member.get<double>());
    if (const auto whole = integerIn(member)) return PreferenceValue(*whole);
    const auto isText = [](const Json& element) { return element.is_string(); };
    if (member.is_array() && std::ranges::all_of(member, isText))
        return PreferenceValue(member.get<std::vector<std::string>>());
    if (member.is_structured()) return PreferenceValue(JsonData{member});
    return std::nullopt;
}

Json jsonOf(const PreferenceValue& value) {
    return std::visit(
        [](const auto& content) {
            if constexpr (std::is_same_v<std::decay_t<decltype(content)>, JsonData>)
                return content.content;
            else
                return Json(content);
        },
        value);
}

} // namespace tavrin
