// The render's progress on a terminal: one line, rewritten in place.
#pragma once

#include <chrono>
#include <string>

#include "c4d.h"

namespace cli
{
/// Shows the frame in flight, the share done, the rate in rays a second and the time left.
class ProgressLine
{
public:
  /// `frames` in all, each of `raysPerFrame` rays (pixels × samples × images).
  ProgressLine(Int32 frames, double raysPerFrame);
  /// The whole render's share `done`, 0 to 1, while frame `frame`, the `index`th from 0, renders.
  void Show(Float done, Int32 frame, Int32 index);
  /// Clears the line.
  void End();

  /// The line's text; `seconds` since the start.
  static std::string Text(Float done, Int32 frame, Int32 frameIndex, Int32 frames, double raysPerFrame, double seconds);

private:
  Int32 frames;
  double raysPerFrame;
  size_t shown = 0;
  std::chrono::steady_clock::time_point start = std::chrono::steady_clock::now();
};
} // namespace cli
