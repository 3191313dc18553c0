// A folder of the test's own: made with mkdtemp, so parallel runs (ctest -j, two clones at once)
// never share a path, and removed with all it holds when the test ends, also when it fails.
#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

struct ScratchDir
{
  std::filesystem::path dir;

  ScratchDir()
  {
    std::string pattern = (std::filesystem::path(::testing::TempDir()) / "orlix_XXXXXX").string();
    if (!mkdtemp(pattern.data()))
      throw std::runtime_error("cannot make a scratch folder under " + ::testing::TempDir());
    dir = pattern;
  }
  ~ScratchDir()
  {
    std::error_code ignored;
    std::filesystem::remove_all(dir, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  std::string Path(const std::string& name) const { return (dir / name).string(); }
  std::string Write(const std::string& name, const std::string& text) const
  {
    std::ofstream(Path(name), std::ios::binary) << text;
    return Path(name);
  }
  static std::string Read(const std::string& file)
  {
    std::ifstream in(file, std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(in)), {});
  }
};
