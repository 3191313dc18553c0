// The plug-in module: its only export is c4d_main, which lives in register.cpp.
#include "register.h"

// Keeps the entry point in the link even where the linker would drop an unreferenced archive member.
[[maybe_unused]] static auto* const kEntry = &c4d_main;
