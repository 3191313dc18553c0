// The limits a render checks before it allocates: frame size and the machine's memory.
#pragma once

#include <string>

#include "c4d.h"

namespace host::render
{
constexpr Int32 kMaxSide = 1 << 20;

// The size a user may ask for, by scene file or by option alike. Larger sides are a typing error
// rather than a picture anyone renders; 2^28 pixels (4 GiB a float buffer) is beyond any picture
// this program is meant for. Pictures read from disk keep to the same pixel count.
constexpr Int32 kMaxFrameSide = 65536;
constexpr Int64 kMaxFramePixels = Int64(1) << 28;

/// Why a frame of `width` x `height` may not be asked for, or empty.
std::string FrameSizeProblem(Int64 width, Int64 height);

/// Bytes this process can still get: the least of the memory the system has available, the
/// address space left under its limit, and what its control group allows beyond what it uses.
double AvailableMemory();

/// The frame size in the settings, checked; false with a message.
Bool ReadSize(const BaseContainer& settings, Int32& width, Int32& height, String* error);

/// Whether the buffers of a render fit into the machine's memory; false with a message.
Bool CheckMemory(Int32 width, Int32 height, Int32 images, Bool keepImages, String* error);
} // namespace host::render
