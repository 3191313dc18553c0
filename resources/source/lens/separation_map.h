// The eye separation map: how much of the eye offset applies in a direction, read from the
// shader the tag links. The lens core's one door to the host: the shader and the tag's container
// are reached only through these operations.
#pragma once

#include "c4d_math.h"

class BaseContainer;
class BaseDocument;
class BaseShader;

/// Opens the shader that `tagData` links as its separation map for `document`, for the
/// SampleSeparationMap calls with no shader that follow on this thread. Nothing is open after it
/// when the link is empty or the shader fails to open. Closed by EndSeparationMap.
void BeginSeparationMap(const BaseContainer* tagData, BaseDocument* document);

/// Closes what BeginSeparationMap opened on this thread; nothing if nothing is open.
void EndSeparationMap();

/// The shader BeginSeparationMap opened on this thread, or null.
BaseShader* OpenSeparationMap();

/// The eye separation strength for a lens-space `direction`: the first colour component of the
/// map there, unclamped; 1.0 with the map switched off in `tagData` or without a shader. A null
/// `shader` takes the one opened by BeginSeparationMap. Safe on several threads at once.
Float SampleSeparationMap(const BaseContainer* tagData, const Vector& direction, BaseShader* shader);

/// A render's own copy of the tag's separation map, opened for `document`: the map is opened,
/// copied and closed again, and the copy opened on its own. Null when the tag links no map or
/// the map doesn't open; null with `failed` set when the copy can't be made or opened.
/// Closed by CloseSeparationMapClone.
BaseShader* OpenSeparationMapClone(const BaseContainer* tagData, BaseDocument* document, Bool& failed);

/// Closes and frees a copy from OpenSeparationMapClone; `clone` becomes null. Null does nothing.
void CloseSeparationMapClone(BaseShader*& clone);
