// OrlixTag's viewport guide: the shell of what the lens takes in, and the stereo eye probe.
#include "OrlixCamVP.h"
#include "OrlixTag.h"
#include "description/OrlixTag.h"
#include "lens/lens_stereo.h"
#include "lens/separation_map.h"

namespace
{
constexpr Float kPi = 3.141592653589793;
constexpr Float kHalfPi = 1.5707963267948966;
const Vector kGuidePen(0.8, 0.7, 0.0);
constexpr Float kGuideRadius = 70.0;
constexpr Int32 kSkinTransparency = -240;
const Vector kMarkerSize(5.0, 5.0, 5.0);
constexpr Float kProbeLineLength = 20.0;
constexpr Int32 kThickLine = 5;
constexpr Int32 kThinLine = 1;
const Vector kEyeColours[2] = {Vector(1.0, 0.0, 0.0), Vector(0.0, 1.0, 1.0)};
const Vector kCameraMarkerColour(1.0, 1.0, 1.0);
// The mark's colour is given in 0..255, unlike the other pens.
const Vector kConvergenceMarkColour(255.0, 255.0, 255.0);
constexpr Int32 kDrawParamKept = 2;

void SetLineWidth(BaseDraw* bd, Int32 width)
{
  bd->SetDrawParam(DRAW_PARAMETER_LINEWIDTH, GeData(width));
}

// Brings `mesh` up to date for the lens and answers the matrix it is drawn in; none for a cube.
Matrix UpdateGuide(LensGuideMesh& mesh, const BaseContainer& data, Int32 lens, const Matrix& mg)
{
  const Matrix upright = mg * MatrixRotX(kHalfPi);
  switch (lens)
  {
    case 1:
      mesh.BuildSphere(kGuideRadius, 2.0 * kPi, kHalfPi - data.GetFloat(ORLIXTAG_DOME_FOV) / 2.0, kHalfPi, kGuidePen);
      return mg;
    case 0:
      if (data.GetBool(ORLIXTAG_PANO_CUSTOM))
        mesh.BuildSphere(kGuideRadius, data.GetFloat(ORLIXTAG_PANO_FOV_H), data.GetFloat(ORLIXTAG_PANO_LAT_MIN),
                         data.GetFloat(ORLIXTAG_PANO_LAT_MAX), kGuidePen);
      else
        mesh.BuildSphere(kGuideRadius, 2.0 * kPi, -kHalfPi, kHalfPi, kGuidePen);
      return upright;
    case 2:
      mesh.BuildCylinder(data.GetFloat(ORLIXTAG_CYL_RADIUS), data.GetFloat(ORLIXTAG_CYL_FOV),
                         data.GetFloat(ORLIXTAG_CYL_HEIGHT), kGuidePen);
      return data.GetInt32(ORLIXTAG_CYL_AXIS) == ORLIXTAG_CYL_AXIS_HORIZONTAL ? upright * MatrixRotY(kHalfPi) : upright;
    default:
      return mg;
  }
}

// What the probe draws with: the tag's stereo settings and the probe's direction.
struct Probe
{
  Matrix mg, g;
  Vector d, n;
  Bool zenith = false;
  Float r = kGuideRadius;
};

// The eye `i`'s marker, line of sight and, with convergence, its aim and the convergence mark.
void DrawEye(BaseDraw* bd, const Probe& probe, const StereoCameraInfo& info, Int32 i, const BaseContainer& data,
             Float z, Float s, Float w)
{
  Vector aimPoint, turnAxis;
  const auto model = static_cast<EyeModel>(data.GetInt32(ORLIXTAG_EYE_MODEL));
  const Matrix e = EyeRayMatrix(probe.mg, info, true, probe.n, model, probe.zenith, z, s, w, aimPoint, turnAxis);
  const Vector p = aimPoint;
  const Float l = (probe.mg * p - e.off).GetLength();

  bd->SetMatrix_Matrix(nullptr, e);
  bd->SetPen(kEyeColours[i]);
  bd->DrawSphere(Vector(), kMarkerSize, kEyeColours[i], 0);
  SetLineWidth(bd, kThickLine);
  bd->DrawLine(Vector(), probe.n * kProbeLineLength, DRAWLINE_NODEPTH);
  if (!(z > 0.0))
    return;
  SetLineWidth(bd, kThinLine);
  bd->DrawLine(Vector(), probe.n * l, DRAWLINE_NODEPTH);
  const Vector q = (RotAxisToMatrix(p, kHalfPi) * turnAxis).GetNormalized();
  bd->SetMatrix_Matrix(nullptr, probe.g);
  bd->SetPen(kConvergenceMarkColour);
  SetLineWidth(bd, kThinLine);
  bd->DrawLine(p, p + q * probe.r * 0.5, DRAWLINE_NODEPTH);
}

// Where the two eyes stand and aim for the probe's direction.
void DrawEyeProbe(OrlixTag& tag, BaseTag* node, BaseObject* op, BaseDraw* bd, Int32 lens, const Matrix& mg)
{
  const BaseContainer& data = *node->GetDataInstance();
  BaseDocument* doc = node->GetDocument();
  BaseVideoPost* vpNode = tag.FindOrAddVideoPost(doc, true);
  auto* vp = vpNode ? static_cast<OrlixCamVP*>(vpNode->GetNodeData()) : nullptr;
  if (!vp)
    return;

  Probe probe;
  const Float lat = data.GetFloat(ORLIXTAG_PROBE_LATITUDE), lon = data.GetFloat(ORLIXTAG_PROBE_LONGITUDE);
  probe.d = Vector(std::sin(lon) * std::cos(lat), std::sin(lat), std::cos(lon) * std::cos(lat));
  probe.n = probe.d.GetNormalized();
  probe.zenith = lens == 1 && data.GetInt32(ORLIXTAG_DOME_ZENITH) == ORLIXTAG_DOME_ZENITH_DOME;
  probe.mg = mg;
  probe.g = probe.zenith ? mg * MatrixRotX(-kHalfPi) : mg;
  if (lens == 2)
    probe.r = data.GetFloat(ORLIXTAG_CYL_RADIUS);

  // The camera, and where it looks.
  bd->SetMatrix_Matrix(op, probe.g);
  bd->SetPen(kCameraMarkerColour);
  bd->DrawSphere(Vector(), kMarkerSize, kCameraMarkerColour, 0);
  SetLineWidth(bd, kThickLine);
  bd->DrawLine(Vector(), probe.n * kProbeLineLength, DRAWLINE_NODEPTH);

  // The zero parallax point, where the eyes converge.
  const Float s = data.GetFloat(ORLIXTAG_EYE_SEPARATION);
  Float z = 0.0;
  if (s > 0.0 && data.GetInt32(ORLIXTAG_CONVERGENCE) != 0)
    z = data.GetFloat(ORLIXTAG_ZERO_PARALLAX);
  if (z > 0.0)
  {
    SetLineWidth(bd, kThinLine);
    bd->DrawLine(Vector(), probe.n * z, DRAWLINE_NODEPTH);
  }

  BeginSeparationMap(&data, doc);
  SeparationMapLookup map;
  map.shader = OpenSeparationMap();
  map.domeZenith = probe.zenith;
  map.domeFov = data.GetFloat(ORLIXTAG_DOME_FOV);
  const Float w = SampleSeparationMap(map, probe.d);
  EndSeparationMap();

  RenderData* rd = doc ? doc->GetActiveRenderData() : nullptr;
  if (vp->StereoGetCameraCountRenderer(vpNode, doc, rd) < 2 || !(w > 0.0))
    return;
  for (Int32 i = 0; i < 2; ++i)
  {
    StereoCameraInfo info;
    vp->StereoGetCameraInfo(vpNode, doc, bd, rd, i, info);
    DrawEye(bd, probe, info, i, data, z, s, w);
  }
}
} // namespace

void DrawLines(const LensGuideMesh& mesh, BaseDraw* bd)
{
  for (size_t i = 0; i + 1 < mesh.linePoints.size(); i += 2)
    bd->DrawLine(mesh.linePoints[i], mesh.linePoints[i + 1], 0);
}

void DrawQuads(const LensGuideMesh& mesh, BaseDraw* bd)
{
  for (size_t i = 0; i + 3 < mesh.quadPoints.size(); i += 4)
    bd->DrawPoly(&mesh.quadPoints[i], &mesh.quadColours[i], &mesh.quadNormals[i], 4, 0);
}

Bool OrlixTag::Draw(BaseTag* tag, BaseObject* op, BaseDraw* bd, BaseDrawHelp* /*bh*/)
{
  if (!tag || !op || !bd || bd->GetDrawPass() != DRAWPASS_OBJECT)
    return true;
  const BaseContainer& data = *tag->GetDataInstance();
  if (!data.GetBool(ORLIXTAG_ENABLED))
    return true;
  const Matrix mg = op->GetMg();
  const Int32 lens = data.GetInt32(ORLIXTAG_LENS);
  // The guide shows only from outside the lens.
  if (bd->HasCameraLink())
    return true;

  const GeData lineWidth = bd->GetDrawParam(DRAW_PARAMETER_LINEWIDTH);
  const GeData kept = bd->GetDrawParam(kDrawParamKept);
  bd->SetPen(kGuidePen);
  const Matrix m = UpdateGuide(guideMesh, data, lens, mg);

  bd->SetMatrix_Matrix(op, m);
  bd->SetTransparency(0);
  if (lens == 3)
    bd->DrawBox(Matrix(), kGuideRadius, kGuidePen, true);
  else
    DrawLines(guideMesh, bd);
  bd->SetTransparency(kSkinTransparency);
  bd->SetDepth(false);
  if (lens == 3)
    bd->DrawBox(Matrix(), kGuideRadius, kGuidePen, false);
  else
    DrawQuads(guideMesh, bd);
  bd->SetTransparency(0);
  bd->SetMatrix_Matrix(nullptr, Matrix());

  if (IsStereoRender(tag) && data.GetBool(ORLIXTAG_PROBE))
    DrawEyeProbe(*this, tag, op, bd, lens, mg);

  bd->SetDrawParam(DRAW_PARAMETER_LINEWIDTH, lineWidth);
  bd->SetDrawParam(kDrawParamKept, kept);
  bd->SetDepth(true);
  return true;
}
