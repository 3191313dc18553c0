// Plug-in entry point, start and registration.
#pragma once

#include "c4d.h"

/// Plug-in version shown by the start line and the video post's panel.
constexpr const char* ORLIXCAM_VERSION = "2.2.1";
constexpr const char* ORLIXCAM_BUILD = "008";
/// The maker's web page.
constexpr const char* ORLIXCAM_WEBSITE = "https://orlixcam.example.org";

Bool PluginStart();
void PluginEnd();
Bool PluginMessage(Int32 id, void* data);

/// How often the host ran the first start stage without its end stage.
Int32 PluginInitCount();
/// The plug-in file's path as the host gave it, or null before the first start stage.
const Filename* PluginFilePath();

// Registrations, in the order PluginStart calls them.
Bool RegisterOrlixCamVP();
Bool RegisterOrlixCreateFulldome();
Bool RegisterOrlixCreateFisheye();
Bool RegisterOrlixCreatePanorama();
Bool RegisterOrlixCreateCylindrical();
Bool RegisterOrlixCreateCubemap();
Bool RegisterOrlixCreateLittlePlanet();
Bool RegisterOrlixTag();
Bool RegisterXYPad();
/// Frees the XY pad's pictures; PluginEnd calls it.
void FreeXYPad();
Bool RegisterOrlixManualCommand();
Bool RegisterOrlixExamplesCommand();

extern "C" __attribute__((visibility("default"))) Int32 c4d_main(Int32 action, void* p1, void* p2, void* p3);
