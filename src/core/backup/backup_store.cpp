#include "core/backup/backup_store.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "core/backup/sha256.h"
#include "core/store/atomic_write.h"
#include "core/store/page_check.h"
#include "core/store/refused_texts.h"
#include "core/util/iso_instant.h"
#include "core/util/json_fields.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kHistory = "history.jsonl";
// Texts kept before writes, per page; older ones go when a snapshot prunes.
constexpr std::size_t kHistoryPerPage = 50;

bool isDigest(std::string_view s) {
  return s.size() == 64 && std::all_of(s.begin(), s.end(), [](char c) {
           return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
         });
}

struct HistoryLine {
  std::string page;
  Instant time;
  std::string blob;
};

std::vector<HistoryLine> readHistory(const fs::path& file) {
  std::vector<HistoryLine> out;
  std::ifstream in(file);
  std::string line;
  while (std::getline(in, line)) {
    // A line cut short by a crash, or edited by hand, is skipped.
    const Json json = Json::parse(line, nullptr, false);
    if (json.is_discarded() || !json.is_object()) continue;
    const auto page = json.value("page", std::string());
    const auto blob = json.value("blob", std::string());
    const auto time = parseIsoInstant(json.value("time", std::string()));
    if (page.empty() || !isDigest(blob) || !time) continue;
    out.push_back({page, *time, blob});
  }
  return out;
}

std::map<std::string, std::string> pagesOf(const fs::path& snapshot, Instant* time) {
  std::map<std::string, std::string> out;
  const auto json = Coordinated::readJson(snapshot);
  if (!json || !json->is_object()) return out;
  if (time) *time = parseIsoInstant(json->value("time", std::string())).value_or(Instant{});
  const auto it = json->find("pages");
  if (it == json->end() || !it->is_object()) return out;
  for (const auto& [page, blob] : it->items()) {
    if (blob.is_string() && isDigest(blob.get<std::string>())) out[page] = blob.get<std::string>();
  }
  return out;
}

void syncBackupFolder(const fs::path& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  (void)::syncfs(fd);
  ::close(fd);
}

}  // namespace

BackupStore::BackupStore(fs::path folder, const Clock& clock)
    : folder_(std::move(folder)), clock_(clock) {}

std::optional<fs::path> BackupStore::folderFor(const fs::path& vaultRoot) {
  auto refused = RefusedTexts::folderFor(vaultRoot);
  if (!refused) return std::nullopt;
  return refused->parent_path() / "backups";
}

bool BackupStore::storeBlob(const std::string& digest, std::string_view text) {
  const fs::path file = folder_ / "blobs" / digest.substr(0, 2) / digest;
  std::error_code ec;
  if (fs::exists(file, ec)) return false;
  fs::create_directories(file.parent_path());
  AtomicWrite::Options options;
  options.durable = false;
  options.mode = 0600;
  AtomicWrite::write(text, file, options);
  return true;
}

BackupStore::SnapshotResult BackupStore::snapshot(
    const fs::path& vaultRoot, std::int64_t keep,
    const std::function<void(std::size_t, std::size_t)>& progress) {
  std::lock_guard lock(mu_);
  SnapshotResult result;
  std::vector<PageFile> pages;
  try {
    pages = findPageFiles({vaultRoot});
  } catch (const fs::filesystem_error& e) {
    throw FileError(e.code().value(), e.path1(), "read");
  }
  Json listed = Json::object();
  for (std::size_t i = 0; i < pages.size(); ++i) {
    if (pages[i].vaultRoot != vaultRoot) continue;
    std::string text;
    try {
      text = Coordinated::read(pages[i].path);
    } catch (const FileError&) {
      // A page removed meanwhile is simply not in this snapshot.
      continue;
    }
    const std::string digest = sha256Hex(text);
    if (storeBlob(digest, text)) ++result.newBlobs;
    listed[pages[i].relative] = digest;
    ++result.pages;
    if (progress) progress(i + 1, pages.size());
  }
  const Instant now = clock_.now();
  const LocalReading t = readWithOffset(now, std::chrono::seconds(0));
  const std::string stamp = fmt::format("{:04}{:02}{:02}T{:02}{:02}{:02}Z", t.year, t.month, t.day,
                                        t.hour, t.minute, t.second);
  fs::create_directories(folder_ / "snapshots");
  result.file = folder_ / "snapshots" / (stamp + ".json");
  for (int n = 2; fs::exists(result.file); ++n) {
    result.file = folder_ / "snapshots" / fmt::format("{}-{}.json", stamp, n);
  }
  // The texts reach the disk before the snapshot that names them.
  syncBackupFolder(folder_);
  AtomicWrite::write(Json{{"time", isoInstantString(now)}, {"pages", listed}}.dump(1) + "\n",
                     result.file);

  auto all = snapshots();
  const auto keepCount = static_cast<std::size_t>(std::max<std::int64_t>(keep, 1));
  while (all.size() > keepCount) {
    std::error_code ec;
    fs::remove(all.front(), ec);
    all.erase(all.begin());
    ++result.pruned;
  }
  collectGarbage();
  return result;
}

std::vector<fs::path> BackupStore::snapshots() const {
  std::vector<fs::path> out;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(folder_ / "snapshots", ec)) {
    if (entry.path().extension() == ".json") out.push_back(entry.path());
  }
  // Names are the UTC time, then "-2", "-3" … for more in the same second: in that order.
  const auto order = [](const fs::path& p) {
    const std::string stem = p.stem().string();
    const auto dash = stem.find('-');
    long n = 1;
    if (dash != std::string::npos) n = std::strtol(stem.c_str() + dash + 1, nullptr, 10);
    return std::pair(stem.substr(0, dash), n);
  };
  std::sort(out.begin(), out.end(),
            [&](const fs::path& a, const fs::path& b) { return order(a) < order(b); });
  return out;
}

std::optional<Instant> BackupStore::lastSnapshot() const {
  const auto all = snapshots();
  if (all.empty()) return std::nullopt;
  Instant time{};
  pagesOf(all.back(), &time);
  return time;
}

void BackupStore::recordBefore(const fs::path& page, std::string_view text) {
  std::lock_guard lock(mu_);
  const std::string digest = sha256Hex(text);
  storeBlob(digest, text);
  fs::create_directories(folder_);
  const std::string line = Json{{"page", page.generic_string()},
                                {"time", isoInstantString(clock_.now())},
                                {"blob", digest}}
                               .dump() +
                           "\n";
  // One short append per write; O_APPEND keeps lines of several processes whole.
  const fs::path file = folder_ / kHistory;
  const int fd = ::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
  if (fd < 0) throw FileError(errno, file, "open");
  const ssize_t n = ::write(fd, line.data(), line.size());
  const int error = errno;
  ::close(fd);
  if (n != static_cast<ssize_t>(line.size())) throw FileError(error, file, "write");
}

std::vector<BackupStore::Version> BackupStore::versions(const fs::path& page) const {
  std::lock_guard lock(mu_);
  const std::string name = page.generic_string();
  std::vector<Version> all;
  for (const auto& snapshot : snapshots()) {
    Instant time{};
    const auto pages = pagesOf(snapshot, &time);
    if (auto it = pages.find(name); it != pages.end()) {
      all.push_back({it->second, time, Version::Source::snapshot});
    }
  }
  for (const auto& line : readHistory(folder_ / kHistory)) {
    if (line.page == name) all.push_back({line.blob, line.time, Version::Source::beforeWrite});
  }
  std::stable_sort(all.begin(), all.end(),
                   [](const Version& a, const Version& b) { return a.time < b.time; });
  std::vector<Version> out;
  for (const auto& v : all) {
    if (!out.empty() && out.back().blob == v.blob) continue;
    out.push_back(v);
  }
  std::reverse(out.begin(), out.end());
  return out;
}

std::optional<std::string> BackupStore::text(std::string_view prefix) const {
  if (prefix.size() < 4 || prefix.size() > 64 ||
      !std::all_of(prefix.begin(), prefix.end(),
                   [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); })) {
    return std::nullopt;
  }
  std::optional<fs::path> found;
  std::error_code ec;
  for (const auto& entry :
       fs::directory_iterator(folder_ / "blobs" / std::string(prefix.substr(0, 2)), ec)) {
    if (!entry.path().filename().string().starts_with(prefix)) continue;
    if (found) return std::nullopt;
    found = entry.path();
  }
  if (!found) return std::nullopt;
  try {
    return Coordinated::read(*found);
  } catch (const FileError&) {
    return std::nullopt;
  }
}

void BackupStore::collectGarbage() {
  std::set<std::string> used;
  for (const auto& snapshot : snapshots()) {
    for (const auto& [page, blob] : pagesOf(snapshot, nullptr)) used.insert(blob);
  }
  // The newest texts kept before writes stay, a bounded number per page.
  auto history = readHistory(folder_ / kHistory);
  std::map<std::string, std::size_t> perPage;
  std::vector<HistoryLine> kept;
  for (auto it = history.rbegin(); it != history.rend(); ++it) {
    if (++perPage[it->page] > kHistoryPerPage) continue;
    kept.push_back(*it);
    used.insert(it->blob);
  }
  if (kept.size() != history.size()) {
    std::string text;
    for (auto it = kept.rbegin(); it != kept.rend(); ++it) {
      text += Json{{"page", it->page}, {"time", isoInstantString(it->time)}, {"blob", it->blob}}
                  .dump() +
              "\n";
    }
    AtomicWrite::write(text, folder_ / kHistory);
  }
  std::error_code ec;
  for (auto it = fs::recursive_directory_iterator(folder_ / "blobs", ec); !ec && it != fs::end(it);
       it.increment(ec)) {
    if (!it->is_regular_file(ec)) continue;
    const std::string name = it->path().filename().string();
    if (isDigest(name) && !used.count(name)) fs::remove(it->path(), ec);
  }
}

std::function<void(const EntryKey&, const std::optional<std::string>&)> BackupStore::historyHook(
    std::shared_ptr<BackupStore> backups, VaultPaths paths) {
  return [backups = std::move(backups), paths = std::move(paths)](
             const EntryKey& key, const std::optional<std::string>& before) {
    if (!before) return;
    try {
      backups->recordBefore(paths.urlFor(key).lexically_relative(paths.root()), *before);
    } catch (const std::exception&) {
    }
  };
}

}  // namespace trivo

namespace trivo {

BackupStore::Settings BackupStore::settingsOf(const std::filesystem::path& vaultRoot) {
  Settings settings;
  const auto config = Coordinated::readJson(vaultRoot / ".trivo" / "config.json");
  if (!config || !config->is_object()) return settings;
  const auto backup = config->find("backup");
  if (backup == config->end() || !backup->is_object()) return settings;
  if (auto it = backup->find("enabled"); it != backup->end() && it->is_boolean()) {
    settings.enabled = it->get<bool>();
  }
  if (auto it = backup->find("intervalMinutes");
      it != backup->end() && it->is_number_integer() && it->get<std::int64_t>() > 0) {
    settings.intervalMinutes = it->get<std::int64_t>();
  }
  if (auto it = backup->find("keep");
      it != backup->end() && it->is_number_integer() && it->get<std::int64_t>() > 0) {
    settings.keep = it->get<std::int64_t>();
  }
  return settings;
}

std::function<void(const EntryKey&, const std::optional<std::string>&)> BackupStore::historyFor(
    const VaultPaths& paths, const Clock& clock) {
  if (!settingsOf(paths.root()).enabled) return {};
  auto folder = folderFor(paths.root());
  if (!folder) return {};
  return historyHook(std::make_shared<BackupStore>(*folder, clock), paths);
}

}  // namespace trivo
