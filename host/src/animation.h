// Animation: tracks of keys on objects' placements and on nodes' parameters, and a document
// evaluated at a time (its tracks, then the expression pass).
#pragma once

#include <vector>

#include "c4d.h"

namespace host
{
/// How a key's value moves on towards the next key.
enum class Interpolation
{
  Step,   ///< holds until the next key
  Linear, ///< a straight line
  Smooth, ///< a curve through the keys that never overshoots a key; flat at the ends and at turns
};

/// From `time` (seconds) on, the track passes through `value`, then moves on by `interpolation`.
struct AnimationKey
{
  Float time = 0.0;
  GeData value;
  Interpolation interpolation = Interpolation::Smooth;
};

/// What a track drives.
enum class TrackTarget
{
  Position, ///< an object's position relative to its parent
  Rotation, ///< an object's heading, pitch and bank in radians
  Scale,    ///< an object's scale
  Parameter ///< the node's parameter `id`, written as a user's edit is (SetParameter)
};

struct Track
{
  TrackTarget target = TrackTarget::Parameter;
  Int32 id = 0;                   ///< the parameter, for TrackTarget::Parameter
  std::vector<AnimationKey> keys; ///< in time order; keys of equal time make a jump
};

/// Whether a value of this kind moves between keys: numbers and vectors do, whole numbers,
/// switches, text and the rest step.
Bool Interpolates(const GeData& value);

/// The value of `keys` at `time` seconds: the first key's before it, the last key's after it, and
/// between two keys as the earlier one's interpolation says. Where several keys share a time, the
/// last of them holds from that time on. Nil for no keys.
GeData EvaluateKeys(const std::vector<AnimationKey>& keys, Float time);

/// The node's tracks; null where it has none.
const std::vector<Track>* TracksOf(const BaseList2D* node);
/// Gives the node `track`, in place of a track it has on the same target.
void SetTrack(BaseList2D* node, Track track);
/// Whether the node's parameter `id` has a track.
Bool IsAnimated(const BaseList2D* node, Int32 id);
/// Whether any node of the document has a track: its objects, their tags, its render settings
/// and their video posts.
Bool HasAnimation(BaseDocument* doc);

/// Whether a track of the document drives a parameter (of an object, a tag, the render settings
/// or a video post) rather than an object's placement.
Bool HasParameterAnimation(BaseDocument* doc);

/// Sets everything animated to its tracks' value at the document's time.
void AnimateDocument(BaseDocument* doc);
/// The document at `time`: the time set, the tracks evaluated, then the expression pass.
void EvaluateDocumentAt(BaseDocument* doc, const BaseTime& time);

/// An object's position, rotation (heading, pitch, bank) and scale.
struct Placement
{
  Vector position;
  Vector rotation;
  Vector scale = Vector(1.0, 1.0, 1.0);
};

// Where an object keeps the rotation and scale it was given, so that reading them back gives the
// very numbers that were written rather than ones recovered from the matrix.
constexpr Int32 kPlacementRotation = 1401;
constexpr Int32 kPlacementScale = 1402;

/// The object's placement: as it was last written where its matrix still agrees, else recovered
/// from the matrix.
Placement ReadPlacement(const BaseObject* op);
/// Sets the object's local matrix to move(position) × rotation × scale and keeps the numbers.
void WritePlacement(BaseObject* op, const Placement& placement);
/// The heading and pitch (bank 0) of a camera that looks along `forward`.
Vector AimAlong(const Vector& forward);
} // namespace host
