// The eye separation map: the tag's shader looked up by direction.
#include "separation_map.h"

#include "c4d_container.h"
#include "c4d_shader.h"
#include "description/OrlixTag.h"
#include "lens_stereo.h"

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

Float SampleSeparationMap(const BaseContainer* tagData, const Vector& direction, BaseShader* shader)
{
  if (!shader)
    shader = t_openShader;
  if (!tagData || !tagData->GetBool(ORLIXTAG_SEPARATION_MAP_ON) || !shader)
    return 1.0;

  const Bool domeZenith = tagData->GetInt32(ORLIXTAG_LENS) == 1 && tagData->GetInt32(ORLIXTAG_DOME_ZENITH) == 1;
  ChannelData cd;
  cd.p = SeparationMapPosition(direction, domeZenith, tagData->GetFloat(ORLIXTAG_DOME_FOV));
  cd.n = Vector(0.0, 1.0, 0.0);
  cd.d = Vector(1.0, 1.0, 1.0);
  cd.t = 0.0;
  cd.texflag = TEX_TILE;
  cd.vd = nullptr;
  cd.off = 0.0;
  cd.scale = 0.0;
  return shader->Sample(&cd).x;
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
