// The plug-in started over a fresh host with the repository as its folder, for the fuzz targets
// that need its registrations and descriptions. A plug-in that doesn't start ends the run.
#pragma once

#include <cstdio>
#include <cstdlib>

#include "c4d.h"
#include "host_app.h"
#include "register.h"

inline void StartPluginOrAbort()
{
  static C4DHostTable table;
  static Filename modulePath;
  host::ResetApp();
  host::SetPluginFolder(Filename(ORLIX_SOURCE_DIR));
  modulePath = Filename(ORLIX_SOURCE_DIR) + Filename("OrlixCam.so");
  if (c4d_main(C4DPL_INIT_SYS, &table, nullptr, &modulePath) != 1 ||
      c4d_main(C4DPL_MESSAGE, reinterpret_cast<void*>(C4DPL_STARTACTIVITY_RES), nullptr, nullptr) != 1 ||
      c4d_main(C4DPL_INIT, nullptr, nullptr, nullptr) != 1)
  {
    std::fprintf(stderr, "the plug-in failed to start\n");
    std::abort();
  }
}
