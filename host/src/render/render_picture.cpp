// Reading pictures for the render.
#include "render/render_picture.h"

namespace host::render
{
Bool Picture::Load(const Filename& file, String* error)
{
  const char* why = nullptr;
  switch (Init(file))
  {
    case IMAGERESULT_OK: return true;
    case IMAGERESULT_NOTEXISTING: why = "file not found"; break;
    case IMAGERESULT_OUTOFMEMORY: why = "too large for memory"; break;
    default: why = "not a picture that can be read"; break;
  }
  if (error)
    *error = String("picture \"") + file.GetString() + String("\": ") + String(why);
  return false;
}

const Picture* PictureCache::Get(const Filename& file, const Filename& folder, const String& what, String* error)
{
  if (file.IsEmpty())
  {
    if (error)
      *error = what + String(": no picture file given");
    return nullptr;
  }
  const Filename path = file.GetString().GetStdString().front() == '/' ? file : folder + file;
  const std::string key = path.GetString().GetStdString();
  auto it = pictures.find(key);
  if (it != pictures.end())
    return it->second.get();

  auto picture = std::make_unique<Picture>();
  String why;
  if (!picture->Load(path, &why))
  {
    if (error)
      *error = what + String(": ") + why;
    return nullptr;
  }
  return pictures.emplace(key, std::move(picture)).first->second.get();
}
} // namespace host::render
