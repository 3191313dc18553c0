// Whole-or-nothing files: private temporary names, and no temporary file left by a signal.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

#include "pending_file.h"
#include "support/scratch_dir.h"

namespace fs = std::filesystem;

namespace
{
struct PendingFileTest : ::testing::Test, ScratchDir
{
  std::vector<std::string> Names() const
  {
    std::vector<std::string> names;
    for (const auto& e : fs::directory_iterator(dir))
      names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
};
} // namespace

TEST_F(PendingFileTest, TwoWritersOfOneTargetNeverShareATemporaryFileAndTheLastCommitWins)
{
  const std::string target = Path("picture.png");
  host::PendingFile a, b;
  ASSERT_TRUE(a.Open(target)) << a.Problem();
  ASSERT_TRUE(b.Open(target)) << b.Problem();
  const std::vector<std::string> temps = Names();
  ASSERT_EQ(temps.size(), 2u);
  for (const std::string& t : temps)
    EXPECT_TRUE(t.rfind(".orlix-", 0) == 0 && t.size() == 17 && fs::path(t).extension() == ".png") << t;
  ASSERT_TRUE(a.Write("first", 5) && b.Write("second", 6));
  EXPECT_TRUE(a.Commit()) << a.Problem();
  EXPECT_TRUE(b.Commit()) << b.Problem();
  EXPECT_EQ(Names(), std::vector<std::string>{"picture.png"});
  EXPECT_EQ(Read(target), "second");
  struct stat st;
  ASSERT_EQ(stat(target.c_str(), &st), 0);
  const mode_t mask = umask(0);
  umask(mask);
  EXPECT_EQ(st.st_mode & 0777, 0666 & ~mask) << "a finished file has an ordinary file's mode, not mkstemp's 0600";

  host::PendingFile dropped;
  ASSERT_TRUE(dropped.Open(target) && dropped.Write("x", 1));
  dropped.Discard();
  EXPECT_EQ(Read(target), "second");
  EXPECT_EQ(Names(), std::vector<std::string>{"picture.png"});
}

TEST_F(PendingFileTest, ASignalWhileWritingRemovesTheTemporaryFileAndStillEndsTheProcess)
{
  for (int sig : {SIGINT, SIGTERM, SIGHUP})
  {
    SCOPED_TRACE(sig);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0)
    {
      host::RemovePendingFilesOnSignals();
      host::PendingFile file;
      if (file.Open(Path("frame.exr")) && file.Write("half a picture", 14))
        raise(sig);
      _exit(3); // not reached when the signal ends the process
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "status " << status;
    EXPECT_TRUE(Names().empty()) << "left: " << (Names().empty() ? "" : Names().front());
  }
}
