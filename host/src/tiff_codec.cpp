// TIFF writing: strips predicted and deflated in parallel, written in order, the directory last.
#include "tiff_codec.h"
#include "tiff_tags.h"

#include "deflate_strips.h"

#include <cstring>
#include <vector>

namespace host::tiff
{
namespace
{
// Values go into the file as they lie in memory, and the file says little-endian.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the TIFF writer stores values in the machine's order");

/// Strips of about this many bytes: the strip is what a reader inflates at a time, and at this size
/// the threads have plenty of strips to share while the zlib header and a fresh window cost nothing.
constexpr size_t kStripBytes = 512 * 1024;
/// Room for either header: the classic one (8 bytes) or BigTIFF's (16), chosen at the end.
constexpr uint64_t kHeaderBytes = 16;

enum Type : uint16_t
{
  kAscii = 2,
  kShort = 3,
  kLong = 4,
  kRational = 5,
  kLong8 = 16,
};

void Put(std::string& out, uint64_t value, int bytes)
{
  for (int i = 0; i < bytes; ++i)
    out.push_back(static_cast<char>(value >> (8 * i) & 0xffu));
}

/// One entry of the directory: its values as the file stores them.
struct Field
{
  uint16_t tag;
  Type type;
  uint64_t count;
  std::string value;
};

Field Numbers(uint16_t tag, Type type, const std::vector<uint64_t>& values)
{
  Field f{tag, type, type == kRational ? values.size() / 2 : values.size(), {}};
  const int bytes = type == kShort ? 2 : type == kLong8 ? 8 : 4; // a rational is two longs
  for (const uint64_t v : values)
    Put(f.value, v, bytes);
  return f;
}

/// The directory at offset `at`, its entries in the order given (by tag), values that don't fit
/// in an entry after it.
std::string Directory(const std::vector<Field>& fields, bool big, uint64_t at)
{
  const size_t entryBytes = big ? 20 : 12, inline_ = big ? 8 : 4;
  const uint64_t extra = at + (big ? 8 : 2) + fields.size() * entryBytes + (big ? 8 : 4);
  std::string dir, data;
  Put(dir, fields.size(), big ? 8 : 2);
  for (const Field& f : fields)
  {
    Put(dir, f.tag, 2);
    Put(dir, f.type, 2);
    Put(dir, f.count, big ? 8 : 4);
    if (f.value.size() <= inline_)
      dir += f.value + std::string(inline_ - f.value.size(), '\0');
    else
    {
      Put(dir, extra + data.size(), static_cast<int>(inline_));
      data += f.value;
      data.resize((data.size() + 1) & ~size_t(1)); // values start on a word boundary
    }
  }
  Put(dir, 0, big ? 8 : 4); // no further directory
  return dir + data;
}

template <typename T>
T Load(const unsigned char* p)
{
  T v;
  std::memcpy(&v, p, sizeof v);
  return v;
}

/// Each of `n` values of a row less the one `stride` values before it (the pixel before's).
template <typename T>
void Difference(const unsigned char* in, unsigned char* out, size_t n, size_t stride)
{
  for (size_t i = 0; i < n; ++i)
  {
    const T v = static_cast<T>(Load<T>(in + i * sizeof(T)) - (i < stride ? T(0) : Load<T>(in + (i - stride) * sizeof(T))));
    std::memcpy(out + i * sizeof(T), &v, sizeof v);
  }
}

/// The floating-point predictor: the bytes of the row's `n` floats in four planes, most
/// significant first, then each byte less the one `stride` bytes before it.
void FloatPlanes(const unsigned char* in, unsigned char* out, size_t n, size_t stride)
{
  for (size_t i = 0; i < n; ++i)
    for (size_t b = 0; b < 4; ++b)
      out[b * n + i] = in[i * 4 + 3 - b];
  for (size_t i = 4 * n; i-- > stride;)
    out[i] = static_cast<unsigned char>(out[i] - out[i - stride]);
}
} // namespace

bool Encode(int w, int h, int channels, Sample sample, const std::string& software, const RowSource& rows,
            const Writer& write, const EncodeSettings& settings, std::string& error)
{
  const size_t valueBytes = sample == Sample::UInt16 ? 2 : 4;
  const size_t values = static_cast<size_t>(w) * static_cast<size_t>(channels), rowBytes = values * valueBytes;
  if (w <= 0 || h <= 0 || (channels != 3 && channels != 4) || rowBytes > 0x7fffffffu)
  {
    error = "a TIFF can't hold a picture of that size";
    return false;
  }
  if (settings.predictor == Predictor::FloatingPoint && sample != Sample::Float32)
  {
    error = "the floating-point predictor is for floats";
    return false;
  }
  const int stripRows = strips::StripRows(rowBytes, kStripBytes, h);
  const auto pack = [&](int, int count, const unsigned char* raw, const unsigned char*, strips::Strip& strip) {
    const size_t size = rowBytes * static_cast<size_t>(count);
    if (settings.predictor == Predictor::None)
      return strips::Deflate(raw, size, settings.level, strips::Stream::Zlib, strip.bytes);
    std::vector<unsigned char> predicted(size);
    for (size_t at = 0; at < size; at += rowBytes)
      if (settings.predictor == Predictor::FloatingPoint)
        FloatPlanes(raw + at, predicted.data() + at, values, static_cast<size_t>(channels));
      else if (sample == Sample::UInt16)
        Difference<uint16_t>(raw + at, predicted.data() + at, values, static_cast<size_t>(channels));
      else
        Difference<uint32_t>(raw + at, predicted.data() + at, values, static_cast<size_t>(channels));
    return strips::Deflate(predicted.data(), size, settings.level, strips::Stream::Zlib, strip.bytes);
  };
  std::vector<uint64_t> offsets, counts;
  uint64_t end = kHeaderBytes;
  const auto put = [&](int, const strips::Strip& strip) {
    offsets.push_back(end);
    counts.push_back(strip.bytes.size());
    end += strip.bytes.size();
    return write(strip.bytes.data(), strip.bytes.size(), offsets.back());
  };
  if (!strips::Encode(h, rowBytes, stripRows, settings.threads, rows, pack, put, error))
    return false;

  // The directory after the strips, on an 8-byte boundary; BigTIFF only where offsets need 64 bits.
  const uint64_t at = (end + 7) & ~uint64_t(7);
  const auto fields = [&](bool big) {
    const uint64_t bits = valueBytes * 8, format = sample == Sample::UInt16 ? 1 : 3;
    std::vector<Field> f = {
      Numbers(kWidth, kLong, {static_cast<uint64_t>(w)}),
      Numbers(kHeight, kLong, {static_cast<uint64_t>(h)}),
      Numbers(kBitsPerSample, kShort, std::vector<uint64_t>(static_cast<size_t>(channels), bits)),
      Numbers(kCompression, kShort, {8}), // Deflate
      Numbers(kPhotometric, kShort, {2}), // RGB
      Numbers(kStripOffsets, big ? kLong8 : kLong, offsets),
      Numbers(kOrientation, kShort, {1}), // top left
      Numbers(kSamplesPerPixel, kShort, {static_cast<uint64_t>(channels)}),
      Numbers(kRowsPerStrip, kLong, {static_cast<uint64_t>(stripRows)}),
      Numbers(kStripByteCounts, kLong, counts),
      Numbers(kXResolution, kRational, {72, 1}),
      Numbers(kYResolution, kRational, {72, 1}),
      Numbers(kPlanarConfig, kShort, {1}), // interleaved
      Numbers(kResolutionUnit, kShort, {2}), // inch
      Field{kSoftware, kAscii, software.size() + 1, software + '\0'},
    };
    if (settings.predictor != Predictor::None)
      f.push_back(Numbers(kPredictor, kShort, {static_cast<uint64_t>(settings.predictor)}));
    if (channels == 4)
      f.push_back(Numbers(kExtraSamples, kShort, {1})); // associated alpha: colours premultiplied
    f.push_back(Numbers(kSampleFormat, kShort, std::vector<uint64_t>(static_cast<size_t>(channels), format)));
    return f;
  };
  std::string dir = Directory(fields(false), false, at);
  const bool big = at + dir.size() > 0xffffffffu;
  if (big)
    dir = Directory(fields(true), true, at);
  std::string head = "II";
  if (big)
    Put(head, 43, 2), Put(head, 8, 2), Put(head, 0, 2), Put(head, at, 8);
  else
    Put(head, 42, 2), Put(head, at, 4);
  dir.insert(0, static_cast<size_t>(at - end), '\0');
  if (!write(dir.data(), dir.size(), end) || !write(head.data(), head.size(), 0))
  {
    error = "writing failed";
    return false;
  }
  return true;
}
} // namespace host::tiff
