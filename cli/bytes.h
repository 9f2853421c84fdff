#pragma once

#include <cstdint>
#include <span>

namespace zucli {

using Bytes = std::span<const uint8_t>;

} // namespace zucli
