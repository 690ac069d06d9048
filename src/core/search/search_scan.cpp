// Scanning files for the lines a query matches, a share of the files on each core.
#include "core/search/search_scan.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <bit>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <exception>
#include <memory>
#include <mutex>
#include <numeric>
#include <optional>
#include <string>
#include <string_view>
#include <thread>

#include "core/format/text_util.h"
#include "core/search/search_lines.h"
#include "core/search/search_snapshot.h"
#include "core/store/text_cache.h"

namespace trivo {
namespace {

// Reads a whole file into `out`; false when it is no regular file or cannot be read. `file` is
// relative to the folder `root` is open on: thousands of files are opened, and the kernel then
// walks two names of each path rather than all of them. It is opened without waiting: a pipe
// named like a page would otherwise hold the search until something wrote to it.
bool readWhole(int root, const std::string& file, std::string& out, SearchStamp& stamp) {
  const int fd = ::openat(root, file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return false;
  struct stat info {};
  bool ok = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
  stamp = stampFrom(info);
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

char lowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }
char upperAscii(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

// Text with its ASCII letters lowered, into a buffer used again: what folding gives for a line
// in which no character folds otherwise.
void lowerAscii(std::string_view text, std::string& out) {
  out.resize(text.size());
  std::transform(text.begin(), text.end(), out.begin(), [](char c) { return lowerAscii(c); });
}

// Sixteen bytes side by side, compared all at once in the vector registers every target has.
using Block = unsigned char __attribute__((vector_size(16)));

Block blockOf(char c) { return Block{} + static_cast<unsigned char>(c); }

Block load(const char* at) {
  Block block;
  std::memcpy(&block, at, sizeof block);
  return block;
}

// The place of the first byte of memory set in `word` (eight bits of a comparison of blocks,
// all set or none), which is cleared.
std::size_t takeFirstByte(std::uint64_t& word) {
  if constexpr (std::endian::native == std::endian::little) {
    const int at = std::countr_zero(word) / 8;
    word &= ~(std::uint64_t{0xFF} << (8 * at));
    return static_cast<std::size_t>(at);
  } else {
    const int at = std::countl_zero(word) / 8;
    word &= ~(std::uint64_t{0xFF} << (56 - 8 * at));
    return static_cast<std::size_t>(at);
  }
}

// One thread's scanner: its buffers are used again for each file it reads.
class FileScanner {
 public:
  FileScanner(VaultFormat format, const SearchQuery& query, std::size_t context)
      : format_(format), query_(query), context_(context) {
    // The longest term is the rarest, as a rule: it is looked for first, across the whole file.
    for (const std::string& term : query.terms) {
      if (term.size() > lead_.size()) lead_ = term;
    }
    lone_ = query.terms.size() == 1 && query.excluded.empty() && !query.asksKindsOrTags();
    asciiLead_ = std::all_of(lead_.begin(), lead_.end(),
                             [](char c) { return static_cast<unsigned char>(c) < 0x80; });
  }

  // Whether the days asked for let `page` (its page and days filled in) match at all.
  [[nodiscard]] bool wants(const SearchPage& page) const {
    if (!query_.from && !query_.to) return true;
    if (!page.last) return false;
    if (query_.from && *page.last < *query_.from) return false;
    if (query_.to && *query_.to < *page.first) return false;
    return true;
  }

  // The buffer a file is read into, used again for the next.
  std::string& buffer() { return buffer_; }

  // Finds the lines of `text`, the text of `source`, that match and puts them with their
  // neighbours into `page`, which holds the file's page and days already; false when none match.
  bool scan(const SearchSource& source, std::string_view text, SearchPage& page) {
    raw_ = text;
    sections_.reset();
    hits_.clear();

    const VaultFormat syntax = source.page ? format_ : VaultFormat::org;
    auto accept = [&](std::size_t index, std::size_t begin) {
      hits_.push_back(Hit{index + 1, begin});
    };
    // Whether the line `index`, which begins at `begin`, matches, `flat` its folded text.
    auto consider = [&](std::size_t index, std::size_t begin, std::string_view flat) {
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
      accept(index, begin);
    };

    if (lead_.empty()) {
      for (std::size_t begin = 0, index = 0; begin < raw_.size(); ++index) {
        const std::size_t end = lineEnd(begin);
        folder_.fold(text::withoutCR(raw_.substr(begin, end - begin)), folded_);
        consider(index, begin, folded_);
        begin = end + 1;
      }
    } else {
      // Most lines fold byte for byte: the file is searched as a whole for the lead term,
      // ASCII letters in either case, and only the lines it is found in are looked at, with the
      // lines that hold a character that folds otherwise ("É", "ﬁ"). Lines are counted only up
      // to those looked at.
      constexpr std::size_t kNone = std::string::npos;
      std::size_t at = findLead(0);                       // the lead term's next place
      std::size_t unlike = folder_.nextChanged(raw_, 0);  // the next character that folds otherwise
      std::size_t counted = 0;                            // a line's start, and its index
      std::size_t countedIndex = 0;
      while (at != kNone || unlike != kNone) {
        const std::size_t here = std::min(at, unlike);
        const std::size_t begin = lineStart(here);
        const std::size_t end = lineEnd(here);
        const std::size_t index =
            countedIndex +
            static_cast<std::size_t>(std::count(raw_.data() + counted, raw_.data() + begin, '\n'));
        counted = begin;
        countedIndex = index;
        const std::string_view line = text::withoutCR(raw_.substr(begin, end - begin));
        const bool leadHere = at < end && at + lead_.size() <= begin + line.size();
        if (unlike < end) {
          // A line that folds otherwise is folded only when the fold can hold the lead term
          // and the line as it stands does not already settle it.
          const TextCache::Folder::Effect effect = folder_.effect(line, lead_);
          if (leadHere && lone_ && asciiLead_ && effect.utf8) {
            accept(index, begin);
          } else if (leadHere || effect.brings) {
            folder_.fold(line, folded_);
            consider(index, begin, folded_);
          }
        } else if (lone_ && leadHere) {
          accept(index, begin);  // the one term was found in the line, and nothing else is asked
        } else {
          lowerAscii(line, folded_);
          consider(index, begin, folded_);
        }
        if (end >= raw_.size()) break;
        // (A term can stand at the line's end, its first byte the "\n": it was looked at here.)
        if (at <= end) at = findLead(end + 1);
        if (unlike < end) unlike = folder_.nextChanged(raw_, end + 1);
      }
    }
    if (hits_.empty()) return false;

    // The numbers are copied once they are all known: grown a match at a time, the page's list
    // was allocated again and again for every page that matches.
    page.matches.reserve(hits_.size());
    for (const Hit& hit : hits_) page.matches.push_back(hit.number);
    // Each match with its neighbours, in line order, each line once.
    page.lines.reserve(std::min(hits_.size() * (1 + 2 * std::min<std::size_t>(context_, 8)),
                                raw_.size() / 16 + hits_.size()));
    page.text.reserve(std::min(raw_.size(), page.lines.capacity() * 64));
    std::size_t shown = 0;      // the last line number taken, 0 for none
    std::size_t shownNext = 0;  // where the line after it begins
    for (const Hit& hit : hits_) {
      const std::size_t from =
          std::max(hit.number > context_ ? hit.number - context_ : 1, shown + 1);
      std::size_t begin = shownNext;
      if (from > shown + 1) {
        begin = hit.begin;
        for (std::size_t n = hit.number; n > from; --n) begin = lineStart(begin - 1);
      }
      const std::size_t to = hit.number + std::min(context_, raw_.size());  // (cannot wrap)
      for (std::size_t n = from; n <= to && begin < raw_.size(); ++n) {
        const std::size_t end = lineEnd(begin);
        page.add(n, text::withoutCR(raw_.substr(begin, end - begin)));
        shown = n;
        begin = end + 1;
      }
      shownNext = begin;
    }
    return true;
  }

 private:
  // A line that matches: its number and where it begins.
  struct Hit {
    std::size_t number;
    std::size_t begin;
  };

  // Where the line that holds byte `at` ends: at its "\n", or at the end of the file.
  [[nodiscard]] std::size_t lineEnd(std::size_t at) const {
    const void* end = std::memchr(raw_.data() + at, '\n', raw_.size() - at);
    return end ? static_cast<std::size_t>(static_cast<const char*>(end) - raw_.data())
               : raw_.size();
  }

  // Where the line that holds byte `at` begins (for a "\n", the line it ends).
  [[nodiscard]] std::size_t lineStart(std::size_t at) const {
    const void* end = ::memrchr(raw_.data(), '\n', at);
    return end ? static_cast<std::size_t>(static_cast<const char*>(end) - raw_.data()) + 1 : 0;
  }

  // Where the lead term next stands in the file from `from` on, its ASCII letters in either
  // case; npos when nowhere. Sixteen places are tried at once for the term's first and last
  // bytes, and only where both are found are the others compared: a common word is looked for
  // once per line, and the library's search cost more to set up each time than it then took
  // to find it. The file is not lowered first, which cost a copy of every page.
  [[nodiscard]] std::size_t findLead(std::size_t from) const {
    const std::size_t length = lead_.size();
    if (from + length > raw_.size()) return std::string::npos;
    const char* text = raw_.data();
    const std::size_t last = raw_.size() - length;  // the last place the term can start
    const Block first = blockOf(lead_.front());
    const Block firstUpper = blockOf(upperAscii(lead_.front()));
    const Block final = blockOf(lead_.back());
    const Block finalUpper = blockOf(upperAscii(lead_.back()));
    std::size_t at = from;
    for (; at + sizeof(Block) <= last + 1; at += sizeof(Block)) {
      const Block head = load(text + at);
      const Block tail = load(text + at + length - 1);
      const auto both =
          ((head == first) | (head == firstUpper)) & ((tail == final) | (tail == finalUpper));
      std::uint64_t halves[2];
      std::memcpy(halves, &both, sizeof halves);
      for (std::size_t half = 0; half < 2; ++half) {
        while (halves[half] != 0) {
          const std::size_t start = at + 8 * half + takeFirstByte(halves[half]);
          if (isLead(text + start)) return start;
        }
      }
    }
    for (; at <= last; ++at) {
      if (isLead(text + at)) return at;
    }
    return std::string::npos;
  }

  // Whether the lead term stands at `text`, its ASCII letters in either case.
  [[nodiscard]] bool isLead(const char* text) const {
    for (std::size_t i = 0; i < lead_.size(); ++i) {
      if (lowerAscii(text[i]) != lead_[i]) return false;
    }
    return true;
  }

  VaultFormat format_;
  const SearchQuery& query_;
  std::size_t context_;
  std::string lead_;
  bool lone_ = false;       // the lead is all a line must hold
  bool asciiLead_ = false;  // the lead is ASCII alone
  std::string_view raw_;    // the text being scanned
  std::string buffer_;
  std::string folded_;  // one line folded
  std::vector<Hit> hits_;
  std::optional<std::vector<SearchLine>> sections_;  // read only when kinds or tags matter
  TextCache::Folder folder_;
};

}  // namespace

void scanFiles(const std::filesystem::path& vault, const SourceLister& list, VaultFormat format,
               const SearchQuery& query, std::size_t context,
               const std::function<void(SearchPage&&)>& each,
               const std::optional<std::filesystem::path>& copyFile) {
  const int root = ::open(vault.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (root < 0) return;  // no vault, no pages: as the listing of a missing folder finds none
  struct Closer {
    int fd;
    ~Closer() { ::close(fd); }
  } closer{root};
  // Every page read from here on was read after this moment, which the new copy records.
  const std::int64_t since = SearchSnapshot::now();
  const std::string vaultName = std::filesystem::absolute(vault).lexically_normal().string();

  // The files: those this thread lists, then the day pages. Listing the day pages is the
  // longest stretch of work before the order of the files is known, so the first helper lists
  // them while this thread reads the others; each file keeps its index in `rest` or after it.
  std::vector<SearchSource> rest;
  std::vector<SearchSource> days;
  std::vector<ShownPlace> restPlaces;
  auto sourceAt = [&](std::size_t index) -> const SearchSource& {
    return index < rest.size() ? rest[index] : days[index - rest.size()];
  };
  auto placeOf = [](const SearchSource& source) {
    const auto period = source.page ? periodDays(*source.page) : std::nullopt;
    return shownPlace(period ? std::optional(period->first) : std::nullopt,
                      period ? std::optional(period->second) : std::nullopt,
                      source.page.has_value(), source.pinned);
  };

  // The copy of the pages' text, and what each file's text came from. A new copy is written
  // from these once the search is done; a search limited to some days leaves pages unread and
  // writes none.
  std::optional<SearchSnapshot> copy;
  const bool keeping = copyFile && !query.from && !query.to;
  struct Kept {
    enum class From : char { unread, theCopy, theVault } from = From::unread;
    SearchStamp stamp;
    std::string_view copied;  // the text in the copy
    std::string text;         // read from the vault
  };
  std::vector<Kept> keptRest;
  std::vector<Kept> keptDays;
  auto keptAt = [&](std::size_t index) -> Kept& {
    return index < rest.size() ? keptRest[index] : keptDays[index - rest.size()];
  };

  // Reads one file; nothing when no line of it matches.
  auto readOne = [&](FileScanner& scanner, std::size_t index) {
    const SearchSource& source = sourceAt(index);
    std::optional<SearchPage> page(std::in_place);
    page->page = source.page;
    page->pinned = source.pinned;
    if (const auto period = page->page ? periodDays(*page->page) : std::nullopt) {
      page->first = period->first;
      page->last = period->second;
    }
    if (!scanner.wants(*page)) return std::optional<SearchPage>();
    std::string_view text;
    const auto copied = copy ? copy->find(source.relative) : std::nullopt;
    struct stat info {};
    if (copied && ::fstatat(root, source.relative.c_str(), &info, 0) == 0 &&
        S_ISREG(info.st_mode) && copy->current(*copied, stampFrom(info))) {
      text = copied->text;
      if (keeping) keptAt(index) = {Kept::From::theCopy, copied->stamp, copied->text, {}};
    } else {
      SearchStamp stamp;
      if (!readWhole(root, source.relative, scanner.buffer(), stamp)) {
        return std::optional<SearchPage>();
      }
      text = scanner.buffer();
      if (keeping) keptAt(index) = {Kept::From::theVault, stamp, {}, std::string(text)};
    }
    if (!scanner.scan(source, text, *page)) return std::optional<SearchPage>();
    page->file = source.relative;
    return page;
  };

  // The files in the order they are shown: they are read in that order, so that each page is
  // handed on as soon as those before it are done, while the rest are read, and let go of then.
  // Files are handed out a few at a time: pages differ in size, and a share fixed in advance
  // would leave one core waiting for the other.
  constexpr std::size_t kBatch = 16;
  std::vector<std::size_t> order;
  std::size_t batches = 0;
  std::vector<std::vector<SearchPage>> found;  // the pages of each batch that match
  std::vector<char> done;                      // under `lock`
  // Sets up the order once both listings are in, on whichever thread has the second.
  auto arrange = [&] {
    std::vector<ShownPlace> places = restPlaces;
    places.reserve(rest.size() + days.size());
    for (const SearchSource& source : days) places.push_back(placeOf(source));
    order.resize(places.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
      if (places[a] != places[b]) return places[a] < places[b];
      return sourceAt(a).relative < sourceAt(b).relative;
    });
    batches = (order.size() + kBatch - 1) / kBatch;
    found.resize(batches);
    done.assign(batches, 0);
    if (keeping) keptDays.resize(days.size());
  };

  // The files of `rest` this thread reads while the day pages are listed. Each is taken by one
  // reader: this thread before the order is known, or whoever reads its batch; a reader that
  // finds it taken by this thread waits for it (a file at most) and takes what was read.
  enum Claim : char { untouched, early, earlyDone, inBatch };
  std::vector<std::optional<SearchPage>> earlyPages;
  std::unique_ptr<std::atomic<char>[]> claims;

  std::atomic<std::size_t> next{0};    // the next batch to read
  std::atomic<std::size_t> handed{0};  // batches handed on so far
  std::atomic<bool> arranged{false};   // the order is set up
  std::atomic<bool> stopping{false};   // a reader failed: the others stop
  auto read = [&](FileScanner& scanner, std::size_t batch) {
    const std::size_t end = std::min((batch + 1) * kBatch, order.size());
    for (std::size_t at = batch * kBatch; at < end; ++at) {
      const std::size_t index = order[at];
      std::optional<SearchPage> page;
      char claim = untouched;
      if (index >= rest.size() || claims[index].compare_exchange_strong(claim, inBatch)) {
        page = readOne(scanner, index);
      } else {
        while (claims[index].load(std::memory_order_acquire) != earlyDone) {
          std::this_thread::yield();
        }
        page = std::move(earlyPages[index]);
      }
      if (page) found[batch].push_back(std::move(*page));
    }
  };
  // Frees what is left of the pages of a batch that has been handed on.
  auto release = [&](std::size_t batch) { std::vector<SearchPage>().swap(found[batch]); };

  std::mutex lock;
  std::condition_variable changed;
  bool restListed = false;     // under `lock`
  bool waiting = false;        // under `lock`: the caller's thread waits for a batch
  std::exception_ptr failure;  // under `lock`
  auto fail = [&](std::exception_ptr what) {
    const std::lock_guard guard(lock);
    if (!failure) failure = std::move(what);
    stopping = true;
    changed.notify_all();
  };
  auto publish = [&] {
    const std::lock_guard guard(lock);
    arranged.store(true, std::memory_order_release);
    changed.notify_all();
  };
  // The other cores read batches and leave them; the caller's thread hands them on.
  auto help = [&](bool listsDays) {
    try {
      if (listsDays) {
        days = list(SourceShare::days);
        {
          std::unique_lock guard(lock);
          changed.wait(guard, [&] { return restListed || failure; });
        }
        if (!stopping) arrange();
        publish();
      } else {
        std::unique_lock guard(lock);
        changed.wait(guard, [&] { return arranged.load() || failure; });
      }
      FileScanner scanner(format, query, context);
      // A page is let go of by the thread that read it. Freed by another thread, its memory goes
      // back to this thread's arena under the arena's lock, which the two threads then fight
      // over for every page: that cost more than the reading.
      std::vector<std::size_t> mine;  // the batches this thread read, in order
      std::size_t kept = 0;           // the first of them not yet let go of
      for (std::size_t batch = next++; batch < batches && !stopping; batch = next++) {
        for (const std::size_t upTo = handed.load(std::memory_order_acquire);
             kept < mine.size() && mine[kept] < upTo; ++kept) {
          release(mine[kept]);
        }
        mine.push_back(batch);
        read(scanner, batch);
        const std::lock_guard guard(lock);
        done[batch] = 1;
        if (waiting) changed.notify_all();
      }
    } catch (...) {
      fail(std::current_exception());
      if (listsDays) publish();
    }
  };
  const std::size_t cores = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, 8);
  std::vector<std::jthread> helpers;
  helpers.reserve(cores - 1);
  for (std::size_t i = 0; i + 1 < cores; ++i) helpers.emplace_back(help, i == 0);

  // This thread reads batches as well, and after each one hands on the pages of every batch
  // that is done, in order. It waits only at the end, for the last batches the others read:
  // waking it for each batch had cost a switch of threads per batch.
  std::vector<char> ownBatch;
  std::size_t shown = 0;  // batches handed on
  auto handOn = [&] {
    for (SearchPage& page : found[shown]) each(std::move(page));
    if (ownBatch[shown] != 0) release(shown);
    handed.store(++shown, std::memory_order_release);
  };
  auto stopped = [&] {
    const std::lock_guard guard(lock);
    return failure != nullptr;
  };
  try {
    rest = list(SourceShare::rest);
    restPlaces.reserve(rest.size());
    for (const SearchSource& source : rest) restPlaces.push_back(placeOf(source));
    earlyPages.resize(rest.size());
    claims = std::make_unique<std::atomic<char>[]>(rest.size());
    if (keeping) keptRest.resize(rest.size());
    if (copyFile) copy = SearchSnapshot::load(*copyFile, vaultName);
    {
      const std::lock_guard guard(lock);
      restListed = true;
      changed.notify_all();
    }
    FileScanner scanner(format, query, context);
    if (helpers.empty()) {
      days = list(SourceShare::days);
      arrange();
    } else {
      // Until the order is known, the files listed here are read newest first.
      std::vector<std::size_t> restOrder(rest.size());
      std::iota(restOrder.begin(), restOrder.end(), std::size_t{0});
      std::sort(restOrder.begin(), restOrder.end(),
                [&](std::size_t a, std::size_t b) { return restPlaces[a] < restPlaces[b]; });
      for (const std::size_t index : restOrder) {
        if (arranged.load(std::memory_order_acquire)) break;
        char claim = untouched;
        if (!claims[index].compare_exchange_strong(claim, early)) continue;
        earlyPages[index] = readOne(scanner, index);
        claims[index].store(earlyDone, std::memory_order_release);
      }
      std::unique_lock guard(lock);
      changed.wait(guard, [&] { return arranged.load() || failure; });
      if (failure) std::rethrow_exception(failure);
    }
    ownBatch.assign(batches, 0);
    for (std::size_t batch = next++; batch < batches && !stopping; batch = next++) {
      read(scanner, batch);
      ownBatch[batch] = 1;
      {
        const std::lock_guard guard(lock);
        done[batch] = 1;
      }
      while (shown < batches) {
        {
          const std::lock_guard guard(lock);
          if (done[shown] == 0 || failure) break;
        }
        handOn();
      }
    }
    while (shown < batches && !stopped()) {
      {
        std::unique_lock guard(lock);
        waiting = true;
        changed.wait(guard, [&] { return done[shown] != 0 || failure; });
        waiting = false;
        if (failure) break;
      }
      handOn();
    }
  } catch (...) {
    {
      const std::lock_guard guard(lock);
      restListed = true;  // a helper waiting for the listing goes on to stop
    }
    fail(std::current_exception());
    helpers.clear();
    throw;
  }
  helpers.clear();
  if (failure) std::rethrow_exception(failure);
  if (!keeping) return;

  // A new copy is written when it would serve about a thirtieth of the pages more than this one
  // did: until then the few pages that changed are read from the vault, which costs less than
  // writing the whole copy again after every edit. Pages changed too lately to be trusted next
  // time are left out of it.
  const std::int64_t settled = SearchSnapshot::settledBefore(since);
  std::vector<std::pair<std::string_view, SearchSnapshot::Page>> pages;
  pages.reserve(order.size());
  std::size_t fromCopy = 0;
  for (const std::size_t index : order) {
    const Kept& kept = keptAt(index);
    const std::string& relative = sourceAt(index).relative;
    if (kept.from == Kept::From::theCopy) {
      pages.emplace_back(relative, SearchSnapshot::Page{kept.stamp, kept.copied});
      ++fromCopy;
    } else if (kept.from == Kept::From::theVault && kept.stamp.mtime < settled) {
      pages.emplace_back(relative, SearchSnapshot::Page{kept.stamp, kept.text});
    }
  }
  if ((pages.size() - fromCopy) * 30 > order.size()) {
    SearchSnapshot::write(*copyFile, vaultName, std::move(pages), since);
  }
}

}  // namespace trivo
