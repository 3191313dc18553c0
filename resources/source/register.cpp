// Plug-in entry point, start and registration.
#include "register.h"

#include <cstdint>
#include <new>

#include "c4d_resource.h"

GeResource g_resource;

namespace
{
Int32 initCount = 0;
Filename* pluginPath = nullptr;
const C4DHostTable* hostTable = nullptr;

constexpr Int32 kMinimumApiVersion = 21000;
constexpr Int32 kStartPriority = -1000000;
} // namespace

Int32 PluginInitCount()
{
  return initCount;
}

const Filename* PluginFilePath()
{
  return pluginPath;
}

Int32 c4d_main(Int32 action, void* p1, void* p2, void* p3)
{
  switch (action)
  {
    case C4DPL_INIT_SYS:
    {
      if (++initCount != 1)
        return 1;
      hostTable = static_cast<const C4DHostTable*>(p1);
      if (!hostTable || hostTable->apiVersion < kMinimumApiVersion || !p3)
        return -3;
      pluginPath = new (std::nothrow) Filename(*static_cast<const Filename*>(p3));
      return 1;
    }
    case C4DPL_INIT:
      return PluginStart() ? 1 : 0;
    case C4DPL_END:
    {
      if (--initCount != 0)
        return 1;
      PluginEnd();
      g_resource.Free();
      delete pluginPath;
      pluginPath = nullptr;
      hostTable = nullptr;
      return 1;
    }
    case C4DPL_INIT_VERSION:
      return 5;
    case C4DPL_MESSAGE:
      return PluginMessage(static_cast<Int32>(reinterpret_cast<std::intptr_t>(p1)), p2) ? 1 : -1;
    default:
      return -1;
  }
}

Bool PluginMessage(Int32 id, void* data)
{
  switch (id)
  {
    case C4DPL_INIT_PRIORITY:
      if (data)
        *static_cast<Int32*>(data) = kStartPriority;
      return true;
    case C4DPL_STARTACTIVITY_RES:
      return g_resource.Init(GeGetPluginPath() + Filename("res"));
    default:
      return false;
  }
}

Bool PluginStart()
{
  // The first registration that fails stops the chain; what stands stays registered.
  using Registration = Bool (*)();
  const Registration chain[] = {
    RegisterOrlixCamVP,
    RegisterOrlixCreateFulldome,
    RegisterOrlixCreateFisheye,
    RegisterOrlixCreatePanorama,
    RegisterOrlixCreateCylindrical,
    RegisterOrlixCreateCubemap,
    RegisterOrlixCreateLittlePlanet,
    RegisterOrlixTag,
    RegisterXYPad,
    RegisterOrlixManualCommand,
    RegisterOrlixExamplesCommand,
  };
  for (Registration reg : chain)
    if (!reg())
      return false;
  return true;
}

void PluginEnd()
{
  FreeXYPad();
}
