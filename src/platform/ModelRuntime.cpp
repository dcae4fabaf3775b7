#include "platform/ModelRuntime.h"

namespace tavrin {

std::size_t elementSize(ElementType type) noexcept {
    switch (type) {
    case ElementType::float32:
    case ElementType::int32:
        return 4;
    case ElementType::float16:
        return 2;
    case ElementType::int64:
        return 8;
    case ElementType::uint8:
    case ElementType::int8:
        return 1;
    case ElementType::other:
        break;
    }
    return 0;
}

} // namespace tavrin
