// Meshes in scene files: from an OBJ file, or as points and polygons written in the scene.
#include <tiny_obj_loader.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "c4d_objects.h"
#include "scene/scene_io.h"
#include "scene/scene_kinds.h"

namespace host::scene
{
namespace
{
void FreeMesh(PolygonObject* mesh)
{
  BaseObject* op = mesh;
  BaseObject::Free(op);
}

/// Checks one OBJ polygon of `n` corners, number `f` in the file; frees `mesh` before failing.
void CheckObjPolygon(const tinyobj::index_t* idx, unsigned char n, size_t f, size_t pointCount, size_t uvCount,
                     PolygonObject* mesh, const std::string& path, const std::string& file)
{
  if (n != 3 && n != 4)
  {
    FreeMesh(mesh);
    Fail(path, "OBJ file \"" + file + "\": polygon " + std::to_string(f) + " has " + std::to_string(int(n)) +
                   " corners; this host takes triangles and quads");
  }
  for (unsigned char c = 0; c < n; ++c)
  {
    const bool badPoint = idx[c].vertex_index < 0 || size_t(idx[c].vertex_index) >= pointCount;
    const bool badUV = idx[c].texcoord_index >= 0 && size_t(idx[c].texcoord_index) >= uvCount;
    if (badPoint || badUV)
    {
      FreeMesh(mesh);
      Fail(path, "OBJ file \"" + file + "\": polygon " + std::to_string(f) + " names a " +
                     (badPoint ? "point" : "texture coordinate") + " the file does not hold");
    }
  }
}

/// Polygon `f` of `mesh` from the OBJ corners `idx`, with its texture coordinates where the file has them.
void SetObjPolygon(PolygonObject* mesh, size_t f, const tinyobj::index_t* idx, unsigned char n,
                   const tinyobj::attrib_t& attrib, bool withUV)
{
  // OBJ winds counter-clockwise seen from the front in a right-handed frame; mirrored into
  // this left-handed one the same order faces the same way.
  CPolygon& poly = mesh->GetPolygonW()[f];
  poly = n == 3 ? CPolygon(idx[0].vertex_index, idx[1].vertex_index, idx[2].vertex_index)
                : CPolygon(idx[0].vertex_index, idx[1].vertex_index, idx[2].vertex_index, idx[3].vertex_index);
  if (!withUV)
    return;
  Vector* corner[4] = {&mesh->GetUVWW()[f].a, &mesh->GetUVWW()[f].b, &mesh->GetUVWW()[f].c, &mesh->GetUVWW()[f].d};
  for (unsigned char c = 0; c < n; ++c)
  {
    const int t = idx[c].texcoord_index;
    if (t >= 0)
      *corner[c] = Vector(attrib.texcoords[2 * t], 1.0 - attrib.texcoords[2 * t + 1], 0.0);
  }
  if (n == 3)
    mesh->GetUVWW()[f].d = mesh->GetUVWW()[f].c;
}

// Larger OBJ files hold more than the point and polygon limits below anyway.
constexpr std::uintmax_t kMaxObjBytes = std::uintmax_t(1) << 30;

void ParseObj(const std::string& file, const std::string& path, tinyobj::ObjReader* reader)
{
  std::error_code ec;
  const std::uintmax_t bytes = std::filesystem::file_size(file, ec);
  if (ec || bytes > kMaxObjBytes)
    Fail(path, "OBJ file \"" + file + "\": " + (ec ? ec.message() : "larger than 1 GiB"));
  std::ifstream in(file, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  if (!in)
    Fail(path, "OBJ file \"" + file + "\" cannot be read");
  tinyobj::ObjReaderConfig config;
  config.triangulate = false;
  config.vertex_color = false;
  // Material libraries are never opened: a mesh takes its material from the scene, and a
  // library's name could point anywhere (a device, a FIFO, another folder).
  if (reader->ParseFromString(text.str(), std::string(), config))
    return;
  std::string why = reader->Error();
  while (!why.empty() && (why.back() == '\n' || why.back() == '\r'))
    why.pop_back();
  Fail(path, "OBJ file \"" + file + "\": " + (why.empty() ? "not a mesh" : why));
}

PolygonObject* ReadObjMesh(const std::string& file, const std::string& path)
{
  tinyobj::ObjReader reader;
  ParseObj(file, path, &reader);
  const tinyobj::attrib_t& attrib = reader.GetAttrib();
  const size_t pointCount = attrib.vertices.size() / 3;
  size_t faceCount = 0;
  for (const tinyobj::shape_t& s : reader.GetShapes())
  {
    faceCount += s.mesh.num_face_vertices.size();
    // The reader counts a polygon's corners in a byte: 259 corners would read as a triangle.
    size_t corners = 0;
    for (unsigned char n : s.mesh.num_face_vertices)
      corners += n;
    if (corners != s.mesh.indices.size())
      Fail(path, "OBJ file \"" + file + "\": a polygon has more than 255 corners; this host takes triangles and quads");
  }
  if (pointCount == 0 || faceCount == 0)
    Fail(path, "OBJ file \"" + file + "\" holds no polygons");
  if (pointCount > 100000000 || faceCount > 100000000)
    Fail(path, "OBJ file \"" + file + "\" is too large");
  PolygonObject* mesh = PolygonObject::Alloc(static_cast<Int32>(pointCount), static_cast<Int32>(faceCount));
  if (!mesh)
    Fail(path, "no memory for the mesh of \"" + file + "\"");
  for (size_t i = 0; i < pointCount; ++i)
    mesh->GetPointW()[i] = Vector(attrib.vertices[3 * i], attrib.vertices[3 * i + 1], attrib.vertices[3 * i + 2]);
  const bool withUV = !attrib.texcoords.empty();
  if (withUV)
    mesh->SetUVWEnabled(true);
  size_t f = 0;
  for (const tinyobj::shape_t& s : reader.GetShapes())
  {
    size_t at = 0;
    for (unsigned char n : s.mesh.num_face_vertices)
    {
      const tinyobj::index_t* idx = &s.mesh.indices[at];
      CheckObjPolygon(idx, n, f, pointCount, attrib.texcoords.size() / 2, mesh, path, file);
      SetObjPolygon(mesh, f, idx, n, attrib, withUV);
      at += n;
      ++f;
    }
  }
  mesh->GetDataInstance()->SetFilename(kMeshFile, Filename(file.c_str()));
  return mesh;
}

PolygonObject* ReadInlineMesh(const Json& v, const std::string& path)
{
  const Json& points = Member(v, "points", path);
  const Json& polygons = Member(v, "polygons", path);
  RequireArray(points, path + "/points");
  RequireArray(polygons, path + "/polygons");
  PolygonObject* mesh = PolygonObject::Alloc(static_cast<Int32>(points.size()), static_cast<Int32>(polygons.size()));
  if (!mesh)
    Fail(path, "no memory for the mesh");
  try
  {
    for (size_t i = 0; i < points.size(); ++i)
      mesh->GetPointW()[i] = ReadVector(points[i], path + "/points/" + std::to_string(i));
    const Int32 last = static_cast<Int32>(points.size()) - 1;
    for (size_t i = 0; i < polygons.size(); ++i)
    {
      const std::string p = path + "/polygons/" + std::to_string(i);
      const Json& c = polygons[i];
      if (!c.is_array() || (c.size() != 3 && c.size() != 4))
        Fail(p, "a polygon is 3 or 4 point indices");
      const Int32 a = ReadInt(c[0], p + "/0", 0, last), b = ReadInt(c[1], p + "/1", 0, last),
                  d2 = ReadInt(c[2], p + "/2", 0, last);
      mesh->GetPolygonW()[i] = c.size() == 3 ? CPolygon(a, b, d2) : CPolygon(a, b, d2, ReadInt(c[3], p + "/3", 0, last));
    }
  }
  catch (...)
  {
    FreeMesh(mesh);
    throw;
  }
  return mesh;
}
} // namespace

PolygonObject* ReadMesh(const Json& v, const std::string& path, const std::string& folder)
{
  const bool fromFile = v.contains("file");
  if (fromFile == (v.contains("points") || v.contains("polygons")))
    Fail(path, "a mesh has either \"file\" (an OBJ file) or \"points\" and \"polygons\"");
  if (fromFile)
    return ReadObjMesh(ExistingFile(v["file"], path + "/file", folder, "OBJ file"), path + "/file");
  return ReadInlineMesh(v, path);
}

void WriteMesh(PolygonObject* mesh, const std::string& folder, Json* out)
{
  const std::string file = mesh->GetDataInstance()->GetFilename(kMeshFile).GetString().GetStdString();
  if (!file.empty())
  {
    (*out)["file"] = RelativePath(file, folder);
    return;
  }
  Json points = Json::array(), polygons = Json::array();
  for (Int32 i = 0; i < mesh->GetPointCount(); ++i)
    points.push_back(WriteVector(mesh->GetPointR()[i]));
  for (Int32 i = 0; i < mesh->GetPolygonCount(); ++i)
  {
    const CPolygon& p = mesh->GetPolygonR()[i];
    polygons.push_back(p.IsTriangle() ? Json::array({p.a, p.b, p.c}) : Json::array({p.a, p.b, p.c, p.d}));
  }
  (*out)["points"] = points;
  (*out)["polygons"] = polygons;
}
} // namespace host::scene
