// orlixcam render: a scene through its lens to pictures on disk.
#include "cli.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>

#include "bitmap_io.h"
#include "gpano.h"
#include "progress_line.h"
#include "render_header.h"
#include "render/render_limits.h"
#include "c4d_objects.h"

namespace fs = std::filesystem;

namespace cli
{
namespace
{
/// Where the run of '#' that numbers frames starts: in the file name only, never in a folder.
std::string::size_type FrameMark(const std::string& out)
{
  const std::string::size_type slash = out.rfind('/');
  return out.find('#', slash == std::string::npos ? 0 : slash + 1);
}

/// OUT with its run of '#' replaced by the frame number, zero-padded to the run's length.
std::string FramePath(const std::string& out, Int32 frame)
{
  const std::string::size_type at = FrameMark(out);
  if (at == std::string::npos)
    return out;
  std::string::size_type end = at;
  while (end < out.size() && out[end] == '#')
    ++end;
  // In 64 bits: the magnitude of the lowest Int32 has no Int32.
  std::string number = std::to_string(std::llabs(static_cast<long long>(frame)));
  while (number.size() < end - at)
    number.insert(number.begin(), '0');
  if (frame < 0)
    number.insert(number.begin(), '-');
  return out.substr(0, at) + number + out.substr(end);
}

/// Whether OUT names one file per eye: %V (left, right) or %v (l, r) in its file name.
bool PerEye(const std::string& out)
{
  const std::string name = fs::path(out).filename().string();
  return name.find("%V") != std::string::npos || name.find("%v") != std::string::npos;
}

/// OUT with %V and %v in its file name replaced by the view's name and its first letter.
std::string ViewPath(const std::string& out, const std::string& view)
{
  const std::string::size_type slash = out.rfind('/');
  std::string path = out;
  for (std::string::size_type at = path.find('%', slash == std::string::npos ? 0 : slash + 1);
       at != std::string::npos && at + 1 < path.size(); at = path.find('%', at + 1))
    if (path[at + 1] == 'V' || path[at + 1] == 'v')
      path.replace(at, 2, path[at + 1] == 'V' ? view : view.substr(0, 1));
  return path;
}

void ParseFrames(const std::string& text, Int32& first, Int32& last)
{
  std::string::size_type dash = text.find('-', 1);
  try
  {
    size_t used = 0;
    first = std::stoi(text.substr(0, dash), &used);
    if (used != (dash == std::string::npos ? text.size() : dash))
      throw std::invalid_argument(text);
    last = first;
    if (dash != std::string::npos)
    {
      const std::string tail = text.substr(dash + 1);
      last = std::stoi(tail, &used);
      if (used != tail.size())
        throw std::invalid_argument(text);
    }
  }
  catch (const std::exception&)
  {
    throw Stop{"--frames " + text + ": expected A-B or A, such as 0-99"};
  }
  if (last < first)
    throw Stop{"--frames " + text + ": the range ends before it starts"};
}

/// The pass that --pass names; Shaded for none.
host::RenderPass PassOf(const std::string& name)
{
  static const std::pair<const char*, host::RenderPass> passes[] = {
    {"direction", host::RenderPass::Direction}, {"st", host::RenderPass::St}, {"origin", host::RenderPass::Origin}};
  if (name.empty())
    return host::RenderPass::Shaded;
  for (const auto& [n, pass] : passes)
    if (name == n)
      return pass;
  throw Stop{"--pass " + name + ": unknown pass; the passes are \"direction\", \"st\" and \"origin\""};
}

/// What can be checked before anything loads or renders; the frame range, if given, in `first`
/// and `last`.
bool CheckRenderArgs(const RenderArgs& args, Int32& first, Int32& last)
{
  const bool dataPass = PassOf(args.pass) != host::RenderPass::Shaded;
  Bool holdsFloat = false;
  if (!host::IsPictureName(args.out, &holdsFloat))
    throw Stop{"-o " + args.out + ": unknown picture format (use .png, .jpg, .tif or .exr)"};
  if (dataPass && !holdsFloat)
    throw Stop{"-o " + args.out + ": the " + args.pass + " pass is written as 32-bit float: use .exr or .tif"};
  const bool exr = fs::path(args.out).extension() == ".exr";
  if (args.views && !exr && !PerEye(args.out))
    throw Stop{"-o " + args.out + ": only .exr holds both views in one file; put %V in the file name for a file per eye"};
  const std::string ext = fs::path(args.out).extension().string();
  if (args.quality && ext != ".jpg" && ext != ".jpeg")
    throw Stop{"-o " + args.out + ": --quality is for .jpg files"};
  if (!exr && (args.half || !args.compression.empty()))
    throw Stop{"-o " + args.out + ": " + (args.half ? "--half" : "--compression") + " is for .exr files"};
  const auto check = [&](const std::string& path) {
    CheckOutputFile("-o", ViewPath(path, "right"));
    CheckOutputFile("-o", ViewPath(path, "left"));
  };
  if (args.frames.empty())
  {
    check(args.out);
    return false;
  }
  ParseFrames(args.frames, first, last);
  if (last > first && FrameMark(args.out) == std::string::npos)
    throw Stop{"--frames " + args.frames + ": several frames need #### in -o's file name to number them"};
  check(FramePath(args.out, first));
  check(FramePath(args.out, last));
  return true;
}

/// Each finished frame to its file or files, with the header of the file's format.
struct FrameWriter
{
  FrameWriter(const RenderArgs& a, BaseDocument* d, Int32 first, host::RenderPass pass) : args(a), doc(d), firstFrame(first)
  {
    save.floatData = pass != host::RenderPass::Shaded;
    save.threads = args.threads;
    save.half = args.half;
    if (!args.compression.empty())
      save.compression = args.compression;
    save.quality = args.quality.value_or(save.quality);
  }

  const RenderArgs& args;
  BaseDocument* doc;
  const Int32 firstFrame;
  Int32 index = 0;
  host::SaveOptions save;
  // Only OpenEXR gets the header: the other formats' readers have no place for it.
  const bool exrHeader = fs::path(args.out).extension() == ".exr";
  std::vector<std::string> written;
  std::string error;
  // The lens's rays through a few pixels of the first image, for the panorama metadata.
  std::vector<std::pair<Float, Float>> probe;
  std::vector<Ray> probeRays;
  BaseObject* camera = nullptr;

  /// The next frame's path; a frame without a range keeps the document's frame number.
  std::string NextPath(Int32 frame)
  {
    ++index;
    if (exrHeader)
      SetTimeCode(doc, frame, save.attributes);
    return FramePath(args.out, args.frames.empty() ? firstFrame : frame);
  }

  /// Panorama metadata where a viewer reads it: a frame of one image, in JPEG or PNG.
  void Probe(const host::RenderPlan& plan, Int32 width, Int32 height, host::RenderOptions& options)
  {
    const std::string ext = fs::path(args.out).extension().string();
    if ((ext != ".jpg" && ext != ".jpeg" && ext != ".png") || plan.imagesPerFrame != 1)
      return;
    camera = plan.camera;
    probe = options.probe = PanoramaProbe(width, height);
    options.probeRays = &probeRays;
  }

  bool Picture(Int32 frame, const BaseBitmap& picture)
  {
    if (index == 0 && camera)
      save.xmp = PanoramaXmp(probe, probeRays, camera->GetMg(), picture.GetBw(), picture.GetBh());
    const std::string path = NextPath(frame);
    if (!host::SaveBitmap(picture, path, save, &error))
      return false;
    written.push_back(path);
    return true;
  }

  bool Views(Int32 frame, const std::vector<const BaseBitmap*>& views)
  {
    static const char* const names[] = {"left", "right"};
    const std::string path = NextPath(frame);
    if (!PerEye(path))
    {
      if (!host::SaveViews({{names[0], views[0]}, {names[1], views[1]}}, path, save, &error))
        return false;
      written.push_back(path);
      return true;
    }
    for (size_t v = 0; v < 2; ++v)
    {
      if (!host::SaveBitmap(*views[v], ViewPath(path, names[v]), save, &error))
        return false;
      written.push_back(ViewPath(path, names[v]));
    }
    return true;
  }
};
} // namespace

int RenderCommand(const RenderArgs& args, const std::string& plugins)
{
  Int32 first = 0, last = 0;
  const bool ranged = CheckRenderArgs(args, first, last);
  const host::RenderPass pass = PassOf(args.pass);

  host::PluginModule module;
  LoadPlugin(module, plugins);
  BaseDocument* doc = OpenScene(args.scene);
  BaseContainer* rd = doc->GetActiveRenderData()->GetDataInstance();
  if (args.width)
    rd->SetInt32(RDATA_XRES, *args.width);
  if (args.height)
    rd->SetInt32(RDATA_YRES, *args.height);

  host::RenderOptions options;
  options.samples = args.samples;
  options.threads = args.threads;
  options.editorRender = args.preview;
  options.pass = pass;
  if (ranged)
  {
    options.firstFrame = first;
    options.lastFrame = last;
  }
  std::optional<host::RenderPlan> plan;
  const auto camera = [&] {
    if (!plan)
      plan = Plan(doc, options, nullptr);
    return plan->camera;
  };
  for (const std::string& s : args.sets)
    ApplySet(doc, s, camera);
  // Options and --set keep to the size rule of scene files.
  const std::string sizeProblem =
    host::render::FrameSizeProblem(rd->GetInt32(RDATA_XRES), rd->GetInt32(RDATA_YRES));
  if (!sizeProblem.empty())
    throw Stop{args.scene + ": " + sizeProblem};

  FrameWriter writer(args, doc, ranged ? first : doc->GetTime().GetFrame(doc->GetFps()), pass);
  if (writer.exrHeader)
    AddSceneHeader(doc, camera(), writer.save.attributes);
  options.frameDone = [&](Int32 frame, const BaseBitmap& picture) { return writer.Picture(frame, picture); };
  if (pass == host::RenderPass::Shaded && camera())
    writer.Probe(*plan, rd->GetInt32(RDATA_XRES), rd->GetInt32(RDATA_YRES), options);
  if (args.views || PerEye(args.out))
    options.viewsDone = [&](Int32 frame, const std::vector<const BaseBitmap*>& views) { return writer.Views(frame, views); };
  std::optional<ProgressLine> progress;
  if (!args.quiet && isatty(STDERR_FILENO))
  {
    const Int32 frames = ranged ? last - first + 1 : 1;
    const double samples = pass == host::RenderPass::Shaded ? args.samples : 1;
    camera();
    progress.emplace(frames, samples * plan->imagesPerFrame * rd->GetInt32(RDATA_XRES) * rd->GetInt32(RDATA_YRES));
    options.progress = [&, frames](Float done) {
      const Int32 index = std::min(writer.index, frames - 1);
      progress->Show(done, writer.firstFrame + index, index);
    };
  }
  String error;
  Bool badInput = false;
  const Bool ok = host::RenderDocument(doc, options, nullptr, &error, &badInput);
  if (progress)
    progress->End();
  const std::string& saveError = writer.error;
  const std::vector<std::string>& written = writer.written;
  if (!ok)
  {
    if (!saveError.empty())
      throw Stop{saveError, kFailed};
    throw Stop{args.scene + ": " + error.GetStdString(), badInput ? kBadInput : kFailed};
  }
  for (const std::string& p : written)
    std::cout << "wrote " << p << "\n";
  return 0;
}

} // namespace cli
