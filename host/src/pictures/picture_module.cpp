// The picture module: OpenImageIO behind the host's small reader and writer, loaded on demand.
#include <OpenImageIO/imageio.h>

#include <algorithm>

#include "picture_library.h"

namespace host::pictures
{
namespace
{
class OiioReader final : public Reader
{
public:
  explicit OiioReader(std::unique_ptr<OIIO::ImageInput> in) : in(std::move(in))
  {
    // Its dimensions alone: the picture's metadata isn't needed here.
    const OIIO::ImageSpec format = this->in->spec_dimensions(0, 0);
    head.x = format.x, head.y = format.y, head.width = format.width, head.height = format.height;
    head.depth = format.depth;
    head.channels = format.nchannels;
    head.alphaChannel = format.alpha_channel;
    head.format = format.format;
    tileWidth = format.tile_width, tileHeight = format.tile_height, z = format.z;
  }
  const Header& Head() const override { return head; }
  bool ReadRows(int y0, int y1, OIIO::TypeDesc type, void* out) override
  {
    if (tileWidth <= 0)
      return in->read_scanlines(0, 0, y0, y1, z, 0, head.channels, type, out);
    // Tiles are read whole: the rows asked for are widened to the tiles' rows and trimmed after.
    const int t0 = head.y + (y0 - head.y) / tileHeight * tileHeight;
    const int t1 = std::min(head.y + head.height, head.y + (y1 - head.y + tileHeight - 1) / tileHeight * tileHeight);
    const size_t row = static_cast<size_t>(head.width) * static_cast<size_t>(head.channels) * type.size();
    if (t0 == y0 && t1 == y1)
      return in->read_tiles(0, 0, head.x, head.x + head.width, t0, t1, z, z + 1, 0, head.channels, type, out);
    std::vector<unsigned char> tiles(row * static_cast<size_t>(t1 - t0));
    if (!in->read_tiles(0, 0, head.x, head.x + head.width, t0, t1, z, z + 1, 0, head.channels, type, tiles.data()))
      return false;
    std::copy_n(tiles.data() + row * static_cast<size_t>(y0 - t0), row * static_cast<size_t>(y1 - y0),
                static_cast<unsigned char*>(out));
    return true;
  }
  std::string Error() override { return in->geterror(); }

private:
  std::unique_ptr<OIIO::ImageInput> in;
  Header head;
  int tileWidth = 0, tileHeight = 0, z = 0;
};

class OiioWriter final : public Writer
{
public:
  explicit OiioWriter(std::unique_ptr<OIIO::ImageOutput> out) : out(std::move(out)) {}
  bool WriteRows(int y0, int y1, OIIO::TypeDesc type, const void* data) override
  {
    return out->write_scanlines(y0, y1, 0, type, data);
  }
  bool Close() override { return out->close(); }
  std::string Error() override { return out->geterror(); }

private:
  std::unique_ptr<OIIO::ImageOutput> out;
};

std::unique_ptr<Reader> Open(const std::string& path, std::string& error)
{
  auto in = OIIO::ImageInput::open(path);
  if (!in)
  {
    error = OIIO::geterror();
    return nullptr;
  }
  return std::make_unique<OiioReader>(std::move(in));
}

std::unique_ptr<Writer> Create(const std::string& path, const Format& format, OIIO::Filesystem::IOProxy* proxy,
                               std::string& error)
{
  auto out = OIIO::ImageOutput::create(path);
  if (!out)
  {
    error = OIIO::geterror();
    return nullptr;
  }
  OIIO::ImageSpec written(format.width, format.height, static_cast<int>(format.channelNames.size()), format.type);
  written.channelnames = format.channelNames;
  written.alpha_channel = format.alphaChannel;
  written.extra_attribs = format.attributes;
  if (proxy)
    out->set_ioproxy(proxy);
  if (!out->open(path, written))
  {
    error = out->geterror();
    return nullptr;
  }
  return std::make_unique<OiioWriter>(std::move(out));
}

const Library kLibrary{Open, Create};
} // namespace
} // namespace host::pictures

extern "C" __attribute__((visibility("default"))) const host::pictures::Library* c4dhost_picture_library()
{
  return &host::pictures::kLibrary;
}
