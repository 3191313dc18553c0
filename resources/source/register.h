// Plug-in start and registration, the console log and the text helpers of the slate.
#pragma once

#include <string>
#include <vector>

#include "c4d.h"

/// Plug-in version shown by the start line and the video post's panel.
constexpr const char* ORLIXCAM_VERSION = "2.2.1";
constexpr const char* ORLIXCAM_BUILD = "008";
/// The maker's web page.
constexpr const char* ORLIXCAM_WEBSITE = "https://orlixcam.example.org";

Bool PluginStart();
void PluginEnd();
Bool PluginMessage(Int32 id, void* data);

/// How often the host ran the first start stage without its end stage.
Int32 PluginInitCount();
/// The plug-in file's path as the host gave it, or null before the first start stage.
const Filename* PluginFilePath();

// Registrations, in the order PluginStart calls them.
Bool RegisterOrlixCamVP();
Bool RegisterOrlixTag();

/// One line on the host's console, prefixed "--- OrlixCam: ", at most 1023 characters.
void LogConsole(const char* format, ...) __attribute__((format(printf, 1, 2)));

/// Marks a development trace; it writes nothing.
inline void LogDebug(const char* /*format*/, ...) __attribute__((format(printf, 1, 2)));
inline void LogDebug(const char* /*format*/, ...)
{
}

/// `v` truncated toward zero and held within Int32; NaN gives 0. Settings may hold any double.
Int32 TruncateToInt32(Float v);

/// The frame number in decimal, zero-filled to at least 6 digits.
std::string FormatFrameNumber(Int32 frame);
/// The local time now as DD/MM/YYYY HH:MM:SS.
std::string FormatDateTime();
/// A running timecode MMM:SS.FF of `time` at `fps` frames a second; minutes don't wrap at an hour.
std::string FormatTimecode(const BaseTime& time, Float fps);
/// The lines of `text`, cut at each line feed: always one more than there are line feeds.
std::vector<String> SplitLines(const String& text);

extern "C" __attribute__((visibility("default"))) Int32 c4d_main(Int32 action, void* p1, void* p2, void* p3);
