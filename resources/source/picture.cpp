// Pictures from files: the plug-in's one loader.
#include "picture.h"

#include <sys/stat.h>

PictureLoad LoadPicture(BaseBitmap* bmp, const Filename& path)
{
  struct stat st;
  if (stat(path.GetString().GetCString(), &st) != 0)
    return PictureLoad::Missing;
  if (!bmp || bmp->Init(path, -1, nullptr) != IMAGERESULT_OK)
    return PictureLoad::Failed;
  return PictureLoad::Loaded;
}
