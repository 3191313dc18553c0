// GPano metadata from the lens's rays.
#include "gpano.h"

#include <algorithm>
#include <cmath>

namespace cli
{
namespace
{
constexpr Int32 kColumns = 9, kRows = 5;
constexpr double kDegrees = 180.0 / PI;
} // namespace

std::vector<std::pair<Float, Float>> PanoramaProbe(Int32 width, Int32 height)
{
  // Pixel centres (the host's lie at whole numbers) from the first to the last column and row.
  std::vector<std::pair<Float, Float>> probe;
  for (Int32 j = 0; j < kRows; ++j)
    for (Int32 i = 0; i < kColumns; ++i)
      probe.emplace_back(std::floor((width - 1) * i / double(kColumns - 1)), std::floor((height - 1) * j / double(kRows - 1)));
  return probe;
}

std::string PanoramaXmp(const std::vector<std::pair<Float, Float>>& probe, const std::vector<Ray>& rays,
                        const Matrix& camera, Int32 width, Int32 height)
{
  if (rays.size() != probe.size() || probe.size() != size_t(kColumns * kRows) || width < 2 || height < 2)
    return std::string();
  const Matrix toCamera = camera.GetInverse();
  std::vector<double> lon(rays.size()), lat(rays.size());
  for (size_t k = 0; k < rays.size(); ++k)
  {
    const Vector d = toCamera.TransformVector(rays[k].v);
    const double len = d.GetLength();
    if (!(len > 0.0) || !std::isfinite(len))
      return std::string();
    lat[k] = std::asin(std::max(-1.0, std::min(1.0, d.y / len))) * kDegrees;
    lon[k] = std::atan2(d.x, d.z) * kDegrees;
    // Along a row the longitude is unwrapped from its left neighbour: neighbours lie less than
    // half a turn apart.
    if (k % kColumns)
      lon[k] -= 360.0 * std::round((lon[k] - lon[k - 1]) / 360.0);
  }
  // Longitudes from the middle row: at a pole every longitude is the same point.
  const size_t mid = kColumns * (kRows / 2);
  const double x0 = probe.front().first, y0 = probe.front().second;
  const double perX = (lon[mid + kColumns - 1] - lon[mid]) / (probe[kColumns - 1].first - x0);
  const double perY = (lat[0] - lat.back()) / (probe.back().second - y0);
  // Equirectangular: longitude even across, latitude even down, and pixels square in angle: the
  // whole sphere twice as wide as high, to two pixels.
  if (!(perX > 0.0) || !(perY > 0.0) || std::fabs(360.0 / perX - 360.0 / perY) > 2.0)
    return std::string();
  for (size_t k = 0; k < rays.size(); ++k)
    if ((std::fabs(lat[k]) < 89.0 && std::fabs(lon[k] - lon[mid] - perX * (probe[k].first - x0)) > 0.01 * perX) ||
        std::fabs(lat[0] - lat[k] - perY * (probe[k].second - y0)) > 0.01 * perY)
      return std::string();
  // A lens whose first and last pixel centres sit on the edges of its range measures a pixel
  // short of the sphere; the frame then is the whole of it.
  const long fullWidth = std::max<long>(width, std::lround(360.0 / perX));
  const long fullHeight = std::max<long>(height, std::lround(180.0 / perY));
  // The frame's edges lie half a pixel outside its first and last centres.
  const double left = lon[mid] - perX * (x0 + 0.5), top = lat[0] + perY * (y0 + 0.5);
  const long cropLeft = fullWidth == width ? 0 : std::lround((left + 180.0) / perX);
  const long cropTop = std::clamp<long>(std::lround((90.0 - top) / perY), 0, fullHeight - height);
  const auto field = [](const char* name, const std::string& value) {
    return std::string("   <GPano:") + name + ">" + value + "</GPano:" + name + ">\n";
  };
  const long wrappedLeft = (cropLeft % fullWidth + fullWidth) % fullWidth;
  return "<?xpacket begin=\"\xef\xbb\xbf\" id=\"W5M0MpCehiHzreSzNTczkc9d\"?>\n"
         "<x:xmpmeta xmlns:x=\"adobe:ns:meta/\">\n <rdf:RDF xmlns:rdf=\"http://www.w3.org/1999/02/22-rdf-syntax-ns#\">\n"
         "  <rdf:Description rdf:about=\"\" xmlns:GPano=\"http://ns.google.com/photos/1.0/panorama/\">\n" +
         field("ProjectionType", "equirectangular") + field("UsePanoramaViewer", "True") +
         field("FullPanoWidthPixels", std::to_string(fullWidth)) + field("FullPanoHeightPixels", std::to_string(fullHeight)) +
         field("CroppedAreaImageWidthPixels", std::to_string(width)) +
         field("CroppedAreaImageHeightPixels", std::to_string(height)) +
         field("CroppedAreaLeftPixels", std::to_string(wrappedLeft)) + field("CroppedAreaTopPixels", std::to_string(cropTop)) +
         "  </rdf:Description>\n </rdf:RDF>\n</x:xmpmeta>\n<?xpacket end=\"w\"?>";
}
} // namespace cli
