// What the studio lets through: requests from its own loopback address with its token, and files
// from the folders it was given. Plain functions, so that every rule can be tried on its own.
#pragma once

#include <optional>
#include <string>

namespace host::studio
{
/// Whether a Host header names the loopback address and port the studio serves. A name that
/// resolves elsewhere (DNS rebinding) or another port is refused.
bool LoopbackHost(const std::string& host, int port);
/// Whether an Origin header is the studio's own page (http, loopback, its port). An absent
/// Origin is the caller's to allow.
bool LoopbackOrigin(const std::string& origin, int port);
/// Compares tokens in time that doesn't depend on where they differ.
bool SameToken(const std::string& given, const std::string& token);
/// 32 hexadecimal digits from the system's random source.
std::string NewToken();
/// The absolute path of `relative` inside `folder` once symbolic links are followed, or nothing if
/// it leads outside (`..`, an absolute path elsewhere, a link out). The file need not exist yet, but
/// its folder must.
std::optional<std::string> InsideFolder(const std::string& folder, const std::string& relative);
/// The value of cookie `name` in a Cookie header, or empty.
std::string CookieValue(const std::string& header, const std::string& name);
} // namespace host::studio
