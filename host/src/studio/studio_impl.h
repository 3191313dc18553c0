// The studio's inside: the server, the document's lock and the render job. Private to studio/.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <httplib.h>

#include "c4d.h"
#include "studio/studio.h"
#include "studio/studio_model.h"

namespace host::studio
{
/// A request that can't be carried out: its status (4xx) and why.
struct Refusal
{
  int status;
  std::string message;
};

/// The render of a copy of the document, on a thread of its own.
struct RenderJob
{
  std::mutex lock;
  std::condition_variable changed;
  Int64 serial = 0;   ///< grows with every change, so listeners see each one
  Int32 number = 0;   ///< the job's number, from 1
  bool running = false;
  bool editor = false;
  Float done = 0.0;
  bool finished = false, ok = false;
  std::string error;
  Float seconds = 0.0;
  Int32 width = 0, height = 0;
  std::vector<unsigned char> png; ///< the last finished picture
  std::atomic<bool> cancel{false};
  std::thread worker;
};

struct Studio::Impl
{
  StudioOptions options;
  std::string token;
  int port = 0;
  httplib::Server server;
  std::atomic<bool> stopping{false};

  // The document and everything that reaches it go through this lock, one request at a time.
  std::mutex docLock;
  Int64 revision = 0;
  std::string stroke;       ///< the pad stroke whose undo step is the last one
  Int64 strokeRevision = -1;
  Vector pivot;             ///< what the editor camera orbits
  bool pivotSet = false;

  RenderJob job;

  explicit Impl(StudioOptions o) : options(std::move(o)) {}

  void Routes();
  void FileRoutes();
  void DocumentRoutes();
  void EditRoutes();
  void PadRoutes();
  void ViewRoutes();
  void RenderRoutes();
  /// Whether the request may go on; if not, the answer is set.
  bool Admit(const httplib::Request& req, httplib::Response& res) const;

  BaseDocument* Doc();
  BaseList2D* Node(const std::string& id);
  Json Document() { return DocumentJson(Doc(), revision); }
  Json PanelOf(BaseList2D* node);
  /// The dialogs asked and files opened since the counts given, as the page shows them.
  Json Dialogs(size_t questionsBefore) const;
  Json Opened(size_t filesBefore, size_t urlsBefore) const;

  /// Orbits, pans or zooms the active view's editor camera by the request `body`.
  void MoveEditorCamera(const Json& body);
  void StartRender(bool editor, Int32 width, Int32 height, Int32 samples);
  void FinishRender();
};

/// Runs `handler` and answers its JSON; a Refusal becomes its status with {"error": ...}.
void AnswerJson(httplib::Response& res, const std::function<Json()>& handler);
/// Answers `status` with {"error": message}.
void AnswerError(httplib::Response& res, int status, const std::string& message);
/// The request's body as a JSON object; a Refusal if it is none.
Json Body(const httplib::Request& req);
/// Member `key` of `body` as a string / an integer in [lo, hi]; a Refusal naming the key otherwise.
std::string StringField(const Json& body, const char* key);
Int32 IntField(const Json& body, const char* key, Int32 lo, Int32 hi);
/// Query parameter `key` as an integer in [lo, hi], `fallback` when absent.
Int32 IntParam(const httplib::Request& req, const char* key, Int32 lo, Int32 hi, Int32 fallback);
/// `bmp` as a PNG answer; frees it.
void AnswerPicture(httplib::Response& res, BaseBitmap* bmp);
} // namespace host::studio
