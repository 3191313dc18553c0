// Custom data types of the host's parameters: priority and bitmap buttons.
#pragma once

#include "c4d_container.h"
#include "c4d_types.h"

class BaseList2D;

enum : Int32
{
  CUSTOMDATATYPE_PRIORITY = 1009369,
  CUSTOMDATATYPE_BITMAPBUTTON = 1001053,
};

/// The expression parameter of a tag that carries its priority.
enum : Int32
{
  EXPRESSION_PRIORITY = 1000998,
};

enum : Int32
{
  PRIORITYVALUE_MODE = 0,
  PRIORITYVALUE_PRIORITY = 1,
  PRIORITYVALUE_CAMERADEPENDENT = 2,
};

/// When in the expression pass a tag runs.
class PriorityData : public CustomDataType
{
public:
  Bool SetPriorityValue(Int32 lValueID, const GeData& data)
  {
    switch (lValueID)
    {
      case PRIORITYVALUE_MODE: mode = data.GetInt32(); return true;
      case PRIORITYVALUE_PRIORITY: priority = data.GetInt32(); return true;
      case PRIORITYVALUE_CAMERADEPENDENT: cameraDependent = data.GetBool(); return true;
      default: return false;
    }
  }
  GeData GetPriorityValue(Int32 lValueID) const
  {
    switch (lValueID)
    {
      case PRIORITYVALUE_MODE: return GeData(mode);
      case PRIORITYVALUE_PRIORITY: return GeData(priority);
      case PRIORITYVALUE_CAMERADEPENDENT: return GeData(cameraDependent);
      default: return GeData();
    }
  }
  CustomDataType* Clone() const override { return new PriorityData(*this); }
  Bool IsEqual(const CustomDataType& o) const override
  {
    const auto* p = dynamic_cast<const PriorityData*>(&o);
    return p && p->mode == mode && p->priority == priority && p->cameraDependent == cameraDependent;
  }

private:
  Int32 mode = 0;
  Int32 priority = 0;
  Bool cameraDependent = false;
};

/// What a bitmap button parameter holds: which node and id ask for a picture.
class BitmapButtonStruct : public CustomDataType
{
public:
  BitmapButtonStruct() = default;
  BitmapButtonStruct(BaseList2D* n, const DescID& d, Int32 dirtyCount) : node(n), id(d), dirty(dirtyCount) {}

  BaseList2D* node = nullptr;
  DescID id;
  Int32 dirty = 0;

  CustomDataType* Clone() const override { return new BitmapButtonStruct(*this); }
  Bool IsEqual(const CustomDataType& o) const override
  {
    const auto* b = dynamic_cast<const BitmapButtonStruct*>(&o);
    return b && b->node == node && b->id == id && b->dirty == dirty;
  }
};
