// orlixcam studio: the host's interface in a browser on loopback, over the document of a scene
// (or an empty one), until Ctrl+C.
#include "cli.h"

#include <csignal>
#include <filesystem>
#include <iostream>
#include <pthread.h>
#include <thread>

#include "panel.h"
#include "resource_parser.h"
#include "studio/studio.h"

namespace fs = std::filesystem;

namespace cli
{
int StudioCommand(const StudioArgs& args, const std::string& plugins)
{
  // Ctrl+C and the like reach one thread that stops the server. They are blocked before any other
  // thread starts (loading pictures starts some), so that none of them takes the signal instead.
  sigset_t stops;
  sigemptyset(&stops);
  for (int s : {SIGINT, SIGTERM, SIGHUP})
    sigaddset(&stops, s);
  pthread_sigmask(SIG_BLOCK, &stops, nullptr);

  const fs::path web = ProgramFolder() / "web";
  if (!fs::is_regular_file(web / "index.html"))
    throw Stop{"the studio's page is missing: no " + (web / "index.html").string(), kFailed};
  host::PluginModule module;
  LoadPlugin(module, plugins);
  String resError;
  if (!host::LoadHostDescriptions(Filename((ProgramFolder() / "res").string().c_str()), &resError))
    throw Stop{"the render settings' panel can't be read: " + resError.GetStdString(), kFailed};
  BaseDocument* doc = OpenScene(args.scene);
  host::ExecuteExpressions(doc);

  host::studio::StudioOptions options;
  options.webFolder = web.string();
  options.pluginFolder = host::App().pluginFolder.GetString().GetStdString();
  options.sceneFolder = args.scene.empty() ? fs::current_path().string() : fs::absolute(args.scene).parent_path().string();
  options.port = args.port;

  host::studio::Studio studio(options);
  std::string error;
  if (!studio.Bind(&error))
    throw Stop{error, kFailed};
  std::thread watcher([&] {
    int signal = 0;
    sigwait(&stops, &signal);
    studio.Stop();
  });
  std::cout << "studio: http://127.0.0.1:" << studio.Port() << "/?token=" << studio.Token() << std::endl;
  std::cerr << "scenes are saved and opened under " << options.sceneFolder << "; Ctrl+C ends the studio" << std::endl;
  studio.Serve();
  studio.Stop();
  pthread_kill(watcher.native_handle(), SIGTERM); // wakes it if the server ended by itself
  watcher.join();
  std::cerr << "studio: stopped" << std::endl;
  return 0;
}
} // namespace cli
