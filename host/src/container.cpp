// Typed values and settings containers.
#include "c4d_container.h"
#include "c4d_nodes.h"

GeData::GeData(BaseList2D* node) : type(DA_ALIASLINK)
{
  if (node)
    link = node->GetLinkToken();
}

GeData::GeData(const BaseContainer& bc) : type(DA_CONTAINER), container(std::make_unique<BaseContainer>(bc)) {}

GeData& GeData::operator=(const GeData& o)
{
  if (this == &o)
    return *this;
  type = o.type;
  i = o.i;
  f = o.f;
  vec = o.vec;
  mat = o.mat;
  str = o.str;
  time = o.time;
  link = o.link;
  container = o.container ? std::make_unique<BaseContainer>(*o.container) : nullptr;
  customId = o.customId;
  custom.reset(o.custom ? o.custom->Clone() : nullptr);
  return *this;
}

Int32 GeData::GetInt32() const
{
  if (type == DA_LONG)
    return i;
  if (type == DA_REAL)
  {
    // Out-of-range and NaN floats saturate rather than invoke undefined conversions.
    if (!(f == f))
      return 0;
    if (f >= 2147483647.0)
      return 2147483647;
    if (f <= -2147483648.0)
      return -2147483647 - 1;
    return static_cast<Int32>(f);
  }
  return 0;
}

Float GeData::GetFloat() const
{
  if (type == DA_REAL)
    return f;
  if (type == DA_LONG)
    return static_cast<Float>(i);
  return 0.0;
}

BaseList2D* GeData::GetLink(const BaseDocument* doc, Int32 instanceOf) const
{
  if (type != DA_ALIASLINK || !link)
    return nullptr;
  BaseList2D* node = link->Get();
  if (!node)
    return nullptr;
  if (doc && node->GetDocument() != doc)
    return nullptr;
  if (instanceOf != 0 && !node->IsInstanceOf(instanceOf))
    return nullptr;
  return node;
}

bool GeData::operator==(const GeData& o) const
{
  if (type != o.type)
    return false;
  switch (type)
  {
    case DA_NIL: return true;
    case DA_LONG: return i == o.i;
    case DA_REAL: return f == o.f;
    case DA_VECTOR: return vec == o.vec;
    case DA_MATRIX: return mat == o.mat;
    case DA_STRING:
    case DA_FILENAME: return str == o.str;
    case DA_TIME: return time == o.time;
    case DA_ALIASLINK: return GetLink() == o.GetLink();
    case DA_CONTAINER: return *container == *o.container;
    case DA_CUSTOMDATATYPE: return customId == o.customId && custom->IsEqual(*o.custom);
    default: return false;
  }
}

const GeData* BaseContainer::Find(Int32 key) const
{
  for (const auto& kv : values)
    if (kv.first == key)
      return &kv.second;
  return nullptr;
}

const GeData& BaseContainer::GetData(Int32 key) const
{
  static const GeData nil;
  const GeData* d = Find(key);
  return d ? *d : nil;
}

BaseContainer BaseContainer::GetContainer(Int32 key) const
{
  const GeData* d = Find(key);
  const BaseContainer* bc = d ? d->GetContainer() : nullptr;
  return bc ? *bc : BaseContainer();
}

BaseContainer* BaseContainer::GetContainerInstance(Int32 key)
{
  for (auto& kv : values)
    if (kv.first == key)
      return kv.second.GetContainerInstance();
  return nullptr;
}

void BaseContainer::SetData(Int32 key, const GeData& v)
{
  for (auto& kv : values)
    if (kv.first == key)
    {
      kv.second = v;
      return;
    }
  values.emplace_back(key, v);
}

Bool BaseContainer::RemoveData(Int32 key)
{
  for (auto it = values.begin(); it != values.end(); ++it)
    if (it->first == key)
    {
      values.erase(it);
      return true;
    }
  return false;
}

void BaseContainer::MergeInto(BaseContainer& dest) const
{
  for (const auto& kv : values)
    dest.SetData(kv.first, kv.second);
}
