// The scene loader on arbitrary files: it loads or names the problem, never crashes. What loads
// must save, and what it saved must load again.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <unistd.h>

#include "c4d.h"
#include "fuzz/fuzz_plugin.h"
#include "host_app.h"
#include "register.h"
#include "scene/scene_file.h"

namespace
{
std::string dir, scenePath, savedPath;

void Fail(const char* what, const std::string& detail)
{
  std::fprintf(stderr, "%s: %s\n", what, detail.c_str());
  std::abort();
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
  // The plug-in's descriptions give the parameter symbols and ranges that scenes refer to.
  StartPluginOrAbort();
  dir = "/tmp/orlix_fuzz_scene_" + std::to_string(getpid());
  if (std::system(("mkdir -p " + dir).c_str()) != 0)
    Fail("temporary folder", dir);
  scenePath = dir + "/scene.json";
  savedPath = dir + "/saved.json";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
  std::FILE* f = std::fopen(scenePath.c_str(), "wb");
  if (!f)
    Fail("cannot write", scenePath);
  std::fwrite(data, 1, size, f);
  std::fclose(f);

  host::scene::SceneError error;
  BaseDocument* doc = host::scene::LoadScene(scenePath, &error);
  if (!doc)
  {
    if (error.problem.empty())
      Fail("a scene failed without a problem", error.Message());
    return 0;
  }
  host::scene::SceneError saveError;
  if (!host::scene::SaveScene(doc, savedPath, &saveError))
    Fail("a loaded scene did not save", saveError.Message());
  BaseDocument::Free(doc);
  BaseDocument* again = host::scene::LoadScene(savedPath, &error);
  if (!again)
    Fail("a saved scene did not load", error.Message());
  BaseDocument::Free(again);
  host::App().console.Clear();
  return 0;
}
