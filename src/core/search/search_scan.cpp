// Scanning files for the lines a query matches, a share of the files on each core.
#include "core/search/search_scan.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <exception>
#include <mutex>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "core/search/search_lines.h"
#include "core/store/text_cache.h"

namespace trivo {
namespace {

// Reads a whole file into `out`; false when it is no regular file or cannot be read. `file` is
// relative to the folder `root` is open on: thousands of files are opened, and the kernel then
// walks two names of each path rather than all of them.
bool readWhole(int root, const std::string& file, std::string& out) {
  const int fd = ::openat(root, file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  struct stat info {};
  bool ok = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  std::size_t used = 0;
  if (ok) {
    // Read up to the size it has now: one call for the usual page, where reading on to the end
    // would cost a second call per file. What a writer adds meanwhile is seen by the next search.
    out.resize(static_cast<std::size_t>(info.st_size));
    while (used < out.size()) {
      const ssize_t got = ::read(fd, out.data() + used, out.size() - used);
      if (got == 0) break;
      if (got < 0) {
        if (errno == EINTR) continue;
        ok = false;
        break;
      }
      used += static_cast<std::size_t>(got);
    }
  }
  out.resize(used);
  ::close(fd);
  return ok;
}

// Text with its ASCII letters lowered: what TextCache::fold gives for a text that lowersOnly().
void lowerAscii(std::string_view text, std::string& out) {
  out.resize(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    out[i] = static_cast<char>(c + (static_cast<unsigned char>(c - 'A') < 26 ? 32 : 0));
  }
}

// One thread's scanner: its buffers are used again for each file it reads.
class FileScanner {
 public:
  FileScanner(int root, VaultFormat format, const SearchQuery& query, std::size_t context)
      : root_(root), format_(format), query_(query), context_(context) {
    // The longest term is the rarest, as a rule: it is looked for first, across the whole file.
    for (const std::string& term : query.terms) {
      if (term.size() > lead_.size()) lead_ = term;
    }
    lone_ = query.terms.size() == 1 && query.excluded.empty() && !query.asksKindsOrTags();
  }

  // Finds the lines of `source` that match and puts them with their neighbours into `page`,
  // which holds the file's name, page and days already; false when none match.
  bool scan(const SearchSource& source, SearchPage& page) {
    if (query_.from || query_.to) {
      if (!page.last) return false;
      if (query_.from && *page.last < *query_.from) return false;
      if (query_.to && *query_.to < *page.first) return false;
    }
    if (!readWhole(root_, source.relative, raw_)) return false;
    sections_.reset();
    starts_.clear();

    const VaultFormat syntax = source.page ? format_ : VaultFormat::org;
    auto accept = [&](std::size_t index) { page.matches.push_back(index + 1); };
    auto consider = [&](std::size_t index, std::string_view flat) {
      if (!query_.allowsText(flat)) return;
      if (query_.asksKindsOrTags()) {
        if (!sections_) sections_ = searchLines(raw_, syntax, source.page);
        const SearchLine& line = (*sections_)[index];
        if (!query_.allows(line.kind)) return;
        const auto carries = [&](const std::string& tag) {
          return std::find(line.tags.begin(), line.tags.end(), tag) != line.tags.end();
        };
        if (!query_.allowsTags(carries)) return;
      }
      accept(index);
    };

    if (lead_.empty()) {
      findStarts();
      for (std::size_t index = 0; index < starts_.size(); ++index) {
        folder_.fold(lineAt(index), folded_);
        consider(index, folded_);
      }
    } else {
      // Most lines fold byte for byte: the file with its ASCII letters lowered is searched as a
      // whole for the lead term, and only the lines it is found in are looked at. A line with a
      // character that folds otherwise ("É", "ﬁ") is folded on its own and looked at whatever
      // the lowered text holds.
      lowerAscii(raw_, flat_);
      unlike_.clear();
      for (std::size_t at = folder_.nextChanged(raw_, 0); at != std::string::npos;) {
        if (starts_.empty()) findStarts();
        const std::size_t index = lineOf(at);
        unlike_.push_back(index);
        at = index + 1 < starts_.size() ? folder_.nextChanged(raw_, starts_[index + 1])
                                        : std::string::npos;
      }
      std::size_t at = findLead(0);
      if (at == std::string::npos && unlike_.empty()) return false;
      if (starts_.empty()) findStarts();
      std::size_t next = 0;  // the next line of unlike_
      constexpr std::size_t kNone = std::string::npos;
      while (at != kNone || next < unlike_.size()) {
        const std::size_t found = at == kNone ? kNone : lineOf(at);
        std::size_t index = found;
        if (next < unlike_.size() && unlike_[next] <= found) {
          index = unlike_[next++];
          folder_.fold(lineAt(index), folded_);
          consider(index, folded_);
        } else if (lone_ && at + lead_.size() <= starts_[index] + lineAt(index).size()) {
          accept(index);  // the one term was found in the line, and nothing else is asked
        } else {
          consider(index, std::string_view(flat_).substr(starts_[index], lineAt(index).size()));
        }
        if (at != kNone && found <= index) {
          at = index + 1 < starts_.size() ? findLead(starts_[index + 1]) : kNone;
        }
      }
    }
    if (page.matches.empty()) return false;

    // Each match with its neighbours, in line order, each line once.
    page.text.reserve(std::min(raw_.size(), page.matches.size() * (1 + 2 * context_) * 128));
    page.lines.reserve(std::min(starts_.size(), page.matches.size() * (1 + 2 * context_)));
    std::size_t shown = 0;  // the last line number taken, 0 for none
    for (const std::size_t number : page.matches) {
      const std::size_t from = std::max(number > context_ ? number - context_ : 1, shown + 1);
      const std::size_t to = std::min(number + context_, starts_.size());
      for (std::size_t n = from; n <= to; ++n) {
        page.add(n, lineAt(n - 1));
      }
      shown = std::max(shown, to);
    }
    return true;
  }

 private:
  std::size_t findLead(std::size_t from) const {
    if (from >= flat_.size()) return std::string::npos;
    const void* hit =
        ::memmem(flat_.data() + from, flat_.size() - from, lead_.data(), lead_.size());
    return hit ? static_cast<std::size_t>(static_cast<const char*>(hit) - flat_.data())
               : std::string::npos;
  }

  // The index of the line a byte of the file stands in.
  [[nodiscard]] std::size_t lineOf(std::size_t at) const {
    return static_cast<std::size_t>(std::upper_bound(starts_.begin(), starts_.end(), at) -
                                    starts_.begin() - 1);
  }

  // Where each line begins; lines are counted as "\n" ends them, as the index counts them.
  void findStarts() {
    starts_.clear();
    std::size_t at = 0;
    while (at < raw_.size()) {
      starts_.push_back(at);
      const void* end = std::memchr(raw_.data() + at, '\n', raw_.size() - at);
      if (!end) break;
      at = static_cast<std::size_t>(static_cast<const char*>(end) - raw_.data()) + 1;
    }
  }

  // A line without its line end.
  [[nodiscard]] std::string_view lineAt(std::size_t index) const {
    const std::size_t begin = starts_[index];
    std::size_t end = index + 1 < starts_.size() ? starts_[index + 1] - 1 : raw_.size();
    if (index + 1 == starts_.size() && end > begin && raw_[end - 1] == '\n') --end;
    if (end > begin && raw_[end - 1] == '\r') --end;
    return std::string_view(raw_).substr(begin, end - begin);
  }

  int root_;
  VaultFormat format_;
  const SearchQuery& query_;
  std::size_t context_;
  std::string lead_;
  bool lone_ = false;  // the lead is all a line must hold
  std::string raw_;
  std::string flat_;                 // the file with its ASCII letters lowered
  std::string folded_;               // one line folded
  std::vector<std::size_t> unlike_;  // lines that do not fold byte for byte
  std::vector<std::size_t> starts_;
  std::optional<std::vector<SearchLine>> sections_;  // read only when kinds or tags matter
  TextCache::Folder folder_;
};

}  // namespace

void scanFiles(const std::filesystem::path& vault, const std::vector<SearchSource>& sources,
               VaultFormat format, const SearchQuery& query, std::size_t context,
               const std::function<void(SearchPage&&)>& each) {
  const int root = ::open(vault.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (root < 0) return;  // no vault, no pages: as the listing of a missing folder finds none
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{root};

  // Every file's page as it is shown, still without lines, and the files in the order they are
  // shown: they are read in that order, so each page is handed on as soon as those before it
  // are done, while the rest are read, and is let go of then.
  std::vector<SearchPage> pages(sources.size());
  for (std::size_t i = 0; i < sources.size(); ++i) {
    SearchPage& page = pages[i];
    page.file = sources[i].relative;
    page.page = sources[i].page;
    page.pinned = sources[i].pinned;
    if (const auto days = page.page ? periodDays(*page.page) : std::nullopt) {
      page.first = days->first;
      page.last = days->second;
    }
  }
  std::vector<std::size_t> order(sources.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::sort(order.begin(), order.end(),
            [&](std::size_t a, std::size_t b) { return shownBefore(pages[a], pages[b]); });

  // Files are handed out a few at a time: pages differ in size, and a share fixed in advance
  // would leave one core waiting for the other.
  constexpr std::size_t kBatch = 16;
  const std::size_t batches = (sources.size() + kBatch - 1) / kBatch;
  std::vector<char> matched(sources.size(), 0);  // by place in `order`
  std::atomic<std::size_t> next{0};              // the next batch to read
  std::mutex lock;
  std::condition_variable finished;
  std::vector<char> done(batches, 0);  // under `lock`
  std::exception_ptr failure;          // under `lock`
  auto work = [&] {
    try {
      FileScanner scanner(root, format, query, context);
      for (std::size_t batch = next++; batch < batches; batch = next++) {
        const std::size_t end = std::min((batch + 1) * kBatch, sources.size());
        for (std::size_t at = batch * kBatch; at < end; ++at) {
          const std::size_t i = order[at];
          matched[at] = scanner.scan(sources[i], pages[i]) ? 1 : 0;
        }
        const std::lock_guard guard(lock);
        done[batch] = 1;
        finished.notify_all();
      }
    } catch (...) {
      const std::lock_guard guard(lock);
      if (!failure) failure = std::current_exception();
      next = batches;
      finished.notify_all();
    }
  };
  const std::size_t cores = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
  std::vector<std::jthread> readers;
  readers.reserve(std::min(cores, batches));
  for (std::size_t i = 0; i < std::min(cores, batches); ++i) readers.emplace_back(work);
  // This thread hands the pages on, in order, while the readers go on.
  try {
    for (std::size_t batch = 0; batch < batches; ++batch) {
      {
        std::unique_lock guard(lock);
        finished.wait(guard, [&] { return done[batch] != 0 || failure; });
        if (failure) break;
      }
      const std::size_t end = std::min((batch + 1) * kBatch, sources.size());
      for (std::size_t at = batch * kBatch; at < end; ++at) {
        SearchPage& page = pages[order[at]];
        if (matched[at] != 0) each(std::move(page));
        page = SearchPage{};
      }
    }
  } catch (...) {
    next = batches;  // the readers stop after the files they are reading
    readers.clear();
    throw;
  }
  readers.clear();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace trivo
