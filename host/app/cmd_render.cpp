// orlixcam render: a scene through its lens to pictures on disk.
#include "cli.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <limits>

#include "picture_library.h"

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

// A range longer than this is a typing mistake, not a shot.
constexpr Int64 kMaxFrames = 1 << 20;

/// A whole number that is all of `text`.
bool WholeNumber(const std::string& text, Int64* value)
{
  try
  {
    size_t used = 0;
    const long long v = std::stoll(text, &used);
    if (used != text.size() || text.empty() || std::isspace(static_cast<unsigned char>(text[0])))
      return false;
    *value = v;
    return true;
  }
  catch (const std::exception&)
  {
    return false;
  }
}

/// The frames of --frames A-B[:STEP] or A, in order.
std::vector<Int32> ParseFrames(const std::string& text)
{
  const std::string bad = "--frames " + text + ": expected A-B, A-B:STEP or A, such as 0-99 or 0-99:5";
  const std::string::size_type colon = text.find(':');
  const std::string range = text.substr(0, colon);
  Int64 step = 1;
  if (colon != std::string::npos && !WholeNumber(text.substr(colon + 1), &step))
    throw Stop{bad};
  if (step < 1)
    throw Stop{"--frames " + text + ": the step must be 1 or more"};
  // A dash after the first character parts the ends; a leading one is a negative first frame.
  const std::string::size_type dash = range.find('-', 1);
  Int64 first = 0, last = 0;
  if (!WholeNumber(range.substr(0, dash), &first) ||
      (dash != std::string::npos && !WholeNumber(range.substr(dash + 1), &last)))
    throw Stop{bad};
  if (dash == std::string::npos)
    last = first;
  const Int64 lo = std::numeric_limits<Int32>::min(), hi = std::numeric_limits<Int32>::max();
  if (first < lo || first > hi || last < lo || last > hi)
    throw Stop{"--frames " + text + ": a frame number is out of range"};
  if (last < first)
    throw Stop{"--frames " + text + ": the range ends before it starts"};
  if ((last - first) / step >= kMaxFrames)
    throw Stop{"--frames " + text + ": more than " + std::to_string(kMaxFrames) + " frames"};
  std::vector<Int32> frames;
  for (Int64 f = first; f <= last; f += step)
    frames.push_back(static_cast<Int32>(f));
  return frames;
}

/// Every N-th frame of `frames` from the K-th (K counted from 0), for --shard K/N.
std::vector<Int32> ShardFrames(const std::vector<Int32>& frames, const std::string& shard)
{
  const std::string::size_type slash = shard.find('/');
  Int64 k = 0, n = 0;
  if (slash == std::string::npos || !WholeNumber(shard.substr(0, slash), &k) ||
      !WholeNumber(shard.substr(slash + 1), &n))
    throw Stop{"--shard " + shard + ": expected K/N, such as 0/4 (the first of four shards)"};
  if (n < 1)
    throw Stop{"--shard " + shard + ": the number of shards N must be 1 or more"};
  if (k < 0 || k >= n)
    throw Stop{"--shard " + shard + ": K counts from 0 and must be less than N (0 to " + std::to_string(n - 1) + ")"};
  std::vector<Int32> mine;
  for (size_t i = static_cast<size_t>(k); i < frames.size(); i += static_cast<size_t>(n))
    mine.push_back(frames[i]);
  return mine;
}

/// Whether `path` holds a whole picture: it opens and every pixel of it reads. Frames are written
/// under a temporary name and renamed when whole, so this guards against what else may lie there.
bool ReadsAsPicture(const std::string& path, std::string* why)
{
  const host::pictures::Library* library = host::pictures::Load(why);
  std::unique_ptr<host::pictures::Reader> in = library ? library->open(path, *why) : nullptr;
  if (!in)
    return false;
  // In strips of rows, so that checking an 8K master costs no frame of memory.
  const host::pictures::Header& format = in->Head();
  const int rows = 64;
  std::vector<float> strip(static_cast<size_t>(format.width) * static_cast<size_t>(rows) * static_cast<size_t>(format.channels));
  for (int y = format.y; y < format.y + format.height; y += rows)
  {
    if (!in->ReadRows(y, std::min(y + rows, format.y + format.height), OIIO::TypeDesc::FLOAT, strip.data()))
    {
      *why = in->Error();
      if (why->empty())
        *why = "its pixels end short";
      return false;
    }
  }
  return true;
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

/// What can be checked before anything loads or renders; the frames of --frames and --shard, if
/// given, in `frames`.
bool CheckRenderArgs(const RenderArgs& args, std::vector<Int32>& frames)
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
  if (!args.shard.empty() && args.frames.empty())
    throw Stop{"--shard " + args.shard + ": a shard is a part of a --frames range; give the range too"};
  if (!args.shard.empty() && FrameMark(args.out) == std::string::npos)
    throw Stop{"--shard " + args.shard + ": shards write numbered frames; put #### in -o's file name"};
  if (args.frames.empty())
  {
    check(args.out);
    return false;
  }
  frames = ParseFrames(args.frames);
  if (frames.size() > 1 && FrameMark(args.out) == std::string::npos)
    throw Stop{"--frames " + args.frames + ": several frames need #### in -o's file name to number them"};
  check(FramePath(args.out, frames.front()));
  check(FramePath(args.out, frames.back()));
  if (!args.shard.empty())
    frames = ShardFrames(frames, args.shard);
  return true;
}

/// The files frame `frame` writes: one, or one per eye.
std::vector<std::string> FrameFiles(const std::string& out, Int32 frame)
{
  const std::string path = FramePath(out, frame);
  if (!PerEye(path))
    return {path};
  return {ViewPath(path, "left"), ViewPath(path, "right")};
}

/// The frames whose files are all there and whole are left out, each file said on standard output.
void SkipExisting(const std::string& out, std::vector<Int32>& frames)
{
  std::vector<Int32> left;
  for (Int32 frame : frames)
  {
    bool whole = true;
    const std::vector<std::string> files = FrameFiles(out, frame);
    for (const std::string& file : files)
    {
      std::error_code ec;
      std::string why;
      if (!fs::exists(file, ec))
        whole = false;
      else if (!ReadsAsPicture(file, &why))
      {
        std::cerr << "orlixcam: " << file << " doesn't read as a picture (" << why << "); rendering it again\n";
        whole = false;
      }
      if (!whole)
        break;
    }
    if (!whole)
      left.push_back(frame);
    else
      for (const std::string& file : files)
        std::cout << "skipped " << file << " (already there)\n";
  }
  std::cout << std::flush;
  frames.swap(left);
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
    Wrote(path);
    return true;
  }

  /// Each file is named as soon as it is whole, so that a render stopped half way still tells
  /// which frames it finished.
  void Wrote(const std::string& path)
  {
    written.push_back(path);
    std::cout << "wrote " << path << std::endl;
  }

  bool Views(Int32 frame, const std::vector<const BaseBitmap*>& views)
  {
    static const char* const names[] = {"left", "right"};
    const std::string path = NextPath(frame);
    if (!PerEye(path))
    {
      if (!host::SaveViews({{names[0], views[0]}, {names[1], views[1]}}, path, save, &error))
        return false;
      Wrote(path);
      return true;
    }
    for (size_t v = 0; v < 2; ++v)
    {
      if (!host::SaveBitmap(*views[v], ViewPath(path, names[v]), save, &error))
        return false;
      Wrote(ViewPath(path, names[v]));
    }
    return true;
  }
};
} // namespace

int RenderCommand(const RenderArgs& args, const std::string& plugins)
{
  std::vector<Int32> frames;
  const bool ranged = CheckRenderArgs(args, frames);
  const host::RenderPass pass = PassOf(args.pass);
  if (ranged && frames.empty())
  {
    std::cout << "nothing to render: shard " << args.shard << " holds no frame of " << args.frames << "\n";
    return 0;
  }
  if (ranged && args.skipExisting)
    SkipExisting(args.out, frames);
  if (ranged && frames.empty())
  {
    std::cout << "nothing to render: every frame" << (args.shard.empty() ? "" : " of shard " + args.shard)
              << " is there already\n";
    return 0;
  }

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
    options.frameList = frames;
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

  FrameWriter writer(args, doc, ranged ? frames.front() : doc->GetTime().GetFrame(doc->GetFps()), pass);
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
    const Int32 count = ranged ? static_cast<Int32>(frames.size()) : 1;
    const double samples = pass == host::RenderPass::Shaded ? args.samples : 1;
    camera();
    progress.emplace(count, samples * plan->imagesPerFrame * rd->GetInt32(RDATA_XRES) * rd->GetInt32(RDATA_YRES));
    options.progress = [&, count](Float done) {
      const Int32 index = std::min(writer.index, count - 1);
      progress->Show(done, ranged ? frames[static_cast<size_t>(index)] : writer.firstFrame, index);
    };
  }
  String error;
  Bool badInput = false;
  const Bool ok = host::RenderDocument(doc, options, nullptr, &error, &badInput);
  if (progress)
    progress->End();
  const std::string& saveError = writer.error;
  if (!ok)
  {
    if (!saveError.empty())
      throw Stop{saveError, kFailed};
    throw Stop{args.scene + ": " + error.GetStdString(), badInput ? kBadInput : kFailed};
  }
  return 0;
}

} // namespace cli
