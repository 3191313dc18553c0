// The studio's guard: loopback names, tokens and folders.
#include "studio/studio_guard.h"

#include <filesystem>
#include <fstream>
#include <random>

namespace fs = std::filesystem;

namespace host::studio
{
namespace
{
bool IsLoopbackName(const std::string& name)
{
  return name == "127.0.0.1" || name == "localhost" || name == "[::1]";
}

/// "name:port" with exactly this port.
bool NameAndPort(const std::string& hostPort, int port)
{
  const size_t colon = hostPort.rfind(':');
  if (colon == std::string::npos || hostPort.find(']', colon) != std::string::npos)
    return false;
  return IsLoopbackName(hostPort.substr(0, colon)) && hostPort.substr(colon + 1) == std::to_string(port);
}
} // namespace

bool LoopbackHost(const std::string& host, int port)
{
  return NameAndPort(host, port);
}

bool LoopbackOrigin(const std::string& origin, int port)
{
  const std::string scheme = "http://";
  return origin.compare(0, scheme.size(), scheme) == 0 && NameAndPort(origin.substr(scheme.size()), port);
}

bool SameToken(const std::string& given, const std::string& token)
{
  unsigned char diff = given.size() == token.size() ? 0 : 1;
  for (size_t i = 0; i < token.size(); ++i)
    diff |= static_cast<unsigned char>(token[i] ^ (i < given.size() ? given[i] : 0));
  return diff == 0 && !token.empty();
}

std::string NewToken()
{
  std::random_device source; // the system's random device on Linux
  static const char* digits = "0123456789abcdef";
  std::string token;
  for (int i = 0; i < 4; ++i)
  {
    const unsigned int word = source();
    for (int k = 0; k < 8; k += 2)
    {
      const unsigned int byte = (word >> (k * 4)) & 0xff;
      token += digits[byte >> 4];
      token += digits[byte & 15];
    }
  }
  return token;
}

std::optional<std::string> InsideFolder(const std::string& folder, const std::string& relative)
{
  std::error_code ec;
  if (relative.empty() || relative.find('\0') != std::string::npos)
    return std::nullopt;
  const fs::path root = fs::canonical(folder, ec);
  if (ec)
    return std::nullopt;
  const fs::path asked = fs::path(relative).is_absolute() ? fs::path(relative) : root / relative;
  // The folder must exist; the file itself may be new. Links anywhere on the way are followed.
  const fs::path parent = fs::canonical(asked.parent_path(), ec);
  if (ec || asked.filename().empty() || asked.filename() == "." || asked.filename() == "..")
    return std::nullopt;
  fs::path full = parent / asked.filename();
  if (fs::is_symlink(full, ec))
  {
    full = fs::canonical(full, ec);
    if (ec)
      return std::nullopt;
  }
  const std::string r = root.string(), f = full.string();
  const bool inside = f.size() > r.size() && f.compare(0, r.size(), r) == 0 && (r.back() == '/' || f[r.size()] == '/');
  if (!inside)
    return std::nullopt;
  return f;
}

std::string CookieValue(const std::string& header, const std::string& name)
{
  size_t at = 0;
  while (at < header.size())
  {
    while (at < header.size() && (header[at] == ' ' || header[at] == ';'))
      ++at;
    const size_t end = std::min(header.find(';', at), header.size());
    const std::string pair = header.substr(at, end - at);
    const size_t eq = pair.find('=');
    if (eq != std::string::npos && pair.substr(0, eq) == name)
      return pair.substr(eq + 1);
    at = end;
  }
  return std::string();
}
} // namespace host::studio
