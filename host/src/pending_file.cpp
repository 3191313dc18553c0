// Whole-or-nothing files: exclusive temporary names, checked writes, removal on signals.
#include "pending_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace host
{
namespace
{
// The signal handler may only read fixed storage: a slot holds one temporary path while its file
// is pending. Slots are claimed with a compare-exchange and published once the path is in place.
constexpr int kSlots = 64;
constexpr std::size_t kPathBytes = 4096;
enum : int { kFree = 0, kClaimed = 1, kLive = 2 };
std::atomic<int> slotState[kSlots];
char slotPath[kSlots][kPathBytes];

int ClaimSlot(const std::string& path)
{
  if (path.size() >= kPathBytes)
    return -1;
  for (int i = 0; i < kSlots; ++i)
  {
    int expected = kFree;
    if (slotState[i].compare_exchange_strong(expected, kClaimed))
    {
      std::memcpy(slotPath[i], path.c_str(), path.size() + 1);
      slotState[i].store(kLive);
      return i;
    }
  }
  return -1; // more pending files than slots: those few go without signal cleanup
}

void ReleaseSlot(int& slot)
{
  if (slot >= 0)
    slotState[slot].store(kFree);
  slot = -1;
}

extern "C" void RemovePendingAndRaise(int sig)
{
  for (int i = 0; i < kSlots; ++i)
    if (slotState[i].load() == kLive)
      unlink(slotPath[i]);
  std::signal(sig, SIG_DFL);
  raise(sig);
}

mode_t CreationMode()
{
  // mkstemp makes 0600; a finished picture gets the mode any new file would get.
  static const mode_t mode = [] {
    const mode_t mask = umask(0);
    umask(mask);
    return static_cast<mode_t>(0666 & ~mask);
  }();
  return mode;
}
} // namespace

PendingFile::~PendingFile()
{
  Discard();
}

bool PendingFile::Fail(const std::string& what, int err)
{
  if (problem.empty())
    problem = what + ": " + std::strerror(err);
  return false;
}

bool PendingFile::Open(const std::string& targetPath)
{
  Discard();
  problem.clear();
  size = 0;
  target = targetPath;
  namespace fs = std::filesystem;
  const fs::path t(targetPath);
  const std::string ext = t.extension().string();
  std::string pattern = (t.parent_path() / (".orlix-XXXXXX" + ext)).string();
  CreationMode(); // read the mask before any thread could be making files
  fd = mkstemps(pattern.data(), static_cast<int>(ext.size()));
  if (fd < 0)
    return Fail("cannot make a file in " + (t.has_parent_path() ? t.parent_path().string() : std::string(".")), errno);
  temp = pattern;
  slot = ClaimSlot(temp);
  if (fchmod(fd, CreationMode()) != 0)
    return Fail("cannot set the new file's mode", errno);
  return true;
}

bool PendingFile::WriteAt(const void* data, std::size_t count, off_t offset)
{
  if (fd < 0 || !problem.empty())
    return false;
  const char* p = static_cast<const char*>(data);
  while (count > 0)
  {
    const ssize_t n = pwrite(fd, p, count, offset);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      return Fail("writing failed", n < 0 ? errno : ENOSPC);
    p += n;
    offset += n;
    count -= static_cast<std::size_t>(n);
  }
  if (offset > size)
    size = offset;
  return true;
}

bool PendingFile::Write(const void* data, std::size_t count)
{
  return WriteAt(data, count, size);
}

std::size_t PendingFile::ReadAt(void* data, std::size_t count, off_t offset) const
{
  if (fd < 0)
    return 0;
  ssize_t n;
  do
    n = pread(fd, data, count, offset);
  while (n < 0 && errno == EINTR);
  return n > 0 ? static_cast<std::size_t>(n) : 0;
}

bool PendingFile::Commit()
{
  if (fd < 0 && problem.empty())
    problem = "nothing was opened";
  // A full disk may show only when the data reaches it, so flush before trusting the file.
  if (problem.empty() && fsync(fd) != 0)
    Fail("writing failed", errno);
  if (fd >= 0 && close(fd) != 0)
    Fail("writing failed", errno);
  fd = -1;
  if (problem.empty() && std::rename(temp.c_str(), target.c_str()) != 0)
    Fail("cannot be replaced", errno);
  if (!problem.empty())
  {
    Discard();
    return false;
  }
  temp.clear();
  ReleaseSlot(slot);
  return true;
}

void PendingFile::Discard()
{
  if (fd >= 0)
    close(fd);
  fd = -1;
  if (!temp.empty())
    unlink(temp.c_str());
  temp.clear();
  ReleaseSlot(slot);
}

void RemovePendingFilesOnSignals()
{
  struct sigaction action = {};
  action.sa_handler = RemovePendingAndRaise;
  sigemptyset(&action.sa_mask);
  for (int sig : {SIGINT, SIGTERM, SIGHUP})
    sigaction(sig, &action, nullptr);
}
} // namespace host
