// Files for plug-ins: folder listings, scenes loaded as documents, the system's opening of a file,
// and the string order that file lists are sorted by.
#include <filesystem>
#include <system_error>

#include "host_app.h"
#include "scene/scene_file.h"

namespace fs = std::filesystem;

BrowseFiles* BrowseFiles::Alloc()
{
  return new BrowseFiles();
}

void BrowseFiles::Free(BrowseFiles*& bf)
{
  delete bf;
  bf = nullptr;
}

void BrowseFiles::Init(const Filename& directory, Int32 /*flags*/)
{
  entries.clear();
  at = -1;
  std::error_code ec;
  for (fs::directory_iterator it(directory.GetString().GetStdString(), ec), end; !ec && it != end; it.increment(ec))
    entries.push_back({Filename(it->path().filename().string().c_str()), it->is_directory(ec)});
}

Bool BrowseFiles::GetNext()
{
  if (at + 1 >= static_cast<Int32>(entries.size()))
    return false;
  ++at;
  return true;
}

Filename BrowseFiles::GetFilename() const
{
  return at >= 0 ? entries[static_cast<size_t>(at)].name : Filename();
}

Bool BrowseFiles::IsDir() const
{
  return at >= 0 && entries[static_cast<size_t>(at)].dir;
}

BaseDocument* LoadDocument(const Filename& name, Int32 /*loadFlags*/, BaseThread* /*thread*/, String* error)
{
  // A scene file holds objects and materials only, so every filter loads all of it.
  host::scene::SceneError e;
  BaseDocument* doc = host::scene::LoadScene(name.GetString().GetStdString(), &e);
  if (!doc && error)
    *error = String(e.Message());
  return doc;
}

Int64 SystemOpenFile(const Filename& file, const String& /*parameters*/)
{
  // The stand-in launches nothing: it notes what the system was asked to open, and refuses a file
  // that isn't there as the system would.
  std::error_code ec;
  if (!fs::is_regular_file(file.GetString().GetStdString(), ec))
    return 2;
  host::App().ui.openedFiles.push_back(file.GetString());
  return 42;
}

namespace
{
/// The code point at `i` of UTF-8 text, stepping `i` past it; a broken byte stands for itself.
UInt32 NextCodePoint(const std::string& s, size_t& i)
{
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(s[k]); };
  const unsigned char c = byte(i);
  const int extra = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC0 ? 1 : 0;
  if (extra && i + static_cast<size_t>(extra) >= s.size())
    return byte(i++);
  UInt32 cp = extra ? c & (0x3Fu >> extra) : c;
  for (int k = 1; k <= extra; ++k)
    cp = (cp << 6) | (byte(i + static_cast<size_t>(k)) & 0x3Fu);
  i += static_cast<size_t>(extra) + 1;
  return cp;
}

bool IsDigit(const std::string& s, size_t i)
{
  return i < s.size() && s[i] >= '0' && s[i] <= '9';
}

/// Compares the digit runs at `i` and `j` as numbers and steps past them.
int CompareNumbers(const std::string& a, size_t& i, const std::string& b, size_t& j)
{
  while (i + 1 < a.size() && a[i] == '0' && IsDigit(a, i + 1))
    ++i;
  while (j + 1 < b.size() && b[j] == '0' && IsDigit(b, j + 1))
    ++j;
  size_t ie = i, je = j;
  while (IsDigit(a, ie))
    ++ie;
  while (IsDigit(b, je))
    ++je;
  int r = ie - i != je - j ? (ie - i < je - j ? -1 : 1) : a.compare(i, ie - i, b, j, je - j);
  i = ie;
  j = je;
  return r < 0 ? -1 : r > 0 ? 1 : 0;
}
} // namespace

Int32 String::Compare(const String& b, STRINGCOMPARISON mode) const
{
  const std::string& x = GetStdString();
  const std::string& y = b.GetStdString();
  if (mode == STRINGCOMPARISON::MEMORY)
    return x.compare(y) < 0 ? -1 : x == y ? 0 : 1;
  size_t i = 0, j = 0;
  while (i < x.size() && j < y.size())
  {
    if (mode == STRINGCOMPARISON::UNICODE_NUMBERS && IsDigit(x, i) && IsDigit(y, j))
    {
      if (const int r = CompareNumbers(x, i, y, j))
        return r;
      continue;
    }
    const UInt32 cx = NextCodePoint(x, i), cy = NextCodePoint(y, j);
    if (cx != cy)
      return cx < cy ? -1 : 1;
  }
  if (i < x.size() || j < y.size())
    return i < x.size() ? 1 : -1;
  // Equal as read ("07" and "7"): the bytes decide, so that the order stays total.
  return x.compare(y) < 0 ? -1 : x == y ? 0 : 1;
}
