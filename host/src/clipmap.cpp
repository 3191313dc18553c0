// GeClipMap: text drawn with FreeType into a host picture, antialiased by the glyphs' coverage.
#include "c4d_clipmap.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <sys/stat.h>

#include <ft2build.h>
#include FT_FREETYPE_H

namespace
{
/// Where Debian's fonts-dejavu-core puts the two default fonts, and where other systems do.
const char* const kSystemFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                    "/usr/share/fonts/TTF/DejaVuSans.ttf", "/usr/share/fonts/dejavu/DejaVuSans.ttf"};
const char* const kMonoFonts[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSansMono.ttf",
                                  "/usr/share/fonts/TTF/DejaVuSansMono.ttf", "/usr/share/fonts/dejavu/DejaVuSansMono.ttf"};

bool IsFile(const char* path)
{
  struct stat st;
  return stat(path, &st) == 0 && S_ISREG(st.st_mode);
}

/// UTF-8 to code points; a broken sequence gives U+FFFD and moves on.
std::vector<FT_ULong> CodePoints(const std::string& s)
{
  std::vector<FT_ULong> out;
  for (size_t i = 0; i < s.size();)
  {
    const unsigned char c = static_cast<unsigned char>(s[i]);
    int n = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
    FT_ULong cp = n == 0 ? c : n == 1 ? (c & 0x1f) : n == 2 ? (c & 0x0f) : (c & 0x07);
    if (n < 0 || i + static_cast<size_t>(n) >= s.size())
    {
      out.push_back(n == 0 ? c : 0xfffd);
      ++i;
      continue;
    }
    bool ok = true;
    for (int k = 1; k <= n; ++k)
    {
      const unsigned char d = static_cast<unsigned char>(s[i + static_cast<size_t>(k)]);
      ok = ok && (d >> 6) == 2;
      cp = (cp << 6) | (d & 0x3f);
    }
    out.push_back(ok ? cp : 0xfffd);
    i += ok ? static_cast<size_t>(n) + 1 : 1;
  }
  return out;
}
} // namespace

struct GeClipMap::Impl
{
  FT_Library library = nullptr;
  FT_Face face = nullptr;
  BaseBitmap* bitmap = nullptr;
  Float32 colour[3] = {1.0f, 1.0f, 1.0f};
  Float32 opacity = 1.0f;
  std::vector<Float32> line; // one row of ARGB floats

  ~Impl()
  {
    if (face)
      FT_Done_Face(face);
    if (library)
      FT_Done_FreeType(library);
    BaseBitmap::Free(bitmap);
  }
};

GeClipMap::GeClipMap() : impl(std::make_unique<Impl>()) {}
GeClipMap::~GeClipMap() = default;

GeClipMap* GeClipMap::Alloc()
{
  GeClipMap* map = new GeClipMap();
  map->impl->bitmap = BaseBitmap::Alloc();
  if (!map->impl->bitmap)
  {
    delete map;
    return nullptr;
  }
  return map;
}

void GeClipMap::Free(GeClipMap*& map)
{
  delete map;
  map = nullptr;
}

IMAGERESULT GeClipMap::Init(Int32 w, Int32 h, Int32 /*bits*/)
{
  return impl->bitmap->Init(w, h, 24);
}

void GeClipMap::BeginDraw() {}
void GeClipMap::EndDraw() {}

void GeClipMap::SetColor(Int32 r, Int32 g, Int32 b, Int32 a)
{
  auto unit = [](Int32 v) { return static_cast<Float32>(std::min(255, std::max(0, v))) / 255.0f; };
  impl->colour[0] = unit(r);
  impl->colour[1] = unit(g);
  impl->colour[2] = unit(b);
  impl->opacity = unit(a);
}

BaseContainer GeClipMap::GetDefaultFont(Int32 type)
{
  BaseContainer bc;
  if (type != GE_FONT_DEFAULT_SYSTEM && type != GE_FONT_DEFAULT_MONOSPACED)
    return bc;
  for (const char* path : type == GE_FONT_DEFAULT_SYSTEM ? kSystemFonts : kMonoFonts)
    if (IsFile(path))
    {
      bc.SetFilename(FONT_FILE, Filename(path));
      break;
    }
  return bc;
}

Bool GeClipMap::SetFont(const BaseContainer* font, Float size)
{
  if (!font)
    return false;
  const std::string path = font->GetFilename(FONT_FILE).GetString().GetStdString();
  if (path.empty() || !(size > 0.0) || !std::isfinite(size) || size > 100000.0)
    return false;
  if (!impl->library && FT_Init_FreeType(&impl->library) != 0)
  {
    impl->library = nullptr;
    return false;
  }
  FT_Face face = nullptr;
  if (FT_New_Face(impl->library, path.c_str(), 0, &face) != 0)
    return false;
  // The size is the line height the font was designed for, in pixels.
  if (FT_Set_Pixel_Sizes(face, 0, static_cast<FT_UInt>(std::max(1.0, std::round(size)))) != 0)
  {
    FT_Done_Face(face);
    return false;
  }
  if (impl->face)
    FT_Done_Face(impl->face);
  impl->face = face;
  return true;
}

Int32 GeClipMap::GetTextHeight() const
{
  if (!impl->face)
    return 0;
  const FT_Size_Metrics& m = impl->face->size->metrics;
  return static_cast<Int32>((m.ascender - m.descender + 63) >> 6);
}

Int32 GeClipMap::GetTextWidth(const String& text) const
{
  if (!impl->face)
    return 0;
  FT_Pos advance = 0;
  for (FT_ULong cp : CodePoints(text.GetStdString()))
    if (FT_Load_Char(impl->face, cp, FT_LOAD_DEFAULT) == 0)
      advance += impl->face->glyph->advance.x;
  return static_cast<Int32>((advance + 32) >> 6);
}

void GeClipMap::TextAt(Int32 x, Int32 y, const String& text)
{
  BaseBitmap* bmp = impl->bitmap;
  if (!impl->face || bmp->GetBw() == 0)
    return;
  const Int32 w = bmp->GetBw(), h = bmp->GetBh();
  const Int32 baseline = y + static_cast<Int32>((impl->face->size->metrics.ascender + 63) >> 6);
  FT_Pos penX = static_cast<FT_Pos>(x) * 64; // 26.6 fixed point; x may be negative
  impl->line.resize(static_cast<size_t>(w) * 4u);
  for (FT_ULong cp : CodePoints(text.GetStdString()))
  {
    if (FT_Load_Char(impl->face, cp, FT_LOAD_RENDER) != 0)
      continue;
    const FT_GlyphSlot g = impl->face->glyph;
    const FT_Bitmap& glyph = g->bitmap;
    const Int32 left = static_cast<Int32>(penX >> 6) + g->bitmap_left;
    const Int32 top = baseline - g->bitmap_top;
    for (Int32 row = 0; row < static_cast<Int32>(glyph.rows); ++row)
    {
      const Int32 py = top + row;
      if (py < 0 || py >= h)
        continue;
      const Int32 x0 = std::max(0, left), x1 = std::min(w, left + static_cast<Int32>(glyph.width));
      if (x1 <= x0)
        continue;
      Float32* px = impl->line.data();
      bmp->GetPixelCnt(x0, py, x1 - x0, reinterpret_cast<UChar*>(px), 16, COLORMODE_ARGBf);
      const unsigned char* cover = glyph.buffer + static_cast<ptrdiff_t>(row) * glyph.pitch;
      for (Int32 px0 = x0; px0 < x1; ++px0, px += 4)
      {
        // Coverage blends the colour over what is there: white text on black leaves the
        // coverage in every component.
        const Float32 a = static_cast<Float32>(cover[px0 - left]) / 255.0f * impl->opacity;
        for (int c = 0; c < 3; ++c)
          px[1 + c] = impl->colour[c] * a + px[1 + c] * (1.0f - a);
      }
      bmp->SetPixelCnt(x0, py, x1 - x0, reinterpret_cast<const UChar*>(impl->line.data()), 16, COLORMODE_ARGBf);
    }
    penX += g->advance.x;
  }
}

BaseBitmap* GeClipMap::GetBitmap()
{
  return impl->bitmap->GetBw() > 0 ? impl->bitmap : nullptr;
}

Int32 GeClipMap::GetBw() const
{
  return impl->bitmap->GetBw();
}

Int32 GeClipMap::GetBh() const
{
  return impl->bitmap->GetBh();
}
