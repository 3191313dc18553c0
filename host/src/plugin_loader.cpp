// Loading a plug-in module: open it, find its entry point and run the start stages.
#include "plugin_loader.h"

#include <dlfcn.h>
#include <elf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "host_app.h"

namespace host
{
namespace
{
#if defined(__x86_64__)
constexpr Elf64_Half kMachine = EM_X86_64;
#elif defined(__aarch64__)
constexpr Elf64_Half kMachine = EM_AARCH64;
#else
#error "name this machine's ELF code"
#endif

bool ReadFully(int fd, void* buf, size_t count, off_t offset)
{
  return pread(fd, buf, count, offset) == static_cast<ssize_t>(count);
}

/// Why `file` can't be handed to the dynamic loader, or empty: it must be a whole ELF shared
/// object of this machine. A file cut short would make the loader fault on pages past its end,
/// and a FIFO would block it.
std::string ModuleProblem(const std::string& file)
{
  struct stat st;
  if (stat(file.c_str(), &st) != 0)
    return std::string("not found: ") + std::strerror(errno);
  if (!S_ISREG(st.st_mode))
    return "not a regular file";
  const int fd = open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0)
    return std::string("cannot be read: ") + std::strerror(errno);
  const auto size = static_cast<Elf64_Off>(st.st_size);
  std::string problem;
  Elf64_Ehdr eh;
  if (!ReadFully(fd, &eh, sizeof eh, 0) || std::memcmp(eh.e_ident, ELFMAG, SELFMAG) != 0)
    problem = "not an ELF shared object";
  else if (eh.e_ident[EI_CLASS] != ELFCLASS64 || eh.e_type != ET_DYN || eh.e_machine != kMachine ||
           eh.e_phentsize != sizeof(Elf64_Phdr))
    problem = "not a shared object for this machine";
  else if (eh.e_shoff > size || Elf64_Off(eh.e_shnum) * eh.e_shentsize > size - eh.e_shoff ||
           eh.e_phoff > size || Elf64_Off(eh.e_phnum) * sizeof(Elf64_Phdr) > size - eh.e_phoff)
    problem = "cut short (its headers lie past its end)";
  else
  {
    std::vector<Elf64_Phdr> ph(eh.e_phnum);
    if (!ReadFully(fd, ph.data(), ph.size() * sizeof(Elf64_Phdr), static_cast<off_t>(eh.e_phoff)))
      problem = "cut short";
    for (const Elf64_Phdr& seg : ph)
      if (problem.empty() && seg.p_type == PT_LOAD && (seg.p_offset > size || seg.p_filesz > size - seg.p_offset))
        problem = "cut short (a segment lies past its end)";
  }
  close(fd);
  return problem;
}
} // namespace

Bool PluginModule::Load(const Filename& modulePath, String* error, C4DHostTable table)
{
  auto fail = [&](const std::string& why) {
    if (error)
      *error = String(why);
    return false;
  };
  Unload();
  path = modulePath;
  hostTable = table;
  const std::string file = modulePath.GetString().GetStdString();

  const std::string problem = ModuleProblem(file);
  if (!problem.empty())
    return fail("cannot open plug-in module " + file + ": " + problem);
  handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle)
  {
    const char* why = dlerror();
    return fail("cannot open plug-in module " + file + ": " + (why ? why : "unknown error"));
  }
  entry = reinterpret_cast<C4DMainFunction*>(dlsym(handle, "c4d_main"));
  if (!entry)
  {
    dlclose(handle);
    handle = nullptr;
    return fail("plug-in module " + file + " has no entry point c4d_main");
  }

  // The plug-in finds its files relative to its own folder.
  SetPluginFolder(modulePath.GetDirectory());

  if (entry(C4DPL_INIT_SYS, &hostTable, nullptr, &path) != 1)
  {
    Unload();
    return fail("plug-in module " + file + " refused to start (it needs API version 21000 or newer and its path)");
  }
  started = true;

  startPriority = 0;
  entry(C4DPL_MESSAGE, reinterpret_cast<void*>(static_cast<intptr_t>(C4DPL_INIT_PRIORITY)), &startPriority, nullptr);
  if (entry(C4DPL_MESSAGE, reinterpret_cast<void*>(static_cast<intptr_t>(C4DPL_STARTACTIVITY_RES)), nullptr, nullptr) != 1)
  {
    Unload();
    return fail("plug-in module " + file + " could not load its resources from " +
                (modulePath.GetDirectory() + Filename("res")).GetString().GetStdString());
  }
  if (entry(C4DPL_INIT, nullptr, nullptr, nullptr) != 1)
    return fail("plug-in module " + file + " failed to register all its parts");
  return true;
}

void PluginModule::Unload()
{
  if (!handle)
    return;
  // Documents and registrations hold objects whose code lives in the module: they go first.
  AppState& app = App();
  for (BaseDocument* doc : app.documents)
    BaseDocument::Free(doc);
  app.documents.clear();
  app.activeDocument = nullptr;
  app.plugins.Clear();
  app.libraries.clear();
  if (started && entry)
    entry(C4DPL_END, nullptr, nullptr, nullptr);
  started = false;
  dlclose(handle);
  handle = nullptr;
  entry = nullptr;
}
} // namespace host
