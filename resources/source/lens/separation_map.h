// The eye separation map: how much of the eye offset applies in a direction, read from the
// shader the tag links. The lens core's one door to the host: the shader and the tag's container
// are reached only through these operations.
#pragma once

#include "c4d_math.h"

class BaseContainer;
class BaseDocument;
class BaseShader;

/// Opens the shader that `tagData` links as its separation map for `document`, on this thread. Nothing is open after it
/// when the link is empty or the shader fails to open. Closed by EndSeparationMap.
void BeginSeparationMap(const BaseContainer* tagData, BaseDocument* document);

/// Closes what BeginSeparationMap opened on this thread; nothing if nothing is open.
void EndSeparationMap();

/// The shader BeginSeparationMap opened on this thread, or null.
BaseShader* OpenSeparationMap();

/// What the rays need of the separation map, made when a render starts.
struct SeparationMapLookup
{
  BaseShader* shader = nullptr; ///< opened; null: full separation everywhere
  Bool domeZenith = false;      ///< the map lies over the dome's picture, else over a sphere's
  Float domeFov = 0.0;          ///< the dome's field in radians, with domeZenith
};

/// The eye separation strength for a lens-space `direction`: the first colour component of the
/// map there, unclamped; 1.0 without a shader. Safe on several threads at once.
Float SampleSeparationMap(const SeparationMapLookup& map, const Vector& direction);

/// A render's own copy of the tag's separation map, opened for `document`: the map is opened,
/// copied and closed again, and the copy opened on its own. Null when the tag links no map or
/// the map doesn't open; null with `failed` set when the copy can't be made or opened.
/// Closed by CloseSeparationMapClone.
BaseShader* OpenSeparationMapClone(const BaseContainer* tagData, BaseDocument* document, Bool& failed);

/// Closes and frees a copy from OpenSeparationMapClone; `clone` becomes null. Null does nothing.
void CloseSeparationMapClone(BaseShader*& clone);
