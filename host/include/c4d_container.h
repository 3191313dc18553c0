// GeData, BaseContainer and DescID: the host's typed values, settings containers and parameter ids.
#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "c4d_basetime.h"
#include "c4d_math.h"
#include "c4d_string.h"
#include "c4d_types.h"

class BaseList2D;
class BaseDocument;
class BaseContainer;

/// The kind of value a GeData holds.
enum GEDATA_TYPE : Int32
{
  DA_NIL = 0,
  DA_LONG,     ///< Int32; bools are stored as Int32
  DA_REAL,     ///< Float
  DA_VECTOR,
  DA_MATRIX,
  DA_STRING,
  DA_FILENAME,
  DA_TIME,
  DA_ALIASLINK, ///< a link to a BaseList2D
  DA_CONTAINER,
  DA_CUSTOMDATATYPE,
};

/// Data of a type that a plug-in or the host defines; GeData owns a copy.
class CustomDataType
{
public:
  virtual ~CustomDataType() = default;
  virtual CustomDataType* Clone() const = 0;
  virtual Bool IsEqual(const CustomDataType& other) const = 0;
};

/// A link that doesn't keep its node alive: it reads null once the node is gone.
class LinkToken
{
public:
  explicit LinkToken(BaseList2D* n) : node(n) {}
  BaseList2D* Get() const { return node; }
  void Clear() { node = nullptr; }

private:
  BaseList2D* node;
};

/// One typed value.
class GeData
{
public:
  GeData() = default;
  GeData(Int32 v) : type(DA_LONG), i(v) {}
  GeData(Bool v) : type(DA_LONG), i(v ? 1 : 0) {}
  GeData(Float v) : type(DA_REAL), f(v) {}
  GeData(const Vector& v) : type(DA_VECTOR), vec(v) {}
  GeData(const Matrix& m) : type(DA_MATRIX), mat(m) {}
  GeData(const String& s) : type(DA_STRING), str(s) {}
  GeData(const char* s) : type(DA_STRING), str(s) {}
  GeData(const Filename& fn) : type(DA_FILENAME), str(fn.GetString()) {}
  GeData(const BaseTime& t) : type(DA_TIME), time(t) {}
  GeData(BaseList2D* link);
  GeData(const BaseContainer& bc);
  /// Custom data of the given type id; the GeData keeps its own copy.
  GeData(Int32 customType, const CustomDataType& data) : type(DA_CUSTOMDATATYPE), customId(customType), custom(data.Clone()) {}

  GeData(const GeData& o) { *this = o; }
  GeData(GeData&&) noexcept = default;
  GeData& operator=(const GeData& o);
  GeData& operator=(GeData&&) noexcept = default;

  Int32 GetType() const { return type; }
  Bool IsNil() const { return type == DA_NIL; }
  /// The custom type id of DA_CUSTOMDATATYPE data, else 0.
  Int32 GetCustomDataTypeId() const { return type == DA_CUSTOMDATATYPE ? customId : 0; }

  // Getters convert between the number types; other mismatches give a neutral value.
  Int32 GetInt32() const;
  Bool GetBool() const { return GetInt32() != 0; }
  Float GetFloat() const;
  Vector GetVector() const { return type == DA_VECTOR ? vec : Vector(); }
  Matrix GetMatrix() const { return type == DA_MATRIX ? mat : Matrix(); }
  String GetString() const { return type == DA_STRING || type == DA_FILENAME ? str : String(); }
  Filename GetFilename() const { return type == DA_STRING || type == DA_FILENAME ? Filename(str) : Filename(); }
  BaseTime GetTime() const { return type == DA_TIME ? time : BaseTime(); }
  /// The linked node, or null when it is gone, or not in `doc` when one is given.
  BaseList2D* GetLink(const BaseDocument* doc = nullptr, Int32 instanceOf = 0) const;
  const BaseContainer* GetContainer() const { return type == DA_CONTAINER ? container.get() : nullptr; }
  BaseContainer* GetContainerInstance() { return type == DA_CONTAINER ? container.get() : nullptr; }
  /// The custom data if it is of `customType`, else null.
  CustomDataType* GetCustomDataType(Int32 customType) const
  {
    return type == DA_CUSTOMDATATYPE && customId == customType ? custom.get() : nullptr;
  }

  bool operator==(const GeData& o) const;
  bool operator!=(const GeData& o) const { return !(*this == o); }

private:
  Int32 type = DA_NIL;
  Int32 i = 0;
  Float f = 0.0;
  Vector vec;
  Matrix mat;
  String str;
  BaseTime time;
  std::shared_ptr<LinkToken> link;
  std::unique_ptr<BaseContainer> container;
  Int32 customId = 0;
  std::unique_ptr<CustomDataType> custom;
};

/// Settings by Int32 id, in insertion order; a missing id reads as the caller's default. Copies by value.
class BaseContainer
{
public:
  BaseContainer() = default;
  explicit BaseContainer(Int32 containerId) : id(containerId) {}

  Int32 GetId() const { return id; }
  void SetId(Int32 containerId) { id = containerId; }

  Bool GetBool(Int32 key, Bool preset = false) const { const GeData* d = Find(key); return d ? d->GetBool() : preset; }
  Int32 GetInt32(Int32 key, Int32 preset = 0) const { const GeData* d = Find(key); return d ? d->GetInt32() : preset; }
  Float GetFloat(Int32 key, Float preset = 0.0) const { const GeData* d = Find(key); return d ? d->GetFloat() : preset; }
  Vector GetVector(Int32 key, const Vector& preset = Vector()) const { const GeData* d = Find(key); return d ? d->GetVector() : preset; }
  Matrix GetMatrix(Int32 key, const Matrix& preset = Matrix()) const { const GeData* d = Find(key); return d ? d->GetMatrix() : preset; }
  String GetString(Int32 key, const String& preset = String()) const { const GeData* d = Find(key); return d ? d->GetString() : preset; }
  Filename GetFilename(Int32 key, const Filename& preset = Filename()) const { const GeData* d = Find(key); return d ? d->GetFilename() : preset; }
  BaseTime GetTime(Int32 key, const BaseTime& preset = BaseTime()) const { const GeData* d = Find(key); return d ? d->GetTime() : preset; }
  BaseList2D* GetLink(Int32 key, const BaseDocument* doc = nullptr, Int32 instanceOf = 0) const
  {
    const GeData* d = Find(key);
    return d ? d->GetLink(doc, instanceOf) : nullptr;
  }
  /// A copy of the sub-container, or an empty one.
  BaseContainer GetContainer(Int32 key) const;
  BaseContainer* GetContainerInstance(Int32 key);
  CustomDataType* GetCustomDataType(Int32 key, Int32 customType) const
  {
    const GeData* d = Find(key);
    return d ? d->GetCustomDataType(customType) : nullptr;
  }
  /// The value under `key`, or a nil GeData.
  const GeData& GetData(Int32 key) const;
  const GeData* GetDataPointer(Int32 key) const { return Find(key); }

  void SetBool(Int32 key, Bool v) { SetData(key, GeData(v)); }
  void SetInt32(Int32 key, Int32 v) { SetData(key, GeData(v)); }
  void SetFloat(Int32 key, Float v) { SetData(key, GeData(v)); }
  void SetVector(Int32 key, const Vector& v) { SetData(key, GeData(v)); }
  void SetMatrix(Int32 key, const Matrix& v) { SetData(key, GeData(v)); }
  void SetString(Int32 key, const String& v) { SetData(key, GeData(v)); }
  void SetFilename(Int32 key, const Filename& v) { SetData(key, GeData(v)); }
  void SetTime(Int32 key, const BaseTime& v) { SetData(key, GeData(v)); }
  void SetLink(Int32 key, BaseList2D* v) { SetData(key, GeData(v)); }
  void SetContainer(Int32 key, const BaseContainer& v) { SetData(key, GeData(v)); }
  void SetData(Int32 key, const GeData& v);
  /// Adds `v` under `key` (over an old value of that key, which this host keeps one of).
  void InsData(Int32 key, const GeData& v) { SetData(key, v); }

  Bool RemoveData(Int32 key);
  void FlushAll() { values.clear(); }
  Int32 GetDataCount() const { return static_cast<Int32>(values.size()); }
  /// The id at `index` in insertion order, or -1.
  Int32 GetIndexId(Int32 index) const
  {
    return index >= 0 && index < GetDataCount() ? values[static_cast<size_t>(index)].first : -1;
  }
  /// Writes every value of this container into `dest`, over what it holds under the same ids.
  void MergeInto(BaseContainer& dest) const;

  bool operator==(const BaseContainer& o) const { return id == o.id && values == o.values; }
  bool operator!=(const BaseContainer& o) const { return !(*this == o); }

private:
  const GeData* Find(Int32 key) const;

  Int32 id = 0;
  std::vector<std::pair<Int32, GeData>> values;
};

/// One level of a parameter id.
struct DescLevel
{
  Int32 id = 0;
  Int32 dtype = 0;
  Int32 creator = 0;
  DescLevel() = default;
  DescLevel(Int32 i, Int32 t = 0, Int32 c = 0) : id(i), dtype(t), creator(c) {}
  bool operator==(const DescLevel& o) const { return id == o.id; }
};

/// A parameter id: one or more levels, the first naming the parameter.
class DescID
{
public:
  DescID() = default;
  DescID(Int32 id) : levels{DescLevel(id)} {}
  DescID(const DescLevel& a) : levels{a} {}
  DescID(const DescLevel& a, const DescLevel& b) : levels{a, b} {}

  Int32 GetDepth() const { return static_cast<Int32>(levels.size()); }
  const DescLevel& operator[](Int32 pos) const
  {
    static const DescLevel none;
    return pos >= 0 && pos < GetDepth() ? levels[static_cast<size_t>(pos)] : none;
  }
  bool operator==(const DescID& o) const { return levels == o.levels; }
  bool operator!=(const DescID& o) const { return !(*this == o); }

private:
  std::vector<DescLevel> levels;
};
