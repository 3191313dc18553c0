// Joins TBB's worker threads once every test has run, so that a test binary, like orlixcam, ends
// with no worker still running while the leak checker stops the world at exit.
#include <gtest/gtest.h>

#include <oneapi/tbb/global_control.h>

namespace
{
class WorkersJoined : public ::testing::Environment
{
public:
  void TearDown() override
  {
    oneapi::tbb::task_scheduler_handle handle(oneapi::tbb::attach{});
    oneapi::tbb::finalize(handle, std::nothrow);
  }
};

const ::testing::Environment* const kWorkersJoined = ::testing::AddGlobalTestEnvironment(new WorkersJoined);
} // namespace
