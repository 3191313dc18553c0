// The studio: the host's interface served to a browser on loopback. One document, changed by
// requests in the order they are applied; renders work on a copy of it.
#pragma once

#include <memory>
#include <string>

namespace host::studio
{
struct StudioOptions
{
  std::string webFolder;    ///< the page's files
  std::string pluginFolder; ///< the plug-in's folder, whose files the page may show
  std::string sceneFolder;  ///< scenes are saved and opened only under it
  int port = 0;             ///< 0 picks a free port
};

class Studio
{
public:
  explicit Studio(StudioOptions options);
  ~Studio();
  Studio(const Studio&) = delete;
  Studio& operator=(const Studio&) = delete;

  /// Listens on 127.0.0.1; false with `error` if the port can't be had.
  bool Bind(std::string* error);
  int Port() const;
  /// The run's secret, which every request must carry.
  const std::string& Token() const;
  /// Serves until Stop.
  void Serve();
  /// Ends Serve from any thread: a running render is cancelled and waited for.
  void Stop();

  struct Impl;

private:
  std::unique_ptr<Impl> impl;
};
} // namespace host::studio
