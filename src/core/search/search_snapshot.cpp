// The copy of the pages' text that a search reads instead of the pages themselves.
#include "core/search/search_snapshot.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <limits>
#include <utility>

namespace trivo {
namespace {

// The file: a header, the vault's path, a record for each page, then one block holding every
// page's path and text. Numbers are in this machine's byte order (the order mark tells), since
// a cache is never carried to another machine.
constexpr char kSnapshotMagic[8] = {'T', 'R', 'I', 'V', 'O', 'T', 'X', '\x01'};
constexpr std::uint32_t kSnapshotOrderMark = 0x01020304;

struct SnapshotHeader {
  char magic[8];
  std::uint32_t order;
  std::uint32_t vaultBytes;
  std::int64_t since;
  std::uint64_t count;
  std::uint64_t blockBytes;
};

struct SnapshotRecord {
  std::uint64_t path;  // where the path and the text start in the block
  std::uint64_t text;
  std::uint32_t pathBytes;
  std::uint32_t unused;
  std::int64_t size;  // the page's stamp; its text is `size` bytes long
  std::int64_t mtime;
};

static_assert(sizeof(SnapshotHeader) == 40 && sizeof(SnapshotRecord) == 40);

SnapshotRecord recordAt(const char* records, std::size_t index) {
  SnapshotRecord record{};
  std::memcpy(&record, records + index * sizeof record, sizeof record);
  return record;
}

// A page is taken from the copy only when it last changed this long before the copy was begun.
// File times come from a clock that moves in ticks of a few milliseconds, so a page written just
// after it was copied can keep the time it had; a second is far beyond any tick.
constexpr std::int64_t kSnapshotSettled = 1'000'000'000;

// Lengths padded to a multiple of eight bytes, so that the records after the vault's path
// stand where eight-byte numbers can be read.
std::uint64_t paddedToEight(std::uint64_t bytes) { return (bytes + 7) / 8 * 8; }

// Whether `count` items of `each` bytes fit in `room` bytes.
bool fitsIn(std::uint64_t count, std::uint64_t each, std::uint64_t room) {
  return count <= room / each;
}

bool writeWhole(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t wrote = ::write(fd, data.data(), data.size());
    if (wrote < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    data.remove_prefix(static_cast<std::size_t>(wrote));
  }
  return true;
}

}  // namespace

std::int64_t SearchSnapshot::now() {
  timespec time{};
  ::clock_gettime(CLOCK_REALTIME, &time);
  return static_cast<std::int64_t>(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

SearchSnapshot::SearchSnapshot(SearchSnapshot&& other) noexcept
    : map_(std::exchange(other.map_, nullptr)),
      bytes_(other.bytes_),
      records_(other.records_),
      block_(other.block_),
      count_(other.count_),
      since_(other.since_) {}

SearchSnapshot& SearchSnapshot::operator=(SearchSnapshot&& other) noexcept {
  std::swap(map_, other.map_);
  std::swap(bytes_, other.bytes_);
  std::swap(records_, other.records_);
  std::swap(block_, other.block_);
  std::swap(count_, other.count_);
  std::swap(since_, other.since_);
  return *this;
}

SearchSnapshot::~SearchSnapshot() {
  if (map_) ::munmap(const_cast<char*>(map_), bytes_);
}

std::optional<SearchSnapshot> SearchSnapshot::load(const std::filesystem::path& file,
                                                   std::string_view vault) {
  const int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return std::nullopt;
  struct stat info {};
  void* map = MAP_FAILED;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) &&
      static_cast<std::uint64_t>(info.st_size) >= sizeof(SnapshotHeader)) {
    // A copy is only ever replaced by renaming another over it, never cut short in place, so
    // the mapping stays whole for as long as it is held.
    map = ::mmap(nullptr, static_cast<std::size_t>(info.st_size), PROT_READ,
                 MAP_PRIVATE | MAP_POPULATE, fd, 0);
  }
  ::close(fd);
  if (map == MAP_FAILED) return std::nullopt;
  SearchSnapshot snapshot;
  snapshot.map_ = static_cast<const char*>(map);
  snapshot.bytes_ = static_cast<std::size_t>(info.st_size);

  const std::uint64_t bytes = snapshot.bytes_;
  SnapshotHeader header{};
  std::memcpy(&header, snapshot.map_, sizeof header);
  std::uint64_t at = sizeof header;
  if (std::memcmp(header.magic, kSnapshotMagic, sizeof kSnapshotMagic) != 0 ||
      header.order != kSnapshotOrderMark || header.vaultBytes > bytes - at ||
      std::string_view(snapshot.map_ + at, header.vaultBytes) != vault) {
    return std::nullopt;
  }
  at += paddedToEight(header.vaultBytes);
  if (at > bytes || !fitsIn(header.count, sizeof(SnapshotRecord), bytes - at)) return std::nullopt;
  snapshot.records_ = snapshot.map_ + at;
  at += header.count * sizeof(SnapshotRecord);
  if (header.blockBytes != bytes - at) return std::nullopt;
  snapshot.block_ = snapshot.map_ + at;
  snapshot.count_ = header.count;
  snapshot.since_ = header.since;
  for (std::size_t i = 0; i < snapshot.count_; ++i) {
    const SnapshotRecord record = recordAt(snapshot.records_, i);
    if (record.size < 0 || record.path > header.blockBytes ||
        record.pathBytes > header.blockBytes - record.path || record.text > header.blockBytes ||
        static_cast<std::uint64_t>(record.size) > header.blockBytes - record.text) {
      return std::nullopt;
    }
  }
  return snapshot;
}

bool SearchSnapshot::write(const std::filesystem::path& file, std::string_view vault,
                           std::vector<std::pair<std::string_view, Page>> pages,
                           std::int64_t since) {
  // Only pages whose text is as long as their stamp says: a page cut short while it was read
  // would otherwise be taken, short, for as long as its stamp stays.
  std::erase_if(pages, [](const auto& page) {
    return page.second.stamp.size < 0 ||
           static_cast<std::uint64_t>(page.second.stamp.size) != page.second.text.size() ||
           page.first.size() > std::numeric_limits<std::uint32_t>::max();
  });
  std::sort(pages.begin(), pages.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  pages.erase(std::unique(pages.begin(), pages.end(),
                          [](const auto& a, const auto& b) { return a.first == b.first; }),
              pages.end());
  if (vault.size() > std::numeric_limits<std::uint32_t>::max()) return false;
  std::uint64_t blockBytes = 0;
  for (const auto& [path, page] : pages) blockBytes += path.size() + page.text.size();
  SnapshotHeader header{};
  std::memcpy(header.magic, kSnapshotMagic, sizeof kSnapshotMagic);
  header.order = kSnapshotOrderMark;
  header.vaultBytes = static_cast<std::uint32_t>(vault.size());
  header.since = since;
  header.count = pages.size();
  header.blockBytes = blockBytes;

  std::string out;
  out.reserve(sizeof header + paddedToEight(vault.size()) + pages.size() * sizeof(SnapshotRecord) +
              blockBytes);
  out.append(reinterpret_cast<const char*>(&header), sizeof header).append(vault);
  out.append(paddedToEight(vault.size()) - vault.size(), '\0');
  std::uint64_t at = 0;
  for (const auto& [path, page] : pages) {
    SnapshotRecord record{};
    record.path = at;
    record.pathBytes = static_cast<std::uint32_t>(path.size());
    record.text = at + path.size();
    record.size = page.stamp.size;
    record.mtime = page.stamp.mtime;
    out.append(reinterpret_cast<const char*>(&record), sizeof record);
    at = record.text + page.text.size();
  }
  for (const auto& [path, page] : pages) out.append(path).append(page.text);

  std::string temporary = file.string() + ".XXXXXX";
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return false;
  const bool wrote = writeWhole(fd, out) && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  if (!wrote || !closed || ::rename(temporary.c_str(), file.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return false;
  }
  return true;
}

std::optional<SearchSnapshot::Page> SearchSnapshot::find(std::string_view relative) const {
  auto pathOf = [&](const SnapshotRecord& record) {
    return std::string_view(block_ + record.path, record.pathBytes);
  };
  std::size_t low = 0;
  std::size_t high = count_;
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    const SnapshotRecord record = recordAt(records_, middle);
    const int order = pathOf(record).compare(relative);
    if (order == 0) {
      return Page{{record.size, record.mtime},
                  {block_ + record.text, static_cast<std::size_t>(record.size)}};
    }
    if (order < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return std::nullopt;
}

std::int64_t SearchSnapshot::settledBefore(std::int64_t since) { return since - kSnapshotSettled; }

bool SearchSnapshot::current(const Page& page, const SearchStamp& stamp) const {
  return page.stamp == stamp && stamp.mtime < settledBefore(since_);
}

}  // namespace trivo
