// The markers of the two page syntaxes, Markdown and Org, behind one value: headings, time
// stamps, done lines, hidden metadata, front matter, escaping, Org keywords and links. Every
// operation is a pure function of its inputs and accepts any bytes.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "core/calendar/clock_time.h"
#include "core/calendar/day_date.h"
#include "core/records/outcome.h"
#include "core/records/passthrough.h"
#include "core/vault/vault_format.h"

namespace trivo {

// Keyword text (as written, case kept) to the state it stands for on one Org page.
using TodoWords = std::map<std::string, OutcomeState, std::less<>>;

struct TextSyntax {
  VaultFormat format = VaultFormat::markdown;

  static const TextSyntax markdown;
  static const TextSyntax org;

  // The front matter of a page and the text after it.
  struct Front {
    std::vector<FrontmatterField> fields;
    std::string_view rest;  // the rest of the text split, which it views: keep the text alive
    bool operator==(const Front&) const = default;
  };
  // One "#+KEY: value" line of an Org page.
  struct Keyword {
    std::string key;
    std::string value;
    std::string raw;
    bool operator==(const Keyword&) const = default;
  };
  // A line split from its hidden metadata annotation.
  struct Meta {
    std::string text;
    std::string inner;
    bool operator==(const Meta&) const = default;
  };
  // A heading title without its trailing tags (":a:b:" on Org, "#a #b" on Markdown).
  struct Tagged {
    std::string title;
    std::vector<std::string> tags;  // the tag names, without ":" or "#"
    bool operator==(const Tagged&) const = default;
  };
  // An Org outcome heading read by orgTask.
  struct OrgTask {
    OutcomeState state = OutcomeState::planned;
    OrgKeyword keyword;
    std::string text;
    bool operator==(const OrgTask&) const = default;
  };

  // "md" or "org".
  [[nodiscard]] std::string_view fileExtension() const { return trivo::fileExtension(format); }
  // The first character of every heading: "#" or "*".
  [[nodiscard]] char headingChar() const { return format == VaultFormat::markdown ? '#' : '*'; }

  // Marker and one space for a heading of `level` (1 is the page title). Markdown repeats "#"
  // `level` times; Org repeats "*" level − 1 times but at least once, because an Org page keeps
  // its title in "#+title:" and its sections start one level higher. Levels below 1 count as 1.
  [[nodiscard]] std::string headingMarker(int level) const;
  // The number of marker characters of a heading line ("## x" → 2), or 0 when it is none.
  [[nodiscard]] std::size_t headingDepth(std::string_view line) const;
  // True when the line is a heading whose marker is no longer than headingMarker(level), so that
  // reading it inside a section of that level would end the section.
  [[nodiscard]] bool isSplittingHeading(std::string_view line, int level) const;
  // True when the line opens or closes a fenced block ("```", "~~~"; "#+begin_…", "#+end_…").
  [[nodiscard]] bool togglesFence(std::string_view line) const;

  // "Mon" … "Sun", in English whatever the user's language.
  static std::string_view weekdayName(const DayDate& day);
  // "<2026-09-16 Wed>".
  static std::string timestamp(const DayDate& day);
  // "[2026-09-11 Fri 09:14]".
  static std::string inactiveStamp(const DayDate& day, const ClockTime& time);
  // The logbook note of an Org item ticked done on `day`, at `time` when it is known.
  static std::string orgDoneLine(const DayDate& day, const std::optional<ClockTime>& time);
  // The day of a logbook state-change line whose new state is "DONE" or one of `doneWords`;
  // nothing for any other line.
  static std::optional<DayDate> orgDoneDate(std::string_view line,
                                            const std::set<std::string, std::less<>>& doneWords = {});
  // True for "SCHEDULED:", "DEADLINE:" and "CLOSED:" lines, which belong to the heading above.
  static bool isPlanning(std::string_view line);

  // The annotation appended to a line to carry metadata that the reader of the page does not see:
  // " <!-- inner -->" on Markdown, " @@trivo:inner@@" on Org.
  [[nodiscard]] std::string meta(std::string_view inner) const;
  // The reverse; nothing when the line carries no annotation (the caller keeps it whole). Org
  // pages also accept the older form "text [captured: … · closed: …]".
  [[nodiscard]] std::optional<Meta> splitMeta(std::string_view line) const;

  // The page's front matter: the "---" block of Markdown, the leading "#+KEY: value" lines of
  // Org. Throws SerializerError::malformedFrontmatter for a Markdown block that cannot be read;
  // Org front matter never fails.
  [[nodiscard]] Front splitFrontmatter(std::string_view text) const;
  // One Org keyword line; "#+begin_…" and "#+end_…" lines are never keywords.
  static std::optional<Keyword> keyword(std::string_view line);
  // Front matter then body, separated by one line break (no front matter at all when `fields`
  // is empty): the inverse of splitFrontmatter for front matter this program wrote.
  [[nodiscard]] std::string assemble(const std::vector<FrontmatterField>& fields,
                                     std::string_view body) const;
  // The fields of an Org page with its keyword declaration in place: the standard declaration
  // is kept where the page had it, otherwise appended; the user's own declarations stay.
  static std::vector<FrontmatterField> keywordFront(std::vector<FrontmatterField> fields);
  // The text with its title replaced: the first "# " line of a Markdown page outside the front
  // matter and fences, or the "#+title:" line of an Org page. A page without one is unchanged.
  [[nodiscard]] std::string retitle(std::string_view text, std::string_view title) const;
  // Takes trailing tags off a heading title; a title made of tags alone keeps them as its text.
  [[nodiscard]] Tagged splitTags(std::string_view title) const;
  // Tags as this syntax writes them after a title: ":a:b:" or "#a #b"; empty for no tags.
  [[nodiscard]] std::string renderTags(const std::vector<std::string>& tags) const;

  // Puts a backslash before every line of user text that would end a section of `level` when the
  // page is read back (and one more before a line that already is such an escaped heading), so
  // that unescape restores the text exactly. Lines inside fenced blocks are left alone.
  [[nodiscard]] std::string escape(std::string_view text, int level) const;
  [[nodiscard]] std::string unescape(std::string_view text, int level) const;

  // The keyword-to-state map declared by an Org page's "TODO", "SEQ_TODO" and "TYP_TODO" lines.
  static TodoWords todoWords(const std::vector<FrontmatterField>& fields);
  // todoWords, shared: pages of one vault nearly always declare the same keywords, and the words
  // of the last declaration read on this thread are handed out again while they stay the same.
  static std::shared_ptr<const TodoWords> sharedTodoWords(
      const std::vector<FrontmatterField>& fields);
  // Keywords every Org page understands without declaring them.
  static const TodoWords& otherKeywords();
  // The standard declaration written on Org pages.
  static constexpr std::string_view todoDeclaration = "TODO NEXT INPROCESS WAITING | DONE CANCELLED";
  // Reads an Org outcome heading ("** TODO text"); nothing for a heading without a keyword.
  static std::optional<OrgTask> orgTask(std::string_view line, const TodoWords& keywords = {});
  // The same for a heading of any level ("* TODO text" too).
  static std::optional<OrgTask> orgHeadingTask(std::string_view line,
                                               const TodoWords& keywords = {});
  // The word written for a state: the item's own keyword when it still means that state,
  // otherwise "TODO", "DONE" or "CANCELLED".
  static std::string orgKeywordWord(OutcomeState state, const std::optional<OrgKeyword>& own);
  // "** " + keyword + " " + text (no trailing space when the text is empty).
  static std::string orgTaskHeading(OutcomeState state, const std::optional<OrgKeyword>& own,
                                    std::string_view text);

  // Markdown links to Org links: media images become "[[file:…]]", scheme links
  // "[[url][text]]". Other links are left as they stand.
  static std::string orgLinks(std::string_view markdownText);
  // The reverse.
  static std::string markdownLinks(std::string_view orgText);

  bool operator==(const TextSyntax&) const = default;
};

inline const TextSyntax TextSyntax::markdown{VaultFormat::markdown};
inline const TextSyntax TextSyntax::org{VaultFormat::org};

// Tracks fenced blocks line by line. Markdown fences open with "```" or "~~~" and close with a
// line of the same character; Org blocks open with "#+begin_" and close with "#+end_" (any case).
class FenceTracker {
 public:
  explicit FenceTracker(TextSyntax syntax) : syntax_(syntax) {}
  // Feeds one line; true when the line is itself a fence line.
  bool feed(std::string_view line);
  [[nodiscard]] bool inFence() const { return open_ != 0; }

 private:
  TextSyntax syntax_;
  char open_ = 0;  // the fence character in force, 0 outside a fence
};

}  // namespace trivo

template <>
struct std::hash<trivo::TextSyntax> {
  std::size_t operator()(const trivo::TextSyntax& s) const noexcept {
    return std::hash<int>()(static_cast<int>(s.format));
  }
};
