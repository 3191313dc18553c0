// OrlixCreateCamera: the six menu commands that set up a camera with a lens tag for one kind of shot.
#pragma once

#include "c4d.h"

/// What one create command writes into the tag and the camera.
struct CameraPreset;

class OrlixCreateCamera : public CommandData
{
public:
  /// Takes the active camera, or inserts a new one at the top, and gives it a new active lens tag.
  Bool SetupCameraAndTag(BaseDocument* doc);

protected:
  /// One run of a command: the tag and camera set up and written in one undo step.
  Bool Run(BaseDocument* doc, const CameraPreset& preset);

  BaseObject* camera = nullptr;
  BaseTag* tag = nullptr;
};

class OrlixCreateFulldome : public OrlixCreateCamera
{
public:
  static constexpr Int32 ID = 1036701;
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};

class OrlixCreateFisheye : public OrlixCreateCamera
{
public:
  static constexpr Int32 ID = 1035136;
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};

class OrlixCreatePanorama : public OrlixCreateCamera
{
public:
  static constexpr Int32 ID = 1035137;
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};

class OrlixCreateCylindrical : public OrlixCreateCamera
{
public:
  static constexpr Int32 ID = 1036297;
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};

class OrlixCreateCubemap : public OrlixCreateCamera
{
public:
  static constexpr Int32 ID = 1036110;
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};

class OrlixCreateLittlePlanet : public OrlixCreateCamera
{
public:
  static constexpr Int32 ID = 1036687;
  Bool Execute(BaseDocument* doc, GeDialog* parentManager) override;
};
