// BaseShader: a node that gives a colour for a texture position, and the host's built-in shaders.
#pragma once

#include <memory>

#include "c4d_math.h"
#include "c4d_nodes.h"

class VolumeData;
namespace host
{
class ShaderKernel;
}

/// Types of the built-in shaders, for BaseShader::Alloc.
enum : Int32
{
  Xcolor = 5832,       ///< one colour everywhere
  Xbitmap = 5833,      ///< a picture file, looked up at the texture position
  Xgradient = 1011100, ///< colour stops along the texture's v
};

/// Parameters of Xcolor. The colour is COLORSHADER_COLOR × COLORSHADER_BRIGHTNESS, unclamped.
enum : Int32
{
  COLORSHADER_COLOR = 1000,      ///< Vector, default (1, 1, 1)
  COLORSHADER_BRIGHTNESS = 1001, ///< Float, default 1.0
};

/// Parameters of Xbitmap. The picture spans texture positions 0..1 in u (right) and v (down),
/// sampled bilinearly between pixel centres. A relative name is looked up in the document's
/// folder first.
enum : Int32
{
  BITMAPSHADER_FILENAME = 1000, ///< Filename, default empty (which fails InitRender)
};

/// Parameters of Xgradient. GRADIENTSHADER_KNOTS holds one sub-container per knot, under any ids;
/// the colour is interpolated linearly between the knots by v and held beyond the outer ones. Two
/// knots at one position make a hard step. Fewer than two knots fail InitRender.
enum : Int32
{
  GRADIENTSHADER_KNOTS = 1000, ///< BaseContainer of knots; default black at 0, white at 1
};

/// Parameters of one gradient knot.
enum : Int32
{
  GRADIENTKNOT_POSITION = 1000, ///< Float, along v
  GRADIENTKNOT_COLOR = 1001,    ///< Vector
};

/// Bits of ChannelData::texflag.
enum : Int32
{
  TEX_TILE = 1, ///< positions outside 0..1 repeat the texture; without it the edge holds
};

/// What InitRender answers; only INITRENDERRESULT_OK lets the shader be sampled.
enum INITRENDERRESULT : Int32
{
  INITRENDERRESULT_OK = 0,
  INITRENDERRESULT_OUTOFMEMORY = -100,
  INITRENDERRESULT_ASSETMISSING = -101, ///< a file the shader needs doesn't load
  INITRENDERRESULT_UNKNOWNERROR = -102, ///< the settings can't be rendered
};

/// What a shader is prepared for: the document it renders in.
struct InitRenderStruct
{
  InitRenderStruct() = default;
  explicit InitRenderStruct(BaseDocument* document) : doc(document)
  {
    if (doc)
      docpath = doc->GetDocumentPath();
  }

  BaseDocument* doc = nullptr;
  Filename docpath; ///< the document's folder, where relative file names are looked up first
};

/// One sample's texture position and context.
struct ChannelData
{
  Vector p;              ///< texture position (u, v, w)
  Vector n;              ///< surface normal
  Vector d;              ///< sample radius around p
  Float t = 0.0;         ///< time in seconds
  Int32 texflag = 0;     ///< TEX_ bits
  VolumeData* vd = nullptr;
  Float off = 0.0;       ///< blur offset
  Float scale = 0.0;     ///< blur scale
};

/// Flags of GetClone.
enum class COPYFLAGS : Int32
{
  NONE = 0,
};

/// A shader: between InitRender and FreeRender it gives a colour for each texture position.
/// Sample may be called from several threads at once then; InitRender, FreeRender and changes to
/// the settings may not run beside it.
class BaseShader : public BaseList2D
{
public:
  /// A new shader of a built-in type with its default settings, or null for any other type.
  static BaseShader* Alloc(Int32 type);
  static void Free(BaseShader*& sh);
  ~BaseShader() override;

  BaseShader* GetNext() const { return static_cast<BaseShader*>(GeListNode::GetNext()); }

  /// Prepares sampling from the current settings; INITRENDERRESULT_OK (0) when Sample may be
  /// called. A shader already prepared is prepared afresh. Undone by FreeRender.
  INITRENDERRESULT InitRender(const InitRenderStruct& irs);
  /// Ends what InitRender began; nothing if the shader isn't prepared.
  void FreeRender();
  /// The colour at `cd->p`, components unclamped; black outside InitRender..FreeRender or
  /// without `cd`. Allocates nothing.
  Vector Sample(ChannelData* cd) const;

  /// A copy with the type, name, bits and settings, in no document and not prepared; or null.
  BaseShader* GetClone(COPYFLAGS flags) const;

protected:
  explicit BaseShader(Int32 typeId);

private:
  std::unique_ptr<host::ShaderKernel> kernel;
  Bool prepared = false;
};
