// Reading pictures for the render.
#include "render/render_picture.h"

#include <OpenImageIO/imageio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <new>

namespace host::render
{
double PhysicalMemory()
{
  const long pages = sysconf(_SC_PHYS_PAGES), pageSize = sysconf(_SC_PAGE_SIZE);
  return pages > 0 && pageSize > 0 ? static_cast<double>(pages) * static_cast<double>(pageSize)
                                   : std::numeric_limits<double>::infinity();
}

Bool Picture::Load(const Filename& file, String* error)
{
  auto fail = [&](const char* why) {
    if (error)
      *error = String("picture \"") + file.GetString() + String("\": ") + String(why);
    return false;
  };

  const std::string path = file.GetString().GetStdString();
  struct stat st;
  if (path.empty() || stat(path.c_str(), &st) != 0 || !S_ISREG(st.st_mode))
    return fail("file not found");
  auto in = OIIO::ImageInput::open(path);
  if (!in)
  {
    (void)OIIO::geterror();
    return fail("not a picture that can be read");
  }
  const OIIO::ImageSpec& format = in->spec();
  if (format.nchannels < 1 || format.width < 1 || format.height < 1 || format.depth > 1)
    return fail("not a picture that can be read");
  const double bytes = static_cast<double>(format.width) * static_cast<double>(format.height) * 3.0 * sizeof(Float32);
  if (format.width > std::numeric_limits<Int32>::max() / 4 || format.height > std::numeric_limits<Int32>::max() / 4 ||
      bytes > PhysicalMemory())
    return fail("too large for memory");
  try
  {
    rgb.assign(static_cast<size_t>(format.width) * static_cast<size_t>(format.height) * 3u, 0.0f);
  }
  catch (const std::bad_alloc&)
  {
    return fail("too large for memory");
  }
  // Straight into RGB: a grey picture's one channel goes to red, then fills green and blue.
  const int channels = format.nchannels >= 3 ? 3 : 1;
  if (!in->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, rgb.data(), 3 * sizeof(Float32)))
  {
    (void)in->geterror();
    rgb.clear();
    return fail("not a picture that can be read");
  }
  if (channels == 1)
    for (size_t p = 0; p < rgb.size(); p += 3)
      rgb[p + 1] = rgb[p + 2] = rgb[p];
  width = format.width;
  height = format.height;
  return true;
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
