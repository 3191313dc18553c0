// GeClipMap: an off-screen picture that plug-ins draw text into.
#pragma once

#include <memory>

#include "c4d_bitmap.h"
#include "c4d_container.h"
#include "c4d_string.h"
#include "c4d_types.h"

/// The host's two default fonts for GeClipMap::GetDefaultFont.
enum : Int32
{
  GE_FONT_DEFAULT_SYSTEM = 0,    ///< proportional: DejaVu Sans
  GE_FONT_DEFAULT_MONOSPACED = 1, ///< DejaVu Sans Mono
};

/// Ids of a font description container.
enum : Int32
{
  FONT_FILE = 500, ///< Filename of the font file
};

class GeClipMap
{
public:
  static GeClipMap* Alloc();
  static void Free(GeClipMap*& map);
  ~GeClipMap();

  /// A black picture of w × h to draw into; sizes of 0 or below, or beyond memory, fail.
  IMAGERESULT Init(Int32 w, Int32 h, Int32 bits = 32);
  void BeginDraw();
  void EndDraw();
  /// The colour of what is drawn next, 0 to 255 a component; `a` is its opacity.
  void SetColor(Int32 r, Int32 g, Int32 b, Int32 a = 255);

  /// The description of a default font; an empty container where the host has no such font.
  static BaseContainer GetDefaultFont(Int32 type);
  /// Takes the font of `font` at `size` pixels (the line height of the font's design size);
  /// false, keeping the font it had, where the font can't be loaded.
  Bool SetFont(const BaseContainer* font, Float size = 0.0);
  /// The height of a line of text in the current font, in pixels; 0 without a font.
  Int32 GetTextHeight() const;
  /// The advance of `text` in the current font, in pixels; 0 without a font.
  Int32 GetTextWidth(const String& text) const;
  /// Draws `text` antialiased with its line's top at y; nothing without a font.
  void TextAt(Int32 x, Int32 y, const String& text);

  /// The picture drawn into; owned by the clip map.
  BaseBitmap* GetBitmap();
  Int32 GetBw() const;
  Int32 GetBh() const;

private:
  GeClipMap();
  struct Impl;
  std::unique_ptr<Impl> impl;
};
