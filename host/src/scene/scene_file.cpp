// Scene files at their edges: reading and parsing the file, writing it whole, and the
// single-parameter parsing the command line's --set uses.
#include "scene/scene_file.h"

#include "pending_file.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <unistd.h>

#include "c4d_resource.h"
#include "host_app.h"
#include "scene/scene_io.h"

namespace fs = std::filesystem;

namespace host::scene
{
namespace
{
// Nodes made while a scene loads look for "the" document (a lens tag adds its video post there):
// the one being loaded, for as long as it loads.
using LoadingDocument = ActiveDocumentScope;

std::string FolderOf(const std::string& file)
{
  const fs::path parent = fs::absolute(fs::path(file)).parent_path();
  return parent.lexically_normal().string();
}
} // namespace

std::string SceneError::Message() const
{
  std::string m = file;
  if (!path.empty())
    m += ": " + path;
  return m + ": " + problem;
}

BaseDocument* LoadScene(const std::string& file, SceneError* error)
{
  SceneError local;
  SceneError& err = error ? *error : local;
  err = SceneError{file, std::string(), std::string()};

  std::error_code ec;
  if (!fs::exists(file, ec))
  {
    err.problem = "no such file";
    return nullptr;
  }
  if (!fs::is_regular_file(file, ec))
  {
    err.problem = "not a file";
    return nullptr;
  }
  std::ifstream in(file, std::ios::binary);
  if (!in)
  {
    err.problem = "cannot be read";
    return nullptr;
  }
  std::stringstream text;
  text << in.rdbuf();

  Json root;
  try
  {
    root = ParseJson(text.str());
  }
  catch (const DuplicateKey& e)
  {
    err.problem = std::string("malformed JSON: ") + e.what();
    return nullptr;
  }
  catch (const Json::exception& e)
  {
    // "[json.exception.parse_error.101] parse error at line 3, column 5: ..." without its tag;
    // a number beyond a double's range comes as an out_of_range error.
    const std::string what = e.what();
    const std::string::size_type tag = what.find("] ");
    err.problem = "malformed JSON: " + (tag == std::string::npos ? what : what.substr(tag + 2));
    return nullptr;
  }

  BaseDocument* doc = BaseDocument::Alloc();
  doc->SetDocumentPath(Filename(FolderOf(file).c_str()));
  doc->SetDocumentName(Filename(fs::path(file).stem().string().c_str()));
  try
  {
    LoadingDocument loading(doc);
    LoadDocument(doc, FolderOf(file), root);
  }
  catch (const SceneProblem& p)
  {
    err.path = p.path;
    err.problem = p.problem;
    BaseDocument::Free(doc);
    return nullptr;
  }
  catch (const std::exception& e)
  {
    err.problem = e.what();
    BaseDocument::Free(doc);
    return nullptr;
  }
  return doc;
}

BaseDocument* CopyDocument(BaseDocument* doc, std::string* error)
{
  const std::string folder = doc->GetDocumentPath().GetString().GetStdString();
  BaseDocument* copy = BaseDocument::Alloc();
  copy->SetDocumentPath(doc->GetDocumentPath());
  copy->SetDocumentName(doc->GetDocumentName());
  try
  {
    const Json root = SaveDocument(doc, folder);
    LoadingDocument loading(copy);
    LoadDocument(copy, folder, root);
    copy->SetTime(doc->GetTime());
    return copy;
  }
  catch (const SceneProblem& p)
  {
    *error = (p.path.empty() ? std::string() : p.path + ": ") + p.problem;
  }
  catch (const std::exception& e)
  {
    *error = e.what();
  }
  BaseDocument::Free(copy);
  return nullptr;
}

bool SaveScene(BaseDocument* doc, const std::string& file, SceneError* error)
{
  SceneError local;
  SceneError& err = error ? *error : local;
  err = SceneError{file, std::string(), std::string()};
  if (!doc)
  {
    err.problem = "no document to save";
    return false;
  }
  std::string text;
  try
  {
    text = SaveDocument(doc, FolderOf(file)).dump(2) + "\n";
  }
  catch (const SceneProblem& p)
  {
    err.path = p.path;
    err.problem = p.problem;
    return false;
  }
  catch (const std::exception& e)
  {
    err.problem = e.what();
    return false;
  }

  // Whole or not at all: a private temporary file beside the target, then a rename over it.
  PendingFile out;
  if (!out.Open(file) || !out.Write(text.data(), text.size()) || !out.Commit())
  {
    err.problem = out.Problem();
    return false;
  }
  return true;
}

bool ResolveParameter(const std::string& symbolOrId, Int32* id)
{
  if (symbolOrId.empty())
    return false;
  Int32 n = 0;
  if (ParseId(symbolOrId, &n))
  {
    *id = n;
    return true;
  }
  return Descriptions().ResolveSymbol(String(symbolOrId), id);
}

bool ParseParameterValue(BaseList2D* node, Int32 id, const std::string& jsonText, GeData* out, std::string* problem)
{
  const DescriptionResource* desc = node ? DescriptionOf(node->GetType()) : nullptr;
  if (!desc)
  {
    *problem = "the node has no description";
    return false;
  }
  const BaseContainer* settings = FindEntry(*desc, std::to_string(id), &id);
  if (!settings)
  {
    *problem = desc->name.GetStdString() + " has no parameter " + std::to_string(id);
    return false;
  }
  Json v;
  try
  {
    v = ParseJson(jsonText);
  }
  catch (const DuplicateKey& e)
  {
    *problem = e.what();
    return false;
  }
  catch (const Json::parse_error&)
  {
    // A bare word is a string (a file name, a text, a cycle's symbol).
    v = jsonText;
  }
  catch (const Json::exception& e)
  {
    *problem = e.what();
    return false;
  }
  try
  {
    BaseDocument* doc = node->GetDocument();
    const std::string folder = doc ? doc->GetDocumentPath().GetString().GetStdString() : std::string();
    *out = ReadParameter(v, std::string(), *settings, *desc, node, folder);
  }
  catch (const SceneProblem& p)
  {
    *problem = p.problem;
    return false;
  }
  return true;
}
} // namespace host::scene
