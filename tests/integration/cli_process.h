// The command-line host run as a child process, as users run it: exit code and both outputs.
#pragma once

#include <gtest/gtest.h>

#include <OpenImageIO/imagebuf.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>

#include <sys/wait.h>

#include "support/scratch_dir.h"

namespace fs = std::filesystem;

struct Outcome
{
  int code = -1;
  std::string out, err;
};

class CliProcess : public ::testing::Test, protected ScratchDir
{
protected:
  Outcome Orlixcam(const std::string& args) { return Run(std::string(ORLIXCAM_EXE) + " " + args); }
  /// A shell command line, its outputs caught.
  Outcome Run(const std::string& command)
  {
    const std::string out = Path("stdout.txt"), err = Path("stderr.txt");
    Outcome r;
    // Under AddressSanitizer, the leak checker's own tracer now and then dies as a child process
    // ends on a loaded machine (a fault of the sanitizer runtime, not of the program: the work is
    // done and no leak was reported). Such a run is repeated once; a leak report is not.
    const std::string tracerDied = "LeakSanitizer has encountered a fatal error";
    for (int run = 0; run < 2 && (run == 0 || r.err.find(tracerDied) != std::string::npos); ++run)
    {
      const int status = std::system((command + " >" + out + " 2>" + err).c_str());
      r = Outcome{WIFEXITED(status) ? WEXITSTATUS(status) : -1, Read(out), Read(err)};
    }
    fs::remove(out);
    fs::remove(err);
    return r;
  }
  /// The picture at `p`, whole in memory as floats; no width if it can't be read.
  static OIIO::ImageBuf Load(const fs::path& p)
  {
    OIIO::ImageBuf pic(p.string());
    pic.read(0, 0, true, OIIO::TypeDesc::FLOAT);
    return pic;
  }
  /// Names of everything in the test's folder, to see that nothing half-written stays behind.
  std::set<std::string> Files() const
  {
    std::set<std::string> names;
    for (const auto& e : fs::directory_iterator(dir))
      names.insert(e.path().filename().string());
    return names;
  }
};
