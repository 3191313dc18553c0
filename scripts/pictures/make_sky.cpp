// Draws the example scenes' sky: an equirectangular picture (column 0.5 ahead, 0.75 to the right,
// top row straight up) with a sky gradient, a sun, soft clouds, a ground with a grid every 15°,
// and coloured posts on the horizon ahead (red), right (green), behind (blue) and left (yellow),
// so that every lens shows which way it looks.
#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace
{
constexpr float kPi = 3.14159265358979f;

struct Rgb
{
  float r, g, b;
};

Rgb Mix(Rgb a, Rgb b, float t)
{
  t = std::clamp(t, 0.0f, 1.0f);
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

float Smooth(float e0, float e1, float x)
{
  const float t = std::clamp((x - e0) / (e1 - e0), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

// Longitude -π..π (0 ahead, +π/2 right) and latitude -π/2..π/2 (up) of a picture position.
Rgb SkyAt(float lon, float lat)
{
  const float up = std::sin(lat);
  Rgb c;
  if (lat >= 0.0f)
  {
    c = Mix({0.86f, 0.9f, 0.95f}, {0.18f, 0.36f, 0.78f}, std::pow(up, 0.6f));
    // Clouds: a few octaves of waves, stronger towards the horizon.
    float n = 0.0f;
    n += std::sin(lon * 5.0f + std::sin(lat * 9.0f) * 1.7f) * 0.5f;
    n += std::sin(lon * 11.0f - lat * 23.0f + 1.3f) * 0.3f;
    n += std::sin(lon * 23.0f + lat * 41.0f + 0.4f) * 0.2f;
    const float cloud = Smooth(0.25f, 0.75f, n) * (1.0f - Smooth(0.2f, 1.1f, lat));
    c = Mix(c, {0.97f, 0.97f, 0.98f}, cloud * 0.8f);
    // The sun: 40° right of ahead, 35° up, with a glow.
    const float sLon = 40.0f * kPi / 180.0f, sLat = 35.0f * kPi / 180.0f;
    const float cosAngle = std::sin(lat) * std::sin(sLat) + std::cos(lat) * std::cos(sLat) * std::cos(lon - sLon);
    const float angle = std::acos(std::clamp(cosAngle, -1.0f, 1.0f));
    c = Mix(c, {1.0f, 0.95f, 0.75f}, std::exp(-angle * 6.0f) * 0.6f);
    c = Mix(c, {1.0f, 1.0f, 0.92f}, 1.0f - Smooth(0.035f, 0.045f, angle));
  }
  else
  {
    c = Mix({0.42f, 0.45f, 0.3f}, {0.22f, 0.3f, 0.16f}, std::pow(-up, 0.5f));
    // A grid every 15° on the ground, thin where it is far.
    const float step = 15.0f * kPi / 180.0f;
    const float gx = std::fabs(std::remainder(lon, step)) / step;
    const float gy = std::fabs(std::remainder(lat, step)) / step;
    const float line = std::max(1.0f - Smooth(0.0f, 0.04f, gx), 1.0f - Smooth(0.0f, 0.04f, gy));
    c = Mix(c, {0.75f, 0.72f, 0.55f}, line * 0.7f);
  }
  // Posts on the horizon: ahead red, right green, behind blue, left yellow.
  const struct
  {
    float lon;
    Rgb colour;
  } posts[] = {{0.0f, {0.85f, 0.12f, 0.1f}}, {kPi / 2, {0.1f, 0.7f, 0.2f}}, {kPi, {0.12f, 0.2f, 0.85f}}, {-kPi / 2, {0.92f, 0.8f, 0.1f}}};
  for (const auto& p : posts)
  {
    const float d = std::fabs(std::remainder(lon - p.lon, 2.0f * kPi));
    const float width = 3.0f * kPi / 180.0f, height = 12.0f * kPi / 180.0f;
    const float inside = (1.0f - Smooth(width * 0.8f, width, d)) * (1.0f - Smooth(height * 0.8f, height, std::fabs(lat)));
    c = Mix(c, p.colour, inside);
  }
  return c;
}
} // namespace

int main(int argc, char** argv)
{
  if (argc != 2 && argc != 4)
  {
    std::fprintf(stderr, "usage: make_sky OUT.png [WIDTH HEIGHT]\n");
    return 2;
  }
  const int w = argc == 4 ? std::atoi(argv[2]) : 2048, h = argc == 4 ? std::atoi(argv[3]) : 1024;
  if (w < 2 || h < 2 || w > 16384 || h > 16384)
  {
    std::fprintf(stderr, "make_sky: size %d x %d out of 2 to 16384\n", w, h);
    return 2;
  }
  std::vector<unsigned char> px(size_t(w) * h * 3);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
    {
      // Column u looks at longitude (u - 0.5) × 2π; row v at latitude (0.5 - v) × π.
      const float lon = ((x + 0.5f) / w - 0.5f) * 2.0f * kPi;
      const float lat = (0.5f - (y + 0.5f) / h) * kPi;
      const Rgb c = SkyAt(lon, lat);
      unsigned char* p = &px[(size_t(y) * w + x) * 3];
      p[0] = static_cast<unsigned char>(std::lround(std::clamp(c.r, 0.0f, 1.0f) * 255.0f));
      p[1] = static_cast<unsigned char>(std::lround(std::clamp(c.g, 0.0f, 1.0f) * 255.0f));
      p[2] = static_cast<unsigned char>(std::lround(std::clamp(c.b, 0.0f, 1.0f) * 255.0f));
    }
  const std::string path = argv[1];
  auto out = OIIO::ImageOutput::create(path);
  if (!out || !out->open(path, OIIO::ImageSpec(w, h, 3, OIIO::TypeDesc::UINT8)) ||
      !out->write_image(OIIO::TypeDesc::UINT8, px.data()) || !out->close())
  {
    std::fprintf(stderr, "make_sky: cannot write %s\n", path.c_str());
    return 1;
  }
  return 0;
}
