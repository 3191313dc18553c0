// Joins the render threads once every test has run, so that a test binary, like orlixcam, ends
// with no worker still running while the leak checker stops the world at exit.
#include <gtest/gtest.h>

#include "render/render_loop.h"

namespace
{
class WorkersJoined : public ::testing::Environment
{
public:
  void TearDown() override { host::JoinRenderThreads(); }
};

const ::testing::Environment* const kWorkersJoined = ::testing::AddGlobalTestEnvironment(new WorkersJoined);
} // namespace
