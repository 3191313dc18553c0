// The limits a render checks before it allocates: frame size and the machine's memory.
#pragma once

#include "c4d.h"

namespace host::render
{
constexpr Int32 kMaxSide = 1 << 20;

/// The frame size in the settings, checked; false with a message.
Bool ReadSize(const BaseContainer& settings, Int32& width, Int32& height, String* error);

/// Whether the buffers of a render fit into the machine's memory; false with a message.
Bool CheckMemory(Int32 width, Int32 height, Int32 images, Bool keepImages, String* error);
} // namespace host::render
