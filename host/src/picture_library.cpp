// Loading the picture module from the folder of the host's own library.
#include "picture_library.h"

#include <dlfcn.h>

#include <filesystem>
#include <mutex>

namespace host::pictures
{
namespace
{
std::string ModulePath()
{
  Dl_info info{};
  if (!dladdr(reinterpret_cast<void*>(&Load), &info) || !info.dli_fname)
    return "libc4dhost_pictures.so";
  return (std::filesystem::path(info.dli_fname).parent_path() / "libc4dhost_pictures.so").string();
}
} // namespace

const Library* Load(std::string* error)
{
  static std::once_flag once;
  static const Library* library = nullptr;
  static std::string problem;
  std::call_once(once, [] {
    const std::string path = ModulePath();
    // Never unloaded: the readers and writers it made may outlive any one caller.
    void* handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle)
    {
      const char* why = dlerror();
      problem = "the picture library can't be loaded (" + std::string(why ? why : path) + ")";
      return;
    }
    const auto entry = reinterpret_cast<LibraryEntry>(dlsym(handle, kEntryName));
    library = entry ? entry() : nullptr;
    if (!library)
      problem = "the picture library " + path + " has no entry";
  });
  if (!library && error)
    *error = problem;
  return library;
}
} // namespace host::pictures
