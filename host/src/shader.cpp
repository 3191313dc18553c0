// Shaders: the node that owns a shader type's kernel, and its render life.
#include "c4d_shader.h"

#include <new>

#include "shader_kernel.h"

BaseShader::BaseShader(Int32 typeId) : BaseList2D(typeId) {}

BaseShader::~BaseShader()
{
  FreeRender();
}

BaseShader* BaseShader::Alloc(Int32 type)
{
  std::unique_ptr<host::ShaderKernel> kernel = host::MakeShaderKernel(type);
  if (!kernel)
    return nullptr;
  BaseShader* sh = new (std::nothrow) BaseShader(type);
  if (!sh)
    return nullptr;
  kernel->InitDefaults(*sh->GetDataInstance());
  sh->kernel = std::move(kernel);
  return sh;
}

void BaseShader::Free(BaseShader*& sh)
{
  delete sh;
  sh = nullptr;
}

INITRENDERRESULT BaseShader::InitRender(const InitRenderStruct& irs)
{
  FreeRender();
  if (!kernel)
    return INITRENDERRESULT_UNKNOWNERROR;
  const INITRENDERRESULT result = kernel->InitRender(*GetDataInstance(), irs);
  if (result != INITRENDERRESULT_OK)
  {
    kernel->FreeRender();
    return result;
  }
  prepared = true;
  return INITRENDERRESULT_OK;
}

void BaseShader::FreeRender()
{
  if (!prepared)
    return;
  prepared = false;
  kernel->FreeRender();
}

Vector BaseShader::Sample(ChannelData* cd) const
{
  if (!prepared || !cd)
    return Vector();
  return kernel->Sample(*cd);
}

BaseShader* BaseShader::GetClone(COPYFLAGS /*flags*/) const
{
  BaseShader* copy = Alloc(GetType());
  if (!copy)
    return nullptr;
  copy->SetName(GetName());
  copy->SetData(*GetDataInstance());
  copy->SetAllBits(GetAllBits());
  return copy;
}
