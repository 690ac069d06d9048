// Writing a page's sections back in order, with what reading kept.
#include "core/format/section_writer.h"

#include "core/format/outline.h"

namespace trivo {

std::vector<std::string> SectionWriter::unknown(std::string_view after) const {
  std::vector<std::string> out;
  for (const auto& section : pass_.unknownSections) {
    if (section.afterSection == after) out.push_back(section.raw);
  }
  return out;
}

std::string SectionWriter::write(int level, std::string_view path,
                                 std::span<const KnownSection> known,
                                 const std::map<std::string, std::string, std::less<>>& bodies,
                                 std::string_view preamble) const {
  std::vector<std::string> parts;
  parts.emplace_back(preamble);
  for (auto& raw : unknown(SectionReader::sectionKey(path, ""))) parts.push_back(std::move(raw));
  for (const auto& section : known) {
    const std::string key = SectionReader::sectionKey(path, section.key);
    Outline::Block block;
    block.title = section.title;
    if (auto tags = pass_.headingTags.find(key); tags != pass_.headingTags.end()) {
      if (!tags->second.empty()) block.title += " " + syntax_.renderTags(tags->second);
    }
    if (auto it = bodies.find(section.key); it != bodies.end()) block.body = it->second;
    if (auto tail = pass_.sectionTails.find(key); tail != pass_.sectionTails.end()) {
      if (!block.body.empty() && !tail->second.empty()) block.body += '\n';
      block.body += tail->second;
    }
    parts.push_back(block.render(level, syntax_));
    for (auto& raw : unknown(key)) parts.push_back(std::move(raw));
  }
  return Outline::join(parts);
}

}  // namespace trivo
