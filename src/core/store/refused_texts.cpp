// Kept refused texts and the conflict copies of sync tools.
#include "core/store/refused_texts.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>

#include "core/records/inbox_item.h"
#include "core/util/fnv_hash.h"
#include "core/util/json_fields.h"
#include "core/store/atomic_write.h"
#include "core/util/iso_instant.h"
#include "core/vault/page_link.h"
#include "core/vault/vault_paths.h"

namespace trivo {
namespace {

namespace fs = std::filesystem;

std::string hex(std::uint64_t value, int digits) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text(static_cast<std::size_t>(digits), '0');
  for (int i = digits - 1; i >= 0; --i) {
    text[static_cast<std::size_t>(i)] = kDigits[value & 0xF];
    value >>= 4;
  }
  return text;
}

std::atomic<std::uint32_t> keptInThisProcess{0};

}  // namespace

RefusedTexts::RefusedTexts(fs::path folder, const Clock* clock)
    : folder_(std::move(folder)), clock_(clock ? clock : &SystemClock::shared()) {}

std::optional<fs::path> RefusedTexts::folderFor(const fs::path& vaultRoot) {
  fs::path home;
  if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && fs::path(xdg).is_absolute()) {
    home = fs::path(xdg);
  } else if (const char* user = std::getenv("HOME"); user && fs::path(user).is_absolute()) {
    home = fs::path(user) / ".local" / "share";
  } else {
    return std::nullopt;
  }
  std::error_code ec;
  fs::path real = fs::weakly_canonical(vaultRoot, ec);
  if (ec) real = fs::absolute(vaultRoot, ec);
  std::string name = real.filename().string();
  if (name.empty()) name = "vault";
  return home / "trivo" / (name + "-" + hex(fnv1aHash(real.string()), 12)) / "refused";
}

std::string RefusedTexts::keep(const EntryKey& key, const fs::path& file, std::string_view text,
                               const std::optional<std::string>& base, const std::string& reason) {
  std::lock_guard lock(mu_);
  std::error_code ec;
  fs::create_directories(folder_, ec);
  if (ec) throw FileError(ec.value(), folder_, "create the folder");
  fs::permissions(folder_, fs::perms::owner_all, ec);
  const Instant now = clock_->now();
  // Milliseconds, then a random part: names sort by time and never collide between processes.
  const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch());
  const std::string id = hex(static_cast<std::uint64_t>(ms.count()), 12) + "-" +
                         hex(keptInThisProcess++, 4) + "-" +
                         hex(fnv1aHash(InboxItem::newId() + std::string(text)), 8);
  Json j = Json::object();
  j["page"] = pageKeyText(key);
  j["file"] = file.string();
  j["keptAt"] = isoInstantString(now);
  j["reason"] = reason;
  j["text"] = std::string(text);
  if (base) j["base"] = *base;
  AtomicWrite::write(j.dump(2) + "\n", folder_ / (id + ".json"),
                     {.mode = 0600, .durable = true, .fileSystem = nullptr});
  return id;
}

std::vector<RefusedText> RefusedTexts::list() const {
  std::lock_guard lock(mu_);
  std::vector<RefusedText> texts;
  std::error_code ec;
  for (auto it = fs::directory_iterator(folder_, ec); !ec && it != fs::directory_iterator();
       it.increment(ec)) {
    if (it->path().extension() != ".json") continue;
    try {
      const Json j = Json::parse(Coordinated::read(it->path()));
      RefusedText kept;
      kept.id = it->path().stem().string();
      kept.page = j.at("page").get<std::string>();
      kept.file = j.at("file").get<std::string>();
      kept.keptAt = parseIsoInstant(j.at("keptAt").get<std::string>()).value_or(Instant{});
      kept.reason = j.value("reason", "");
      kept.text = j.at("text").get<std::string>();
      if (j.contains("base") && j["base"].is_string()) kept.base = j["base"].get<std::string>();
      texts.push_back(std::move(kept));
    } catch (const std::exception&) {
      // Not one of ours, or damaged: left alone, not listed.
    }
  }
  std::sort(texts.begin(), texts.end(),
            [](const RefusedText& a, const RefusedText& b) { return a.id < b.id; });
  return texts;
}

bool RefusedTexts::drop(const std::string& id) {
  std::lock_guard lock(mu_);
  if (id.empty() || id.find('/') != std::string::npos) return false;
  std::error_code ec;
  return fs::remove(folder_ / (id + ".json"), ec);
}

bool isConflictCopyName(std::string_view name) {
  return name.find(".sync-conflict-") != std::string_view::npos ||
         name.find("conflicted copy") != std::string_view::npos;
}

std::vector<fs::path> conflictCopies(const fs::path& pageRoot) {
  std::vector<fs::path> copies;
  auto scan = [&](const fs::path& folder) {
    std::error_code ec;
    for (auto it = fs::directory_iterator(folder, ec); !ec && it != fs::directory_iterator();
         it.increment(ec)) {
      if (isConflictCopyName(it->path().filename().string())) copies.push_back(it->path());
    }
  };
  scan(pageRoot);
  for (auto folder : VaultPaths::folders) scan(pageRoot / folder);
  std::sort(copies.begin(), copies.end());
  return copies;
}

}  // namespace trivo
