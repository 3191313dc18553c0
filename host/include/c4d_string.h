// String and Filename: the host's text and path types.
#pragma once

#include <atomic>
#include <ostream>
#include <string>
#include <utility>

#include "c4d_types.h"

/// How String::Compare orders two texts.
enum class STRINGCOMPARISON : Int32
{
  MEMORY = 0,          ///< byte by byte
  UNICODE_LETTERS = 1, ///< by code point
  UNICODE_NUMBERS = 2, ///< by code point, a run of digits taken as a number: "2" before "10"
};

/// Reference-counted text: copies share one buffer, and a change makes a private copy. The count
/// is intrusive, so a buffer made inside a plug-in module can be released after the module is gone.
class String
{
public:
  String() = default;
  String(const char* text) { if (text && *text) buffer = new Buffer(text); }
  String(const std::string& text) { if (!text.empty()) buffer = new Buffer(text); }
  String(const String& o) : buffer(o.buffer) { Retain(); }
  String(String&& o) noexcept : buffer(o.buffer) { o.buffer = nullptr; }
  String& operator=(const String& o)
  {
    if (buffer != o.buffer)
    {
      o.Retain();
      Release();
      buffer = o.buffer;
    }
    return *this;
  }
  String& operator=(String&& o) noexcept
  {
    if (this != &o)
    {
      Release();
      buffer = o.buffer;
      o.buffer = nullptr;
    }
    return *this;
  }
  ~String() { Release(); }

  Int32 GetLength() const { return buffer ? static_cast<Int32>(buffer->text.size()) : 0; }
  Bool IsEmpty() const { return GetLength() == 0; }
  Bool IsPopulated() const { return !IsEmpty(); }

  /// The text as 8-bit characters; valid while this String is not changed.
  const std::string& GetStdString() const { return buffer ? buffer->text : Empty(); }
  const char* GetCString() const { return GetStdString().c_str(); }

  /// Finds `what` at or after `start`; gives false and leaves `pos` alone when it is not there.
  Bool FindFirst(const String& what, Int32* pos, Int32 start = 0) const
  {
    if (start < 0 || start > GetLength())
      return false;
    const std::string::size_type at = GetStdString().find(what.GetStdString(), static_cast<std::string::size_type>(start));
    if (at == std::string::npos)
      return false;
    if (pos)
      *pos = static_cast<Int32>(at);
    return true;
  }

  /// Up to `count` characters from `start`.
  String SubStr(Int32 start, Int32 count) const
  {
    if (start < 0 || start >= GetLength() || count <= 0)
      return String();
    return String(GetStdString().substr(static_cast<std::string::size_type>(start), static_cast<std::string::size_type>(count)));
  }

  String& operator+=(const String& b)
  {
    if (b.IsEmpty())
      return *this;
    const std::string tail = b.GetStdString(); // b may share this buffer
    MakePrivate();
    buffer->text.append(tail);
    return *this;
  }
  String operator+(const String& b) const { String r(*this); r += b; return r; }
  bool operator==(const String& b) const { return GetStdString() == b.GetStdString(); }
  bool operator!=(const String& b) const { return !(*this == b); }
  bool operator<(const String& b) const { return GetStdString() < b.GetStdString(); }
  /// Below 0, 0 or above 0 as this text comes before, with or after `b` in the order of `mode`.
  Int32 Compare(const String& b, STRINGCOMPARISON mode) const;

  /// Whether the two share one buffer (both empty counts as not sharing).
  Bool SharesBufferWith(const String& b) const { return buffer && buffer == b.buffer; }
  /// How many Strings hold this buffer; 0 for the empty text.
  long GetReferenceCount() const { return buffer ? buffer->refs.load(std::memory_order_relaxed) : 0; }

  static String IntToString(Int64 v) { return String(std::to_string(v)); }

private:
  struct Buffer
  {
    explicit Buffer(std::string t) : text(std::move(t)) {}
    std::atomic<long> refs{1};
    std::string text;
  };

  static const std::string& Empty()
  {
    static const std::string empty;
    return empty;
  }
  void Retain() const
  {
    if (buffer)
      buffer->refs.fetch_add(1, std::memory_order_relaxed);
  }
  void Release()
  {
    if (buffer && buffer->refs.fetch_sub(1, std::memory_order_acq_rel) == 1)
      delete buffer;
    buffer = nullptr;
  }
  void MakePrivate()
  {
    if (!buffer)
      buffer = new Buffer(std::string());
    else if (buffer->refs.load(std::memory_order_acquire) > 1)
    {
      Buffer* own = new Buffer(buffer->text);
      Release();
      buffer = own;
    }
  }

  Buffer* buffer = nullptr;
};

inline std::ostream& operator<<(std::ostream& os, const String& s) { return os << s.GetStdString(); }

/// A file path; `+` joins with the path separator.
class Filename
{
public:
  Filename() = default;
  Filename(const String& p) : path(p) {}
  Filename(const char* p) : path(p) {}

  const String& GetString() const { return path; }
  void SetString(const String& p) { path = p; }
  Bool IsPopulated() const { return path.IsPopulated(); }
  Bool IsEmpty() const { return path.IsEmpty(); }

  /// The last part of the path: the file's own name.
  Filename GetFile() const
  {
    const std::string& s = path.GetStdString();
    const std::string::size_type slash = s.find_last_of('/');
    return slash == std::string::npos ? *this : Filename(String(s.substr(slash + 1)));
  }
  /// Everything before the last part.
  Filename GetDirectory() const
  {
    const std::string& s = path.GetStdString();
    const std::string::size_type slash = s.find_last_of('/');
    if (slash == std::string::npos)
      return Filename();
    return Filename(String(slash == 0 ? std::string("/") : s.substr(0, slash)));
  }
  /// The suffix without its dot, or empty.
  String GetSuffix() const
  {
    const std::string s = GetFile().path.GetStdString();
    const std::string::size_type dot = s.find_last_of('.');
    return dot == std::string::npos || dot == 0 ? String() : String(s.substr(dot + 1));
  }

  Filename operator+(const Filename& b) const
  {
    if (path.IsEmpty())
      return b;
    if (b.path.IsEmpty())
      return *this;
    // One separator between the parts, whichever side brings it ("dir" + "/file" too).
    const std::string& s = path.GetStdString();
    const bool bSlash = b.path.GetStdString().front() == '/';
    if (s.back() == '/' && bSlash)
      return Filename(path + String(b.path.GetStdString().substr(1)));
    if (s.back() == '/' || bSlash)
      return Filename(path + b.path);
    return Filename(path + String("/") + b.path);
  }
  Filename& operator+=(const Filename& b) { return *this = *this + b; }
  bool operator==(const Filename& b) const { return path == b.path; }
  bool operator!=(const Filename& b) const { return !(*this == b); }

private:
  String path;
};

inline std::ostream& operator<<(std::ostream& os, const Filename& f) { return os << f.GetString(); }
