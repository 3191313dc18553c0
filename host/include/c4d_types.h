// Scalar names of the host's interface.
#pragma once

#include <cstdint>

using Int32 = std::int32_t;
using UInt32 = std::uint32_t;
using Int64 = std::int64_t;
using UInt64 = std::uint64_t;
using Int = Int64;
using Float32 = float;
using Float64 = double;
using Float = Float64;
using Bool = bool;
using Char = char;
using UChar = unsigned char;

constexpr Float PI = 3.141592653589793;
constexpr Float PI2 = 6.283185307179586;
constexpr Float PI05 = 1.5707963267948966;
