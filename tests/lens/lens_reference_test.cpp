// The reference directions of the lens modes, to six places, for an image of 1000 × 500 pixels.
#include <cmath>
#include <string>

#include "lens_test_util.h"

namespace
{
constexpr double kDeg = PI / 180.0;

const struct { const char* setup; void (*configure)(LensState&); Vector uv, direction, uvAfter; } kRows[] = {
  {"dome fov pi", [](LensState& s) { s.settings.lens = LensKind::Dome; s.settings.fov = PI; },
   {0.8, 0.3, 0}, {0.753478, 0.502319, 0.424201}, {0.8, 0.3, 0}},
  {"dome fov 220", [](LensState& s) { s.settings.lens = LensKind::Dome; s.settings.fov = 220.0 * kDeg; },
   {0.9, 0.6, 0}, {0.970068, -0.242517, -0.012362}, {0.9, 0.6, 0}},
  {"dome zenith stereo", [](LensState& s) { s.settings.lens = LensKind::Dome; s.settings.fov = PI; s.settings.isStereo = true; s.settings.domeZenith = true; },
   {0.8, 0.3, 0}, {0.753478, 0.424201, -0.502319}, {0.8, 0.3, 0}},
  {"panorama full sphere", [](LensState& s) { s.settings.lens = LensKind::Panorama; s.settings.fov = PI2; UpdateSpans(s.settings); },
   {0.6, 0.4, 0}, {0.559017, 0.309017, 0.769421}, {0.6, 0.4, 0}},
  {"panorama custom field", [](LensState& s) {
     s.settings.lens = LensKind::Panorama; s.settings.fov = PI; UpdateSpans(s.settings);
     s.settings.panoramaCustomField = true; s.settings.verticalStart = 0.25; s.settings.verticalEnd = 0.75; },
   {0.6, 0.4, 0}, {0.305212, 0.156434, 0.939347}, {0.55, 0.45, 0}},
  {"cylindrical fov pi", [](LensState& s) { s.settings.lens = LensKind::Cylindrical; s.settings.fov = PI; UpdateSpans(s.settings); },
   {0.6, 0.4, 0}, {0.309017, 0.0, 0.951057}, {0.55, 0.4, 0}},
  {"cylindrical turned", [](LensState& s) { s.settings.lens = LensKind::Cylindrical; s.settings.fov = PI; UpdateSpans(s.settings); s.settings.cylinderAxisTurned = true; },
   {0.6, 0.4, 0}, {0.0, 0.309017, 0.951057}, {0.6, 0.4, 0}},
  {"cube face 0", [](LensState& s) { s.settings.lens = LensKind::Cubemap; s.currentFace.channelIndex = 0; },
   {0.25, 0.75, 0}, {-0.816497, -0.408248, -0.408248}, {0.25, 0.75, 0}},
  {"cube face 3 turned 90", [](LensState& s) { s.settings.lens = LensKind::Cubemap; s.currentFace.channelIndex = 3; s.currentFace.rotation = 90; },
   {0.25, 0.75, 0}, {0.408248, 0.816497, 0.408248}, {0.75, 0.75, 0}},
  {"panorama stereo shift right eye", [](LensState& s) {
     s.settings.lens = LensKind::Panorama; s.settings.fov = PI2; UpdateSpans(s.settings);
     s.settings.isStereo = true; s.settings.pixelShift = 20; s.currentEye.channelIndex = 1; },
   {0.6, 0.4, 0}, {0.606226, 0.309017, 0.732802}, {0.61, 0.4, 0}},
};
} // namespace

TEST(LensReference, EveryRowToSixPlaces)
{
  for (const auto& row : kRows)
  {
    LensState s = MakeState(1000, 500);
    row.configure(s);
    Vector uv = row.uv;
    const Vector d = PixelToDirection(s, uv);
    EXPECT_TRUE(VectorNear(d, row.direction, 1e-6)) << row.setup << " at uv " << row.uv;
    EXPECT_TRUE(VectorNear(uv, row.uvAfter, 1e-6)) << row.setup << " uv afterwards";
    EXPECT_NEAR(d.GetLength(), 1.0, 1e-12) << row.setup;
  }
}
