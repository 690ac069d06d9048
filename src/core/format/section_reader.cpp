// Reading a page's sections into known bodies and passthrough.
#include "core/format/section_reader.h"

#include <algorithm>
#include <vector>

#include "core/format/legacy_headings.h"
#include "core/format/outline.h"
#include "core/format/text_util.h"

namespace trivo {

SectionReader::SectionReader(TextSyntax syntaxIn, std::shared_ptr<const TodoWords> words)
    : syntax(syntaxIn), todoWords_(std::move(words)) {}

const TodoWords& SectionReader::todoWords() const {
  static const TodoWords none;
  return todoWords_ ? *todoWords_ : none;
}

std::string SectionReader::sectionKey(std::string_view path, std::string_view key) {
  if (path.empty()) return std::string(key);
  return std::string(path) + "/" + std::string(key);
}

std::string SectionReader::read(std::string_view text, int level,
                                std::span<const KnownSection> known, std::string_view path) {
  auto split = Outline::split(text, level, syntax);
  std::string after = sectionKey(path, "");
  // Each page is read with a handful of sections, so the ones taken are kept in a short list.
  std::vector<const KnownSection*> taken;
  std::vector<std::string_view> knownTitles;
  knownTitles.reserve(known.size());
  for (const auto& section : known) knownTitles.push_back(text::trim(section.title));
  for (auto& block : split.blocks) {
    const auto tagged = syntax.splitTags(block.title);
    const std::string_view heading = text::trim(tagged.title);
    const KnownSection* match = nullptr;
    for (std::size_t i = 0; i < known.size(); ++i) {
      if (text::equalsNoCase(knownTitles[i], heading)) {
        match = &known[i];
        break;
      }
    }
    if (match == nullptr) {
      for (const auto& section : known) {
        if (LegacyHeadings::names(section.key, tagged.title)) {
          match = &section;
          break;
        }
      }
    }
    if (match == nullptr || std::find(taken.begin(), taken.end(), match) != taken.end()) {
      pass.unknownSections.push_back(UnknownSection{after, block.render(level, syntax)});
      continue;
    }
    taken.push_back(match);
    std::string key = sectionKey(path, match->key);
    if (!tagged.tags.empty()) pass.headingTags[key] = tagged.tags;
    bodies_[key] = std::move(block.body);
    after = std::move(key);
  }
  return split.preamble;
}

std::optional<std::string> SectionReader::body(std::string_view key) const {
  auto it = bodies_.find(key);
  if (it == bodies_.end()) return std::nullopt;
  return it->second;
}

namespace {

// Keeps one line refused by a section's reader: a run of blank lines becomes one.
void keepRefused(std::vector<std::string_view>& kept, std::string_view line) {
  if (!(text::isBlank(line) && !kept.empty() && text::isBlank(kept.back()))) kept.push_back(line);
}

}  // namespace

std::size_t SectionReader::linesCounting(std::string_view key, LineVisitor consume) {
  auto it = bodies_.find(key);
  if (it == bodies_.end()) return 0;
  std::size_t consumed = 0;
  // Lines above the first one taken stay above what is written in their place: under an Org
  // heading they are the heading's own (its planning line, say), and below the items they would
  // become the last item's.
  std::vector<std::string_view> lead;
  std::vector<std::string_view> kept;
  for (auto line : text::lines(it->second)) {
    if (consume(line)) {
      ++consumed;
    } else if (consumed == 0) {
      if (!(lead.empty() && text::isBlank(line))) keepRefused(lead, line);
    } else {
      keepRefused(kept, line);
    }
  }
  // With nothing taken, everything refused is the lead, and blank lines end nothing.
  if (consumed == 0) {
    while (!lead.empty() && text::isBlank(lead.back())) lead.pop_back();
  }
  while (!kept.empty() && text::isBlank(kept.back())) kept.pop_back();
  if (!kept.empty() && text::isBlank(kept.front())) kept.front() = std::string_view();
  const std::string name(key);
  if (!lead.empty()) {
    pass.sectionLeads[name] = text::join(lead, "\n");
  } else {
    pass.sectionLeads.erase(name);
  }
  if (!kept.empty()) {
    pass.sectionTails[name] = text::join(kept, "\n");
  } else {
    pass.sectionTails.erase(name);
  }
  return consumed;
}

}  // namespace trivo
