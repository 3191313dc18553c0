// Pictures from files: the plug-in's one loader.
#pragma once

#include "c4d.h"

enum class PictureLoad
{
  Loaded,
  Missing, ///< no file at the path
  Failed,  ///< the file is there but doesn't load (or there is no bitmap to load it into)
};

/// Loads the picture at `path` into `bmp`.
PictureLoad LoadPicture(BaseBitmap* bmp, const Filename& path);
