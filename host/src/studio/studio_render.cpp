// The studio's render: a copy of the document rendered on a thread of its own, its progress
// streamed as server-sent events, its picture kept for the page.
#include "studio/studio_impl.h"

#include <chrono>

#include "bitmap_io.h"
#include "render/render_loop.h"
#include "scene/scene_file.h"

namespace host::studio
{
namespace
{
Json StateJson(const RenderJob& job)
{
  return {{"job", job.number},
          {"running", job.running},
          {"editor", job.editor},
          {"done", job.done},
          {"ok", job.finished ? Json(job.ok) : Json(nullptr)},
          {"error", job.error.empty() ? Json(nullptr) : Json(job.error)},
          {"seconds", job.seconds},
          {"width", job.width},
          {"height", job.height}};
}

std::string Event(const char* name, const Json& data)
{
  return std::string("event: ") + name + "\ndata: " + data.dump() + "\n\n";
}
} // namespace

void Studio::Impl::StartRender(bool editor, Int32 width, Int32 height, Int32 samples)
{
  // The caller holds the document's lock: the copy is the document as it is now.
  std::string error;
  BaseDocument* copy = scene::CopyDocument(Doc(), &error);
  if (!copy)
    throw Refusal{400, "the document can't be copied for a render: " + error};
  {
    // The thread is made under the job's lock too: Stop then either finds it or this refuses.
    std::lock_guard<std::mutex> hold(job.lock);
    if (stopping || job.running)
    {
      BaseDocument::Free(copy);
      throw stopping ? Refusal{503, "the studio is stopping"} : Refusal{409, "a render is running already"};
    }
    if (job.worker.joinable())
      job.worker.join(); // the last one has ended; only its thread is left
    job.running = true, job.finished = false, job.ok = false;
    job.editor = editor;
    job.done = 0.0;
    job.error.clear();
    job.seconds = 0.0;
    ++job.number, ++job.serial;
    job.cancel = false;
    job.worker = std::thread([this, copy, editor, width, height, samples] {
      RenderOptions options;
      options.width = width, options.height = height, options.samples = samples;
      options.editorRender = editor;
      options.cancel = &job.cancel;
      options.progress = [this](Float done) {
        {
          std::lock_guard<std::mutex> hold(job.lock);
          job.done = done;
          ++job.serial;
        }
        job.changed.notify_all();
      };
      const auto start = std::chrono::steady_clock::now();
      BitmapPtr picture;
      String message;
      const bool ok = RenderDocument(copy, options, &picture, &message);
      BaseDocument* doc = copy;
      BaseDocument::Free(doc);
      std::vector<unsigned char> png;
      std::string encodeError;
      const bool encoded = ok && picture && EncodePng(*picture, png, &encodeError);
      std::lock_guard<std::mutex> hold(job.lock);
      job.running = false, job.finished = true;
      job.ok = encoded;
      job.error = ok ? encodeError : job.cancel ? "cancelled" : message.GetStdString();
      job.seconds = std::chrono::duration<Float>(std::chrono::steady_clock::now() - start).count();
      if (encoded)
      {
        job.png = std::move(png);
        job.width = picture->GetBw(), job.height = picture->GetBh();
        job.done = 1.0;
      }
      ++job.serial;
      job.changed.notify_all();
    });
  }
  job.changed.notify_all();
}

void Studio::Impl::RenderRoutes()
{
  server.Post("/api/render", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = req.body.empty() ? Json::object() : Body(req);
      const bool editor = body.contains("editor") && body["editor"].is_boolean() && body["editor"].get<bool>();
      if (body.contains("editor") && !body["editor"].is_boolean())
        throw Refusal{400, "\"editor\" must be true or false"};
      const Int32 width = body.contains("width") ? IntField(body, "width", 1, 16384) : 0;
      const Int32 height = body.contains("height") ? IntField(body, "height", 1, 16384) : 0;
      const Int32 samples = body.contains("samples") ? IntField(body, "samples", 1, RenderOptions::kMaxSamples) : 4;
      std::lock_guard<std::mutex> hold(docLock);
      StartRender(editor, width, height, samples);
      std::lock_guard<std::mutex> holdJob(job.lock);
      return StateJson(job);
    });
  });
  server.Get("/api/render/state", [this](const httplib::Request&, httplib::Response& res) {
    AnswerJson(res, [&] {
      std::lock_guard<std::mutex> hold(job.lock);
      return StateJson(job);
    });
  });
  server.Post("/api/render/cancel", [this](const httplib::Request&, httplib::Response& res) {
    AnswerJson(res, [&] {
      std::lock_guard<std::mutex> hold(job.lock);
      if (!job.running)
        throw Refusal{409, "no render is running"};
      job.cancel = true;
      return StateJson(job);
    });
  });
  server.Get("/api/render/picture.png", [this](const httplib::Request& req, httplib::Response& res) {
    std::lock_guard<std::mutex> hold(job.lock);
    if (job.png.empty())
      return AnswerError(res, 404, "nothing rendered yet");
    res.set_content(std::string(job.png.begin(), job.png.end()), "image/png");
    if (req.has_param("download"))
      res.set_header("Content-Disposition", "attachment; filename=\"render.png\"");
  });
  server.Get("/api/render/events", [this](const httplib::Request&, httplib::Response& res) {
    Int64 seen = -1;
    Int32 announced = 0; // the last job whose end this listener was told
    res.set_chunked_content_provider("text/event-stream", [this, seen, announced](size_t, httplib::DataSink& sink) mutable {
      std::unique_lock<std::mutex> lock(job.lock);
      job.changed.wait_for(lock, std::chrono::seconds(10), [&] { return stopping || job.serial != seen; });
      if (stopping)
        return false;
      if (job.serial == seen)
      {
        lock.unlock();
        const std::string ping = ": still here\n\n";
        return sink.write(ping.data(), ping.size());
      }
      // The first message tells the state; then progress while a job runs, and its end once.
      const bool first = seen < 0;
      seen = job.serial;
      const Json state = StateJson(job);
      const bool ended = job.finished && job.number != announced;
      if (job.finished)
        announced = job.number;
      lock.unlock();
      const std::string text = Event(first ? "state" : ended ? "done" : "progress", state);
      return sink.write(text.data(), text.size());
    });
  });
}
} // namespace host::studio
