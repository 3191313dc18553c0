// What a shader type does behind BaseShader: the host's built-in types, and a door for more.
#pragma once

#include <memory>

#include "c4d_shader.h"

namespace host
{
/// The behaviour of one shader type. A BaseShader owns one kernel, made for its type.
class ShaderKernel
{
public:
  virtual ~ShaderKernel() = default;

  /// Writes the type's default settings into a new shader's container.
  virtual void InitDefaults(BaseContainer& settings) const = 0;
  /// Prepares sampling from `settings`; called with the kernel not prepared.
  virtual INITRENDERRESULT InitRender(const BaseContainer& settings, const InitRenderStruct& irs) = 0;
  /// Drops what InitRender prepared.
  virtual void FreeRender() = 0;
  /// The colour at `cd.p`; called from several threads at once, so it may only read, and it
  /// allocates nothing.
  virtual Vector Sample(const ChannelData& cd) const = 0;
};

/// Makes a fresh, unprepared kernel.
using ShaderKernelMaker = std::unique_ptr<ShaderKernel> (*)();

/// A kernel for `type`, or null if no shader type has that id.
std::unique_ptr<ShaderKernel> MakeShaderKernel(Int32 type);

/// Adds a shader type beside the built-in ones (tests use it for shaders that fail on purpose);
/// false if the id is taken. Not to be called while shaders are being made on other threads.
Bool RegisterShaderKernel(Int32 type, ShaderKernelMaker make);
} // namespace host
