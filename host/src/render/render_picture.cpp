// Reading pictures for the render.
#include "render/render_picture.h"

#include <OpenImageIO/imageio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <limits>
#include <new>

namespace host::render
{
const std::array<Float32, 256> Picture::kByteValue = [] {
  std::array<Float32, 256> values{};
  for (size_t b = 0; b < values.size(); ++b)
    values[b] = static_cast<Float32>(b) / 255.0f;
  return values;
}();

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
  const OIIO::ImageSpec format = in->spec_dimensions(0);
  if (format.nchannels < 1 || format.width < 1 || format.height < 1 || format.depth > 1)
    return fail("not a picture that can be read");
  const Bool eightBit = format.format == OIIO::TypeDesc::UINT8;
  const size_t valueSize = eightBit ? 1u : sizeof(Float32);
  const double size = static_cast<double>(format.width) * static_cast<double>(format.height) * 3.0 * valueSize;
  if (format.width > std::numeric_limits<Int32>::max() / 4 || format.height > std::numeric_limits<Int32>::max() / 4 ||
      size > PhysicalMemory())
    return fail("too large for memory");
  const size_t values = static_cast<size_t>(format.width) * static_cast<size_t>(format.height) * 3u;
  rgb.reset();
  bytes.reset();
  if (eightBit)
    bytes.reset(new (std::nothrow) std::uint8_t[values]);
  else
    rgb.reset(new (std::nothrow) Float32[values]);
  if (!bytes && !rgb)
    return fail("too large for memory");
  // Straight into RGB: a grey picture's one channel goes to red, then fills green and blue.
  const int channels = format.nchannels >= 3 ? 3 : 1;
  const Bool read = eightBit ? in->read_image(0, 0, 0, channels, OIIO::TypeDesc::UINT8, bytes.get(), 3)
                             : in->read_image(0, 0, 0, channels, OIIO::TypeDesc::FLOAT, rgb.get(), 3 * sizeof(Float32));
  if (!read)
  {
    (void)in->geterror();
    rgb.reset();
    bytes.reset();
    return fail("not a picture that can be read");
  }
  if (channels == 1)
  {
    auto spread = [values](auto* v) {
      for (size_t p = 0; p < values; p += 3)
        v[p + 1] = v[p + 2] = v[p];
    };
    if (eightBit)
      spread(bytes.get());
    else
      spread(rgb.get());
  }
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
