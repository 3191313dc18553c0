// Picture encoding and decoding: PNG through OpenImageIO (libpng), libspng, zlib on strips in
// parallel (the host's writer) and libdeflate on the whole image; PNG reading through the same;
// OpenEXR and TIFF writing through OpenImageIO with one and two threads, and TIFF through the
// host's writer. Cases alternate run by run and the median is printed, as the machine may be shared.
//   orlix_picture_bench [--runs N] [--dome FILE] [--pano FILE] [--only TEXT]
// A file given as OpenEXR gives the TIFF cases its float values, and the PNG cases them as bytes.
// --only keeps the cases whose picture or name contains TEXT.
// Without files, a 2048 x 2048 dome frame (alpha, black corners) and a 4096 x 2048 panorama are
// made up: smooth colours with a little noise, as renders at one sample come out.
#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imageio.h>
#include <libdeflate.h>
#include <spng.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "png_codec.h"
#include "tiff_codec.h"

namespace
{
struct Picture
{
  int w = 0, h = 0, channels = 0;
  std::vector<unsigned char> bytes; ///< straight alpha, as a PNG holds it
  std::vector<float> floats;        ///< the file's own values, where it was read from one
};

Picture Dome(int size)
{
  Picture p{size, size, 4, std::vector<unsigned char>(size_t(size) * size * 4, 0), {}};
  std::mt19937 random(7);
  std::uniform_int_distribution<int> noise(-3, 3);
  const double r = size / 2.0;
  for (int y = 0; y < size; ++y)
    for (int x = 0; x < size; ++x)
    {
      const double dx = (x + 0.5 - r) / r, dy = (y + 0.5 - r) / r, d = std::sqrt(dx * dx + dy * dy);
      if (d > 1.0)
        continue;
      const double a = std::atan2(dy, dx);
      // A sky towards the middle, a checkered floor towards the rim.
      const bool floor = d > 0.6;
      const int check = (int(std::floor(a * 12.0)) + int(std::floor(1.0 / (1.05 - d) * 4.0))) & 1;
      const double v[3] = {floor ? (check ? 200 : 60) : 90 + 60 * (1 - d), floor ? (check ? 200 : 60) : 140 + 70 * (1 - d),
                           floor ? (check ? 190 : 55) : 230 - 20 * d};
      unsigned char* o = &p.bytes[(size_t(y) * size + x) * 4];
      for (int c = 0; c < 3; ++c)
        o[c] = static_cast<unsigned char>(std::clamp(int(v[c]) + noise(random), 0, 255));
      o[3] = 255;
    }
  return p;
}

Picture Panorama(int w, int h)
{
  Picture p{w, h, 3, std::vector<unsigned char>(size_t(w) * h * 3), {}};
  std::mt19937 random(11);
  std::uniform_int_distribution<int> noise(-2, 2);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
    {
      const double v[3] = {128 + 100 * std::sin(x / 97.0) * std::cos(y / 131.0), 128 + 100 * std::cos(y / 53.0),
                           128 + 60 * std::sin((x + y) / 151.0)};
      for (int c = 0; c < 3; ++c)
        p.bytes[(size_t(y) * w + x) * 3 + c] = static_cast<unsigned char>(std::clamp(int(v[c]) + noise(random), 0, 255));
    }
  return p;
}

bool Load(const std::string& path, Picture& p)
{
  OIIO::ImageSpec config;
  config.attribute("oiio:UnassociatedAlpha", 1);
  auto in = OIIO::ImageInput::open(path, &config);
  if (!in)
    return false;
  const OIIO::ImageSpec head = in->spec_dimensions(0);
  p.w = head.width, p.h = head.height, p.channels = head.nchannels;
  p.floats.resize(size_t(p.w) * p.h * p.channels);
  if (!in->read_image(0, 0, 0, p.channels, OIIO::TypeDesc::FLOAT, p.floats.data()))
    return false;
  p.bytes.resize(p.floats.size());
  for (size_t i = 0; i < p.floats.size(); ++i)
    p.bytes[i] = static_cast<unsigned char>(std::lround(std::clamp(p.floats[i], 0.0f, 1.0f) * 255.0f));
  return true;
}

size_t EncodeOiio(const Picture& p)
{
  std::vector<unsigned char> bytes;
  OIIO::Filesystem::IOVecOutput proxy(bytes);
  auto out = OIIO::ImageOutput::create("png");
  OIIO::ImageSpec format(p.w, p.h, p.channels, OIIO::TypeDesc::UINT8);
  format.attribute("png:compressionLevel", 2);
  format.alpha_channel = p.channels == 4 ? 3 : -1;
  out->set_ioproxy(&proxy);
  // Strips of 64 rows, as the host wrote them.
  bool ok = out->open("memory.png", format);
  for (int y = 0; ok && y < p.h; y += 64)
    ok = out->write_scanlines(y, std::min(p.h, y + 64), 0, OIIO::TypeDesc::UINT8, &p.bytes[size_t(y) * p.w * p.channels]);
  return out->close() && ok ? bytes.size() : 0;
}

size_t EncodeSpng(const Picture& p, int filters)
{
  spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
  spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
  spng_set_option(ctx, SPNG_IMG_COMPRESSION_LEVEL, 2);
  if (filters)
    spng_set_option(ctx, SPNG_FILTER_CHOICE, filters);
  spng_ihdr ihdr{};
  ihdr.width = uint32_t(p.w), ihdr.height = uint32_t(p.h), ihdr.bit_depth = 8;
  ihdr.color_type = p.channels == 4 ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
  spng_set_ihdr(ctx, &ihdr);
  size_t size = 0;
  int error = spng_encode_image(ctx, p.bytes.data(), p.bytes.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
  void* png = error ? nullptr : spng_get_png_buffer(ctx, &size, &error);
  std::free(png);
  spng_ctx_free(ctx);
  return error ? 0 : size;
}

size_t EncodeStrips(const Picture& p, int level, host::png::Filter filter, int threads)
{
  std::vector<unsigned char> file;
  const size_t row = size_t(p.w) * p.channels;
  std::string error;
  const bool ok = host::png::Encode(
    p.w, p.h, p.channels, "",
    [&](int y0, int y1, unsigned char* out) {
      std::memcpy(out, &p.bytes[row * y0], row * size_t(y1 - y0));
      return true;
    },
    [&](const void* data, size_t size) {
      file.insert(file.end(), static_cast<const unsigned char*>(data), static_cast<const unsigned char*>(data) + size);
      return true;
    },
    {level, filter, threads}, error);
  return ok ? file.size() : 0;
}

/// The whole image Up-filtered, then one libdeflate call: its streams can't be split or joined.
size_t EncodeLibdeflate(const Picture& p, int level)
{
  const size_t row = size_t(p.w) * p.channels;
  std::vector<unsigned char> filtered((row + 1) * p.h);
  for (int y = 0; y < p.h; ++y)
  {
    unsigned char* o = &filtered[(row + 1) * y];
    const unsigned char* in = &p.bytes[row * y];
    o[0] = 2;
    for (size_t i = 0; i < row; ++i)
      o[1 + i] = static_cast<unsigned char>(in[i] - (y ? in[i - row] : 0));
  }
  libdeflate_compressor* c = libdeflate_alloc_compressor(level);
  std::vector<unsigned char> packed(libdeflate_zlib_compress_bound(c, filtered.size()));
  packed.resize(libdeflate_zlib_compress(c, filtered.data(), filtered.size(), packed.data(), packed.size()));
  libdeflate_free_compressor(c);
  return packed.empty() ? 0 : host::png::Chunk("IDAT", packed.data(), packed.size()).size() + 8 + 25 + 12;
}

size_t DecodeOiio(const std::string& path, std::vector<unsigned char>& out)
{
  auto in = OIIO::ImageInput::open(path);
  const OIIO::ImageSpec s = in->spec_dimensions(0);
  out.resize(size_t(s.width) * s.height * s.nchannels);
  return in->read_image(0, 0, 0, s.nchannels, OIIO::TypeDesc::UINT8, out.data()) ? out.size() : 0;
}

size_t DecodeSpng(const std::string& path, std::vector<unsigned char>& out)
{
  std::FILE* f = std::fopen(path.c_str(), "rb");
  spng_ctx* ctx = spng_ctx_new(0);
  spng_set_png_file(ctx, f);
  size_t size = 0;
  int error = spng_decoded_image_size(ctx, SPNG_FMT_RGB8, &size);
  if (!error)
  {
    out.resize(size);
    error = spng_decode_image(ctx, out.data(), size, SPNG_FMT_RGB8, 0);
  }
  spng_ctx_free(ctx);
  std::fclose(f);
  return error ? 0 : size;
}

size_t DecodeHost(const std::string& path, std::vector<unsigned char>& out)
{
  host::png::Reader reader;
  if (reader.Open(path) != host::png::Reader::Result::Ok)
    return 0;
  out.resize(size_t(reader.Width()) * reader.Height() * reader.Channels());
  return reader.Read(out.data()) == host::png::Reader::Result::Ok ? out.size() : 0;
}

/// A float frame as OpenEXR through OpenImageIO, `rows` rows a call (0: the whole image at once).
size_t WriteOiio(const std::vector<float>& frame, int w, int h, const std::string& path, int rows)
{
  auto out = OIIO::ImageOutput::create(path);
  OIIO::ImageSpec format(w, h, 4, OIIO::TypeDesc::FLOAT);
  format.alpha_channel = 3;
  format.attribute("compression", "zip");
  bool ok = out->open(path, format);
  rows = rows ? rows : h;
  for (int y = 0; ok && y < h; y += rows)
    ok = out->write_scanlines(y, std::min(h, y + rows), 0, OIIO::TypeDesc::FLOAT, &frame[size_t(y) * w * 4]);
  ok = out->close() && ok;
  return ok ? size_t(OIIO::Filesystem::file_size(path)) : 0;
}

/// The picture as a float frame: a file's own values (a render written as OpenEXR), or for the
/// made-up pictures continuous values as a render gives them, each byte dithered within its step.
std::vector<float> Frame(const Picture& p)
{
  if (!p.floats.empty())
    return p.floats;
  std::vector<float> frame(p.bytes.size());
  std::mt19937 random(5);
  std::uniform_real_distribution<float> dither(-0.5f, 0.5f);
  for (size_t i = 0; i < frame.size(); ++i)
  {
    const bool alpha = p.channels == 4 && i % 4 == 3;
    frame[i] = std::clamp((p.bytes[i] + (alpha ? 0.0f : dither(random))) / 255.0f, 0.0f, 1.0f);
  }
  return frame;
}

/// A frame as a zip-compressed TIFF through OpenImageIO into memory, 64 rows a call, as the host
/// wrote it: 16 bits (or floats with `floats`).
size_t TiffOiio(const std::vector<float>& frame, int w, int h, int channels, bool floats)
{
  std::vector<unsigned char> bytes;
  OIIO::Filesystem::IOVecOutput proxy(bytes);
  auto out = OIIO::ImageOutput::create("tif");
  OIIO::ImageSpec format(w, h, channels, floats ? OIIO::TypeDesc::FLOAT : OIIO::TypeDesc::UINT16);
  format.alpha_channel = channels == 4 ? 3 : -1;
  format.attribute("compression", "zip");
  out->set_ioproxy(&proxy);
  bool ok = out->open("memory.tif", format);
  for (int y = 0; ok && y < h; y += 64)
    ok = out->write_scanlines(y, std::min(h, y + 64), 0, OIIO::TypeDesc::FLOAT, &frame[size_t(y) * w * channels]);
  return out->close() && ok ? bytes.size() : 0;
}

/// The same through the host's writer, values converted as the host converts them; the file's
/// bytes in `file`.
size_t TiffHost(const std::vector<float>& frame, int w, int h, int channels, bool floats, host::tiff::EncodeSettings settings,
                std::vector<unsigned char>& file)
{
  file.clear();
  const size_t values = size_t(w) * channels;
  std::string error;
  const bool ok = host::tiff::Encode(
    w, h, channels, floats ? host::tiff::Sample::Float32 : host::tiff::Sample::UInt16, "bench",
    [&](int y0, int y1, unsigned char* out) {
      const float* in = &frame[values * y0];
      if (floats)
        std::memcpy(out, in, values * (y1 - y0) * 4);
      else
        for (size_t i = 0; i < values * (y1 - y0); ++i)
        {
          const auto v = static_cast<uint16_t>(std::lround(std::clamp(in[i], 0.0f, 1.0f) * 65535.0f));
          std::memcpy(out + 2 * i, &v, 2);
        }
      return true;
    },
    [&](const void* data, size_t size, uint64_t at) {
      file.resize(std::max<size_t>(file.size(), at + size));
      std::memcpy(&file[at], data, size);
      return true;
    },
    settings, error);
  return ok ? file.size() : 0;
}

struct Case
{
  Case(std::string picture, std::string name, int threads, std::function<size_t()> run)
    : picture(std::move(picture)), name(std::move(name)), threads(threads), run(std::move(run))
  {
  }
  std::string picture, name;
  int threads;
  std::function<size_t()> run;
  std::vector<double> seconds;
  size_t bytes = 0;
};
} // namespace

int main(int argc, char** argv)
{
  int runs = 5;
  std::string domeFile, panoFile, only;
  for (int i = 1; i + 1 < argc; i += 2)
  {
    const std::string flag = argv[i];
    if (flag == "--runs")
      runs = std::max(1, std::atoi(argv[i + 1]));
    else if (flag == "--dome")
      domeFile = argv[i + 1];
    else if (flag == "--pano")
      panoFile = argv[i + 1];
    else if (flag == "--only")
      only = argv[i + 1];
    else
    {
      std::fprintf(stderr, "usage: %s [--runs N] [--dome FILE.png] [--pano FILE.png] [--only TEXT]\n", argv[0]);
      return 2;
    }
  }
  Picture dome = Dome(2048), pano = Panorama(4096, 2048);
  if ((!domeFile.empty() && !Load(domeFile, dome)) || (!panoFile.empty() && !Load(panoFile, pano)))
  {
    std::fprintf(stderr, "cannot read %s\n", (domeFile.empty() ? panoFile : domeFile).c_str());
    return 1;
  }
  const std::string dir = OIIO::Filesystem::temp_directory_path() + "/orlix_picture_bench";
  OIIO::Filesystem::create_directory(dir);
  using host::png::Filter;
  std::vector<Case> cases;
  for (const Picture* p : {&dome, &pano})
  {
    const std::string what = std::to_string(p->w) + "x" + std::to_string(p->h) + (p->channels == 4 ? " RGBA" : " RGB");
    cases.push_back({what, "OIIO/libpng, level 2", 1, [p] { return EncodeOiio(*p); }});
    cases.push_back({what, "libspng, level 2", 1, [p] { return EncodeSpng(*p, 0); }});
    cases.push_back({what, "libspng, level 2, Up", 1, [p] { return EncodeSpng(*p, SPNG_FILTER_CHOICE_UP); }});
    for (const int threads : {1, 2})
      for (const int level : {1, 2})
        for (const auto& [filter, name] : {std::pair{Filter::Up, "Up"}, {Filter::Sub, "Sub"}, {Filter::Adaptive, "per row"}})
          cases.push_back({what, "zlib strips, level " + std::to_string(level) + ", " + name, threads,
                           [p, level, filter = filter, threads] { return EncodeStrips(*p, level, filter, threads); }});
    for (const int level : {1, 2, 3})
      cases.push_back({what, "libdeflate, level " + std::to_string(level) + ", Up", 1, [p, level] { return EncodeLibdeflate(*p, level); }});
  }
  // Reading: the panorama as libpng writes it (filters chosen per row) and as the host writes it.
  const std::string libpngFile = dir + "/pano_libpng.png", hostFile = dir + "/pano_host.png";
  {
    auto out = OIIO::ImageOutput::create(libpngFile);
    OIIO::ImageSpec format(pano.w, pano.h, pano.channels, OIIO::TypeDesc::UINT8);
    format.attribute("png:compressionLevel", 2);
    out->open(libpngFile, format);
    out->write_image(OIIO::TypeDesc::UINT8, pano.bytes.data());
    out->close();
    std::FILE* f = std::fopen(hostFile.c_str(), "wb");
    std::string error;
    host::png::Encode(
      pano.w, pano.h, 3, "",
      [&](int y0, int y1, unsigned char* o) {
        std::memcpy(o, &pano.bytes[size_t(y0) * pano.w * 3], size_t(y1 - y0) * pano.w * 3);
        return true;
      },
      [&](const void* d, size_t n) { return std::fwrite(d, 1, n, f) == n; }, {}, error);
    std::fclose(f);
  }
  // Every reader must see the panorama's own values before its time counts.
  std::vector<unsigned char> decoded;
  for (const std::string& file : {libpngFile, hostFile})
    for (const auto& read : {DecodeOiio, DecodeSpng, DecodeHost})
      if (read(file, decoded) == 0 || decoded != pano.bytes)
      {
        std::fprintf(stderr, "%s read back wrong\n", file.c_str());
        return 1;
      }
  for (const auto& [file, label] : {std::pair{libpngFile, "read, as libpng wrote it"}, {hostFile, "read, as the host writes it"}})
  {
    const std::string what = "4096x2048 RGB " + std::string(label);
    cases.push_back({what, "OIIO/libpng", 1, [&, file = file] { return DecodeOiio(file, decoded); }});
    cases.push_back({what, "libspng", 1, [&, file = file] { return DecodeSpng(file, decoded); }});
    cases.push_back({what, "libdeflate + own unfilter", 1, [&, file = file] { return DecodeHost(file, decoded); }});
  }
  // OpenEXR: the dome as floats, written 64 rows a call as the host does, or all at once.
  const std::vector<float> frame = Frame(dome), panoFrame = Frame(pano);
  for (const int threads : {1, 2})
    for (const int rows : {64, 0})
      {
        const std::string path = dir + "/frame.exr";
        cases.push_back({"2048x2048 RGBA float", std::string("exr zip, ") + (rows ? "64 rows a call" : "whole image"), threads,
                         [&frame, path, rows, threads] {
                           OIIO::attribute("threads", threads);
                           OIIO::attribute("exr_threads", threads);
                           return WriteOiio(frame, 2048, 2048, path, rows);
                         }});
      }
  // TIFF through OpenImageIO (libtiff, one strip after another) and through the host's writer,
  // which must store what OpenImageIO reads back as the values it was given.
  std::vector<unsigned char> tiffFile;
  using host::tiff::Predictor;
  for (const auto& [f, p] : {std::pair{&frame, &dome}, {&panoFrame, &pano}})
    for (const bool floats : {false, true})
    {
      const std::vector<float>& values = *f;
      const int w = p->w, h = p->h, n = p->channels;
      const std::string what = std::to_string(w) + "x" + std::to_string(h) + (n == 4 ? " RGBA" : " RGB") + (floats ? " float" : " 16-bit");
      host::tiff::EncodeSettings check{2, floats ? Predictor::FloatingPoint : Predictor::Horizontal, 2};
      std::vector<float> back(values.size());
      TiffHost(values, w, h, n, floats, check, tiffFile);
      OIIO::Filesystem::IOMemReader reader(tiffFile.data(), tiffFile.size());
      auto in = OIIO::ImageInput::open("memory.tif", nullptr, &reader);
      bool same = in && in->read_image(0, 0, 0, n, OIIO::TypeDesc::FLOAT, back.data());
      for (size_t i = 0; same && i < values.size(); ++i)
        same = floats ? back[i] == values[i] : std::lround(back[i] * 65535.0f) == std::lround(std::clamp(values[i], 0.0f, 1.0f) * 65535.0f);
      if (!same)
      {
        std::fprintf(stderr, "%s: the host's TIFF reads back wrong\n", what.c_str());
        return 1;
      }
      cases.push_back({what, "TIFF, OIIO/libtiff, zip", 1, [&values, w, h, n, floats] { return TiffOiio(values, w, h, n, floats); }});
      std::vector<std::pair<Predictor, int>> kinds = {{Predictor::Horizontal, 1}, {Predictor::Horizontal, 2}, {Predictor::Horizontal, 4},
                                                      {Predictor::Horizontal, 6}, {Predictor::None, 2}};
      if (floats)
        kinds = {{Predictor::FloatingPoint, 2}, {Predictor::FloatingPoint, 4}, {Predictor::FloatingPoint, 6}, {Predictor::None, 4},
                 {Predictor::Horizontal, 4}};
      for (const int threads : {1, 2})
        for (const auto& [predictor, level] : kinds)
          cases.push_back({what, "TIFF, host, predictor " + std::to_string(int(predictor)) + ", level " + std::to_string(level), threads,
                           [&values, &tiffFile, w, h, n, floats, predictor = predictor, level = level, threads] {
                             return TiffHost(values, w, h, n, floats, {level, predictor, threads}, tiffFile);
                           }});
    }
  if (!only.empty())
    cases.erase(std::remove_if(cases.begin(), cases.end(),
                               [&](const Case& c) { return (c.picture + " " + c.name).find(only) == std::string::npos; }),
                cases.end());

  for (int run = 0; run < runs; ++run)
    for (Case& c : cases)
    {
      OIIO::attribute("threads", c.threads);
      const auto t0 = std::chrono::steady_clock::now();
      c.bytes = c.run();
      c.seconds.push_back(std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count());
    }
  std::printf("| picture | how | threads | time (ms, median of %d) | bytes |\n|---|---|---|---|---|\n", runs);
  for (Case& c : cases)
  {
    std::sort(c.seconds.begin(), c.seconds.end());
    std::printf("| %s | %s | %d | %.0f | %zu |\n", c.picture.c_str(), c.name.c_str(), c.threads, c.seconds[c.seconds.size() / 2] * 1000.0, c.bytes);
  }
  OIIO::Filesystem::remove_all(dir);
  return 0;
}
