// The slate's text: frame numbers, date and time, timecodes and lines.
#pragma once

#include <string>
#include <vector>

#include "c4d.h"

/// The frame number in decimal, zero-filled to at least 6 digits.
std::string FormatFrameNumber(Int32 frame);
/// The local time now as DD/MM/YYYY HH:MM:SS.
std::string FormatDateTime();
/// A running timecode MMM:SS.FF of `time` at `fps` frames a second; minutes don't wrap at an hour.
std::string FormatTimecode(const BaseTime& time, Float fps);
/// The lines of `text`, cut at each line feed: always one more than there are line feeds.
std::vector<String> SplitLines(const String& text);
