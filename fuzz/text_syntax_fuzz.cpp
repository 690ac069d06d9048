// Feeds arbitrary bytes to the page syntax: front matter, outline split and render, escaping,
// the line parsers and link conversion. Besides not crashing, it checks the round trips that
// must hold for every input.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/format/list_lines.h"
#include "core/format/outline.h"
#include "core/format/section_reader.h"
#include "core/format/section_writer.h"
#include "core/format/serializer_error.h"
#include "core/format/task_marks.h"
#include "core/format/text_marks.h"
#include "core/format/text_syntax.h"
#include "core/format/text_util.h"

namespace {

void check(bool condition) {
  if (!condition) std::abort();
}

void exercise(std::string_view input, trivo::TextSyntax syntax) {
  using namespace trivo;
  try {
    auto front = syntax.splitFrontmatter(input);
    (void)syntax.assemble(front.fields, front.rest);
    (void)TextSyntax::todoWords(front.fields);
  } catch (const SerializerError&) {
  }
  for (int level : {1, 2, 3}) {
    const auto split = Outline::split(input, level, syntax);
    check(Outline::render(split, level, syntax) == input);
    check(syntax.unescape(syntax.escape(input, level), level) == input);
  }
  SectionReader reader(syntax);
  const std::vector<KnownSection> known = {{"outcomes", "Outcomes"}, {"notes", "Notes"}};
  const std::string preamble = reader.read(input, 2, known);
  reader.linesCounting("outcomes", [](std::string_view line) {
    return CheckboxLine::parse(line).has_value();
  });
  (void)SectionWriter(syntax, reader.pass).write(2, "", known, {}, preamble);
  (void)syntax.retitle(input, "T");
  (void)TextMarks::apply(TextMarks::Mark::bold, input, {1, 3}, syntax);
  (void)TextMarks::apply(TextMarks::Mark::checklist, input, {0, 5}, syntax);
  for (auto line : text::lines(input)) {
    (void)CheckboxLine::parse(line);
    (void)NumberedLine::parse(line);
    const auto serves = ServesLink::split(line);
    if (serves.serves) check(ServesLink::split(ServesLink::join(serves.text, serves.serves)).serves == serves.serves);
    (void)syntax.splitMeta(line);
    (void)syntax.splitTags(line);
    (void)TextSyntax::orgTask(line);
    (void)TextSyntax::orgDoneDate(line);
    (void)TextSyntax::keyword(line);
    (void)TextSyntax::isPlanning(line);
    (void)TaskMarks::render(TaskMarks::parse(line));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  exercise(input, trivo::TextSyntax::markdown);
  exercise(input, trivo::TextSyntax::org);
  (void)trivo::TextSyntax::markdownLinks(trivo::TextSyntax::orgLinks(input));
  return 0;
}
