#pragma once

#include "platform/ModelRuntime.h"

#include <optional>

namespace tavrin {

/// Where the feature of that name stands in a graph's list of inputs or outputs; absent if it is not declared.
[[nodiscard]] std::optional<std::size_t> indexOfFeature(const std::vector<TensorInfo>& declared, std::string_view name);

} // namespace tavrin
