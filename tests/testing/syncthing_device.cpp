#include "testing/syncthing_device.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <deque>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "testing/process.h"

namespace trivo::testing {

namespace fs = std::filesystem;

namespace {

// No usage reports, upgrades or default folder in ~/Sync: the instance must touch nothing
// outside its home and the folder it is given.
ProcessOptions quietEnvironment() {
  ProcessOptions options;
  options.env["STNODEFAULTFOLDER"] = "1";
  options.env["STNOUPGRADE"] = "1";
  options.env["STNORESTART"] = "1";
  return options;
}

std::string shellQuoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace

std::optional<fs::path> SyncthingDevice::program() { return testing::onPath("syncthing"); }

int freeLoopbackPort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  if (fd < 0) throw std::runtime_error("cannot open a socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = 0;
  socklen_t length = sizeof address;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    ::close(fd);
    throw std::runtime_error("cannot bind a loopback port");
  }
  ::close(fd);
  return ntohs(address.sin_port);
}

SyncthingDevice::SyncthingDevice(fs::path home) : home_(std::move(home)) {
  const auto syncthing = program();
  if (!syncthing) throw std::runtime_error("syncthing is not installed");
  const ProcessResult generated = runExecutable(
      syncthing->string(), {"generate", "--home=" + home_.string()}, quietEnvironment());
  const std::string output = generated.out + generated.err;
  const std::string marker = "Device ID: ";
  const auto at = output.find(marker);
  if (generated.exitCode != 0 || at == std::string::npos) {
    throw std::runtime_error("syncthing generate failed: " + output);
  }
  const auto end = output.find_first_of("\r\n", at);
  id_ = output.substr(at + marker.size(),
                      end == std::string::npos ? std::string::npos : end - at - marker.size());
  port_ = freeLoopbackPort();
}

SyncthingDevice::~SyncthingDevice() { stop(); }

std::string SyncthingDevice::address() const { return "tcp://127.0.0.1:" + std::to_string(port_); }

void SyncthingDevice::share(const std::string& folderId, const fs::path& path,
                            const SyncthingDevice& peer, bool dialPeer) {
  std::ofstream config(home_ / "config.xml", std::ios::trunc);
  // Short watcher delay and rescan interval: a change should cross in seconds, not the default
  // ten-second batch.
  config << "<configuration version=\"36\">\n"
         << "  <folder id=\"" << folderId << "\" label=\"vault\" path=\"" << path.string()
         << "\" type=\"sendreceive\" rescanIntervalS=\"5\" fsWatcherEnabled=\"true\""
         << " fsWatcherDelayS=\"1\">\n"
         << "    <device id=\"" << id_ << "\"></device>\n"
         << "    <device id=\"" << peer.id() << "\"></device>\n"
         << "    <markerName>.stfolder</markerName>\n"
         << "    <maxConflicts>-1</maxConflicts>\n"
         << "  </folder>\n"
         << "  <device id=\"" << id_ << "\" name=\"self\"><address>dynamic</address></device>\n"
         << "  <device id=\"" << peer.id() << "\" name=\"peer\"><address>"
         << (dialPeer ? peer.address() : std::string("dynamic")) << "</address></device>\n"
         << "  <gui enabled=\"false\" tls=\"false\"><address>127.0.0.1:0</address></gui>\n"
         << "  <options>\n"
         << "    <listenAddress>" << address() << "</listenAddress>\n"
         << "    <globalAnnounceEnabled>false</globalAnnounceEnabled>\n"
         << "    <localAnnounceEnabled>false</localAnnounceEnabled>\n"
         << "    <relaysEnabled>false</relaysEnabled>\n"
         << "    <natEnabled>false</natEnabled>\n"
         << "    <reconnectionIntervalS>1</reconnectionIntervalS>\n"
         << "    <startBrowser>false</startBrowser>\n"
         << "    <urAccepted>-1</urAccepted>\n"
         << "    <autoUpgradeIntervalH>0</autoUpgradeIntervalH>\n"
         << "    <crashReportingEnabled>false</crashReportingEnabled>\n"
         << "  </options>\n"
         << "</configuration>\n";
  if (!config) throw std::runtime_error("cannot write " + (home_ / "config.xml").string());
}

void SyncthingDevice::start() {
  stop();
  const auto syncthing = program();
  if (!syncthing) throw std::runtime_error("syncthing is not installed");
  // Through a shell only to send the output to a file: a pipe nobody reads would fill and
  // stall the instance.
  const std::string command =
      "exec " + shellQuoted(syncthing->string()) + " serve --home=" + shellQuoted(home_.string()) +
      " --no-browser --no-restart >" + shellQuoted(log().string()) + " 2>&1";
  process_ = std::make_unique<BackgroundProcess>("/bin/sh", std::vector<std::string>{"-c", command},
                                                 quietEnvironment());
}

void SyncthingDevice::stop() {
  if (!process_) return;
  process_->stop(10000);
  process_.reset();
}

std::string SyncthingDevice::logTail(std::size_t lines) const {
  std::ifstream in(log());
  std::deque<std::string> tail;
  for (std::string line; std::getline(in, line);) {
    tail.push_back(line);
    if (tail.size() > lines) tail.pop_front();
  }
  std::string text;
  for (const auto& line : tail) text += line + "\n";
  return text;
}

}  // namespace trivo::testing
