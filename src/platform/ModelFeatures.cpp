#include "platform/ModelFeatures.h"

#include <algorithm>

namespace tavrin {

std::optional<std::size_t> indexOfFeature(const std::vector<TensorInfo>& declared, std::string_view name) {
    const auto found = std::ranges::find(declared, name, &TensorInfo::name);
    if (found == declared.end()) return std::nullopt;
    return static_cast<std::size_t>(found - declared.begin());
}

} // namespace tavrin
