// Files that appear whole or not at all: written under a private temporary name beside the
// target, then renamed over it.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace host
{
/// A file being written for `target`. The temporary name is unguessable and made with exclusive
/// creation, so nothing planted in a shared folder can take the bytes; it keeps the target's
/// extension (format-sniffing writers look at it) and is short whatever the target's length.
/// Every write is checked; `Commit` flushes to disk, closes and renames, and reports the first
/// failure. Dropped uncommitted, the temporary file is removed, also when the process ends on
/// SIGINT, SIGTERM or SIGHUP (see `RemovePendingFilesOnSignals`).
class PendingFile
{
public:
  PendingFile() = default;
  PendingFile(const PendingFile&) = delete;
  PendingFile& operator=(const PendingFile&) = delete;
  ~PendingFile();

  /// Makes the temporary file; false with `Problem()` saying why.
  bool Open(const std::string& target);
  /// Writes all `size` bytes at `offset`; false once anything failed.
  bool WriteAt(const void* data, std::size_t size, off_t offset);
  /// Writes at the end of what was written so far.
  bool Write(const void* data, std::size_t size);
  /// Bytes written so far (the furthest end of any write).
  off_t Size() const { return size; }
  int Descriptor() const { return fd; }
  /// Reads back what was written (some encoders do); the count read, 0 at the end or on error.
  std::size_t ReadAt(void* data, std::size_t size, off_t offset) const;
  /// Flushes, closes and renames over the target; false with `Problem()` if any step failed, and
  /// then neither the temporary file nor a changed target remains.
  bool Commit();
  /// Removes the temporary file; the target stays as it was.
  void Discard();
  /// The first failure, as "what: reason".
  const std::string& Problem() const { return problem; }

private:
  bool Fail(const std::string& what, int err);

  std::string target;
  std::string temp;
  int fd = -1;
  int slot = -1;
  off_t size = 0;
  std::string problem;
};

/// Makes SIGINT, SIGTERM and SIGHUP remove every pending temporary file before the process ends
/// as the signal would have ended it. For programs; libraries leave signals to their host.
void RemovePendingFilesOnSignals();
} // namespace host
