// Draws the plug-in's pictures (icons, cube faces, panel header, pad maps, logo) with a small
// antialiased raster of our own, and writes them with OpenImageIO.
#include <OpenImageIO/imageio.h>
#include <ft2build.h>
#include FT_FREETYPE_H

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

namespace
{
struct Colour
{
  float r, g, b, a;
};
constexpr Colour kNavy{0.07f, 0.13f, 0.27f, 1}, kTeal{0.09f, 0.62f, 0.66f, 1}, kOrange{0.98f, 0.55f, 0.16f, 1},
  kWhite{1, 1, 1, 1}, kGrey{0.55f, 0.57f, 0.6f, 1}, kDark{0.16f, 0.17f, 0.19f, 1}, kClear{0, 0, 0, 0};
constexpr float kPi = 3.14159265358979f;

// An RGBA float canvas; every shape is drawn through a coverage function sampled 4 × 4 per pixel.
class Canvas
{
public:
  Canvas(int w, int h, Colour fill) : width(w), height(h), px(static_cast<size_t>(w * h), fill) {}

  void Cover(const std::function<bool(float, float)>& inside, Colour c)
  {
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
      {
        int hits = 0;
        for (int sy = 0; sy < 4; ++sy)
          for (int sx = 0; sx < 4; ++sx)
            hits += inside(x + (sx + 0.5f) / 4.0f, y + (sy + 0.5f) / 4.0f);
        if (hits)
          Blend(x, y, c, hits / 16.0f);
      }
  }
  void Disc(float cx, float cy, float r, Colour c)
  {
    Cover([=](float x, float y) { return (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r; }, c);
  }
  void Ring(float cx, float cy, float r, float w, Colour c)
  {
    Cover([=](float x, float y) {
      const float d = std::sqrt((x - cx) * (x - cx) + (y - cy) * (y - cy));
      return std::fabs(d - r) <= w * 0.5f;
    }, c);
  }
  void Rect(float x0, float y0, float x1, float y1, Colour c, float radius = 0)
  {
    Cover([=](float x, float y) {
      if (x < x0 || x > x1 || y < y0 || y > y1)
        return false;
      const float dx = std::max({x0 + radius - x, 0.0f, x - (x1 - radius)});
      const float dy = std::max({y0 + radius - y, 0.0f, y - (y1 - radius)});
      return dx * dx + dy * dy <= radius * radius;
    }, c);
  }
  void Line(float x0, float y0, float x1, float y1, float w, Colour c)
  {
    Cover([=](float x, float y) {
      const float vx = x1 - x0, vy = y1 - y0;
      float t = ((x - x0) * vx + (y - y0) * vy) / (vx * vx + vy * vy);
      t = std::clamp(t, 0.0f, 1.0f);
      const float dx = x - (x0 + t * vx), dy = y - (y0 + t * vy);
      return dx * dx + dy * dy <= w * w * 0.25f;
    }, c);
  }
  // Text centred on (cx, cy), `size` pixels high, through FreeType.
  void Text(const std::string& text, float cx, float cy, int size, Colour c, const char* font)
  {
    FT_Library lib;
    FT_Face face;
    if (FT_Init_FreeType(&lib) || FT_New_Face(lib, font, 0, &face))
    {
      std::fprintf(stderr, "make_pictures: cannot open font %s\n", font);
      std::exit(1);
    }
    FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(size));
    int total = 0;
    for (char ch : text)
    {
      FT_Load_Char(face, static_cast<FT_ULong>(ch), FT_LOAD_DEFAULT);
      total += static_cast<int>(face->glyph->advance.x >> 6);
    }
    const int ascent = static_cast<int>(face->size->metrics.ascender >> 6);
    const int descent = static_cast<int>(-face->size->metrics.descender >> 6);
    int penX = static_cast<int>(cx - total * 0.5f);
    const int base = static_cast<int>(cy + (ascent - descent) * 0.5f);
    for (char ch : text)
    {
      FT_Load_Char(face, static_cast<FT_ULong>(ch), FT_LOAD_RENDER);
      const FT_Bitmap& bm = face->glyph->bitmap;
      for (unsigned r = 0; r < bm.rows; ++r)
        for (unsigned col = 0; col < bm.width; ++col)
        {
          const int x = penX + face->glyph->bitmap_left + static_cast<int>(col);
          const int y = base - face->glyph->bitmap_top + static_cast<int>(r);
          const float cov = bm.buffer[r * static_cast<unsigned>(bm.pitch) + col] / 255.0f;
          if (cov > 0 && x >= 0 && y >= 0 && x < width && y < height)
            Blend(x, y, c, cov);
        }
      penX += static_cast<int>(face->glyph->advance.x >> 6);
    }
    FT_Done_Face(face);
    FT_Done_FreeType(lib);
  }
  void Each(const std::function<Colour(int, int, Colour)>& f)
  {
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        px[static_cast<size_t>(y * width + x)] = f(x, y, px[static_cast<size_t>(y * width + x)]);
  }

  // Writes the picture whole: to a temporary name beside it, then renamed.
  void Save(const std::string& path, int channels) const
  {
    const std::string tmp = path + ".tmp" + path.substr(path.rfind('.'));
    auto out = OIIO::ImageOutput::create(tmp);
    OIIO::ImageSpec format(width, height, channels, OIIO::TypeDesc::UINT8);
    if (channels == 4)
      format.alpha_channel = 3;
    std::vector<float> data;
    for (const Colour& c : px)
    {
      // Stored unassociated: colour as seen, alpha beside it.
      data.push_back(c.r);
      data.push_back(c.g);
      data.push_back(c.b);
      if (channels == 4)
        data.push_back(c.a);
    }
    if (!out || !out->open(tmp, format) || !out->write_image(OIIO::TypeDesc::FLOAT, data.data()) || !out->close() ||
        std::rename(tmp.c_str(), path.c_str()) != 0)
    {
      std::fprintf(stderr, "make_pictures: cannot write %s\n", path.c_str());
      std::remove(tmp.c_str());
      std::exit(1);
    }
  }

private:
  void Blend(int x, int y, Colour c, float cover)
  {
    Colour& d = px[static_cast<size_t>(y * width + x)];
    const float a = c.a * cover;
    const float outA = a + d.a * (1 - a);
    if (outA <= 0)
      return;
    d.r = (c.r * a + d.r * d.a * (1 - a)) / outA;
    d.g = (c.g * a + d.g * d.a * (1 - a)) / outA;
    d.b = (c.b * a + d.b * d.a * (1 - a)) / outA;
    d.a = outA;
  }

  int width, height;
  std::vector<Colour> px;
};

Colour Grey(Colour c)
{
  const float l = 0.3f * c.r + 0.59f * c.g + 0.11f * c.b;
  return {l * 0.8f + 0.1f, l * 0.8f + 0.1f, l * 0.8f + 0.1f, c.a};
}

// The lens mark: a dome over its base line, with the eye of the lens in it.
void DomeMark(Canvas& c, float cx, float cy, float r, Colour shell, Colour accent)
{
  c.Cover([=](float x, float y) { return y <= cy && (x - cx) * (x - cx) + (y - cy) * (y - cy) <= r * r; }, shell);
  c.Cover([=](float x, float y) { return y <= cy && (x - cx) * (x - cx) + (y - cy) * (y - cy) <= (r * 0.72f) * (r * 0.72f); },
          Colour{shell.r * 0.45f, shell.g * 0.45f, shell.b * 0.45f, 1});
  for (int i = 1; i < 4; ++i)
  {
    const float a = kPi * i / 4;
    c.Line(cx, cy, cx - std::cos(a) * r * 0.72f, cy - std::sin(a) * r * 0.72f, r * 0.06f, shell);
  }
  c.Rect(cx - r * 1.12f, cy - r * 0.02f, cx + r * 1.12f, cy + r * 0.12f, shell, r * 0.05f);
  c.Disc(cx, cy - r * 0.34f, r * 0.18f, accent);
}

const char* const kBold = "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf";

struct Face
{
  const char* letter;
  Colour colour;
};
const Face kFaces[6] = {{"L", {0.20f, 0.45f, 0.85f, 1}}, {"R", {0.85f, 0.25f, 0.25f, 1}}, {"D", {0.45f, 0.35f, 0.25f, 1}},
                        {"U", {0.35f, 0.70f, 0.95f, 1}}, {"B", {0.55f, 0.30f, 0.75f, 1}}, {"F", {0.20f, 0.65f, 0.35f, 1}}};
} // namespace

int main(int argc, char** argv)
{
  const std::string dir = argc > 1 ? argv[1] : "res";
  auto out = [&](const char* name) { return dir + "/" + name; };

  // Tag and command icons.
  {
    Canvas on(64, 64, kClear);
    on.Rect(2, 2, 62, 62, kNavy, 12);
    DomeMark(on, 32, 42, 22, kTeal, kOrange);
    on.Save(out("orlixtag.tif"), 4);
    on.Each([](int, int, Colour c) { return Grey(c); });
    on.Save(out("orlixtag_off.tif"), 4);
  }
  {
    Canvas fish(64, 64, kClear);
    fish.Disc(32, 32, 29, kNavy);
    for (int i = 1; i <= 3; ++i)
      fish.Ring(32, 32, 29.0f * i / 3.6f, 2, kTeal);
    fish.Line(32, 6, 32, 58, 2, kTeal);
    fish.Line(6, 32, 58, 32, 2, kTeal);
    fish.Disc(32, 32, 5, kOrange);
    fish.Save(out("orlixtag_fish.tif"), 4);
  }
  {
    Canvas pano(64, 64, kClear);
    pano.Rect(2, 14, 62, 50, kNavy, 6);
    for (int i = 1; i < 4; ++i)
      pano.Line(2 + 15.0f * i, 16, 2 + 15.0f * i, 48, 1.5f, kTeal);
    pano.Line(4, 32, 60, 32, 2.5f, kOrange);
    pano.Save(out("orlixtag_pano.tif"), 4);
  }
  {
    Canvas cyl(64, 64, kClear);
    cyl.Rect(12, 12, 52, 52, kNavy);
    cyl.Cover([](float x, float y) { return ((x - 32) * (x - 32)) / 400 + ((y - 52) * (y - 52)) / 36 <= 1; }, kNavy);
    cyl.Cover([](float x, float y) { return ((x - 32) * (x - 32)) / 400 + ((y - 12) * (y - 12)) / 36 <= 1; }, kTeal);
    cyl.Line(32, 20, 32, 48, 3, kOrange);
    cyl.Save(out("orlixtag_cylindrical.tif"), 4);
  }
  {
    Canvas cube(64, 64, kClear);
    const int cells[6][2] = {{1, 0}, {0, 1}, {1, 1}, {2, 1}, {3, 1}, {1, 2}};
    for (const auto& cell : cells)
      cube.Rect(2 + cell[0] * 15.0f, 10 + cell[1] * 15.0f, 15 + cell[0] * 15.0f, 23 + cell[1] * 15.0f,
                cell[0] == 1 && cell[1] == 1 ? kOrange : kTeal, 2);
    cube.Save(out("orlixtag_skybox.tif"), 4);
  }
  {
    Canvas help(64, 64, kClear);
    help.Disc(32, 32, 29, kNavy);
    help.Text("?", 32, 32, 44, kWhite, kBold);
    help.Save(out("help.tif"), 4);
  }
  {
    Canvas scene(64, 64, kClear);
    scene.Rect(2, 2, 62, 62, kNavy, 10);
    scene.Cover([](float x, float y) { return y > 44 && y < 54 && std::fabs(x - 32) < 26 - (54 - y) * 0.6f; }, kGrey);
    scene.Disc(32, 32, 13, kOrange);
    scene.Disc(28, 28, 4, Colour{1, 0.8f, 0.5f, 1});
    scene.Save(out("c4dapp.tif"), 4);
  }

  // Cube faces: the large side pictures and the panel's grid cells.
  const char* sideNames[6] = {"side_L.png", "side_R.png", "side_D.png", "side_U.png", "side_B.png", "side_F.png"};
  const char* cellNames[6] = {"cubemap_L.png", "cubemap_R.png", "cubemap_D.png", "cubemap_U.png", "cubemap_B.png", "cubemap_F.png"};
  for (int f = 0; f < 6; ++f)
  {
    Canvas side(128, 128, kFaces[f].colour);
    side.Rect(4, 4, 124, 124, Colour{1, 1, 1, 0.18f}, 10);
    side.Text(kFaces[f].letter, 64, 64, 84, kWhite, kBold);
    side.Save(out(sideNames[f]), 3);
    Canvas cell(32, 32, kFaces[f].colour);
    cell.Rect(0, 0, 32, 1, kDark);
    cell.Rect(0, 0, 1, 32, kDark);
    cell.Text(kFaces[f].letter, 16, 16, 20, kWhite, kBold);
    cell.Save(out(cellNames[f]), 3);
  }
  {
    Canvas none(32, 32, kDark);
    none.Rect(0.5f, 0.5f, 31.5f, 31.5f, Colour{0.3f, 0.31f, 0.33f, 1});
    none.Rect(1.5f, 1.5f, 30.5f, 30.5f, kDark);
    none.Save(out("cubemap_none.png"), 3);
  }

  // The panel header.
  {
    Canvas header(400, 64, kNavy);
    header.Each([](int x, int, Colour c) {
      const float t = x / 400.0f;
      return Colour{c.r + 0.05f * t, c.g + 0.12f * t, c.b + 0.14f * t, 1};
    });
    DomeMark(header, 40, 44, 24, kTeal, kOrange);
    header.Text("OrlixCam", 200, 32, 34, kWhite, kBold);
    header.Save(out("header.png"), 3);
  }

  // The pad's maps: a dome from below, and the sphere unrolled.
  {
    Canvas dome(100, 100, Colour{0, 0, 0, 1});
    dome.Disc(50, 50, 49.5f, Colour{0.08f, 0.1f, 0.16f, 1});
    for (int i = 1; i <= 3; ++i)
      dome.Ring(50, 50, 49.5f * i / 3.0f, i == 3 ? 1.5f : 1.0f, kTeal);
    for (int i = 0; i < 8; ++i)
    {
      const float a = kPi * i / 4;
      dome.Line(50, 50, 50 + std::cos(a) * 49, 50 + std::sin(a) * 49, 1, kTeal);
    }
    dome.Disc(50, 50, 2.5f, kOrange);
    dome.Save(out("map_dome.png"), 3);
  }
  {
    Canvas pano(200, 100, Colour{0.08f, 0.1f, 0.16f, 1});
    for (int lat = -60; lat <= 60; lat += 30)
      pano.Line(0, 50 - lat * 100.0f / 180.0f, 200, 50 - lat * 100.0f / 180.0f, lat == 0 ? 2.0f : 1.0f, lat == 0 ? kOrange : kTeal);
    for (int lon = 0; lon <= 360; lon += 45)
      pano.Line(lon * 200.0f / 360.0f, 0, lon * 200.0f / 360.0f, 100, 1, kTeal);
    pano.Save(out("map_pano.png"), 3);
  }

  // The built-in logo: a light mark on transparency, to read over dark renders.
  {
    Canvas logo(512, 512, kClear);
    DomeMark(logo, 256, 330, 190, Colour{0.92f, 0.95f, 0.97f, 1}, kOrange);
    logo.Save(out("OrlixCam.png"), 4);
  }
  std::printf("pictures written to %s\n", dir.c_str());
  return 0;
}
