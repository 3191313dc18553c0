// Evaluating animation tracks: keys to values, and a whole document set to a time.
#include "animation.h"

#include <algorithm>
#include <cmath>

#include "panel.h"

struct BaseList2D::Animation
{
  std::vector<host::Track> tracks;
};

void BaseList2D::AnimationDeleter::operator()(Animation* a) const
{
  delete a;
}

BaseList2D::Animation& BaseList2D::MakeAnimation()
{
  if (!animation)
    animation.reset(new Animation());
  return *animation;
}

namespace host
{
namespace
{
/// One number of a key's value: a Float, or a component of a Vector.
Float Component(const GeData& v, int c)
{
  if (v.GetType() != DA_VECTOR)
    return v.GetFloat();
  const Vector x = v.GetVector();
  return c == 0 ? x.x : c == 1 ? x.y : x.z;
}

/// The slope (value per second) of a smooth curve at key i: flat at the ends, beside a jump and
/// where the key is a peak or a dip; else the slope through its neighbours, limited to three times
/// the lesser of its two segments' slopes, which keeps the curve between the keys it joins
/// (Fritsch and Carlson's condition for a monotone cubic).
Float Slope(const std::vector<AnimationKey>& keys, size_t i, int c)
{
  if (i == 0 || i + 1 >= keys.size())
    return 0.0;
  const AnimationKey &a = keys[i - 1], &k = keys[i], &b = keys[i + 1];
  const Float before = k.time - a.time, after = b.time - k.time;
  if (before <= 0.0 || after <= 0.0 || a.value.GetType() != k.value.GetType() ||
      b.value.GetType() != k.value.GetType())
    return 0.0;
  const Float s0 = (Component(k.value, c) - Component(a.value, c)) / before;
  const Float s1 = (Component(b.value, c) - Component(k.value, c)) / after;
  if (s0 * s1 <= 0.0)
    return 0.0;
  const Float through = (Component(b.value, c) - Component(a.value, c)) / (b.time - a.time);
  const Float limit = 3.0 * std::min(std::fabs(s0), std::fabs(s1));
  return std::copysign(std::min(std::fabs(through), limit), through);
}

/// Between keys i and i + 1 at `s` (0 to 1 of the way), one component.
Float Between(const std::vector<AnimationKey>& keys, size_t i, Float s, int c)
{
  const AnimationKey &a = keys[i], &b = keys[i + 1];
  const Float v0 = Component(a.value, c), v1 = Component(b.value, c);
  if (a.interpolation == Interpolation::Linear)
    return v0 + (v1 - v0) * s;
  // Cubic Hermite: the values and slopes at both ends, the slopes scaled to the segment's length.
  const Float dt = b.time - a.time;
  const Float s2 = s * s, s3 = s2 * s;
  return (2 * s3 - 3 * s2 + 1) * v0 + (s3 - 2 * s2 + s) * dt * Slope(keys, i, c) + (-2 * s3 + 3 * s2) * v1 +
         (s3 - s2) * dt * Slope(keys, i + 1, c);
}

/// Every node of the list and what hangs below it that may carry tracks.
template <typename Visit>
void VisitObjects(BaseObject* op, const Visit& visit)
{
  for (; op; op = op->GetNext())
  {
    visit(op);
    for (BaseTag* t = op->GetFirstTag(); t; t = t->GetNext())
      visit(t);
    VisitObjects(op->GetDown(), visit);
  }
}

template <typename Visit>
void VisitNodes(BaseDocument* doc, const Visit& visit)
{
  VisitObjects(doc->GetFirstObject(), visit);
  for (RenderData* rd = doc->GetFirstRenderData(); rd; rd = rd->GetNext())
  {
    visit(rd);
    for (BaseVideoPost* vp = rd->GetFirstVideoPost(); vp; vp = vp->GetNext())
      visit(vp);
  }
}

/// Heading, pitch and bank of a rotation matrix with unit axes: the inverse of HPBToMatrix.
Vector MatrixToHPB(const Matrix& r)
{
  const Float p = std::asin(std::max(-1.0, std::min(1.0, r.v3.y)));
  // Looking straight up or down, heading and bank turn about the same axis: all of it is bank.
  const Float h = std::fabs(r.v3.y) > 1.0 - 1e-12 ? 0.0 : std::atan2(-r.v3.x, r.v3.z);
  const Matrix rest = (MatrixRotY(h) * MatrixRotX(p)).GetInverse() * r;
  const Float b = std::atan2(-rest.v1.y, rest.v1.x);
  return Vector(h, p, b);
}

void Animate(BaseList2D* node, Float time)
{
  const std::vector<Track>* tracks = TracksOf(node);
  if (!tracks)
    return;
  auto* op = dynamic_cast<BaseObject*>(node);
  Placement placement;
  Bool placed = false;
  for (const Track& track : *tracks)
  {
    const GeData value = EvaluateKeys(track.keys, time);
    if (track.target == TrackTarget::Parameter)
    {
      const GeData* now = node->GetDataInstance()->GetDataPointer(track.id);
      if (!now || *now != value)
        node->SetParameter(DescID(track.id), value, DESCFLAGS_NONE);
      continue;
    }
    if (!op || value.GetType() != DA_VECTOR)
      continue;
    if (!placed)
      placement = ReadPlacement(op), placed = true;
    Vector& part = track.target == TrackTarget::Position   ? placement.position
                   : track.target == TrackTarget::Rotation ? placement.rotation
                                                           : placement.scale;
    part = value.GetVector();
  }
  if (placed)
    WritePlacement(op, placement);
}
} // namespace

Bool Interpolates(const GeData& value)
{
  return value.GetType() == DA_REAL || value.GetType() == DA_VECTOR;
}

GeData EvaluateKeys(const std::vector<AnimationKey>& keys, Float time)
{
  if (keys.empty())
    return GeData();
  if (time < keys.front().time)
    return keys.front().value;
  // The last key at or before the time.
  const auto after = std::upper_bound(keys.begin(), keys.end(), time,
                                      [](Float t, const AnimationKey& k) { return t < k.time; });
  const size_t i = static_cast<size_t>(after - keys.begin()) - 1;
  if (i + 1 >= keys.size())
    return keys[i].value;
  const AnimationKey &a = keys[i], &b = keys[i + 1];
  if (a.interpolation == Interpolation::Step || !Interpolates(a.value) || a.value.GetType() != b.value.GetType())
    return a.value;
  const Float s = (time - a.time) / (b.time - a.time);
  if (a.value.GetType() == DA_REAL)
    return GeData(Between(keys, i, s, 0));
  return GeData(Vector(Between(keys, i, s, 0), Between(keys, i, s, 1), Between(keys, i, s, 2)));
}

const std::vector<Track>* TracksOf(const BaseList2D* node)
{
  const BaseList2D::Animation* a = node ? node->GetAnimation() : nullptr;
  return a && !a->tracks.empty() ? &a->tracks : nullptr;
}

void SetTrack(BaseList2D* node, Track track)
{
  std::vector<Track>& tracks = node->MakeAnimation().tracks;
  for (Track& t : tracks)
    if (t.target == track.target && (t.target != TrackTarget::Parameter || t.id == track.id))
    {
      t = std::move(track);
      return;
    }
  tracks.push_back(std::move(track));
}

Bool IsAnimated(const BaseList2D* node, Int32 id)
{
  const std::vector<Track>* tracks = TracksOf(node);
  return tracks && std::any_of(tracks->begin(), tracks->end(), [&](const Track& t) {
           return t.target == TrackTarget::Parameter && t.id == id;
         });
}

Bool HasAnimation(BaseDocument* doc)
{
  Bool any = false;
  if (doc)
    VisitNodes(doc, [&](BaseList2D* node) { any = any || TracksOf(node); });
  return any;
}

Bool HasParameterAnimation(BaseDocument* doc)
{
  Bool any = false;
  if (doc)
    VisitNodes(doc, [&](BaseList2D* node) {
      const std::vector<Track>* tracks = TracksOf(node);
      any = any || (tracks && std::any_of(tracks->begin(), tracks->end(),
                                          [](const Track& t) { return t.target == TrackTarget::Parameter; }));
    });
  return any;
}

void AnimateDocument(BaseDocument* doc)
{
  if (!doc)
    return;
  const Float time = doc->GetTime().Get();
  VisitNodes(doc, [&](BaseList2D* node) { Animate(node, time); });
}

void EvaluateDocumentAt(BaseDocument* doc, const BaseTime& time)
{
  if (!doc)
    return;
  doc->SetTime(time);
  AnimateDocument(doc);
  ExecuteExpressions(doc);
}

Placement ReadPlacement(const BaseObject* op)
{
  const Matrix& ml = op->GetMl();
  Placement p;
  p.position = ml.off;
  const BaseContainer* given = op->GetDataInstance();
  if (given->GetDataPointer(kPlacementRotation) && given->GetDataPointer(kPlacementScale))
  {
    // What was written, as long as the object hasn't been turned or scaled since.
    const Vector h = given->GetVector(kPlacementRotation), s = given->GetVector(kPlacementScale);
    const Matrix m = MatrixMove(ml.off) * HPBToMatrix(h) * MatrixScale(s);
    if (m.v1 == ml.v1 && m.v2 == ml.v2 && m.v3 == ml.v3)
    {
      p.rotation = h;
      p.scale = s;
      return p;
    }
  }
  p.scale = Vector(ml.v1.GetLength(), ml.v2.GetLength(), ml.v3.GetLength());
  p.rotation =
    MatrixToHPB(Matrix(Vector(), ml.v1 * (1.0 / p.scale.x), ml.v2 * (1.0 / p.scale.y), ml.v3 * (1.0 / p.scale.z)));
  return p;
}

Vector AimAlong(const Vector& forward)
{
  // Rotation = RotY(h) × RotX(p) turns +Z to (−sin h cos p, sin p, cos h cos p).
  const Vector f = forward.GetNormalized();
  return Vector(std::atan2(-f.x, f.z), std::asin(std::max(-1.0, std::min(1.0, f.y))), 0.0);
}

void WritePlacement(BaseObject* op, const Placement& p)
{
  op->SetMl(MatrixMove(p.position) * HPBToMatrix(p.rotation) * MatrixScale(p.scale));
  op->GetDataInstance()->SetVector(kPlacementRotation, p.rotation);
  op->GetDataInstance()->SetVector(kPlacementScale, p.scale);
}
} // namespace host
