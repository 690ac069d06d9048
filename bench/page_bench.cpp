// Reading and writing pages: a full day page and a 200-item inbox in both syntaxes, in MB/s of
// page text, beside the cmark library parsing the same Markdown day page into its tree.
#include <benchmark/benchmark.h>
#include <cmark.h>

#include <string>

#include "core/format/page_serializer.h"

namespace trivo {
namespace {

// A busy day written by hand: outcomes with comments, a checklist with steps, notes, a journal,
// pulled inbox items and focus sessions (about 4 KiB).
std::string handWrittenDay() {
  std::string text =
      "---\ndate: 2026-09-16\ntype: day\nweather: rain\n---\n# Wednesday\n\n## Outcomes\n"
      "- [x] Ship the quarterly report to the board → #2\n  > sent at 16:40, Ana reviewed\n"
      "- [ ] Call the bank about the mortgage rate → #1\n  > ask for the fixed offer\n"
      "- [ ] Draft the talk for Lyon → #3\n\n## Checklist\n";
  for (int i = 1; i <= 10; ++i) {
    text += "- [" + std::string(i % 3 == 0 ? "x" : " ") + "] Errand number " + std::to_string(i) +
            " with a few words of detail\n";
    if (i % 4 == 0) text += "  - [ ] a first step\n  - [x] a second step\n";
  }
  text += "\n## Notes\n";
  for (int i = 1; i <= 8; ++i) {
    text += "A line of notes, " + std::to_string(i) +
            ", with *emphasis*, a [link](https://example.org/page) and café.\n";
  }
  text += "\n## Journal\n";
  for (int h = 7; h <= 21; ++h) {
    text += "- " + std::string(h < 10 ? "0" : "") + std::to_string(h) +
            ":15 What happened in this hour, written quickly but in full sentences.\n";
    if (h % 3 == 0) text += "  A second line that continues the thought.\n";
  }
  text += "\n## For tomorrow\n- [ ] Send the invoice\n- [ ] Book the train\n\n## Sessions\n";
  for (int i = 0; i < 4; ++i) {
    text +=
        "- 1" + std::to_string(i) + ":00–1" + std::to_string(i) + ":25 · 25m · Ship the report\n";
  }
  return text;
}

const MarkdownSerializer& serializerFor(bool org) {
  static const MarkdownSerializer md(YearMode::quarter, TextSyntax::markdown);
  static const MarkdownSerializer og(YearMode::quarter, TextSyntax::org);
  return org ? og : md;
}

const DayDate kDay{2026, 9, 16};

const DayEntry& dayRecord() {
  static const DayEntry day = serializerFor(false).parseDay(handWrittenDay(), kDay);
  return day;
}

std::string dayText(bool org) { return serializerFor(org).renderDay(dayRecord()); }

// The inbox of the benchmarks: 200 list items, or (headings) 200 Org heading items with a
// planning line and a property drawer each, as Org's capture writes them.
Inbox makeInbox(bool headings) {
  Inbox made;
  for (int i = 0; i < 200; ++i) {
    InboxItem item;
    item.id = "6F1C2B7E-0000-4000-8000-" + std::to_string(100000000000 + i);
    item.text = "Inbox item " + std::to_string(i) + ": call someone about something";
    item.captured = DayDate{2026, 9, 1}.adding(i % 30);
    if (i % 5 == 0) item.due = DayDate{2026, 10, 1}.adding(i % 20);
    if (i % 7 == 0) item.priority = Priority::a;
    item.done = i % 4 == 0;
    if (headings) {
      item.orgHeading = true;
      item.hiddenUntil = DayDate{2026, 9, 20}.adding(i % 10);
      item.orgProperties = {":CATEGORY: errands", ":EFFORT: 0:15"};
    }
    made.items.push_back(std::move(item));
  }
  return made;
}

// Arguments of the inbox benchmarks: 0 Markdown, 1 Org list items, 2 Org headings.
const Inbox& inboxRecord(std::int64_t form) {
  static const Inbox listed = makeInbox(false);
  static const Inbox headed = makeInbox(true);
  return form == 2 ? headed : listed;
}

std::string_view formLabel(std::int64_t form) {
  return form == 0 ? "markdown" : form == 1 ? "org" : "org headings";
}

void BM_ParseDay(benchmark::State& state) {
  const bool org = state.range(0) != 0;
  const auto& s = serializerFor(org);
  const std::string text = dayText(org);
  for (auto _ : state) benchmark::DoNotOptimize(s.parseDay(text, kDay));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.SetLabel(org ? "org" : "markdown");
}
BENCHMARK(BM_ParseDay)->Arg(0)->Arg(1);

void BM_RenderDay(benchmark::State& state) {
  const bool org = state.range(0) != 0;
  const auto& s = serializerFor(org);
  const DayEntry day = s.parseDay(dayText(org), kDay);
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = s.renderDay(day);
    bytes += text.size();
    benchmark::DoNotOptimize(text);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  state.SetLabel(org ? "org" : "markdown");
}
BENCHMARK(BM_RenderDay)->Arg(0)->Arg(1);

void BM_ParseInbox(benchmark::State& state) {
  const auto& s = serializerFor(state.range(0) != 0);
  const std::string text = s.renderInbox(inboxRecord(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(s.parseInbox(text));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  state.SetLabel(std::string(formLabel(state.range(0))));
}
BENCHMARK(BM_ParseInbox)->Arg(0)->Arg(1)->Arg(2);

void BM_RenderInbox(benchmark::State& state) {
  const auto& s = serializerFor(state.range(0) != 0);
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = s.renderInbox(inboxRecord(state.range(0)));
    bytes += text.size();
    benchmark::DoNotOptimize(text);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  state.SetLabel(std::string(formLabel(state.range(0))));
}
BENCHMARK(BM_RenderInbox)->Arg(0)->Arg(1)->Arg(2);

// The bar: cmark building its tree of the same Markdown day page.
void BM_CmarkParseDay(benchmark::State& state) {
  const std::string text = dayText(false);
  for (auto _ : state) {
    cmark_node* doc = cmark_parse_document(text.data(), text.size(), CMARK_OPT_DEFAULT);
    benchmark::DoNotOptimize(doc);
    cmark_node_free(doc);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_CmarkParseDay);

}  // namespace
}  // namespace trivo
