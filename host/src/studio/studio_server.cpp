// The studio's server: who may ask, the page's files, the document, the menu, undo and scenes.
#include "studio/studio_impl.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "bitmap_io.h"
#include "commands.h"
#include "host_app.h"
#include "panel.h"
#include "scene/scene_file.h"
#include "studio/studio_guard.h"

namespace fs = std::filesystem;

namespace host::studio
{
namespace
{
constexpr size_t kMaxBody = 1 << 20;
constexpr uintmax_t kMaxFile = 256u << 20;

const char* ContentType(const std::string& path)
{
  static const std::pair<const char*, const char*> types[] = {
    {".html", "text/html; charset=utf-8"}, {".css", "text/css; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"}, {".json", "application/json"},
    {".png", "image/png"}, {".jpg", "image/jpeg"}, {".svg", "image/svg+xml"},
    {".pdf", "application/pdf"}, {".tif", "image/tiff"}, {".ico", "image/x-icon"}};
  const std::string ext = fs::path(path).extension().string();
  for (const auto& [e, type] : types)
    if (ext == e)
      return type;
  return "application/octet-stream";
}

/// Answers the file `relative` of `folder`, or 404 for one outside it or missing.
void AnswerFile(httplib::Response& res, const std::string& folder, const std::string& relative)
{
  const std::optional<std::string> path = InsideFolder(folder, relative);
  std::error_code ec;
  if (!path || !fs::is_regular_file(*path, ec) || fs::file_size(*path, ec) > kMaxFile)
    return AnswerError(res, 404, "no such file: " + relative);
  std::ifstream in(*path, std::ios::binary);
  std::ostringstream bytes;
  bytes << in.rdbuf();
  res.set_content(bytes.str(), ContentType(*path));
}

std::string Answer(Int32 answer)
{
  return answer == GEMB_R_YES ? "yes" : answer == GEMB_R_NO ? "no" : "ok";
}
} // namespace

// ---- Small pieces every route uses ---------------------------------------------------------------

void AnswerError(httplib::Response& res, int status, const std::string& message)
{
  res.status = status;
  res.set_content(Json{{"error", message}}.dump(), "application/json");
}

void AnswerJson(httplib::Response& res, const std::function<Json()>& handler)
{
  try
  {
    res.set_content(handler().dump(), "application/json");
  }
  catch (const Refusal& r)
  {
    AnswerError(res, r.status, r.message);
  }
}

Json Body(const httplib::Request& req)
{
  try
  {
    Json body = scene::ParseJson(req.body);
    if (!body.is_object())
      throw Refusal{400, "the request's body must be a JSON object"};
    return body;
  }
  catch (const Json::exception& e)
  {
    throw Refusal{400, std::string("malformed JSON: ") + e.what()};
  }
  catch (const std::runtime_error& e)
  {
    throw Refusal{400, std::string("malformed JSON: ") + e.what()};
  }
}

std::string StringField(const Json& body, const char* key)
{
  const auto it = body.find(key);
  if (it == body.end() || !it->is_string())
    throw Refusal{400, std::string("\"") + key + "\" must be a string"};
  return it->get<std::string>();
}

Int32 IntField(const Json& body, const char* key, Int32 lo, Int32 hi)
{
  const auto it = body.find(key);
  if (it == body.end() || !it->is_number_integer() || it->get<Int64>() < lo || it->get<Int64>() > hi)
    throw Refusal{400, std::string("\"") + key + "\" must be a whole number from " + std::to_string(lo) + " to " +
                         std::to_string(hi)};
  return static_cast<Int32>(it->get<Int64>());
}

Int32 IntParam(const httplib::Request& req, const char* key, Int32 lo, Int32 hi, Int32 fallback)
{
  if (!req.has_param(key))
    return fallback;
  const std::string text = req.get_param_value(key);
  Int32 value = 0;
  if (text.empty() || text.size() > 9 || text.find_first_not_of("0123456789") != std::string::npos ||
      (value = std::stoi(text)) < lo || value > hi)
    throw Refusal{400, std::string(key) + " must be a whole number from " + std::to_string(lo) + " to " + std::to_string(hi)};
  return value;
}

void AnswerPicture(httplib::Response& res, BaseBitmap* bmp)
{
  std::vector<unsigned char> png;
  std::string error;
  const bool ok = bmp && EncodePng(*bmp, png, &error);
  BaseBitmap::Free(bmp);
  if (!ok)
    return AnswerError(res, 404, error.empty() ? "no picture" : error);
  res.set_content(std::string(png.begin(), png.end()), "image/png");
}

// ---- The studio ---------------------------------------------------------------------------------

Studio::Studio(StudioOptions options) : impl(new Impl(std::move(options)))
{
  impl->token = NewToken();
  impl->Routes();
}

Studio::~Studio()
{
  Stop();
}

bool Studio::Bind(std::string* error)
{
  impl->port = impl->options.port == 0 ? impl->server.bind_to_any_port("127.0.0.1")
                                       : (impl->server.bind_to_port("127.0.0.1", impl->options.port) ? impl->options.port : -1);
  if (impl->port <= 0)
    *error = "cannot listen on 127.0.0.1:" + std::to_string(impl->options.port) + " (taken, or not allowed)";
  return impl->port > 0;
}

int Studio::Port() const
{
  return impl->port;
}

const std::string& Studio::Token() const
{
  return impl->token;
}

void Studio::Serve()
{
  impl->server.listen_after_bind();
}

void Studio::Stop()
{
  if (impl->stopping.exchange(true))
    return;
  std::thread worker;
  {
    // Under the job's lock, so that a render a request starts at this moment is either refused
    // (it sees `stopping`) or already has its thread here to be cancelled and joined.
    std::lock_guard<std::mutex> hold(impl->job.lock);
    impl->job.cancel = true;
    ++impl->job.serial;
    worker = std::move(impl->job.worker);
  }
  impl->job.changed.notify_all();
  impl->server.stop();
  if (worker.joinable())
    worker.join();
}

bool Studio::Impl::Admit(const httplib::Request& req, httplib::Response& res) const
{
  if (!LoopbackHost(req.get_header_value("Host"), port))
    return AnswerError(res, 403, "foreign Host header: the studio answers only http://127.0.0.1:" + std::to_string(port)), false;
  if (req.has_header("Origin") && !LoopbackOrigin(req.get_header_value("Origin"), port))
    return AnswerError(res, 403, "foreign Origin: " + req.get_header_value("Origin")), false;
  const std::string given = req.has_param("token")          ? req.get_param_value("token")
                            : req.has_header("X-Orlix-Token") ? req.get_header_value("X-Orlix-Token")
                                                              : CookieValue(req.get_header_value("Cookie"), "orlix_token");
  if (!SameToken(given, token))
    return AnswerError(res, 401, "missing or wrong token: open the address orlixcam studio printed"), false;
  return true;
}

void Studio::Impl::Routes()
{
  server.new_task_queue = [] { return new httplib::ThreadPool(32); };
  server.set_payload_max_length(kMaxBody);
  server.set_keep_alive_max_count(1000);
  server.set_default_headers({{"Cache-Control", "no-store"},
                              {"X-Content-Type-Options", "nosniff"},
                              {"X-Frame-Options", "DENY"},
                              {"Referrer-Policy", "no-referrer"},
                              {"Content-Security-Policy", "default-src 'self'; img-src 'self' blob: data:; frame-ancestors 'none'"}});
  server.set_pre_routing_handler([this](const httplib::Request& req, httplib::Response& res) {
    return Admit(req, res) ? httplib::Server::HandlerResponse::Unhandled : httplib::Server::HandlerResponse::Handled;
  });
  // What the server itself refuses (a POST without a length, a body too large) says so as JSON too.
  server.set_error_handler([](const httplib::Request&, httplib::Response& res) {
    if (res.body.empty())
      AnswerError(res, res.status, res.status == 413 ? "the request's body is larger than 1 MiB"
                                   : res.status == 404 ? "no such address" : "the request is malformed");
  });
  server.set_exception_handler([](const httplib::Request&, httplib::Response& res, std::exception_ptr ep) {
    std::string what = "unknown";
    try
    {
      std::rethrow_exception(ep);
    }
    catch (const std::exception& e)
    {
      what = e.what();
    }
    catch (...)
    {
    }
    AnswerError(res, 500, "the studio failed: " + what);
  });
  FileRoutes();
  DocumentRoutes();
  EditRoutes();
  PadRoutes();
  ViewRoutes();
  RenderRoutes();
}

void Studio::Impl::FileRoutes()
{
  server.Get("/", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerFile(res, options.webFolder, "index.html");
    // Pictures, downloads and the progress stream carry the token from here on without the page's help.
    if (req.has_param("token"))
      res.set_header("Set-Cookie", "orlix_token=" + token + "; Path=/; HttpOnly; SameSite=Strict");
  });
  server.Get(R"(/web/(.+))", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerFile(res, options.webFolder, req.matches[1]);
  });
  server.Get(R"(/plugin/(.+))", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerFile(res, options.pluginFolder, req.matches[1]);
  });
}

BaseDocument* Studio::Impl::Doc()
{
  BaseDocument* doc = GetActiveDocument();
  if (!doc)
  {
    doc = BaseDocument::Alloc();
    SetActiveDocument(doc);
  }
  return doc;
}

BaseList2D* Studio::Impl::Node(const std::string& id)
{
  BaseList2D* node = FindNode(Doc(), id);
  if (!node)
    throw Refusal{404, "no node " + id + " in the document"};
  return node;
}

Json Studio::Impl::Dialogs(size_t questionsBefore) const
{
  Json out = Json::array();
  const UiRecord& ui = App().ui;
  for (size_t i = questionsBefore; i < ui.questions.size(); ++i)
    out.push_back({{"text", ui.questions[i].text.GetStdString()}, {"answer", Answer(ui.questions[i].answer)}});
  return out;
}

Json Studio::Impl::Opened(size_t filesBefore, size_t urlsBefore) const
{
  Json out = Json::array();
  const UiRecord& ui = App().ui;
  for (size_t i = filesBefore; i < ui.openedFiles.size(); ++i)
  {
    const std::string file = ui.openedFiles[i].GetStdString();
    std::error_code ec;
    const fs::path root = fs::canonical(options.pluginFolder, ec);
    const std::string relative = fs::path(file).lexically_proximate(root).string();
    const bool inside = !ec && InsideFolder(options.pluginFolder, relative).has_value();
    out.push_back({{"file", file}, {"url", inside ? Json("/plugin/" + relative) : Json(nullptr)}});
  }
  for (size_t i = urlsBefore; i < ui.openedUrls.size(); ++i)
    out.push_back({{"file", nullptr}, {"url", ui.openedUrls[i].GetStdString()}});
  return out;
}

void Studio::Impl::DocumentRoutes()
{
  server.Get("/api/document", [this](const httplib::Request&, httplib::Response& res) {
    AnswerJson(res, [&] {
      std::lock_guard<std::mutex> hold(docLock);
      return Document();
    });
  });
  server.Post("/api/select", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = Body(req);
      std::lock_guard<std::mutex> hold(docLock);
      BaseList2D* node = Node(StringField(body, "node"));
      BaseDocument* doc = Doc();
      auto* tag = dynamic_cast<BaseTag*>(node);
      auto* op = dynamic_cast<BaseObject*>(node);
      if (!tag && !op)
        throw Refusal{400, "only objects and tags are selected"};
      // A click in the manager selects one thing: the object or the tag, not both.
      doc->SetActiveTag(tag, SELECTION_NEW);
      doc->SetActiveObject(op, SELECTION_NEW);
      return Document();
    });
  });
  server.Get("/api/menu", [this](const httplib::Request&, httplib::Response& res) {
    AnswerJson(res, [&] {
      std::lock_guard<std::mutex> hold(docLock);
      Json commands = Json::array();
      for (const MenuCommand& c : BuildMenu(Doc()))
      {
        Json sub = nullptr;
        if (c.hasSub)
        {
          sub = Json::array();
          for (const MenuItem& item : c.sub)
            sub.push_back({{"subId", item.subId},
                           {"label", item.label.GetStdString()},
                           {"icon", item.iconId ? Json("/api/icon?plugin=" + std::to_string(item.iconId)) : Json(nullptr)}});
        }
        commands.push_back({{"id", c.id},
                            {"name", c.name.GetStdString()},
                            {"help", c.help.GetStdString()},
                            {"icon", c.hasIcon ? Json("/api/icon?plugin=" + std::to_string(c.id)) : Json(nullptr)},
                            {"enabled", (c.state & CMD_ENABLED) != 0},
                            {"subTitle", c.subTitle.GetStdString()},
                            {"sub", sub}});
      }
      return Json{{"commands", commands}};
    });
  });
  server.Post("/api/command", [this](const httplib::Request& req, httplib::Response& res) {
    AnswerJson(res, [&] {
      const Json body = Body(req);
      const Int32 id = IntField(body, "id", 1, 0x7fffffff);
      const Int32 subId = body.contains("subId") ? IntField(body, "subId", 0, 0x7fffffff) : 0;
      const std::string answer = body.contains("answer") ? StringField(body, "answer") : "no";
      std::lock_guard<std::mutex> hold(docLock);
      const std::vector<MenuCommand> menu = BuildMenu(Doc());
      const auto c = std::find_if(menu.begin(), menu.end(), [&](const MenuCommand& m) { return m.id == id; });
      if (c == menu.end())
        throw Refusal{404, "no command " + std::to_string(id)};
      if (!(c->state & CMD_ENABLED))
        throw Refusal{409, c->name.GetStdString() + " is greyed out in this document"};
      const bool inSub = std::any_of(c->sub.begin(), c->sub.end(), [&](const MenuItem& item) { return item.subId == subId; });
      if (subId != 0 && !inSub)
        throw Refusal{400, c->name.GetStdString() + " has no entry " + std::to_string(subId) + " in its submenu"};
      UiRecord& ui = App().ui;
      const size_t questions = ui.questions.size(), files = ui.openedFiles.size(), urls = ui.openedUrls.size();
      ui.defaultAnswer = answer == "yes" ? GEMB_R_YES : GEMB_R_NO;
      const bool ok = RunCommand(Doc(), id, subId);
      ui.defaultAnswer = GEMB_R_NO;
      ExecuteExpressions(Doc()); // a command may have opened a document of its own
      ++revision;
      stroke.clear();
      pivotSet = false;
      if (!ok)
        throw Refusal{409, "the command failed; see the console"};
      return Json{{"document", Document()}, {"dialogs", Dialogs(questions)}, {"opened", Opened(files, urls)}};
    });
  });
  for (const bool undo : {true, false})
    server.Post(undo ? "/api/undo" : "/api/redo", [this, undo](const httplib::Request&, httplib::Response& res) {
      AnswerJson(res, [&] {
        std::lock_guard<std::mutex> hold(docLock);
        BaseDocument* doc = Doc();
        if (!(undo ? doc->DoUndo() : doc->DoRedo()))
          throw Refusal{409, undo ? "nothing to undo" : "nothing to redo"};
        ExecuteExpressions(doc);
        ++revision;
        stroke.clear();
        return Document();
      });
    });
  server.Get("/api/icon", [this](const httplib::Request& req, httplib::Response& res) {
    try
    {
      std::lock_guard<std::mutex> hold(docLock);
      if (req.has_param("plugin"))
      {
        const PluginEntry* e = App().plugins.Find(IntParam(req, "plugin", 1, 0x7fffffff, 0));
        return AnswerPicture(res, e && e->icon ? e->icon->GetClone() : nullptr);
      }
      AnswerPicture(res, NodeIcon(Node(req.get_param_value("node"))));
    }
    catch (const Refusal& r)
    {
      AnswerError(res, r.status, r.message);
    }
  });
}
} // namespace host::studio
