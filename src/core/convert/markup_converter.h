// Rewrites the marks inside text a person wrote (emphasis, code, links, images, headings, fenced
// blocks) from Markdown to Org and back, so that a page reads the same in either syntax.
#pragma once

#include <string>
#include <string_view>

namespace trivo {

class MarkupConverter {
 public:
  // Org marks of one line as Markdown: "*b*" → "**b**", "/i/" → "*i*", "~c~" and "=c=" → "`c`",
  // "+s+" → "~~s~~", "[[https://x][d]]" → "[d](https://x)", "[[https://x]]" → "<https://x>",
  // "[[file:media/a.png]]" → "![](media/a.png)", "@@trivo:note@@" → "<!-- note -->". Links between
  // pages and links without a scheme stay as written. A zero-width space that keeps a literal from
  // reading as an Org mark is taken off again.
  static std::string fromOrgMark(std::string_view line);
  // The inverse: Markdown marks of one line as Org ("_i_" comes back as "*i*", "__b__" as "**b**",
  // "../media/" as "media/"). Text that Org would read as a mark although Markdown does not
  // ("/usr/", "=x=") gets a zero-width space in front, Org's own way of saying "no mark here".
  static std::string toOrgMark(std::string_view line);
  // Whether a word is Org emphasis for bold or italic: at least three characters that begin and
  // end with "*" but do not begin with "**", or begin and end with "/" but not with "//".
  static bool wrapped(std::string_view text);

  // Whole texts, line by line: the marks above, plus headings ("### x" ↔ "** x": Org pages
  // start one level higher), fenced blocks ("```lang" ↔ "#+begin_src lang", "~~~" ↔
  // "#+begin_example", their contents untouched) and Markdown "* " list lines at the left edge,
  // which Org would read as headings and so are written "+ " there (and "* " again on the way
  // back, also when they were "+ " in Markdown to begin with).
  static std::string toOrg(std::string_view text);
  static std::string toMarkdown(std::string_view text);
};

}  // namespace trivo
