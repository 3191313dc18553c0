// The eye separation map: the tag's shader looked up by direction.
#include "separation_map.h"

#include "c4d_container.h"
#include "c4d_shader.h"
#include "description/OrlixTag.h"
#include "lens_projection.h"

namespace
{
// One pair of Begin and End at a time per thread: the viewport's pair can't reach a render's rays.
thread_local BaseShader* t_openShader = nullptr;
} // namespace

void BeginSeparationMap(const BaseContainer* tagData, BaseDocument* document)
{
  EndSeparationMap();
  if (!tagData)
    return;
  // The link may name any node of the document; only a shader opens.
  auto* shader = dynamic_cast<BaseShader*>(tagData->GetLink(ORLIXTAG_SEPARATION_MAP, document));
  if (shader && shader->InitRender(InitRenderStruct(document)) == INITRENDERRESULT_OK)
    t_openShader = shader;
}

void EndSeparationMap()
{
  if (t_openShader)
    t_openShader->FreeRender();
  t_openShader = nullptr;
}

BaseShader* OpenSeparationMap()
{
  return t_openShader;
}

Float SampleSeparationMap(const SeparationMapLookup& map, const Vector& direction)
{
  if (!map.shader)
    return 1.0;
  ChannelData cd;
  cd.p = SeparationMapPosition(direction, map.domeZenith, map.domeFov);
  cd.n = Vector(0.0, 1.0, 0.0);
  cd.d = Vector(1.0, 1.0, 1.0);
  cd.t = 0.0;
  cd.texflag = TEX_TILE;
  cd.vd = nullptr;
  cd.off = 0.0;
  cd.scale = 0.0;
  return map.shader->Sample(&cd).x;
}

BaseShader* OpenSeparationMapClone(const BaseContainer* tagData, BaseDocument* document, Bool& failed)
{
  failed = false;
  BeginSeparationMap(tagData, document);
  BaseShader* shared = OpenSeparationMap();
  BaseShader* clone = shared ? shared->GetClone(COPYFLAGS::NONE) : nullptr;
  EndSeparationMap();
  if (!shared)
    return nullptr;
  if (!clone || clone->InitRender(InitRenderStruct(document)) != INITRENDERRESULT_OK)
  {
    BaseShader::Free(clone);
    failed = true;
    return nullptr;
  }
  return clone;
}

void CloseSeparationMapClone(BaseShader*& clone)
{
  if (!clone)
    return;
  clone->FreeRender();
  BaseShader::Free(clone);
}
