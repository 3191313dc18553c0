// The studio served in this process and asked over loopback, as a browser asks it: who it turns
// away, and edits from many clients while a render of a copy runs on its own thread.
#include <gtest/gtest.h>

#include <httplib.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include <nlohmann/json.hpp>

#include "c4d.h"
#include "host_app.h"
#include "plugin_loader.h"
#include "resource_parser.h"
#include "scene/scene_file.h"
#include "studio/studio.h"
#include "support/scratch_dir.h"

namespace fs = std::filesystem;
using Json = nlohmann::json;

namespace
{
constexpr Int32 kEyeSeparation = 1025; // a tag parameter with a plain number and no side effects

struct StudioRender : ::testing::Test, ScratchDir
{
  host::PluginModule module;
  std::unique_ptr<host::studio::Studio> studio;
  std::thread server;

  void SetUp() override
  {
    host::ResetApp();
    String error;
    ASSERT_TRUE(module.Load(Filename(ORLIX_PLUGIN_DIR) + Filename("OrlixCam.so"), &error)) << error;
    ASSERT_TRUE(host::LoadHostDescriptions(Filename(ORLIX_SOURCE_DIR "/host/res"), &error)) << error;
    fs::create_directories(dir / "scenes");
    const std::string scene = Write("scenes/dome.json", R"({"format": "orlixcam-scene/1",
      "render": {"width": 96, "height": 96, "videoPosts": [{"type": "OrlixCam"}]},
      "objects": [{"type": "sky", "gradient": {"top": [0, 0, 1], "bottom": [1, 0, 0]}},
        {"type": "sphere", "name": "Ball", "position": [0, 0, 300], "radius": 50, "material": {"color": [0.9, 0.2, 0.1]}},
        {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {"ORLIXTAG_LENS": 1, "ORLIXTAG_STEREO": true}}]}]})");
    Write("outside.json", "{}");
    fs::create_symlink(dir / "outside.json", dir / "scenes" / "link.json");
    fs::create_directory_symlink(dir, dir / "scenes" / "up");
    host::scene::SceneError sceneError;
    BaseDocument* doc = host::scene::LoadScene(scene, &sceneError);
    ASSERT_NE(doc, nullptr) << sceneError.Message();
    SetActiveDocument(doc);
    host::studio::StudioOptions options;
    options.webFolder = ORLIX_SOURCE_DIR "/host/web";
    options.pluginFolder = ORLIX_PLUGIN_DIR;
    options.sceneFolder = (dir / "scenes").string();
    studio = std::make_unique<host::studio::Studio>(options);
    std::string bindError;
    ASSERT_TRUE(studio->Bind(&bindError)) << bindError;
    server = std::thread([this] { studio->Serve(); });
  }
  void TearDown() override
  {
    if (studio)
      studio->Stop();
    if (server.joinable())
      server.join();
    studio.reset();
    module.Unload();
    host::ResetApp();
  }

  httplib::Client Client() const
  {
    httplib::Client client("127.0.0.1", studio->Port());
    client.set_read_timeout(600, 0);
    client.set_default_headers({{"X-Orlix-Token", studio->Token()}});
    return client;
  }
  Json Get(const std::string& path) const
  {
    auto res = Client().Get(path);
    EXPECT_TRUE(res && res->status == 200) << path << ": " << (res ? res->body : "no answer");
    return res && res->status == 200 ? Json::parse(res->body) : Json();
  }
  int Post(const std::string& path, const Json& body) const
  {
    auto res = Client().Post(path, body.dump(), "application/json");
    return res ? res->status : 0;
  }
  double Separation() const
  {
    const Json panel = Get("/api/panel?node=o2/t0");
    for (const Json& e : panel["entries"])
      if (e["id"] == kEyeSeparation)
        return e["value"].get<double>();
    return -1.0;
  }
};
} // namespace

TEST_F(StudioRender, TurnsAwayForeignCallersAndPathsAndChangesNothing)
{
  const std::string own = "127.0.0.1:" + std::to_string(studio->Port());
  struct Case
  {
    std::string method, path;
    httplib::Headers headers;
    std::string body;
    int status;
  } cases[] = {
    {"GET", "/api/document", {{"Host", own}}, "", 401},                               // no token
    {"GET", "/api/document?token=0123", {{"Host", own}}, "", 401},                     // a wrong one
    {"GET", "/api/document", {{"Host", "evil.example:" + std::to_string(studio->Port())}}, "", 403},
    {"GET", "/api/document", {{"Host", "127.0.0.1:1"}}, "", 403},                      // another port
    {"POST", "/api/edit", {{"Origin", "http://evil.example"}}, R"({"node": "o2/t0", "id": 1025, "value": 1})", 403},
    {"GET", "/web/../../etc/passwd", {}, "", 404},
    {"GET", "/plugin/%2e%2e/%2e%2e/etc/passwd", {}, "", 404},
    {"POST", "/api/save", {}, R"({"path": "../outside.json"})", 403},
    {"POST", "/api/save", {}, R"({"path": "/etc/x.json"})", 403},
    {"POST", "/api/save", {}, R"({"path": "dome.txt"})", 400},
    {"POST", "/api/open", {}, R"({"path": "../outside.json"})", 403},
    {"POST", "/api/open", {}, R"({"path": "link.json"})", 403},    // a link that leads out
    {"POST", "/api/save", {}, R"({"path": "link.json"})", 403},
    {"POST", "/api/save", {}, R"({"path": "up/outside.json"})", 403},
    {"POST", "/api/edit", {}, R"({"node": "o2/t0", "id": 1025, "value": "wide"})", 400},
    {"POST", "/api/edit", {}, R"({"node": "o9/t0", "id": 1025, "value": 1})", 404},
    {"POST", "/api/edit", {}, "not json", 400},
    {"POST", "/api/pad", {}, R"({"node": "o2/t0", "id": 1053, "events": [{"kind": "down", "x": 50, "y": 50}, {"kind": "jump", "x": 1, "y": 1}]})", 400},
    {"POST", "/api/undo", {}, "{}", 409},
    {"POST", "/api/render/cancel", {}, "{}", 409},
  };
  const std::string before = ScratchDir::Read(Path("outside.json"));
  for (const Case& c : cases)
  {
    httplib::Client client("127.0.0.1", studio->Port());
    httplib::Headers headers = c.headers;
    if (c.status != 401)
      headers.emplace("X-Orlix-Token", studio->Token());
    auto res = c.method == "GET" ? client.Get(c.path, headers) : client.Post(c.path, headers, c.body, "application/json");
    ASSERT_TRUE(res) << c.path;
    EXPECT_EQ(res->status, c.status) << c.method << " " << c.path << " " << c.body << ": " << res->body;
    EXPECT_TRUE(res->body.find("\"error\"") != std::string::npos) << c.path << ": a refusal says why";
  }
  const Json doc = Get("/api/document");
  EXPECT_EQ(doc["revision"], 0) << "no refused request changed the document";
  EXPECT_EQ(ScratchDir::Read(Path("outside.json")), before);
  EXPECT_FALSE(fs::exists(dir / "scenes" / "dome.txt"));
  EXPECT_EQ(Separation(), 6.5);
}

TEST_F(StudioRender, EditsFromManyClientsDuringARenderAreAllAppliedAndARenderEndsWholeOrCancelled)
{
  // A render far too long for the test, which the clients' edits run beside and which is cancelled.
  ASSERT_EQ(Post("/api/render", {{"width", 1024}, {"height", 1024}, {"samples", 256}}), 200);
  EXPECT_EQ(Post("/api/render", Json::object()), 409) << "one render at a time";
  constexpr int kClients = 6, kEdits = 8;
  std::atomic<int> failures{0};
  std::vector<std::thread> clients;
  for (int c = 0; c < kClients; ++c)
    clients.emplace_back([&, c] {
      for (int i = 0; i < kEdits; ++i)
      {
        const double value = 1.0 + c * 10 + i; // each client's values are its own
        if (Post("/api/edit", {{"node", "o2/t0"}, {"id", kEyeSeparation}, {"value", value}}) != 200)
          ++failures;
        if (!Client().Get(i % 2 ? "/api/view.png?w=64&h=36" : "/api/document"))
          ++failures;
      }
    });
  for (std::thread& t : clients)
    t.join();
  EXPECT_EQ(failures.load(), 0);
  EXPECT_EQ(Get("/api/document")["revision"], kClients * kEdits) << "every edit applied once";
  const double last = Separation();
  EXPECT_EQ(std::fmod(last - 1.0, 10.0), kEdits - 1) << "the panel holds some client's last value, " << last;

  const auto finish = [&] {
    Json state;
    for (int wait = 0; wait < 6000 && !(state = Get("/api/render/state"))["ok"].is_boolean(); ++wait)
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return state;
  };
  EXPECT_EQ(Post("/api/render/cancel", Json::object()), 200);
  Json state = finish();
  EXPECT_EQ(state["ok"], false);
  EXPECT_EQ(state["error"], "cancelled");
  EXPECT_EQ(Client().Get("/api/render/picture.png")->status, 404) << "a cancelled render leaves no picture";

  ASSERT_EQ(Post("/api/render", {{"samples", 1}}), 200);
  state = finish();
  EXPECT_EQ(state["ok"], true) << state.dump();
  auto picture = Client().Get("/api/render/picture.png");
  ASSERT_TRUE(picture && picture->status == 200);
  EXPECT_EQ(picture->body.compare(1, 3, "PNG"), 0);
  EXPECT_EQ(state["height"], 96) << "the scene's own size";
}
