// Whatever a page holds that has no field of its own, kept so that reading and writing a page
// loses nothing the user wrote.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/util/json_fields.h"

namespace trivo {

// A front-matter entry the reader did not recognise, kept in order.
struct FrontmatterField {
  std::string key;
  std::string value;
  bool operator==(const FrontmatterField&) const = default;
};

// A section the reader did not recognise, kept verbatim after the known section it followed.
struct UnknownSection {
  std::string afterSection;  // the key of the known section before it
  std::string raw;
  bool operator==(const UnknownSection&) const = default;
};

struct Passthrough {
  std::vector<FrontmatterField> frontmatterExtras;
  // Text between the front matter and the first section.
  std::optional<std::string> preamble;
  // Section key → raw text written above the section's recognised content, kept above it.
  std::map<std::string, std::string> sectionLeads;
  // Section key → raw text that followed the section's recognised content.
  std::map<std::string, std::string> sectionTails;
  std::vector<UnknownSection> unknownSections;
  // Section key → the tags written on that section's heading.
  std::map<std::string, std::vector<std::string>> headingTags;

  [[nodiscard]] bool isEmpty() const {
    return frontmatterExtras.empty() && !preamble && sectionLeads.empty() && sectionTails.empty() &&
           unknownSections.empty() && headingTags.empty();
  }
  bool operator==(const Passthrough&) const = default;
};

void to_json(Json& j, const FrontmatterField& f);
void from_json(const Json& j, FrontmatterField& f);
void to_json(Json& j, const UnknownSection& s);
void from_json(const Json& j, UnknownSection& s);
void to_json(Json& j, const Passthrough& p);
void from_json(const Json& j, Passthrough& p);

}  // namespace trivo
