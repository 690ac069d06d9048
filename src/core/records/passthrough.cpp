// JSON of the passthrough records.
#include "core/records/passthrough.h"

namespace trivo {

void to_json(Json& j, const FrontmatterField& f) {
  j = Json::object();
  json::put(j, "key", f.key);
  json::put(j, "value", f.value);
}

void from_json(const Json& j, FrontmatterField& f) {
  json::requireObject(j, "FrontmatterField");
  FrontmatterField r;
  json::take(j, "key", r.key);
  json::take(j, "value", r.value);
  f = std::move(r);
}

void to_json(Json& j, const UnknownSection& s) {
  j = Json::object();
  json::put(j, "afterSection", s.afterSection);
  json::put(j, "raw", s.raw);
}

void from_json(const Json& j, UnknownSection& s) {
  json::requireObject(j, "UnknownSection");
  UnknownSection r;
  json::take(j, "afterSection", r.afterSection);
  json::take(j, "raw", r.raw);
  s = std::move(r);
}

void to_json(Json& j, const Passthrough& p) {
  j = Json::object();
  json::put(j, "frontmatterExtras", p.frontmatterExtras);
  json::put(j, "preamble", p.preamble);
  json::put(j, "sectionLeads", p.sectionLeads);
  json::put(j, "sectionTails", p.sectionTails);
  json::put(j, "unknownSections", p.unknownSections);
  json::put(j, "headingTags", p.headingTags);
}

void from_json(const Json& j, Passthrough& p) {
  json::requireObject(j, "Passthrough");
  Passthrough r;
  json::take(j, "frontmatterExtras", r.frontmatterExtras);
  json::take(j, "preamble", r.preamble);
  json::take(j, "sectionLeads", r.sectionLeads);
  json::take(j, "sectionTails", r.sectionTails);
  json::take(j, "unknownSections", r.unknownSections);
  json::take(j, "headingTags", r.headingTags);
  p = std::move(r);
}

}  // namespace trivo
